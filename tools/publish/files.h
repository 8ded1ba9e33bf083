// Reading of files. A failure names the file and the reason.
#pragma once

#include <cstdint>
#include <string>

namespace velk::publish {

// Returns the text without a byte order mark. Throws FileError, also for UTF-16.
std::string ReadTextFile(const std::string& path);

// Returns the size of a file to publish. Throws FileError when it is absent, no regular file or not readable.
std::uint64_t MediaSize(const std::string& path);

// The part of a path after its last separator.
std::string FileName(const std::string& path);

}  // namespace velk::publish
