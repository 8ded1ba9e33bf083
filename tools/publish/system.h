// What the program needs from the operating system. Texts and paths are UTF-8 on every system.
#pragma once

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::publish {

// The arguments without the program's name. Also prepares the console for UTF-8.
std::vector<std::string> Arguments(int count, char** values);

std::optional<std::string> Variable(const char* name);  // of the environment

std::filesystem::path FromUtf8(std::string_view text);

// Returns null when the file cannot be opened, with the reason in errno.
std::FILE* OpenToRead(const std::filesystem::path& path);

// Creates a file that its owner alone can read (on Windows also the system and the administrators). It must
// not exist. Throws std::system_error.
std::FILE* CreatePrivateFile(const std::filesystem::path& path);

// Returns whether the user alone can read the file, or on Windows also the system and the administrators.
bool IsPrivate(const std::filesystem::path& path);

bool ErrorIsTerminal();  // of the standard error stream
int ErrorWidth();        // its columns
bool InputIsTerminal();

// From then on, Ctrl-C is counted.
void CatchInterrupt();
int Interrupts();

// Whether the character separates folders and names.
bool IsSeparator(char c);

}  // namespace velk::publish
