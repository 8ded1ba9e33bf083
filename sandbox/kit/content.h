// Bytes that arrived in a request: small ones kept in memory, large ones hashed and spooled to a file.
#pragma once

#include <openssl/evp.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "net/descriptor.h"

namespace velk::sandbox {

constexpr std::size_t kKeptInMemory = 256 * 1024;

std::string Sha256Hex(std::string_view bytes);

// What becomes of contents that are too large for memory.
enum class Large { kStore, kHashOnly, kCountOnly };

class Store;

// One body, or one field of a form. It is appended to, finished once, and only read from then on.
class Content {
 public:
  Content(Store& store, Large large) : store_(&store), large_(large) {}

  void Append(std::string_view bytes);
  void Finish();

  std::uint64_t Size() const { return size_; }
  const std::string& Sha256() const { return sha256_; }        // empty for what was only counted
  const std::string& Bytes() const { return bytes_; }          // empty for what left memory
  const std::filesystem::path& File() const { return file_; }  // empty for what was not spooled
  bool InMemory() const { return size_ == bytes_.size(); }
  std::string Load() const;  // all bytes, from wherever they are; empty for what was not kept

 private:
  struct FreeDigest {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  };
  void LeaveMemory();
  void Sink(std::string_view bytes);

  Store* store_;
  Large large_;
  std::uint64_t size_ = 0;
  std::string bytes_;
  std::string sha256_;
  std::filesystem::path file_;
  Descriptor spool_;
  std::unique_ptr<EVP_MD_CTX, FreeDigest> digest_;
};

// The folder of everything that arrived: media under the names that the services gave them, and a spool.
class Store {
 public:
  // An empty folder stands for a fresh temporary one, removed at the end.
  Store(std::filesystem::path folder, bool countOnly);
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  const std::filesystem::path& Folder() const { return folder_; }
  Large LargeContents() const { return countOnly_ ? Large::kCountOnly : Large::kStore; }
  std::filesystem::path NextSpoolFile();

  // Puts the content into the folder under that name; an empty path when only its size is known.
  std::filesystem::path Keep(const Content& content, const std::string& name);
  void Clear();  // removes the spool and all that was kept

 private:
  std::filesystem::path folder_;
  bool temporary_;
  bool countOnly_;
  std::atomic<unsigned> spooled_{0};
  std::mutex mutex_;
  std::vector<std::filesystem::path> kept_;
};

}  // namespace velk::sandbox
