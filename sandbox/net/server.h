// Listens on one loopback port and serves each connection on a thread of its own.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "net/stream.h"

namespace velk::sandbox {

class Server {
 public:
  using Serve = std::function<void(Stream&)>;

  explicit Server(std::uint16_t port);  // 0: any free one; throws std::system_error when it is taken
  ~Server() { Stop(); }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  std::string Address() const;  // "http://127.0.0.1:PORT"
  void Start(Serve serve);
  void Stop();
  void DropConnections();

  // Sleeps so long, or until the server stops; tells whether the time passed in full.
  bool Sleep(std::chrono::microseconds time);

 private:
  void AcceptAll();
  void StartThread(Descriptor socket);
  void Run(Descriptor socket);
  void ServeOne(Descriptor socket);

  Descriptor listener_;
  Serve serve_;
  std::thread acceptor_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::set<Stream*> connections_;
  int threads_ = 0;
  bool stopping_ = false;
};

}  // namespace velk::sandbox
