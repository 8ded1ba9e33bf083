#include "kit/proxy.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/system/system_error.hpp>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "kit/exchange.h"
#include "kit/failure.h"
#include "kit/why.h"
#include "net/input.h"
#include "net/standard_error.h"

namespace velk::sandbox {
namespace {

using Clock = Timing::Clock;

// The requests of one connection.
class Session {
 public:
  Session(Stream& stream, World& world)
      : stream_(stream),
        world_(world),
        input_(stream),
        connection_(std::make_shared<Connection>(++world.connections)) {}
  ~Session() { connection_->open = false; }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  awaitable<void> Serve();

 private:
  awaitable<std::optional<Head>> ReadHead();
  awaitable<std::optional<Head>> NextHead();
  awaitable<void> Open(Tunnel tunnel);
  awaitable<void> OpenDirectly();
  awaitable<void> AcceptTls(asio::ssl::context& context, std::string_view start = {});

  Stream& stream_;
  World& world_;
  Input input_;
  const std::shared_ptr<Connection> connection_;
  std::optional<Tunnel> tunnel_;
  std::unique_ptr<Upstream> upstream_;
  std::optional<asio::ssl::context> otherTls_;  // for a certificate that a script requests
};

// What is no HTTP is no exchange, so that the line is all that there is of it.
awaitable<std::optional<Head>> Session::ReadHead() {
  try {
    co_return co_await input_.ReadHead();
  } catch (const BadRequest& bad) {
    PrintError("velk-sandbox: " + std::to_string(bad.status) + ": " + OneLine(bad.why));
    throw;
  }
}

// A kept connection ends with that to the service, so that the client does not take it for usable.
awaitable<std::optional<Head>> Session::NextHead() {
  using namespace asio::experimental::awaitable_operators;
  if (!upstream_) co_return co_await ReadHead();
  std::exception_ptr failure;
  const auto read = [&]() -> awaitable<std::optional<Head>> {
    try {
      co_return co_await ReadHead();
    } catch (...) {
      failure = std::current_exception();
      co_return std::nullopt;
    }
  };
  auto first = co_await (read() || upstream_->Connection().WaitUntilGone());
  if (first.index() != 0) co_return std::nullopt;
  if (failure) std::rethrow_exception(failure);
  co_return std::move(std::get<0>(first));
}

awaitable<void> Session::AcceptTls(asio::ssl::context& context, std::string_view start) {
  try {
    co_await stream_.AcceptTls(context, start);
  } catch (const boost::system::system_error& error) {
    if (error.code().category() == asio::error::get_ssl_category()) {
      PrintError("velk-sandbox: " + tunnel_->host + ": the TLS handshake failed: " + error.code().message());
    }
    throw;
  }
}

awaitable<void> Session::Open(Tunnel tunnel) {
  tunnel_ = std::move(tunnel);
  const std::string_view name = tunnel_->certificateName;
  if (!name.empty()) otherTls_ = Authority().MakeContext({&name, 1});
  const Clock::time_point start = Clock::now();
  co_await AcceptTls(otherTls_ ? *otherTls_ : world_.tls);
  tunnel_->tls = Clock::now() - start;
}

// A client that was led here by other means than a proxy's URL speaks to the service itself.
awaitable<void> Session::OpenDirectly() {
  const std::string start = co_await input_.TakeTlsStart();
  if (start.empty()) co_return;
  const Clock::time_point begin = Clock::now();
  tunnel_.emplace();
  co_await AcceptTls(world_.tls, start);
  tunnel_->host = stream_.RequestedHost();
  tunnel_->tls = Clock::now() - begin;
}

awaitable<void> Session::Serve() {
  co_await OpenDirectly();
  bool kept = false;  // a request was served before
  while (auto head = co_await NextHead()) {
    if (tunnel_ && head->method == "CONNECT") throw Malformed("a CONNECT came inside of a tunnel");
    if (tunnel_ && !tunnel_->host.empty()) head->host = tunnel_->host;
    Arrival arrival{std::move(*head), tunnel_, connection_, upstream_, input_.HeadBegan(), kept};
    Exchange exchange(stream_, input_, world_, arrival);
    if (!co_await exchange.Serve()) co_return;
    kept = true;
    if (tunnel_ || !exchange.Opened()) continue;
    kept = false;
    co_await Open(*exchange.Opened());
  }
  co_await stream_.End();
}

awaitable<void> ServeSession(Stream& stream, World& world) {
  Session session(stream, world);
  co_await session.Serve();
}

}  // namespace

awaitable<void> ServeProxy(Stream& stream, World& world) {
  co_await ReplyToFailure(stream, ServeSession(stream, world));
}

}  // namespace velk::sandbox
