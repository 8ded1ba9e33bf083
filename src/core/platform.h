// The only door to the operating system: paths, files beyond 2 GiB, waiting, randomness, and turns with liboauth.
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

// A path as the system's own calls take it: UTF-16 on Windows, bytes elsewhere.
using NativePath = std::filesystem::path::string_type;

// What stands between a folder and a file name.
extern const char kPathSeparator;

// Turns a UTF-8 path into the system's form. On Windows bytes that are no UTF-8 become U+FFFD.
NativePath WidenPath(std::string_view utf8);

// Turns a path into the text that a form announces as file name. On Windows that is the ANSI code page, with
// its substitutes for characters that it lacks.
std::string NarrowPath(const NativePath& path);

// Opens a regular file for reading bytes, or answers null.
std::FILE* OpenForReading(const NativePath& path) noexcept;

// Measures an open file and leaves it at its start. Answers -1 when it cannot be measured.
int64_t MeasureFile(std::FILE* file) noexcept;

void Wait(std::chrono::milliseconds duration) noexcept;

// Fills the bytes from the operating system's random generator. Returns false when it has none to give.
bool FillWithRandomBytes(std::span<unsigned char> bytes) noexcept;

// To be held while liboauth works. On Linux its threads share the place where strtok stands in a text, and its
// cryptography is set up by the first signature without a lock. On Windows strtok's place is each thread's own
// and there is nothing to set up: no lock is taken.
std::unique_lock<std::mutex> TurnWithLiboauth();

}  // namespace velk
