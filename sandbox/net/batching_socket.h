// A socket that can take several records of TLS with one call of the system. TLS itself reads and writes one
// at a time, and the calls take as long as the encryption.
#pragma once

#include <algorithm>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <cstddef>
#include <utility>
#include <vector>

#include "net/paced_socket.h"

namespace velk::sandbox {

class BatchingSocket {
 public:
  using executor_type = PacedSocket::executor_type;
  using lowest_layer_type = PacedSocket::lowest_layer_type;

  explicit BatchingSocket(PacedSocket& socket) : socket_(socket) {}

  executor_type get_executor() { return socket_.get_executor(); }
  lowest_layer_type& lowest_layer() { return socket_.lowest_layer(); }

  // From now on, reads up to that many bytes from the socket, whatever is requested.
  void ReadAhead(std::size_t bytes) { ahead_.resize(bytes); }
  std::size_t BytesAhead() const { return end_ - begin_; }

  // Until Flush, which writes all of it, holds what is written.
  void Hold() { isHolding_ = true; }
  asio::awaitable<void> Flush() {
    while (!held_.empty()) {
      std::swap(held_, flushed_);  // a read can also write, such as a new key
      held_.clear();
      co_await asio::async_write(socket_, asio::buffer(flushed_), asio::use_awaitable);
    }
    isHolding_ = false;
  }

  template <typename Buffers, typename Token>
  auto async_read_some(const Buffers& buffers, Token&& token) {
    const auto start = [this](auto handler, asio::mutable_buffer to) {
      if (ahead_.empty()) return socket_.async_read_some(to, std::move(handler));
      // TLS reads no bytes when it only has to complete later.
      if (to.size() == 0 || BytesAhead() > 0) return Complete(std::move(handler), {}, Take(to));
      ReadBatch(to, std::move(handler));
    };
    const asio::mutable_buffer first = *asio::buffer_sequence_begin(buffers);
    return asio::async_initiate<Token, void(boost::system::error_code, std::size_t)>(start, token, first);
  }

  template <typename Buffers, typename Token>
  auto async_write_some(const Buffers& buffers, Token&& token) {
    const auto start = [this](auto handler, const Buffers& from) {
      if (!isHolding_) return socket_.async_write_some(from, std::move(handler));
      const std::size_t before = held_.size();
      held_.resize(before + asio::buffer_size(from));
      Complete(std::move(handler), {}, asio::buffer_copy(asio::buffer(held_) + before, from));
    };
    return asio::async_initiate<Token, void(boost::system::error_code, std::size_t)>(start, token, buffers);
  }

 private:
  std::size_t Take(asio::mutable_buffer to) {
    const std::size_t count = asio::buffer_copy(to, asio::buffer(ahead_.data() + begin_, BytesAhead()));
    begin_ += count;
    return count;
  }

  template <typename Handler>
  void ReadBatch(asio::mutable_buffer to, Handler handler) {
    const auto executor = asio::get_associated_executor(handler, get_executor());
    const auto slot = asio::get_associated_cancellation_slot(handler);
    auto take = [this, to, handler = std::move(handler)](boost::system::error_code error,
                                                         std::size_t count) mutable {
      begin_ = 0;
      end_ = count;
      const std::size_t taken = Take(to);
      std::move(handler)(error, taken);
    };
    socket_.async_read_some(asio::buffer(ahead_), asio::bind_cancellation_slot(
                                                      slot, asio::bind_executor(executor, std::move(take))));
  }

  template <typename Handler>
  void Complete(Handler handler, boost::system::error_code error, std::size_t count) {
    const auto executor = asio::get_associated_executor(handler, get_executor());
    asio::post(executor,
               [handler = std::move(handler), error, count]() mutable { std::move(handler)(error, count); });
  }

  PacedSocket& socket_;
  std::vector<char> ahead_;
  std::size_t begin_ = 0;  // of the bytes ahead
  std::size_t end_ = 0;
  bool isHolding_ = false;
  std::vector<char> held_, flushed_;
};

}  // namespace velk::sandbox
