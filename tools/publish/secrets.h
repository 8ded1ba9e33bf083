// Where credentials come from: a file of the command line, the environment, or the configuration file.
#pragma once

#include <string>

#include "options.h"

namespace velk::publish {

struct SecretSource {
  const char* what;      // such as "access token"
  const char* option;    // such as "--token-file"
  const char* variable;  // such as "VELK_YOUTUBE_TOKEN"
  const char* setting;   // such as "youtube.token"
};

// Returns the secret from its file, or else from the environment or the configuration. Blanks at its end are
// removed. Throws UsageError when there is none.
std::string ReadSecret(const Options& options, const std::string& file, const SecretSource& source);

// The same for what is no secret, and so can be an argument. Returns an empty string when there is none.
std::string ReadPlain(const Options& options, const std::string& argument, const SecretSource& source);

// Reads a line of the standard input, such as a PIN.
std::string ReadInputLine();

}  // namespace velk::publish
