// Adds a configurable round-trip time between a client and the sandbox's proxy, to simulate a real network.
// Each new tunnel first waits for one round trip, like a TCP handshake. After that, every byte is delayed by
// half a round trip in either direction.
//
// Usage: delay_relay MILLISECONDS PROXY
//
// PROXY is a URL such as http://127.0.0.1:8080. The program prints its own URL. It runs until standard input
// ends or delivers a byte.
#include <boost/asio.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <chrono>
#include <cstdio>
#include <deque>
#include <string>
#include <string_view>

namespace {

namespace asio = boost::asio;
using asio::awaitable;
using asio::use_awaitable;
using asio::ip::tcp;
using asio::experimental::awaitable_operators::operator&&;
using Clock = std::chrono::steady_clock;

class Relay {
 public:
  Relay(asio::io_context& context, Clock::duration roundTrip, unsigned short upstreamPort)
      : roundTrip_(roundTrip),
        upstream_(asio::ip::address_v4::loopback(), upstreamPort),
        listener_(context, {asio::ip::address_v4::loopback(), 0}) {}

  unsigned short Port() const { return listener_.local_endpoint().port(); }

  awaitable<void> AcceptAll() {
    for (;;) {
      tcp::socket client = co_await listener_.async_accept(use_awaitable);
      asio::co_spawn(listener_.get_executor(), Serve(std::move(client)), asio::detached);
    }
  }

 private:
  // The bytes in transit in one direction.
  struct Link {
    explicit Link(const asio::any_io_executor& executor) : changed(executor, Clock::time_point::max()) {}
    struct Piece {
      Clock::time_point due;
      std::string bytes;  // empty at the end of the stream
    };
    std::deque<Piece> pieces;
    asio::steady_timer changed;
  };

  awaitable<void> Serve(tcp::socket client) {
    tcp::socket server(client.get_executor());
    co_await server.async_connect(upstream_, use_awaitable);
    client.set_option(tcp::no_delay(true));
    server.set_option(tcp::no_delay(true));
    co_await CopyHead(client, server);
    co_await Wait(client, Clock::now() + roundTrip_);
    co_await CopyHead(server, client);
    Link there(client.get_executor());
    Link back(client.get_executor());
    co_await (Receive(client, there) && Deliver(there, server) && Receive(server, back) &&
              Deliver(back, client));
  }

  static awaitable<void> Wait(tcp::socket& socket, Clock::time_point until) {
    co_await asio::steady_timer(socket.get_executor(), until).async_wait(use_awaitable);
  }

  static awaitable<void> CopyHead(tcp::socket& from, tcp::socket& to) {
    std::string head;
    co_await asio::async_read_until(from, asio::dynamic_buffer(head), "\r\n\r\n", use_awaitable);
    co_await asio::async_write(to, asio::buffer(head), use_awaitable);
  }

  awaitable<void> Receive(tcp::socket& from, Link& link) const {
    for (std::string piece(256 * 1024, '\0');;) {
      const auto [failure, count] =
          co_await from.async_read_some(asio::buffer(piece), asio::as_tuple(use_awaitable));
      link.pieces.push_back({Clock::now() + roundTrip_ / 2, piece.substr(0, failure ? 0 : count)});
      link.changed.cancel();
      if (failure) co_return;
    }
  }

  static awaitable<void> Deliver(Link& link, tcp::socket& to) {
    for (;;) {
      while (link.pieces.empty()) co_await link.changed.async_wait(asio::as_tuple(use_awaitable));
      const Link::Piece piece = std::move(link.pieces.front());
      link.pieces.pop_front();
      co_await Wait(to, piece.due);
      boost::system::error_code failure;
      if (piece.bytes.empty()) {
        to.shutdown(tcp::socket::shutdown_send, failure);
        co_return;
      }
      co_await asio::async_write(to, asio::buffer(piece.bytes), use_awaitable);
    }
  }

  const Clock::duration roundTrip_;
  const tcp::endpoint upstream_;
  tcp::acceptor listener_;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) return 2;
  const std::string_view proxy = argv[2];
  const auto upstreamPort =
      static_cast<unsigned short>(std::stoi(std::string(proxy.substr(proxy.rfind(':') + 1))));
  asio::io_context context;
  Relay relay(context, std::chrono::milliseconds(std::stoi(argv[1])), upstreamPort);
  asio::co_spawn(context, relay.AcceptAll(), asio::detached);
  std::printf("http://127.0.0.1:%d\n", relay.Port());
  std::fflush(stdout);
  asio::posix::stream_descriptor input(context, 0);
  char ignored = 0;
  input.async_read_some(asio::buffer(&ignored, 1), [&](const auto&, size_t) { context.stop(); });
  context.run();
} catch (const std::exception& failure) {
  std::fprintf(stderr, "delay_relay: %s\n", failure.what());
  return 1;
}
