// A video's metadata from a file of JSON.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "options.h"

namespace velk::publish {

// The words of the members that can have no others.
using Choices = std::map<std::string, std::vector<std::string>>;

// Fills in what the command line has not given: title, description, privacy, category, target, tags. Throws
// UsageError with the line and the member for what is wrong, and FileError.
void AddMetadata(Options& options, const Choices& choices);

// The same for a text. `name` is that of the file, for messages.
void AddMetadata(Options& options, const Choices& choices, std::string_view text, const std::string& name);

}  // namespace velk::publish
