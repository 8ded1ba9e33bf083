// Files, most of which the user alone can read, and paths in UTF-8.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace velk::sandbox {

std::filesystem::path FromUtf8(std::string_view text);
std::string ToUtf8(const std::filesystem::path& path);

std::string ReadFile(const std::filesystem::path& path);  // throws std::runtime_error, which names the file

// Both create what the user alone can read, and throw std::system_error with the path in its message.
void CreatePrivateFolder(
    const std::filesystem::path& path);  // with its parents; an existing one is unchanged
std::FILE* CreatePrivateFile(const std::filesystem::path& path);  // replaces an existing file

}  // namespace velk::sandbox
