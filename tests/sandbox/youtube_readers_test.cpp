// The readers of the simulated YouTube: Content-Range headers, and the selection of fields.
#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <string>

#include "services/youtube/content_range.h"
#include "services/youtube/partial_response.h"

namespace velk::sandbox::youtube {
namespace {

std::string Text(const std::optional<std::uint64_t>& number) {
  return number ? std::to_string(*number) : "*";
}

TEST(SandboxContentRange, ReadsWhatClientsSend) {
  const struct {
    const char* header;
    const char* meaning;  // first, last and total; empty: malformed
  } rows[] = {
      {"bytes 0-9/10", "0 9 10"},
      {"Bytes  5-5 / 10", "5 5 10"},
      {"bytes 0-9/*", "0 9 *"},
      {"bytes */10", "* * 10"},
      {"bytes */*", "* * *"},
      {"bytes 0-18446744073709551614/18446744073709551615", "0 18446744073709551614 18446744073709551615"},
      {"bytes 0-18446744073709551615/*", ""},
      {"bytes 0-10/10", ""},
      {"bytes 9-0/10", ""},
      {"bytes 0-/10", ""},
      {"bytes -9/10", ""},
      {"bytes 0-9", ""},
      {"bytes 5/10", ""},
      {"bytes 0-9/x", ""},
      {"bytes 0-9/18446744073709551616", ""},
      {"0-9/10", ""},
      {"", ""},
  };
  for (const auto& row : rows) {
    const auto range = ParseContentRange(row.header);
    EXPECT_EQ(range ? Text(range->first) + ' ' + Text(range->last) + ' ' + Text(range->total) : "",
              row.meaning)
        << row.header;
  }
}

TEST(SandboxFields, SelectMembers) {
  const char* const document =
      R"({"a":1,"b":{"c":2,"d":{"e":3}},"items":[{"id":"x","s":{"t":4,"u":5}},{"id":"y"}]})";
  const struct {
    const char* fields;
    const char* selected;  // empty: malformed
  } rows[] = {
      {"a", R"({"a":1})"},
      {"a,b/c", R"({"a":1,"b":{"c":2}})"},
      {"b(c,d/e)", R"({"b":{"c":2,"d":{"e":3}}})"},
      {"items/id", R"({"items":[{"id":"x"},{"id":"y"}]})"},
      {"items(id,s(t))", R"({"items":[{"id":"x","s":{"t":4}},{"id":"y"}]})"},
      {"b/*", R"({"b":{"c":2,"d":{"e":3}}})"},
      {"none", "{}"},
      {"items(", ""},
      {"items(id", ""},
      {"items(id))", ""},
      {"a,", ""},
      {"a//b", ""},
      {"", ""},
  };
  for (const auto& row : rows) {
    const auto selected = SelectFields(boost::json::parse(document), row.fields);
    EXPECT_EQ(selected ? boost::json::serialize(*selected) : "", row.selected) << row.fields;
  }
  std::string deep = "a";
  for (int i = 0; i < 10'000; ++i) deep += "(a";
  EXPECT_FALSE(SelectFields(boost::json::parse(document), deep).has_value());
}

}  // namespace
}  // namespace velk::sandbox::youtube
