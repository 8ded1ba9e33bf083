#include "settings.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include "failure.h"
#include "files.h"
#include "nearest.h"
#include "system.h"

namespace velk::publish {
namespace {

namespace fs = std::filesystem;

const std::vector<std::string>& KnownNames() {
  static const std::vector<std::string> names{"proxy",
                                              "facebook.app",
                                              "facebook.secret",
                                              "facebook.token",
                                              "twitter.token",
                                              "twitter.consumer-key",
                                              "twitter.consumer-secret",
                                              "twitter.token-secret",
                                              "twitter.user-id",
                                              "twitter.screen-name",
                                              "youtube.token"};
  return names;
}

// A line without "=" may be a secret, and is then not shown.
bool MayBeShown(const std::string& name) {
  return name.find_first_not_of("abcdefghijklmnopqrstuvwxyz.-_") == name.npos;
}

void CheckName(const std::string& path, const std::string& name) {
  for (const std::string& known : KnownNames())
    if (known == name) return;
  const std::string nearest = Nearest(name, KnownNames());
  if (!nearest.empty() && MayBeShown(name))
    throw UsageError(path + ": unknown setting \"" + name + "\"; did you mean \"" + nearest + "\"?");
  std::string all;
  for (const std::string& known : KnownNames()) all += (all.empty() ? "" : ", ") + known;
  throw UsageError(path + ": a line is no known setting (not shown: it may be a secret). Known are " + all);
}

std::string SectionName(std::string_view line) {
  const std::size_t begin = line.find_first_not_of(" \t"), end = line.find(']');
  if (begin == line.npos || line[begin] != '[' || end == line.npos) return "";
  return std::string(line.substr(begin + 1, end - begin - 1));
}

// The reader knows no escapes. A token contains neither kind of quote.
std::string Quoted(const std::string& value) {
  const char quote = value.find('"') == value.npos ? '"' : '\'';
  return quote + value + quote;
}

}  // namespace

Settings ReadSettings(const std::string& path) {
  const std::string text = ReadTextFile(path);
  if (!IsPrivate(FromUtf8(path)))
    throw FileError(path +
                    ": others may read this file; it must be yours, and closed to others (Linux: chmod 600)");
  std::istringstream stream(text);
  Settings settings;
  for (const CLI::ConfigItem& item : CLI::ConfigTOML().from_config(stream)) {
    if (item.name == "++" || item.name == "--") continue;  // the borders of a section
    CheckName(path, item.fullname());
    if (item.inputs.size() != 1) throw UsageError(path + ": \"" + item.fullname() + "\" requires one value");
    settings[item.fullname()] = item.inputs.front();
  }
  return settings;
}

std::string WithSection(std::string_view text, std::string_view section, const Settings& values) {
  std::string result;
  bool replaced = false;
  std::istringstream lines{std::string(text)};
  for (std::string line; std::getline(lines, line);) {
    if (const std::string name = SectionName(line); !name.empty()) replaced = name == section;
    if (!replaced) result += line + '\n';
  }
  result += '[' + std::string(section) + "]\n";
  for (const auto& [name, value] : values) result += name + " = " + Quoted(value) + '\n';
  return result;
}

SavedSettings::SavedSettings(const std::string& path) : path_(path), temporary_(path + ".new") {
  const fs::path target = FromUtf8(path);
  std::error_code error;
  if (fs::exists(target, error) && !fs::is_regular_file(target, error))
    throw FileError(path + ": is no regular file");
  // Only a test: an end of the program in the middle of the sign-in leaves no file.
  Create();
  std::fclose(std::exchange(file_, nullptr));
  fs::remove(FromUtf8(temporary_), error);
}

void SavedSettings::Create() {
  std::error_code ignored;
  fs::remove(FromUtf8(temporary_), ignored);
  try {
    file_ = CreatePrivateFile(FromUtf8(temporary_));
  } catch (const std::system_error& failure) {
    throw FileError(path_ + ": cannot be written: " + failure.code().message());
  }
}

SavedSettings::~SavedSettings() {
  if (file_) std::fclose(file_);
  std::error_code ignored;
  if (!temporary_.empty()) fs::remove(FromUtf8(temporary_), ignored);
}

void SavedSettings::Save(std::string_view section, const Settings& values) {
  const std::string text =
      WithSection(fs::exists(FromUtf8(path_)) ? ReadTextFile(path_) : std::string(), section, values);
  Create();
  const bool written =
      std::fwrite(text.data(), 1, text.size(), file_) == text.size() && std::fflush(file_) == 0;
  int reason = errno;
  const bool closed = std::fclose(file_) == 0;
  if (written && !closed) reason = errno;
  file_ = nullptr;
  std::error_code error(written && closed ? 0 : reason, std::generic_category());
  if (!error) fs::rename(FromUtf8(temporary_), FromUtf8(path_), error);
  if (error) throw FileError(path_ + ": cannot be written: " + error.message());
  temporary_.clear();
}

}  // namespace velk::publish
