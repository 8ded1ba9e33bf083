// Bytes that arrived in a request: small ones in memory, large ones hashed and written to a file.
#pragma once

#include <openssl/evp.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "net/folder_lock.h"
#include "net/private_file.h"

namespace velk::sandbox {

constexpr std::size_t kLargestInMemory = 64 * 1024;
constexpr std::size_t kMemoryForContents =
    64 * 1024 * 1024;  // beyond it, small contents are written to files too
constexpr std::size_t kLargestText = 1024 * 1024;

std::string Sha256Hex(std::string_view bytes);

// What becomes of contents that are too large for memory.
enum class Large { kStore, kHashOnly, kCountOnly };

class Store;

// What is known of a content whose process has ended.
struct KeptContent {
  std::uint64_t size = 0;
  std::string start = {}, sha256 = {};
  std::string file = {};  // its name in the folder of pending contents; empty for what was only counted
};

// A file of the spool. The destructor removes it.
class SpoolFile : public PrivateFile {
 public:
  using PrivateFile::PrivateFile;
  SpoolFile(SpoolFile&&) = delete;
  ~SpoolFile();
};

// One body, or one field of a form. It is appended to, finished once, and only read from then on.
class Content {
 public:
  Content(Store& store, Large large);
  // One that another process kept in a file, or only counted.
  Content(Store& store, const KeptContent& kept);
  Content(Content&& other) noexcept;
  Content& operator=(Content&&) = delete;
  ~Content();

  void Append(std::string_view bytes);  // throws std::system_error when the file cannot be written
  void Append(const Content& other);    // of what was only counted, only the size
  void Count(std::uint64_t bytes);      // adds bytes that nobody has, and forgets the others
  void Finish();

  std::uint64_t Size() const { return size_; }
  const std::string& Sha256() const { return sha256_; }  // empty for what was only counted
  const std::string& Start() const { return start_; }    // the first bytes, at most 16, even if only counted
  bool InMemory() const { return size_ == bytes_.size(); }
  bool IsKnown() const { return InMemory() || !path_.empty(); }
  const std::string& Bytes() const { return bytes_; }  // empty for what is not in memory
  std::string File() const;                            // its file's path in UTF-8; empty without a file
  std::string Load() const;  // all bytes, from wherever they are; empty for what was only hashed or counted
  std::string Text() const;  // the same, but empty for more than 1 MiB
  std::string Beginning(std::size_t most) const;  // the first bytes, as far as they are known

 private:
  friend class Store;
  struct FreeDigest {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };
  void KeepStart(std::string_view bytes);
  void LeaveMemory();
  void DropFile();
  void Sink(std::string_view bytes);

  Store& store_;
  const Large large_;
  std::uint64_t size_ = 0;
  std::string start_;
  std::string bytes_;
  std::string sha256_;
  std::unique_ptr<SpoolFile> file_;
  std::filesystem::path path_;  // of the file, which can be one that this content does not own
  std::unique_ptr<EVP_MD_CTX, FreeDigest> digest_;
};

// The folder of everything that arrived: media under the names that the services gave them, and a spool. The
// user alone can read it.
class Store {
 public:
  // An empty path is a new temporary folder, removed at the end. Throws std::system_error, with the path in
  // its message, when the folder cannot be used.
  Store(const std::filesystem::path& folder, bool countOnly);
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  std::string Folder() const;  // in UTF-8
  Large LargeContents() const { return countOnly_ ? Large::kCountOnly : Large::kStore; }

  // Puts the content into the folder under that name. Returns the file's path in UTF-8, or an empty string
  // when only the content's size is known.
  std::string Keep(const Content& content, const std::string& name);
  // The name is recorded, so that Clear removes the file even when another process kept it.
  std::vector<std::string> TakeNewNames();
  void Adopt(const std::string& name);
  void Clear();  // removes all that was kept
  // The path of what was kept under that name. Empty for any other name.
  std::filesystem::path Find(std::string_view name);

  // Contents of uploads that are not complete: they outlive the process, unless the folder is temporary.
  bool IsTemporary() const { return temporary_; }
  const std::filesystem::path& Path() const { return folder_; }
  KeptContent KeepPending(const Content& content, const std::string& name);
  void RemovePending(const std::string& name);
  void RemovePendingBut(const std::set<std::string>& names);

 private:
  friend class Content;
  std::unique_ptr<SpoolFile> NewSpoolFile();
  void CopyTo(const Content& content, const std::filesystem::path& path);
  bool ReserveMemory(std::size_t bytes);
  void ReleaseMemory(std::size_t bytes) { bytesInMemory_ -= bytes; }

  std::filesystem::path folder_;
  std::optional<FolderLock> lock_;  // of a folder that outlives the process
  bool temporary_;
  bool countOnly_;
  std::atomic<unsigned> spooled_{0};
  std::atomic<std::size_t> bytesInMemory_{0};
  std::mutex mutex_;
  std::vector<std::filesystem::path> kept_;
  std::vector<std::string> newNames_;
};

}  // namespace velk::sandbox
