#include <sys/random.h>
#include <sys/stat.h>

#include <cerrno>
#include <thread>

#include "core/platform.h"

namespace velk {

const char kPathSeparator = '/';

NativePath WidenPath(std::string_view utf8) { return NativePath(utf8); }

std::string NarrowPath(const NativePath& path) { return path; }

std::FILE* OpenForReading(const NativePath& path) noexcept {
  // fopen would open a folder, and would block on a pipe. Neither can be measured and sent.
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
  return std::fopen(path.c_str(), "rbe");
}

int64_t MeasureFile(std::FILE* file) noexcept {
  static_assert(sizeof(off_t) == 8);
  if (::fseeko(file, 0, SEEK_END) != 0) return -1;
  const int64_t size = ::ftello(file);
  return ::fseeko(file, 0, SEEK_SET) == 0 ? size : -1;
}

void Wait(std::chrono::milliseconds duration) noexcept { std::this_thread::sleep_for(duration); }

bool FillWithRandomBytes(std::span<unsigned char> bytes) noexcept {
  while (!bytes.empty()) {
    const ssize_t count = ::getrandom(bytes.data(), bytes.size(), 0);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes = bytes.subspan(static_cast<size_t>(count));
  }
  return true;
}

std::unique_lock<std::mutex> LockLiboauth() {
  static std::mutex mutex;
  return std::unique_lock(mutex);
}

}  // namespace velk
