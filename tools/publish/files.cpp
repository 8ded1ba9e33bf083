#include "files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <system_error>

#include "failure.h"
#include "system.h"

namespace velk::publish {
namespace {

namespace fs = std::filesystem;

struct Close {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

File Open(const std::string& path) {
  std::error_code error;
  if (fs::is_directory(FromUtf8(path), error)) throw FileError(path + ": is a folder");
  File file(OpenToRead(FromUtf8(path)));
  if (!file) throw FileError(path + ": " + std::generic_category().message(errno));
  return file;
}

}  // namespace

std::string ReadTextFile(const std::string& path) {
  const File file = Open(path);
  std::string text;
  std::array<char, 4096> piece;
  for (std::size_t count; (count = std::fread(piece.data(), 1, piece.size(), file.get())) > 0;)
    text.append(piece.data(), count);
  if (std::ferror(file.get())) throw FileError(path + ": " + std::generic_category().message(errno));
  // Editors and shells of Windows write these marks.
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
    throw FileError(path + ": is UTF-16; save it as UTF-8");
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  return text;
}

std::uint64_t MediaSize(const std::string& path) {
  const fs::path native = FromUtf8(path);
  std::error_code error;
  if (fs::exists(native, error) && !fs::is_directory(native, error) && !fs::is_regular_file(native, error))
    throw FileError(path + ": is no regular file");
  const File file = Open(path);
  const std::uint64_t size = fs::file_size(native, error);
  if (error) throw FileError(path + ": " + error.message());
  return size;
}

std::string FileName(const std::string& path) {
  return {std::find_if(path.rbegin(), path.rend(), IsSeparator).base(), path.end()};
}

}  // namespace velk::publish
