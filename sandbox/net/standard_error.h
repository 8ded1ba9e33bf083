// What the program reports to whoever started it.
#pragma once

#include <string>

namespace velk::sandbox {

// Writes one line to the standard error stream, as a whole and at once: Windows would buffer it in a file.
// Callable from any thread.
void PrintError(std::string line);

}  // namespace velk::sandbox
