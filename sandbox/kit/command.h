// The commands of the control URL.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "kit/reply.h"
#include "kit/world.h"
#include "net/text.h"

namespace velk::sandbox {

// One request to the control URL.
struct Call {
  std::string method, path;
  Pairs query;
  std::string body;
  int id = 0;  // from a path such as /scripts/{id}
};

// Thrown by a command. Another exception means that the request is to blame, and gets status 400.
struct NotFound : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct QueryParameter {
  std::string_view name, meaning;
};

enum class Takes { kNothing, kScript, kMatch, kSwitches, kBytes };  // as body

struct Command {
  std::string_view method, path, summary;
  Reply (*run)(World& world, const Call& call);  // null: control.cpp sends what is too long for one reply
  Takes takes = Takes::kNothing;
  std::span<const QueryParameter> query = {};
};

std::span<const Command> Commands();

// Runs the command for the call. A failure is a reply too: {"error": why}.
Reply RunCommand(World& world, Call call);

}  // namespace velk::sandbox
