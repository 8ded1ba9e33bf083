// The legacy browser upload: the exact Atom entry, and the reply to the token request.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "support/records.h"
#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

using test::Fill;

YoutubeUploadInfo Video() {
  YoutubeUploadInfo info{};
  Fill(info.title, "a title");
  Fill(info.description, "about it");
  Fill(info.tags, "a\nb");
  return info;
}

std::string Entry(const std::string& title, const std::string& description, const std::string& category,
                  const std::string& keywords) {
  return "<?xml version=\"1.0\"?>\n"
         "<entry xmlns=\"http://www.w3.org/2005/Atom\" xmlns:media=\"http://search.yahoo.com/mrss/\" "
         "xmlns:yt=\"http://gdata.youtube.com/schemas/2007\"><media:group>"
         "<media:title type=\"plain\">" +
         title + "</media:title><media:description type=\"plain\">" + description +
         "</media:description>"
         "<media:category scheme=\"http://gdata.youtube.com/schemas/2007/categories.cat\">" +
         category + "</media:category><media:keywords>" + keywords +
         "</media:keywords></media:group></entry>\r\n";
}

// Builds the entry in a block of exactly the given capacity, so that sanitizers detect any access past its
// end.
struct Built {
  explicit Built(const YoutubeUploadInfo& info, const char* category, int32_t capacity)
      : length(capacity), bytes(static_cast<size_t>(std::max(capacity, 0)), '#') {
    result = BuildAtomEntry(&info, bytes.data(), &length, category);
  }

  int32_t result;
  int32_t length;
  std::string bytes;
};

TEST(BuildAtomEntry, WritesEachFieldIntoItsElement) {
  YoutubeUploadInfo full;
  std::memset(&full, 'x', sizeof full);
  const auto run = [](size_t length) { return std::string(length, 'x'); };
  YoutubeUploadInfo raw = Video();
  Fill(raw.title, "<b>\"&\n\r\t'</b>");
  Fill(raw.description, "line\nline]]>");
  Fill(raw.tags, "a\r\nb\n\n,c\n");
  struct Row {
    const char* name;
    YoutubeUploadInfo info;
    std::string category;
    std::string expected;
  };
  const Row rows[] = {
      {"plain", Video(), "News", Entry("a title", "about it", "News", "a,b")},
      {"category truncated at an ampersand", Video(), "News&x=1&y",
       Entry("a title", "about it", "News", "a,b")},
      {"category that starts with an ampersand", Video(), "&News", Entry("a title", "about it", "", "a,b")},
      {"nothing is escaped", raw, "<News>",
       Entry("<b>\"&\n\r\t'</b>", "line\nline]]>", "<News>", "a\r,b,,,c,")},
      {"fields without terminators", full, std::string(5000, 'c'),
       Entry(run(300), run(5000), std::string(5000, 'c'), run(1024))},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Built built(row.info, row.category.c_str(), 20000);
    EXPECT_EQ(built.result, VELK_OK);
    ASSERT_EQ(static_cast<size_t>(built.length), row.expected.size());
    EXPECT_EQ(built.bytes, row.expected + std::string(20000 - row.expected.size(), '#')) << "no terminator";
  }
}

TEST(BuildAtomEntry, RequiresOneByteMoreThanItWrites) {
  const auto length = static_cast<int32_t>(Entry("a title", "about it", "News", "a,b").size());
  for (const int32_t capacity : {length, length - 1, 1, 0, -1, std::numeric_limits<int32_t>::min()}) {
    const Built built(Video(), "News", capacity);
    EXPECT_EQ(built.result, VELK_BUFFER_TOO_SMALL);
    EXPECT_EQ(built.length, length + 1);
    EXPECT_EQ(built.bytes.find_first_not_of('#'), std::string::npos);
  }
  const Built exact(Video(), "News", length + 1);
  EXPECT_EQ(exact.result, VELK_OK);
  EXPECT_EQ(exact.length, length);
  EXPECT_EQ(exact.bytes.back(), '#');
}

