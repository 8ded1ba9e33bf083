// One accepted connection, plain or under TLS, with every way to end it that a fault needs.
#include "net/stream.h"

#include <linux/sockios.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

namespace velk::sandbox {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

// Closing with unread bytes would turn into a reset and could destroy the reply on its way, so an orderly
// end reads on for as long as the peer keeps sending, within reason.
void LingerUntilEnd(int socket) {
  ::shutdown(socket, SHUT_WR);
  char discarded[16 * 1024];
  for (const auto limit = Clock::now() + 10s; Clock::now() < limit;) {
    pollfd readable{socket, POLLIN, 0};
    if (::poll(&readable, 1, 1000) > 0 && ::recv(socket, discarded, sizeof discarded, 0) <= 0) return;
  }
}

}  // namespace

void Stream::AcceptTls(SSL_CTX& context) {
  tls_.reset(SSL_new(&context));
  SSL_set_fd(tls_.get(), socket_.Get());
  ERR_clear_error();
  if (SSL_accept(tls_.get()) != 1) throw ConnectionGone();
}

std::size_t Stream::Read(char* to, std::size_t room) {
  if (!tls_) {
    ssize_t count = 0;
    do count = ::recv(socket_.Get(), to, room, 0);
    while (count < 0 && errno == EINTR);
    if (count < 0) throw ConnectionGone();
    return static_cast<std::size_t>(count);
  }
  ERR_clear_error();
  std::size_t count = 0;
  if (SSL_read_ex(tls_.get(), to, room, &count) == 1) return count;
  if (SSL_get_error(tls_.get(), 0) == SSL_ERROR_ZERO_RETURN) return 0;
  throw ConnectionGone();
}

void Stream::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    std::size_t written = 0;
    if (tls_) {
      ERR_clear_error();
      if (SSL_write_ex(tls_.get(), bytes.data(), bytes.size(), &written) != 1) throw ConnectionGone();
    } else {
      const ssize_t count = ::send(socket_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) throw ConnectionGone();
      written = static_cast<std::size_t>(count);
    }
    bytes.remove_prefix(written);
  }
}

void Stream::End() {
  ERR_clear_error();
  if (tls_) SSL_shutdown(tls_.get());
  LingerUntilEnd(socket_.Get());
}

void Stream::Cut() { LingerUntilEnd(socket_.Get()); }

void Stream::Reset() {
  int unsent = 0;
  for (const auto limit = Clock::now() + 2s; Clock::now() < limit; std::this_thread::sleep_for(1ms)) {
    if (::ioctl(socket_.Get(), SIOCOUTQ, &unsent) != 0 || unsent == 0) break;
  }
  const linger discard{1, 0};
  ::setsockopt(socket_.Get(), SOL_SOCKET, SO_LINGER, &discard, sizeof discard);
  throw ConnectionGone();
}

void Stream::WaitUntilGone() {
  pollfd end{socket_.Get(), POLLRDHUP, 0};
  while (::poll(&end, 1, -1) < 0 && errno == EINTR) {
  }
}

void Stream::ShrinkWindow() {
  const int bytes = 64 * 1024;
  ::setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
}

void Stream::Drop() noexcept { ::shutdown(socket_.Get(), SHUT_RDWR); }

std::string_view Input::Peek(std::size_t most) {
  if (begin_ == end_) {
    begin_ = 0;
    end_ = stream_.Read(buffer_.data(), std::min(most, buffer_.size()));
  }
  return {buffer_.data() + begin_, std::min(end_ - begin_, most)};
}

}  // namespace velk::sandbox
