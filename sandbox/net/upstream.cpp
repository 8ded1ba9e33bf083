#include "net/upstream.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/system/system_error.hpp>

namespace velk::sandbox {

using asio::ip::tcp;
using boost::system::error_code;
using SteadyClock = std::chrono::steady_clock;

Ending EndingOf(const error_code& error) {
  if (error == asio::ssl::error::stream_truncated) return Ending::kCut;
  return error == asio::error::eof ? Ending::kOrderly : Ending::kReset;
}

bool Upstream::CanServe(const Endpoint& endpoint) {
  return stream_ && endpoint_ == endpoint && !stream_->IsGone();
}

awaitable<std::string> Upstream::Open(asio::ssl::context& trust) {
  const SteadyClock::time_point start = SteadyClock::now();
  std::string why = co_await Connect();
  if (!why.empty()) co_return why;
  connectTime_ = SteadyClock::now() - start;
  if (endpoint_.secure) why = co_await StartTls(trust);
  if (endpoint_.secure) tlsTime_ = SteadyClock::now() - start - *connectTime_;
  co_return why;
}

awaitable<std::string> Upstream::Connect() {
  const auto executor = co_await asio::this_coro::executor;
  error_code error;
  tcp::resolver resolver(executor);
  auto token = asio::redirect_error(asio::use_awaitable, error);
  const auto found = co_await resolver.async_resolve(endpoint_.address, endpoint_.port, token);
  if (error) co_return "cannot find the address of " + endpoint_.address + ": " + error.message();
  tcp::socket socket(executor);
  co_await asio::async_connect(socket, found, token);
  if (error) {
    co_return "cannot connect to " + endpoint_.host + " at " + endpoint_.address + " port " + endpoint_.port +
        ": " + error.message();
  }
  socket.set_option(tcp::no_delay(true), error);
  stream_ = std::make_shared<Stream>(std::move(socket), 0);
  input_.emplace(*stream_);
  co_return std::string();
}

awaitable<std::string> Upstream::StartTls(asio::ssl::context& trust) {
  try {
    co_await stream_->ConnectTls(trust, endpoint_.host);
    co_return std::string();
  } catch (const boost::system::system_error& error) {
    const std::string why = stream_->WhyUntrusted();
    if (!why.empty()) co_return "the certificate of " + endpoint_.host + " is refused: " + why;
    co_return "the TLS handshake with " + endpoint_.host + " failed: " + error.code().message();
  }
}

}  // namespace velk::sandbox
