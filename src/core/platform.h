// The platform layer: paths, files over 2 GiB, sleeping, randomness and the liboauth lock.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <span>
#include <string>
#include <string_view>

namespace velk {

// A path in the encoding of the system calls: UTF-16 on Windows, bytes elsewhere.
using NativePath = std::filesystem::path::string_type;

extern const char kPathSeparator;

// Converts a UTF-8 path to the native encoding. On Windows, invalid UTF-8 becomes U+FFFD.
NativePath WidenPath(std::string_view utf8);

// Converts a path to the file name sent in a form. On Windows it uses the ANSI code page, with substitutes
// for the characters it lacks.
std::string NarrowPath(const NativePath& path);

// Opens a regular file for binary reading. Returns null on failure, or if it is not a regular file.
std::FILE* OpenForReading(const NativePath& path) noexcept;

// Returns the size of an open file and seeks to its start. Returns -1 on failure.
int64_t MeasureFile(std::FILE* file) noexcept;

void Wait(std::chrono::milliseconds duration) noexcept;

// Fills the bytes from the operating system's random generator. Returns false if the generator fails.
bool FillWithRandomBytes(std::span<unsigned char> bytes) noexcept;

// Locks liboauth; hold the lock during every call into it. On Linux it is not thread-safe: it calls strtok,
// and its first signature initializes the cryptography without a lock. On Windows strtok keeps its position
// per thread and nothing needs initialization, so the lock is empty.
std::unique_lock<std::mutex> LockLiboauth();

}  // namespace velk
