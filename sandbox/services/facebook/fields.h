// The `fields` parameter of the Graph API, which selects members of an object:
// "id,from{name},accounts.limit(2){id}".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::sandbox::facebook {

struct Field {
  std::string name;
  std::optional<std::uint64_t> limit;  // for a list
  std::vector<Field> fields;           // of the value
};

std::optional<std::vector<Field>> ParseFields(std::string_view text);  // none if it is malformed

}  // namespace velk::sandbox::facebook
