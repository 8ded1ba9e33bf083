// Messages about a wrong command line.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Error.hpp>
#include <string>

namespace velk::publish {

// Names the word that is wrong, suggests the nearest one, and shows no value, which may be a secret.
std::string Explain(const CLI::App& app, const CLI::ParseError& error);

}  // namespace velk::publish
