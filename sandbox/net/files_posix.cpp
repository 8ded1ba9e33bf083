#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "net/files.h"

namespace velk::sandbox {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void ThrowError(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

fs::path FromUtf8(std::string_view text) { return {text}; }

std::string ToUtf8(const fs::path& path) { return path.string(); }

void CreatePrivateFolder(const fs::path& path) {
  if (path.has_parent_path() && !fs::exists(path.parent_path())) CreatePrivateFolder(path.parent_path());
  if (::mkdir(path.c_str(), S_IRWXU) == 0) return;
  const int error = errno;  // the next call changes it
  std::error_code ignored;
  if (!fs::is_directory(path, ignored))
    throw std::system_error(error, std::generic_category(), "cannot create the folder " + path.string());
}

std::FILE* CreatePrivateFile(const fs::path& path) {
  std::error_code ignored;
  fs::remove(path, ignored);  // the permissions of an existing file would stay
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) ThrowError("cannot create " + path.string());
  std::FILE* const stream = ::fdopen(file, "wb");
  if (!stream) {
    ::close(file);
    ThrowError("cannot create " + path.string());
  }
  return stream;
}

}  // namespace velk::sandbox
