// Reading of files. A failure names the file and the reason.
#pragma once

#include <cstdint>
#include <string>

namespace velk::publish {

std::string ReadTextFile(const std::string& path);  // throws FileError

// Returns the size of a file to publish. Throws FileError when it is absent, no regular file or not readable.
std::uint64_t MediaSize(const std::string& path);

// The part of a path after its last separator.
std::string FileName(const std::string& path);

}  // namespace velk::publish
