// A socket that can read as slowly as a slow network delivers.
#pragma once

#include <algorithm>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace velk::sandbox {

namespace asio = boost::asio;

// The lower layer of TLS, so that not even a TLS record arrives at once.
class PacedSocket {
 public:
  using executor_type = asio::ip::tcp::socket::executor_type;
  using lowest_layer_type = asio::ip::tcp::socket;

  // Reads at most `rate` bytes a second. 0 is no limit.
  PacedSocket(asio::ip::tcp::socket socket, std::uint64_t rate)
      : socket_(std::move(socket)), timer_(socket_.get_executor()), rate_(rate) {}

  executor_type get_executor() { return socket_.get_executor(); }
  lowest_layer_type& lowest_layer() { return socket_; }

  bool IsSlow() const { return rate_ > 0; }

  template <typename Buffers, typename Token>
  auto async_read_some(const Buffers& buffers, Token&& token) {
    const auto start = [this](auto handler, asio::mutable_buffer to) {
      if (rate_ == 0) return socket_.async_read_some(to, std::move(handler));
      ReadLater(to, std::move(handler));
    };
    const asio::mutable_buffer first = *asio::buffer_sequence_begin(buffers);
    return asio::async_initiate<Token, void(boost::system::error_code, std::size_t)>(start, token, first);
  }

  template <typename Buffers, typename Token>
  auto async_write_some(const Buffers& buffers, Token&& token) {
    return socket_.async_write_some(buffers, std::forward<Token>(token));
  }

 private:
  // Waits for the time that the bytes take on their way, and reads them then.
  template <typename Handler>
  void ReadLater(asio::mutable_buffer to, Handler handler) {
    const std::uint64_t bytes = std::clamp<std::uint64_t>(rate_ / 50, 1, 1024);
    const auto executor = asio::get_associated_executor(handler, get_executor());
    const auto slot = asio::get_associated_cancellation_slot(handler);
    const asio::mutable_buffer part = asio::buffer(to, static_cast<std::size_t>(bytes));
    timer_.expires_after(std::chrono::microseconds(1'000'000 * bytes / rate_));
    auto read = [this, part, handler = std::move(handler)](boost::system::error_code error) mutable {
      if (error) return std::move(handler)(error, 0);
      socket_.async_read_some(part, std::move(handler));
    };
    timer_.async_wait(asio::bind_cancellation_slot(slot, asio::bind_executor(executor, std::move(read))));
  }

  asio::ip::tcp::socket socket_;
  asio::steady_timer timer_;
  const std::uint64_t rate_;
};

}  // namespace velk::sandbox
