// What ends the program before a service is reached.
#pragma once

#include <stdexcept>

namespace velk::publish {

// The command line or one of its values is wrong. The message is for the user, and never contains a secret.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A file cannot be read or written, or must not be used. The message names it.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Ctrl-C, while the program read its input.
struct Interrupted : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace velk::publish
