// What a script can state. A member is described here once, by its field and its row in ScriptMembers(): the
// control API reads it, and its OpenAPI document, docs/sandbox.md and the client of the tests follow.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "net/text.h"

namespace velk::sandbox {

struct ScriptText {
  std::string host = {};
  std::string method = {};
  std::string path = {};
  Pairs withQuery = {};
  Pairs withHeaders = {};
  Pairs withForm = {};
  std::string withBody = {};

  bool kept = false;
  int times = 1;

  int status = 200;
  std::string reason = {};
  std::vector<std::string> headers = {};
  std::string body = {};
  std::optional<std::uint64_t> bodySize = {};
  bool passThrough = false;

  int delayMs = 0;
  bool answerEarly = false;
  std::optional<std::uint64_t> cutAfter = {};
  std::optional<std::uint64_t> cutBodyAfter = {};
  bool reset = false;
  std::optional<std::uint64_t> stopReadingAfter = {};
  std::uint64_t readSlowly = 0;
  bool neverAnswer = false;
  bool noContentLength = false;
  bool hangUp = false;
  std::string certificateName = {};
  int refuseConnect = 0;
};

// What a member is for: it names requests, limits how often the script applies, or states the reply or a
// fault.
enum class Use { kMatch, kLimit, kReply, kFault };

using ScriptField = std::variant<std::string ScriptText::*, bool ScriptText::*, int ScriptText::*,
                                 std::uint64_t ScriptText::*, std::optional<std::uint64_t> ScriptText::*,
                                 std::vector<std::string> ScriptText::*, Pairs ScriptText::*>;

struct ScriptMember {
  std::string_view name;
  Use use;
  ScriptField field;
  std::string_view meaning;
  // For numbers. JSON's readers agree on integers up to 2^53.
  std::uint64_t least = 0;
  std::uint64_t most = std::holds_alternative<int ScriptText::*>(field) ? std::numeric_limits<int>::max()
                                                                        : std::uint64_t{1} << 53;
};

std::span<const ScriptMember> ScriptMembers();
const ScriptMember* FindScriptMember(std::string_view name);  // null if there is none

}  // namespace velk::sandbox
