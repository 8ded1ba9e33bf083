#include "net/private_file.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "net/files.h"

namespace velk::sandbox {

PrivateFile::PrivateFile(std::filesystem::path path)
    : path_(std::move(path)), file_(CreatePrivateFile(path_)) {
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);  // so that Write notices every error
}

void PrivateFile::Write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) == bytes.size()) return;
  throw std::system_error(errno, std::generic_category(), "cannot write " + ToUtf8(path_));
}

}  // namespace velk::sandbox
