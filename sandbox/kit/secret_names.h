// What the sandbox takes for a secret, wherever a message has it. This is the one list of their names.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace velk::sandbox {

// A part of a text.
struct Span {
  std::size_t begin = 0, end = 0;
};

// Whether a parameter, a member, a field or a header of this name holds a secret. The case of letters does
// not count, and a hyphen is the same as an underscore.
bool IsSecretName(std::string_view name);

// Returns the first secret at or after `from`: the value of a secret name, in a URL, a form, JSON, XML, HTML
// or a header, also when one of them is inside of another one.
std::optional<Span> FindSecret(std::string_view text, std::size_t from);

}  // namespace velk::sandbox
