#include "net/folder_lock.h"

#include <stdexcept>

#include "net/files.h"
#include "net/private_file.h"

namespace velk::sandbox {
namespace {

constexpr char kFile[] = "lock";

// An existing file can be another process's lock, so it is not replaced.
boost::interprocess::file_lock Open(const std::filesystem::path& file) {
  if (!std::filesystem::exists(file)) PrivateFile{file};
  return boost::interprocess::file_lock(file.c_str());
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& folder) : lock_(Open(folder / kFile)) {
  if (!lock_.try_lock()) throw std::runtime_error("another sandbox uses the folder " + ToUtf8(folder));
}

}  // namespace velk::sandbox
