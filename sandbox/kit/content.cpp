#include "kit/content.h"

#include <array>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "net/files.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace fs = std::filesystem;

constexpr char kSpool[] = "spool";
constexpr std::size_t kStart = 16;
constexpr std::size_t kPiece = 128 * 1024;

std::string Hex(const unsigned char* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

fs::path TemporaryFolder() { return fs::temp_directory_path() / ("velk-sandbox-" + RandomName(12)); }

// Not every file system has hard links.
void Link(const fs::path& from, const fs::path& to) {
  std::error_code failed;
  fs::remove(to, failed);
  fs::create_hard_link(from, to, failed);
  if (failed) fs::copy_file(from, to);
}

}  // namespace

std::string Sha256Hex(std::string_view bytes) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
  unsigned size = 0;
  EVP_Digest(bytes.data(), bytes.size(), hash.data(), &size, EVP_sha256(), nullptr);
  return Hex(hash.data(), size);
}

SpoolFile::~SpoolFile() {
  Close();
  std::error_code ignored;
  fs::remove(Path(), ignored);
}

Content::Content(Store& store, Large large) : store_(store), large_(large) {}

Content::Content(Content&& other) noexcept
    : store_(other.store_),
      large_(other.large_),
      size_(std::exchange(other.size_, 0)),
      start_(std::move(other.start_)),
      bytes_(std::exchange(other.bytes_, {})),
      sha256_(std::move(other.sha256_)),
      file_(std::move(other.file_)),
      digest_(std::move(other.digest_)) {}

Content::~Content() { store_.ReleaseMemory(bytes_.size()); }

void Content::KeepStart(std::string_view bytes) {
  if (size_ == start_.size()) start_ += bytes.substr(0, kStart - start_.size());
}

void Content::Append(std::string_view bytes) {
  if (bytes.empty()) return;
  KeepStart(bytes);
  const bool wasInMemory = InMemory();
  size_ += bytes.size();
  if (wasInMemory && size_ <= kLargestInMemory && store_.ReserveMemory(bytes.size())) {
    bytes_ += bytes;
    return;
  }
  if (wasInMemory) LeaveMemory();
  if (size_ > kLargestInMemory) DropFile();
  Sink(bytes);
}

void Content::Append(const Content& other) {
  if (other.InMemory()) return Append(other.bytes_);
  if (!other.file_) {
    KeepStart(other.start_);
    return Count(other.size_);
  }
  std::ifstream file(other.file_->Path(), std::ios::binary);
  for (std::vector<char> piece(kPiece); file.read(piece.data(), kPiece), file.gcount() > 0;)
    Append(std::string_view(piece.data(), static_cast<std::size_t>(file.gcount())));
}

void Content::Count(std::uint64_t bytes) {
  store_.ReleaseMemory(bytes_.size());
  bytes_.clear();
  file_.reset();
  digest_.reset();
  size_ += bytes;
}

// A service reads small contents. So they are written to a file even where large ones are not.
void Content::LeaveMemory() {
  digest_.reset(EVP_MD_CTX_new());
  EVP_DigestInit_ex(digest_.get(), EVP_sha256(), nullptr);
  file_ = store_.NewSpoolFile();
  store_.ReleaseMemory(bytes_.size());
  Sink(std::exchange(bytes_, {}));
}

void Content::DropFile() {
  if (large_ != Large::kStore) file_.reset();
  if (large_ == Large::kCountOnly) digest_.reset();
}

void Content::Sink(std::string_view bytes) {
  if (digest_) EVP_DigestUpdate(digest_.get(), bytes.data(), bytes.size());
  if (file_) file_->Write(bytes);
}

void Content::Finish() {
  if (file_) file_->Close();
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

std::string Content::File() const { return file_ ? ToUtf8(file_->Path()) : std::string(); }

std::string Content::Load() const {
  if (InMemory() || !file_) return bytes_;
  std::ifstream file(file_->Path(), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Content::Text() const { return size_ <= kLargestText ? Load() : std::string(); }

// What a sandbox that was killed left in the spool is of no use any more.
Store::Store(const fs::path& folder, bool countOnly)
    : folder_(folder.empty() ? TemporaryFolder() : fs::absolute(folder)),
      temporary_(folder.empty()),
      countOnly_(countOnly) {
  CreatePrivateFolder(folder_);
  fs::remove_all(folder_ / kSpool);
  CreatePrivateFolder(folder_ / kSpool);
}

Store::~Store() {
  std::error_code ignored;
  fs::remove_all(temporary_ ? folder_ : folder_ / kSpool, ignored);
}

std::string Store::Folder() const { return ToUtf8(folder_); }

std::unique_ptr<SpoolFile> Store::NewSpoolFile() {
  return std::make_unique<SpoolFile>(folder_ / kSpool / std::to_string(++spooled_));
}

bool Store::ReserveMemory(std::size_t bytes) {
  if (bytesInMemory_.fetch_add(bytes) + bytes <= kMemoryForContents) return true;
  ReleaseMemory(bytes);
  return false;
}

std::string Store::Keep(const Content& content, const std::string& name) {
  if (!content.file_ && !content.InMemory()) return {};
  const fs::path path = folder_ / name;
  if (content.file_)
    Link(content.file_->Path(), path);
  else
    PrivateFile(path).Write(content.Bytes());
  const std::lock_guard lock(mutex_);
  kept_.push_back(path);
  return ToUtf8(path);
}

void Store::Clear() {
  const std::lock_guard lock(mutex_);
  std::error_code ignored;
  for (const fs::path& path : kept_) fs::remove(path, ignored);
  kept_.clear();
}

}  // namespace velk::sandbox
