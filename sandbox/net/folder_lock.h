// Keeps a folder from being used by two processes.
#pragma once

#include <boost/interprocess/sync/file_lock.hpp>
#include <filesystem>

namespace velk::sandbox {

// Holds the lock until it is destroyed or its process ends, however it ends.
class FolderLock {
 public:
  // Throws std::runtime_error, with the folder in its message, when another process holds the lock.
  explicit FolderLock(const std::filesystem::path& folder);

 private:
  boost::interprocess::file_lock lock_;
};

}  // namespace velk::sandbox
