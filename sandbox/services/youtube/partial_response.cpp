#include "services/youtube/partial_response.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <map>
#include <string>

namespace velk::sandbox::youtube {
namespace {

namespace json = boost::json;

constexpr int kDeepest = 20;

// What is selected of a value. Without members: all of it.
struct Selection {
  std::map<std::string, Selection, std::less<>> members;
};

class SelectionParser {
 public:
  explicit SelectionParser(std::string_view text) : rest_(text) {}

  bool Parse(Selection& selection) { return ParseList(selection, 0) && rest_.empty(); }

 private:
  bool Accept(char expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  bool ParseList(Selection& into, int depth) {
    do {
      if (!ParsePath(into, depth)) return false;
    } while (Accept(','));
    return true;
  }

  // name, name/path, or name(list)
  bool ParsePath(Selection& into, int depth) {
    const std::string_view name = rest_.substr(0, rest_.find_first_of(",/()"));
    rest_.remove_prefix(name.size());
    if (name.empty() || depth > kDeepest) return false;
    Selection& member = into.members[std::string(name)];
    if (Accept('/')) return ParsePath(member, depth + 1);
    if (Accept('(')) return ParseList(member, depth + 1) && Accept(')');
    return true;
  }

  std::string_view rest_;
};

json::value Apply(const json::value& value, const Selection& selection) {
  if (selection.members.empty()) return value;
  if (value.is_array()) {
    json::array list;
    for (const json::value& element : value.get_array()) list.push_back(Apply(element, selection));
    return list;
  }
  if (!value.is_object()) return value;
  json::object object;
  for (const auto& [name, member] : value.get_object()) {
    auto found = selection.members.find(std::string_view(name));
    if (found == selection.members.end()) found = selection.members.find("*");
    if (found != selection.members.end()) object[name] = Apply(member, found->second);
  }
  return object;
}

}  // namespace

std::optional<json::value> SelectFields(const json::value& value, std::string_view fields) {
  Selection selection;
  if (!SelectionParser(fields).Parse(selection)) return std::nullopt;
  return Apply(value, selection);
}

}  // namespace velk::sandbox::youtube
