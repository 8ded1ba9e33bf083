#include <linux/close_range.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/process/args.hpp>
#include <boost/process/async.hpp>
#include <boost/process/child.hpp>
#include <boost/process/exe.hpp>
#include <boost/process/extend.hpp>
#include <boost/process/search_path.hpp>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "net/platform.h"

namespace velk::sandbox {
namespace {

namespace fs = std::filesystem;
namespace process = boost::process;

void SetOption(Socket socket, int level, int name, int value) {
  ::setsockopt(socket, level, name, &value, sizeof value);
}

// The process gets SIGTERM when its parent ends. Returns false when the parent has ended before.
bool RequestSignalAtEndOf(pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  return ::getppid() == parent;
}

}  // namespace

void ReserveAddress(Socket listener) { SetOption(listener, SOL_SOCKET, SO_REUSEADDR, 1); }

// With the default segment size, the system would round the window up to several megabytes.
void NarrowWindow(Socket listener) {
  SetOption(listener, IPPROTO_TCP, TCP_MAXSEG, 536);
  SetOption(listener, SOL_SOCKET, SO_RCVBUF, 4096);
}

bool PeerHasGone(Socket connection) {
  pollfd end{connection, POLLRDHUP, 0};
  return ::poll(&end, 1, 0) > 0;
}

std::size_t BytesInFlight(Socket connection) {
  int bytes = 0;
  return ::ioctl(connection, SIOCOUTQ, &bytes) == 0 ? static_cast<std::size_t>(bytes) : 0;
}

std::vector<int> EndingSignals() {
  ::signal(SIGPIPE, SIG_IGN);
  return {SIGINT, SIGTERM, SIGHUP};
}

std::vector<std::string> Arguments(int count, char** values) { return {values + 1, values + count}; }

// The signal arrives as any other SIGTERM does, so `end` is not needed here.
ParentWatch EndWithParent(boost::asio::io_context&, const std::function<void()>&) {
  if (!RequestSignalAtEndOf(::getppid())) ::_exit(1);
  return nullptr;
}

struct Command::Process {
  process::child child;
};

Command::Command(boost::asio::io_context& context, const std::vector<std::string>& words,
                 const Variables& added, const std::vector<std::string>& removed,
                 const std::function<void(int status)>& exited) {
  for (const auto& [name, value] : added) ::setenv(name.c_str(), value.c_str(), 1);
  for (const std::string& name : removed) ::unsetenv(name.c_str());

  const bool isPath = words.front().find('/') != std::string::npos;
  const fs::path program = isPath ? fs::path(words.front()) : fs::path(process::search_path(words.front()));
  if (program.empty()) throw std::system_error(ENOENT, std::generic_category(), words.front());
  const std::vector<std::string> arguments(words.begin() + 1, words.end());
  const pid_t self = ::getpid();
  std::error_code error;
  process::child child(
      process::exe = program.string(), process::args = arguments, context, error,
      process::extend::on_exec_setup =
          [self](auto&) {
            ::close_range(STDERR_FILENO + 1, ~0U,
                          CLOSE_RANGE_CLOEXEC);  // the listeners' ports end with this process
            ::signal(SIGPIPE, SIG_DFL);
            if (!RequestSignalAtEndOf(self)) ::_exit(1);
          },
      process::on_exit =
          [this, exited](int, const std::error_code&) {
            const int status = process_->child.native_exit_code();
            exited(WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status));
          });
  if (error) throw std::system_error(error, words.front());
  process_ = std::make_unique<Process>(Process{std::move(child)});
}

Command::~Command() = default;

void Command::Forward(int signal) { ::kill(process_->child.id(), signal); }

}  // namespace velk::sandbox
