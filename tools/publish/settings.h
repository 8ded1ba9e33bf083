// The configuration file: credentials in sections named after the services.
#pragma once

#include <cstdio>
#include <map>
#include <string>
#include <string_view>

namespace velk::publish {

// "SECTION.NAME" and the value, such as "twitter.token".
using Settings = std::map<std::string, std::string>;

// Reads a file that the user alone may read. Throws FileError, and UsageError for what it must not contain.
Settings ReadSettings(const std::string& path);

// Replaces a section of a configuration file, or adds it. Other lines stay as they are.
std::string WithSection(std::string_view text, std::string_view section, const Settings& values);

// A private file that replaces another as soon as it is complete. A failure leaves no new file and the old
// one unchanged.
class SavedSettings {
 public:
  explicit SavedSettings(const std::string& path);  // throws FileError when it cannot be written later
  ~SavedSettings();
  SavedSettings(const SavedSettings&) = delete;
  SavedSettings& operator=(const SavedSettings&) = delete;

  void Save(std::string_view section, const Settings& values);  // throws FileError

 private:
  void Create();  // throws FileError

  std::string path_;
  std::string temporary_;
  std::FILE* file_ = nullptr;
};

}  // namespace velk::publish
