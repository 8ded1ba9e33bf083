#include "net/private_file.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "net/files.h"

namespace velk::sandbox {

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + ToUtf8(path));
  return {std::istreambuf_iterator<char>(file), {}};
}

PrivateFile::PrivateFile(std::filesystem::path path)
    : path_(std::move(path)), file_(CreatePrivateFile(path_)) {
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);  // so that Write notices every error
}

void PrivateFile::Write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) == bytes.size()) return;
  throw std::system_error(errno, std::generic_category(), "cannot write " + ToUtf8(path_));
}

}  // namespace velk::sandbox
