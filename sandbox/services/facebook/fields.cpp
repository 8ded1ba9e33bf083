#include "services/facebook/fields.h"

#include "net/text.h"

namespace velk::sandbox::facebook {
namespace {

constexpr int kDeepest = 10;

class FieldParser {
 public:
  explicit FieldParser(std::string_view text) : rest_(text) {}

  std::optional<std::vector<Field>> Parse() {
    std::vector<Field> fields;
    if (!ParseList(fields, 0) || !rest_.empty()) return std::nullopt;
    return fields;
  }

 private:
  bool Accept(char expected) {
    rest_ = Trim(rest_);
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  std::string_view TakeUntil(std::string_view ends) {
    const std::string_view taken = rest_.substr(0, rest_.find_first_of(ends));
    rest_.remove_prefix(taken.size());
    return Trim(taken);
  }

  bool ParseList(std::vector<Field>& fields, int depth) {
    do {
      if (!ParseField(fields.emplace_back(), depth)) return false;
    } while (Accept(','));
    return true;
  }

  // name, with modifiers such as .limit(2), and with fields of its own in braces
  bool ParseField(Field& field, int depth) {
    field.name = TakeUntil(",.{}()");
    if (field.name.empty() || depth > kDeepest) return false;
    while (Accept('.')) {
      const std::string_view modifier = TakeUntil(",.{}()");
      if (!Accept('(')) return false;
      const std::string_view value = TakeUntil(")");
      if (modifier == "limit") field.limit = ToNumber(value);
      if (!Accept(')')) return false;
    }
    return !Accept('{') || (ParseList(field.fields, depth + 1) && Accept('}'));
  }

  std::string_view rest_;
};

}  // namespace

std::optional<std::vector<Field>> ParseFields(std::string_view text) { return FieldParser(text).Parse(); }

}  // namespace velk::sandbox::facebook
