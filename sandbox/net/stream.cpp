#include "net/stream.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/system/system_error.hpp>
#include <new>
#include <vector>

#include "net/platform.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

using Clock = std::chrono::steady_clock;
using asio::use_awaitable;
using boost::system::error_code;
using namespace std::chrono_literals;

constexpr auto kLongestLinger = 10s;
constexpr auto kLongestFlight = 2s;
constexpr std::size_t kBatch = 128 * 1024;
constexpr std::size_t kLargestRecord = 17 * 1024;

}  // namespace

void EndConnection() { throw boost::system::system_error(asio::error::connection_aborted); }

Stream::Stream(asio::ip::tcp::socket socket, std::uint64_t rate)
    : transport_(std::move(socket), rate), timer_(transport_.get_executor()) {}

awaitable<void> Stream::AcceptTls(asio::ssl::context& context, std::string_view start) {
  tls_.emplace(batches_, context);
  co_await tls_->async_handshake(asio::ssl::stream_base::server, asio::buffer(start), use_awaitable);
}

std::string Stream::RequestedHost() {
  const char* const name = SSL_get_servername(tls_->native_handle(), TLSEXT_NAMETYPE_host_name);
  return name ? Lower(name) : std::string();
}

awaitable<void> Stream::ConnectTls(asio::ssl::context& context, const std::string& host) {
  tls_.emplace(batches_, context);
  SSL* const tls = tls_->native_handle();
  SSL_set_tlsext_host_name(tls, host.c_str());
  SSL_set_hostflags(tls, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
  if (SSL_set1_host(tls, host.c_str()) != 1) throw std::bad_alloc();
  SSL_set_verify(tls, SSL_VERIFY_PEER, nullptr);
  co_await tls_->async_handshake(asio::ssl::stream_base::client, use_awaitable);
}

std::string Stream::WhyUntrusted() {
  const long result = SSL_get_verify_result(tls_->native_handle());
  return result == X509_V_OK ? std::string() : X509_verify_cert_error_string(result);
}

void Stream::UseBatches() {
  if (isBatching_ || !tls_ || transport_.IsSlow()) return;
  isBatching_ = true;
  batches_.ReadAhead(kBatch);
}

awaitable<std::size_t> Stream::Read(std::span<char> to) {
  if (tls_) co_return co_await ReadTls(to);
  error_code error;
  const std::size_t count = co_await transport_.async_read_some(asio::buffer(to.data(), to.size()),
                                                                asio::redirect_error(use_awaitable, error));
  if (error && error != asio::error::eof) throw boost::system::system_error(error);
  co_return count;
}

// Reads on for as long as a whole record is there, so that no read waits.
awaitable<std::size_t> Stream::ReadTls(std::span<char> to) {
  std::size_t count = 0;
  do {
    error_code error;
    const auto rest = asio::buffer(to.data() + count, to.size() - count);
    count += co_await tls_->async_read_some(rest, asio::redirect_error(use_awaitable, error));
    if (error && error != asio::error::eof) throw boost::system::system_error(error);
  } while (batches_.BytesAhead() > kLargestRecord && count < to.size());
  co_return count;
}

awaitable<void> Stream::Write(std::string_view bytes) {
  const auto buffer = asio::buffer(bytes);
  if (!tls_) {
    co_await asio::async_write(transport_, buffer, use_awaitable);
    co_return;
  }
  if (isBatching_) batches_.Hold();
  co_await asio::async_write(*tls_, buffer, use_awaitable);
  if (isBatching_) co_await batches_.Flush();
}

awaitable<void> Stream::Sleep(Clock::duration time) {
  if (!Socket().is_open()) EndConnection();
  timer_.expires_after(time);
  co_await timer_.async_wait(use_awaitable);
}

awaitable<void> Stream::End() {
  error_code ignored;
  if (tls_) {
    // Otherwise the shutdown would also wait for the peer's notice. Not every client sends one.
    SSL_set_shutdown(tls_->native_handle(), SSL_RECEIVED_SHUTDOWN);
    co_await tls_->async_shutdown(asio::redirect_error(use_awaitable, ignored));
  }
  co_await Cut();
}

// Closing with unread bytes would send RST, and that could destroy the reply on its way. So an orderly end
// reads on for as long as the peer keeps sending, within reason.
awaitable<void> Stream::Cut() {
  using namespace asio::experimental::awaitable_operators;
  error_code ignored;
  Socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
  co_await (DiscardUntilEnd() || Sleep(kLongestLinger));
}

awaitable<void> Stream::DiscardUntilEnd() {
  std::vector<char> discarded(16 * 1024);
  for (error_code error; !error;) {
    co_await Socket().async_read_some(asio::buffer(discarded), asio::redirect_error(use_awaitable, error));
  }
}

awaitable<void> Stream::Reset() {
  for (const auto limit = Clock::now() + kLongestFlight; Clock::now() < limit; co_await Sleep(1ms)) {
    if (BytesInFlight(Socket().native_handle()) == 0) break;
  }
  Socket().set_option(asio::socket_base::linger(true, 0));
  Socket().close();
  EndConnection();
}

awaitable<void> Stream::WaitUntilGone() {
  while (!PeerHasGone(Socket().native_handle())) co_await Sleep(20ms);
}

bool Stream::IsGone() { return !Socket().is_open() || PeerHasGone(Socket().native_handle()); }

void Stream::Abort() {
  error_code ignored;
  Socket().set_option(asio::socket_base::linger(true, 0), ignored);
  Socket().close(ignored);
}

void Stream::ShrinkWindow() { Socket().set_option(asio::socket_base::receive_buffer_size(64 * 1024)); }

void Stream::Drop() {
  asio::post(Socket().get_executor(), [self = shared_from_this()] {
    error_code ignored;
    self->Socket().close(ignored);
    self->timer_.cancel();
  });
}

}  // namespace velk::sandbox
