// A new file that the user alone can read.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string_view>

namespace velk::sandbox {

class PrivateFile {
 public:
  explicit PrivateFile(std::filesystem::path path);  // replaces an existing file; throws std::system_error

  const std::filesystem::path& Path() const { return path_; }
  void Write(std::string_view bytes);  // throws std::system_error with the path in its message
  void Close() { file_.reset(); }      // the destructor does so too

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::filesystem::path path_;
  std::unique_ptr<std::FILE, CloseFile> file_;
};

}  // namespace velk::sandbox
