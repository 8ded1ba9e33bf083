#include "net/server.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

#include "net/platform.h"
#include "net/standard_error.h"

namespace velk::sandbox {

using asio::ip::tcp;
using boost::system::error_code;

Server::Server(asio::io_context& context, unsigned threads, std::uint16_t port, std::uint64_t rate)
    : acceptor_(context), rate_(rate), workers_(threads) {
  acceptor_.open(tcp::v4());
  ReserveAddress(acceptor_.native_handle());
  if (rate > 0) NarrowWindow(acceptor_.native_handle());
  acceptor_.bind({asio::ip::address_v4::loopback(), port});
  acceptor_.listen();
}

std::string Server::Url() const { return "http://127.0.0.1:" + std::to_string(Port()); }

void Server::Start(Serve serve) {
  serve_ = std::move(serve);
  asio::co_spawn(acceptor_.get_executor(), AcceptAll(), asio::detached);
}

awaitable<void> Server::AcceptAll() {
  asio::steady_timer pause(acceptor_.get_executor());
  while (acceptor_.is_open()) {
    error_code error;
    tcp::socket socket =
        co_await acceptor_.async_accept(workers_.Next(), asio::redirect_error(asio::use_awaitable, error));
    if (!error) {
      Spawn(std::move(socket));
      continue;
    }
    // The client has left again, or there are too many open connections.
    pause.expires_after(std::chrono::milliseconds(10));
    co_await pause.async_wait(asio::use_awaitable);
  }
}

void Server::Spawn(tcp::socket socket) {
  error_code ignored;
  socket.set_option(tcp::no_delay(true), ignored);
  const auto executor = socket.get_executor();
  auto stream = std::make_shared<Stream>(std::move(socket), rate_);
  {
    const std::lock_guard lock(mutex_);
    if (stopping_) return;
    connections_.insert(stream);
  }
  asio::co_spawn(executor, Run(std::move(stream)), asio::detached);
}

awaitable<void> Server::Run(std::shared_ptr<Stream> stream) {
  try {
    co_await serve_(*stream);
  } catch (const boost::system::system_error&) {
    // Clients come and go as they please.
  } catch (const std::exception& error) {
    PrintError(std::string("velk-sandbox: a connection failed: ") + error.what());
  }
  const std::lock_guard lock(mutex_);
  connections_.erase(stream);
}

void Server::DropConnections() {
  const std::lock_guard lock(mutex_);
  for (const auto& stream : connections_) stream->Drop();
}

void Server::Stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  DropConnections();
  acceptor_.close();
}

}  // namespace velk::sandbox
