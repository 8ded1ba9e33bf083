#include "kit/content.h"

#include <algorithm>
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
constexpr char kPending[] = "pending";
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

Content::Content(Store& store, const KeptContent& kept)
    : store_(store),
      large_(Large::kStore),
      size_(kept.size),
      start_(kept.start),
      sha256_(kept.sha256),
      path_(kept.file.empty() ? fs::path() : store.Path() / kPending / FromUtf8(kept.file)) {}

Content::Content(Content&& other) noexcept
    : store_(other.store_),
      large_(other.large_),
      size_(std::exchange(other.size_, 0)),
      start_(std::move(other.start_)),
      bytes_(std::exchange(other.bytes_, {})),
      sha256_(std::move(other.sha256_)),
      file_(std::move(other.file_)),
      path_(std::exchange(other.path_, {})),
      digest_(std::move(other.digest_)) {}

Content::~Content() { store_.ReleaseMemory(bytes_.size()); }

void Content::KeepStart(std::string_view bytes) {
  if (size_ == start_.size()) start_ += bytes.substr(0, kStart - start_.size());
}

void Content::Append(std::string_view bytes) {
  if (bytes.empty()) return;
  KeepStart(bytes);
  if (large_ == Large::kCountOnly && size_ + bytes.size() > kLargestInMemory) return Count(bytes.size());
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
  if (other.path_.empty()) {
    KeepStart(other.start_);
    return Count(other.size_);
  }
  std::ifstream file(other.path_, std::ios::binary);
  for (std::vector<char> piece(kPiece); file.read(piece.data(), kPiece), file.gcount() > 0;)
    Append(std::string_view(piece.data(), static_cast<std::size_t>(file.gcount())));
}

void Content::Count(std::uint64_t bytes) {
  store_.ReleaseMemory(bytes_.size());
  bytes_.clear();
  file_.reset();
  path_.clear();
  digest_.reset();
  size_ += bytes;
}

// A service reads small contents. So they are written to a file even where large ones are not.
void Content::LeaveMemory() {
  digest_.reset(EVP_MD_CTX_new());
  EVP_DigestInit_ex(digest_.get(), EVP_sha256(), nullptr);
  file_ = store_.NewSpoolFile();
  path_ = file_->Path();
  store_.ReleaseMemory(bytes_.size());
  Sink(std::exchange(bytes_, {}));
}

void Content::DropFile() {
  if (large_ == Large::kCountOnly) digest_.reset();
  if (large_ == Large::kStore) return;
  file_.reset();
  path_.clear();
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

std::string Content::File() const { return ToUtf8(path_); }

std::string Content::Load() const {
  if (InMemory() || path_.empty()) return bytes_;
  std::ifstream file(path_, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Content::Text() const { return size_ <= kLargestText ? Load() : std::string(); }

std::string Content::Beginning(std::size_t most) const {
  if (InMemory() || path_.empty()) return bytes_.substr(0, most);
  std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(most, size_)), '\0');
  std::ifstream file(path_, std::ios::binary);
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return bytes;
}

// What a sandbox that was killed left in the spool is of no use any more.
Store::Store(const fs::path& folder, bool countOnly)
    : folder_(folder.empty() ? TemporaryFolder() : fs::absolute(folder)),
      temporary_(folder.empty()),
      countOnly_(countOnly) {
  CreatePrivateFolder(folder_);
  if (!temporary_) lock_.emplace(folder_);
  fs::remove_all(folder_ / kSpool);
  CreatePrivateFolder(folder_ / kSpool);
  if (!temporary_) CreatePrivateFolder(folder_ / kPending);
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

// Not every content has a file.
void Store::CopyTo(const Content& content, const fs::path& path) {
  if (content.path_.empty())
    PrivateFile(path).Write(content.Bytes());
  else
    Link(content.path_, path);
}

std::string Store::Keep(const Content& content, const std::string& name) {
  if (content.path_.empty() && !content.InMemory()) return {};
  const fs::path path = folder_ / name;
  CopyTo(content, path);
  const std::lock_guard lock(mutex_);
  kept_.push_back(path);
  newNames_.push_back(name);
  return ToUtf8(path);
}

std::vector<std::string> Store::TakeNewNames() {
  const std::lock_guard lock(mutex_);
  return std::exchange(newNames_, {});
}

void Store::Adopt(const std::string& name) {
  const std::lock_guard lock(mutex_);
  kept_.push_back(folder_ / FromUtf8(name));
}

fs::path Store::Find(std::string_view name) {
  const std::lock_guard lock(mutex_);
  const auto found =
      std::ranges::find_if(kept_, [&](const fs::path& path) { return ToUtf8(path.filename()) == name; });
  return found == kept_.end() ? fs::path() : *found;
}

void Store::Clear() {
  const std::lock_guard lock(mutex_);
  std::error_code ignored;
  for (const fs::path& path : kept_) fs::remove(path, ignored);
  kept_.clear();
  newNames_.clear();
}

// ---- Pending contents ----

KeptContent Store::KeepPending(const Content& content, const std::string& name) {
  const bool hasBytes = !content.path_.empty() || content.InMemory();
  const fs::path path = folder_ / kPending / FromUtf8(name);
  // A content that was restored is in this place already.
  if (hasBytes && path != content.path_) CopyTo(content, path);
  return {content.Size(), content.Start(), content.Sha256(), hasBytes ? name : std::string()};
}

void Store::RemovePending(const std::string& name) {
  std::error_code ignored;
  fs::remove(folder_ / kPending / FromUtf8(name), ignored);
}

void Store::RemovePendingBut(const std::set<std::string>& names) {
  std::error_code ignored;
  for (const fs::directory_entry& file : fs::directory_iterator(folder_ / kPending)) {
    if (!names.contains(ToUtf8(file.path().filename()))) fs::remove(file.path(), ignored);
  }
}

}  // namespace velk::sandbox
