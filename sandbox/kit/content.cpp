// Bytes that arrived in a request: small ones kept in memory, large ones hashed and spooled to a file.
#include "kit/content.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace fs = std::filesystem;

void WriteAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw std::system_error(errno, std::generic_category(), "spool file");
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

Descriptor CreateFile(const fs::path& path) {
  Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (file.Get() < 0) throw std::system_error(errno, std::generic_category(), path.string());
  return file;
}

std::string Hex(const unsigned char* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

fs::path FreshFolder() {
  for (;;) {
    fs::path folder = fs::temp_directory_path() / ("velk-sandbox-" + RandomName(8));
    if (fs::create_directory(folder)) return folder;
  }
}

}  // namespace

std::string Sha256Hex(std::string_view bytes) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
  unsigned size = 0;
  EVP_Digest(bytes.data(), bytes.size(), hash.data(), &size, EVP_sha256(), nullptr);
  return Hex(hash.data(), size);
}

void Content::Append(std::string_view bytes) {
  const bool wasInMemory = InMemory();
  size_ += bytes.size();
  if (wasInMemory && size_ <= kKeptInMemory) {
    bytes_ += bytes;
    return;
  }
  if (wasInMemory) LeaveMemory();
  Sink(bytes);
}

void Content::LeaveMemory() {
  if (large_ != Large::kCountOnly) {
    digest_.reset(EVP_MD_CTX_new());
    EVP_DigestInit_ex(digest_.get(), EVP_sha256(), nullptr);
  }
  if (large_ == Large::kStore) {
    file_ = store_->NextSpoolFile();
    spool_ = CreateFile(file_);
  }
  Sink(std::exchange(bytes_, {}));
}

void Content::Sink(std::string_view bytes) {
  if (digest_) EVP_DigestUpdate(digest_.get(), bytes.data(), bytes.size());
  if (spool_.Get() >= 0) WriteAll(spool_.Get(), bytes);
}

void Content::Finish() {
  spool_.Close();
  if (InMemory()) {
    sha256_ = Sha256Hex(bytes_);
  } else if (digest_) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned size = 0;
    EVP_DigestFinal_ex(digest_.get(), hash.data(), &size);
    digest_.reset();
    sha256_ = Hex(hash.data(), size);
  }
}

std::string Content::Load() const {
  if (InMemory()) return bytes_;
  std::ifstream file(file_, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Store::Store(fs::path folder, bool countOnly)
    : folder_(folder.empty() ? FreshFolder() : fs::absolute(folder)),
      temporary_(folder.empty()),
      countOnly_(countOnly) {
  fs::create_directories(folder_ / "spool");
}

Store::~Store() {
  std::error_code ignored;
  fs::remove_all(temporary_ ? folder_ : folder_ / "spool", ignored);
}

fs::path Store::NextSpoolFile() { return folder_ / "spool" / std::to_string(++spooled_); }

fs::path Store::Keep(const Content& content, const std::string& name) {
  const fs::path path = folder_ / name;
  if (content.InMemory()) {
    WriteAll(CreateFile(path).Get(), content.Bytes());
  } else if (!content.File().empty()) {
    std::error_code noLink;
    fs::create_hard_link(content.File(), path, noLink);
    if (noLink) fs::copy_file(content.File(), path, fs::copy_options::overwrite_existing);
  } else {
    return {};
  }
  const std::lock_guard lock(mutex_);
  kept_.push_back(path);
  return path;
}

void Store::Clear() {
  const std::lock_guard lock(mutex_);
  std::error_code ignored;
  for (const fs::path& path : kept_) fs::remove(path, ignored);
  kept_.clear();
  for (const auto& entry : fs::directory_iterator(folder_ / "spool", ignored)) fs::remove(entry, ignored);
}

}  // namespace velk::sandbox
