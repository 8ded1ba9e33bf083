// The man page and the completions of shells, made from the options of the command line.
#pragma once

#include <CLI/App.hpp>
#include <string>

namespace velk::publish {

std::string ManPage(const CLI::App& app);
std::string BashCompletion(const CLI::App& app);
std::string ZshCompletion(const CLI::App& app);

}  // namespace velk::publish
