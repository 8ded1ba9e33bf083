// Listens on one loopback port and serves each connection in a coroutine of its own.
#pragma once

#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "net/stream.h"
#include "net/workers.h"

namespace velk::sandbox {

class Server {
 public:
  using Serve = std::function<awaitable<void>(Stream&)>;

  // Listens on the context, and serves on as many threads. Port 0 is any free one. With a rate, connections
  // are as slow as a network of that many bytes a second, and hardly take in what has not been read. Throws
  // boost::system::system_error when the port is in use.
  Server(asio::io_context& context, unsigned threads, std::uint16_t port, std::uint64_t rate);
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  std::string Url() const;  // "http://127.0.0.1:PORT"
  std::uint16_t Port() const { return acceptor_.local_endpoint().port(); }
  void Start(Serve serve);
  void Stop();  // ends the listener and all connections; to be called on the context
  void DropConnections();

 private:
  awaitable<void> AcceptAll();
  void Spawn(asio::ip::tcp::socket socket);
  awaitable<void> Run(std::shared_ptr<Stream> stream);

  asio::ip::tcp::acceptor acceptor_;
  const std::uint64_t rate_;
  Serve serve_;
  std::mutex mutex_;
  std::set<std::shared_ptr<Stream>> connections_;
  bool stopping_ = false;
  Workers workers_;
};

}  // namespace velk::sandbox
