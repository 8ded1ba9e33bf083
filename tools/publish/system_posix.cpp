#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "system.h"

namespace velk::publish {
namespace {

std::atomic<int> interrupts;
static_assert(std::atomic<int>::is_always_lock_free);  // so that a signal handler may use it

void CountInterrupt(int) { ++interrupts; }

}  // namespace

std::vector<std::string> Arguments(int count, char** values) { return {values + 1, values + count}; }

std::optional<std::string> Variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::optional<std::string>(value) : std::nullopt;
}

std::filesystem::path FromUtf8(std::string_view text) { return text; }

std::FILE* OpenToRead(const std::filesystem::path& path) { return std::fopen(path.c_str(), "rb"); }

std::FILE* CreatePrivateFile(const std::filesystem::path& path) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) throw std::system_error(errno, std::generic_category(), "cannot create " + path.string());
  std::FILE* const stream = ::fdopen(file, "wb");
  if (!stream) {
    ::close(file);
    throw std::system_error(errno, std::generic_category(), "cannot create " + path.string());
  }
  return stream;
}

bool IsPrivate(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  return status.st_uid == ::geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

bool ErrorIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

int ErrorWidth() {
  winsize size{};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

bool InputIsTerminal() { return ::isatty(STDIN_FILENO) == 1; }

void CatchInterrupt() {
  struct sigaction action {};
  action.sa_handler = CountInterrupt;
  ::sigaction(SIGINT, &action, nullptr);
}

int Interrupts() { return interrupts; }

bool IsSeparator(char c) { return c == '/'; }

}  // namespace velk::publish
