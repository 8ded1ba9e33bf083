// Files for the tests to upload, and their contents.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace velk::test {

std::filesystem::path FromUtf8(std::string_view text);

// A file with the given name in its own folder. The destructor deletes both.
class TempFile {
 public:
  TempFile(std::string_view utf8Name, std::string_view content);
  static TempFile Sparse(std::string_view utf8Name, std::uint64_t size);  // filled with zeros
  TempFile(TempFile&& other) noexcept;
  TempFile& operator=(TempFile&&) = delete;
  ~TempFile();

  std::string Path() const;  // UTF-8
  const std::filesystem::path& File() const { return path_; }

 private:
  std::filesystem::path path_;
};

std::string Sha256(std::string_view bytes);  // lower-case hexadecimal

// Content that the services recognize as a picture: the signature of a PNG file, then the given bytes.
std::string Png(std::string_view rest);

// Pseudo-random bytes. The same seed gives the same bytes on every platform.
std::string RandomBytes(std::size_t size, std::uint32_t seed);

}  // namespace velk::test
