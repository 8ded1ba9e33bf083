#include "support/files.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <random>
#include <stdexcept>
#include <utility>

namespace velk::test {
namespace {

namespace fs = std::filesystem;

fs::path FreshFolder() {
  std::random_device random;
  for (;;) {
    fs::path folder = fs::temp_directory_path() / ("velk-test-" + std::to_string(random()));
    if (fs::create_directory(folder)) return folder;
  }
}

}  // namespace

fs::path FromUtf8(std::string_view text) { return fs::path(std::u8string(text.begin(), text.end())); }

TempFile::TempFile(std::string_view utf8Name, std::string_view content)
    : path_(FreshFolder() / FromUtf8(utf8Name)) {
  std::ofstream file(path_, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + Path());
}

TempFile TempFile::Sparse(std::string_view utf8Name, std::uint64_t size) {
  TempFile file(utf8Name, "");
  fs::resize_file(file.path_, size);
  return file;
}

TempFile::TempFile(TempFile&& other) noexcept : path_(std::exchange(other.path_, {})) {}

TempFile::~TempFile() {
  std::error_code ignored;
  if (!path_.empty()) fs::remove_all(path_.parent_path(), ignored);
}

std::string TempFile::Path() const {
  const std::u8string text = path_.u8string();
  return {text.begin(), text.end()};
}

std::string Sha256(std::string_view bytes) {
  std::array<unsigned char, 32> hash{};
  EVP_Q_digest(nullptr, "SHA256", nullptr, bytes.data(), bytes.size(), hash.data(), nullptr);
  std::string text;
  for (const unsigned char byte : hash) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

std::string Png(std::string_view rest) { return "\x89PNG\r\n\x1A\n" + std::string(rest); }

std::string RandomBytes(std::size_t size, std::uint32_t seed) {
  std::mt19937 generator(seed);
  std::string bytes(size, '\0');
  std::ranges::generate(bytes, [&] { return static_cast<char>(generator() & 0xFF); });
  return bytes;
}

}  // namespace velk::test
