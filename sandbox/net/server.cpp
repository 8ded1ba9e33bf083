// Listens on one loopback port and serves each connection on a thread of its own.
#include "net/server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <system_error>

namespace velk::sandbox {
namespace {

void Demand(bool holds, const char* what) {
  if (!holds) throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

Server::Server(std::uint16_t port) : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  Demand(listener_.Get() >= 0, "socket");
  const int yes = 1;
  ::setsockopt(listener_.Get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  Demand(::bind(listener_.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind");
  Demand(::listen(listener_.Get(), SOMAXCONN) == 0, "listen");
}

std::string Server::Address() const {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  Demand(::getsockname(listener_.Get(), reinterpret_cast<sockaddr*>(&address), &size) == 0, "getsockname");
  return "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

void Server::Start(Serve serve) {
  serve_ = std::move(serve);
  acceptor_ = std::thread([this] { AcceptAll(); });
}

void Server::AcceptAll() {
  for (;;) {
    Descriptor socket(::accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    {
      const std::lock_guard lock(mutex_);
      if (stopping_) return;
      if (socket.Get() >= 0) ++threads_;
    }
    if (socket.Get() < 0) {
      Sleep(std::chrono::milliseconds(10));  // out of descriptors for the moment, or the client left again
      continue;
    }
    const int yes = 1;
    ::setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    StartThread(std::move(socket));
  }
}

void Server::StartThread(Descriptor socket) try {
  std::thread([this, owned = std::move(socket)]() mutable { Run(std::move(owned)); }).detach();
} catch (const std::system_error&) {
  const std::lock_guard lock(mutex_);  // no thread to be had: the client sees its connection closed
  --threads_;
}

void Server::Run(Descriptor socket) {
  try {
    ServeOne(std::move(socket));
  } catch (const ConnectionGone&) {
    // Clients come and go as they please.
  } catch (const std::exception& error) {
    std::fprintf(stderr, "velk-sandbox: a connection failed: %s\n", error.what());
  }
  const std::lock_guard lock(mutex_);
  --threads_;
  changed_.notify_all();
}

void Server::ServeOne(Descriptor socket) {
  Stream stream(std::move(socket));
  {
    const std::lock_guard lock(mutex_);
    if (stopping_) return;
    connections_.insert(&stream);
  }
  const std::shared_ptr<void> leave(nullptr, [&](void*) {
    const std::lock_guard lock(mutex_);
    connections_.erase(&stream);
  });
  serve_(stream);
}

void Server::DropConnections() {
  const std::lock_guard lock(mutex_);
  for (Stream* stream : connections_) stream->Drop();
}

void Server::Stop() {
  if (!acceptor_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  ::shutdown(listener_.Get(), SHUT_RDWR);
  acceptor_.join();
  DropConnections();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return threads_ == 0; });
}

bool Server::Sleep(std::chrono::microseconds time) {
  std::unique_lock lock(mutex_);
  return !changed_.wait_for(lock, time, [this] { return stopping_; });
}

}  // namespace velk::sandbox
