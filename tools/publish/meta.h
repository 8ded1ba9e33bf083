// A video's metadata from a file of JSON.
#pragma once

#include <string>
#include <string_view>

#include "options.h"

namespace velk::publish {

// Fills in what the command line has not given: title, description, privacy, category, target, tags. Throws
// UsageError with the line and the member for what is wrong, and FileError.
void AddMetadata(Options& options);

// The same for a text. `name` is that of the file, for messages.
void AddMetadata(Options& options, std::string_view text, const std::string& name);

}  // namespace velk::publish
