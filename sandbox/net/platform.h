// Sockets and processes. With net/files.h, the only door to the operating system: what neither Asio nor the
// standard library offers.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::sandbox {

using Socket = boost::asio::ip::tcp::socket::native_handle_type;

// ---- Sockets ----

// Lets a listener bind to a port that was in use a moment ago, but never to one in use. Call before binding.
void ReserveAddress(Socket listener);

// Gives the connections of a listener the smallest receive window. Call before listening.
void NarrowWindow(Socket listener);

// Returns whether the peer ended or reset the connection, even when unread bytes precede the end.
bool PeerHasGone(Socket connection);

// Returns how many sent bytes have not arrived yet, as far as the system reports it.
std::size_t BytesInFlight(Socket connection);

// ---- Processes ----

// Returns the signals that end the program. A broken pipe is not one of them from then on.
std::vector<int> EndingSignals();

// Returns the arguments in UTF-8, without the program's name.
std::vector<std::string> Arguments(int count, char** values);

// Calls `end` on the context when the process that started this one ends. Otherwise a forgotten sandbox would
// keep its ports. The watch ends with its last owner.
using ParentWatch = std::shared_ptr<void>;
ParentWatch EndWithParent(boost::asio::io_context& context, const std::function<void()>& end);

// A program that runs inside the sandbox. It ends with this process.
class Command {
 public:
  using Variables = std::vector<std::pair<std::string, std::string>>;

  // Starts it with the variables added to its environment, and without those named in `removed`. Calls
  // `exited` on the context with its exit status, which is 128 plus the number of a signal that ended it.
  // Throws std::system_error when it cannot be started.
  Command(boost::asio::io_context& context, const std::vector<std::string>& words, const Variables& added,
          const std::vector<std::string>& removed, const std::function<void(int status)>& exited);
  ~Command();
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  void Forward(int signal);  // does nothing on Windows, where the console reaches the command itself

 private:
  struct Process;
  std::unique_ptr<Process> process_;
};

}  // namespace velk::sandbox
