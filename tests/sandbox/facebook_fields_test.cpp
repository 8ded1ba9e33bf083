// The reader of the `fields` parameter of the simulated Graph API.
#include <gtest/gtest.h>

#include <string>

#include "services/facebook/fields.h"

namespace velk::sandbox::facebook {
namespace {

std::string Text(const std::vector<Field>& fields) {
  std::string text;
  for (const Field& field : fields) {
    text += (text.empty() ? "" : " ") + field.name;
    if (field.limit) text += '*' + std::to_string(*field.limit);
    if (!field.fields.empty()) text += '[' + Text(field.fields) + ']';
  }
  return text;
}

TEST(SandboxGraphFields, AreNamesWithModifiersAndFieldsOfTheirOwn) {
  const struct {
    const char* fields;
    const char* meaning;  // empty: malformed
  } rows[] = {
      {"id", "id"},
      {"id, name ,email", "id name email"},
      {"from{name,id}", "from[name id]"},
      {"accounts.limit(2){id,category_list{name}},id", "accounts*2[id category_list[name]] id"},
      {"feed.order(x).limit(1)", "feed*1"},
      {"feed.limit(x)", "feed"},
      {"", ""},
      {"id,", ""},
      {",id", ""},
      {"from{", ""},
      {"from{}", ""},
      {"from{name}}", ""},
      {"feed.limit", ""},
      {"feed.limit(2", ""},
      {"(id)", ""},
  };
  for (const auto& row : rows) {
    const auto fields = ParseFields(row.fields);
    EXPECT_EQ(fields ? Text(*fields) : "", row.meaning) << row.fields;
  }
  std::string deep;
  for (int i = 0; i < 10'000; ++i) deep += "a{";
  EXPECT_FALSE(ParseFields(deep).has_value());
}

}  // namespace
}  // namespace velk::sandbox::facebook
