// Threads that serve connections.
#pragma once

#include <atomic>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <cstddef>
#include <deque>
#include <thread>

namespace velk::sandbox {

namespace asio = boost::asio;

// Each thread has a context of its own, so that a connection stays on its thread: passing each piece of an
// upload from thread to thread takes a third longer.
class Workers {
 public:
  explicit Workers(unsigned threads);
  ~Workers();  // returns when all connections have ended
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  asio::io_context::executor_type Next();  // the threads by turns

 private:
  struct Worker {
    Worker() : thread([this] { context.run(); }) {}
    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> idle{context.get_executor()};
    std::thread thread;
  };
  std::deque<Worker> workers_;
  std::atomic<std::size_t> next_ = 0;
};

}  // namespace velk::sandbox
