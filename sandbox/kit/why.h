// Why a service refused a request, or why a fault changed its reply: for the developer of the client. It is
// never sent to the client.
#pragma once

#include <boost/json/object.hpp>
#include <string>
#include <string_view>

namespace velk::sandbox {

struct Why {
  std::string text = {};             // empty when there is nothing to explain
  boost::json::object details = {};  // what a program can show, such as both base strings of a signature
};

// The string in double quotes, in one line: cut after `most` bytes, with control characters as \x1b.
std::string Quoted(std::string_view bytes, std::size_t most = 60);

// Any bytes as one line of UTF-8, with control characters as \x1b.
std::string OneLine(std::string_view bytes);

}  // namespace velk::sandbox
