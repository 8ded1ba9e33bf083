// The documents agree: one list of result codes, and an example of each function.
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json.hpp>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include "kit/script_docs.h"
#include "velk_upload.h"

namespace velk {
namespace {

namespace json = boost::json;

// A file of the sources, with each run of white space as one blank.
std::string WithBlanks(const std::string& text) { return std::regex_replace(text, std::regex("\\s+"), " "); }

std::string Read(const char* name) {
  std::ifstream file(std::filesystem::path(VELK_SOURCE) / name, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  EXPECT_FALSE(text.empty()) << name;
  return WithBlanks(text);
}

std::ptrdiff_t Count(const std::string& text, const std::regex& pattern) {
  return std::distance(std::sregex_iterator(text.begin(), text.end(), pattern), std::sregex_iterator());
}

TEST(Documents, ListTheSameResultCodes) {
  const std::string header = Read("include/velk_upload.h");
  const std::string page = Read("docs/result_codes.md");
  const json::value list = json::parse(Read("docs/result_codes.json"));
  std::ptrdiff_t codes = 0;
  for (const json::value& each : list.as_array()) {
    const std::string code = std::to_string(each.at("code").to_number<int>());
    const std::string name(each.at("name").as_string());
    const std::string meaning(each.at("meaning").as_string());
    const std::string advice(each.at("advice").as_string());
    EXPECT_NE(header.find("/** " + meaning + " */ " + name + " = " + code), std::string::npos) << name;
    EXPECT_NE(page.find("| " + code + " | `" + name + "` | " + meaning + " | " + advice + " |"),
              std::string::npos)
        << name;
    ++codes;
  }
  EXPECT_EQ(codes, Count(header, std::regex("VELK_[A-Z_]+ = -?[0-9]+")));
  EXPECT_EQ(codes, Count(page, std::regex("\\| `VELK_[A-Z_]+` \\|")));
}

TEST(Documents, DescribeWhatAScriptCanState) {
  EXPECT_NE(Read("docs/sandbox.md").find(WithBlanks(sandbox::ScriptTable())), std::string::npos)
      << "run scripts/sandbox-docs";
}

TEST(Documents, ShowAnExampleOfEachFunction) {
  const std::string header = Read("include/velk_upload.h");
  std::string snippets;
  for (const char* file : {"facebook.c", "twitter.c", "youtube.c", "proxy.c"})
    snippets += Read((std::string("docs/snippets/") + file).c_str());
  // The end of a function's comment: its example, or the function that it is a second name of.
  const std::regex function(
      "@(snippet [a-z]+\\.c|copydoc) ([A-Za-z]+) \\*/ VELK_API [A-Za-z0-9_]+\\*? ([A-Za-z]+)\\(");
  std::ptrdiff_t functions = 0;
  for (std::sregex_iterator each(header.begin(), header.end(), function), end; each != end;
       ++each, ++functions) {
    const std::string name = (*each)[3];
    if ((*each)[1] == "copydoc") continue;
    EXPECT_NE(snippets.find("//! [" + (*each)[2].str() + "]"), std::string::npos) << name;
    EXPECT_NE(snippets.find(name + "("), std::string::npos) << name;
  }
  EXPECT_EQ(functions, 32);
}

}  // namespace
}  // namespace velk
