// A connection to a real service.
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/system/error_code.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "net/input.h"
#include "net/stream.h"

namespace velk::sandbox {

// Where a service is reached.
struct Endpoint {
  std::string host;  // as its certificate names it
  std::string address, port;
  bool secure = true;  // under TLS

  bool operator==(const Endpoint&) const = default;
};

// How a peer ended its connection.
enum class Ending { kOrderly, kCut, kReset };  // a cut one lacks TLS's closing notice

Ending EndingOf(const boost::system::error_code& error);

class Upstream {
 public:
  using Duration = std::chrono::steady_clock::duration;

  explicit Upstream(Endpoint endpoint) : endpoint_(std::move(endpoint)) {}

  // Connects, and verifies the service. Returns why there is no connection, or an empty string.
  awaitable<std::string> Open(asio::ssl::context& trust);

  bool CanServe(const Endpoint& endpoint);   // is open, and leads there
  Stream& Connection() { return *stream_; }  // once it is open
  Input& Replies() { return *input_; }       // the same
  std::optional<Duration> ConnectTime() const { return connectTime_; }
  std::optional<Duration> TlsTime() const { return tlsTime_; }

 private:
  awaitable<std::string> Connect();
  awaitable<std::string> StartTls(asio::ssl::context& trust);

  const Endpoint endpoint_;
  std::shared_ptr<Stream> stream_;
  std::optional<Input> input_;
  std::optional<Duration> connectTime_, tlsTime_;
};

}  // namespace velk::sandbox