TEST(BuildAtomEntry, RejectsMissingArguments) {
  YoutubeUploadInfo info = Video();
  for (char* emptied : {info.title, info.description, info.tags}) {
    const char kept = std::exchange(*emptied, '\0');
    const Built built(info, "News", 1);
    EXPECT_EQ(built.result, VELK_MISSING_ARGUMENT);
    EXPECT_EQ(built.length, 1);
    *emptied = kept;
  }
  char out = '#';
  int32_t length = 1;
  EXPECT_EQ(BuildAtomEntry(&info, &out, &length, ""), VELK_MISSING_ARGUMENT);
  test::ExpectRequired<0, 1, 2, 3>("BuildAtomEntry", BuildAtomEntry, &info, &out, &length, "News");
  EXPECT_EQ(length, 1);
}

TEST(ParseUploadTokenReply, ReadsTheFirstElementOfEachNameBelowTheRoot) {
  const std::string untouched = "-";
  struct Row {
    const char* name;
    std::string reply;
    int32_t result;
    std::string url;
    std::string token;
  };
  const Row rows[] = {
      {"reply of the service",
       "<?xml version=\"1.0\" "
       "encoding=\"UTF-8\"?><response><url>http://h/p</url><token>T_-</token></response>",
       VELK_OK, "http://h/p", "T_-"},
      {"any root, any order", "<x a='b'><token>t</token><y/><url>u</url></x>", VELK_OK, "u", "t"},
      {"CRLF", "<r>\r\n<url>a\r\nb</url>\r\n<token>\rt\r\n</token>\r\n</r>\r\n", VELK_OK, "a\nb", "\nt\n"},
      {"entities", "<r><url>?a&amp;b=&#x41;&#66;</url><token>&lt;&gt;&none;</token></r>", VELK_OK, "?a&b=AB",
       "<>&none;"},
      {"repeated elements", "<r><url>1</url><token>2</token><url>3</url><token>4</token></r>", VELK_OK, "1",
       "2"},
      {"empty elements", "<r><url/><token></token></r>", VELK_OK, "", ""},
      {"text around an element", "<r><url>a<url>x</url>b</url><token>t</token></r>", VELK_OK, "ab", "t"},
      {"no token", "<r><url>u</url></r>", VELK_UNEXPECTED_REPLY, "u", untouched},
      {"no url", "<r><token>t</token></r>", VELK_UNEXPECTED_REPLY, untouched, untouched},
      {"different case", "<r><URL>u</URL><token>t</token></r>", VELK_UNEXPECTED_REPLY, untouched, untouched},
      {"nested too deep", "<r><s><url>u</url><token>t</token></s></r>", VELK_UNEXPECTED_REPLY, untouched,
       untouched},
      {"root element itself", "<url>u<token>t</token></url>", VELK_UNEXPECTED_REPLY, untouched, untouched},
      {"truncated after both", "<r><url>u</url><token>t</token>", VELK_OK, "u", "t"},
      {"truncated in the token's text", "<r><url>u</url><token>t", VELK_OK, "u", ""},
      {"truncated in the token's tag", "<r><url>u</url><tok", VELK_UNEXPECTED_REPLY, "u", untouched},
      {"not XML", "NoLinkedYouTubeAccount", VELK_UNEXPECTED_REPLY, untouched, untouched},
      {"single space", " ", VELK_UNEXPECTED_REPLY, untouched, untouched},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const auto exact = std::make_unique<char[]>(row.reply.size());
    std::memcpy(exact.get(), row.reply.data(), row.reply.size());
    std::string url = untouched;
    std::string token = untouched;
    EXPECT_EQ(ParseUploadTokenReply(exact.get(), row.reply.size(), &url, &token), row.result);
    EXPECT_EQ(url, row.url);
    EXPECT_EQ(token, row.token);
    EXPECT_EQ(std::memcmp(exact.get(), row.reply.data(), row.reply.size()), 0) << "the reply is not modified";
  }
  std::string out;
  EXPECT_EQ(ParseUploadTokenReply("<r/>", 0, &out, &out), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(ParseUploadTokenReply("<r/>", 4, nullptr, &out), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(ParseUploadTokenReply("<r/>", 4, &out, nullptr), VELK_MISSING_ARGUMENT);
}

}  // namespace
}  // namespace velk::youtube
