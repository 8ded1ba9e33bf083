// How a video's metadata is transformed, and how the session URL is found.
#include "youtube/youtube.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace velk::youtube {
namespace {

TEST(EscapeControlChars, TruncatesExactlyAtTheWidth) {
  struct Row {
    const char* name;
    std::string text;
    int32_t capacity;
    std::string expected;  // the field's bytes up to its terminator or width
  };
  const Row rows[] = {
      {"each kind", "a\nb\rc\td", 20, "a\\nb\\rc\\td"},
      {"other bytes are kept", "\"'\\\x01\x7F\xC3\xA9", 20, "\"'\\\x01\x7F\xC3\xA9"},
      {"fits exactly", "abcd", 5, "abcd"},
      {"unterminated field", "abcde", 5, "abcd"},
      {"escape that fits", "ab\n", 5, "ab\\n"},
      {"escape over the terminator", "abc\n", 5, "abc\\n"},
      {"escape over the terminator of a wider field", "abcd\n", 6, "abcd\\n"},
      {"grows past the width", "\n\n\n\n", 6, "\\n\\n\\n"},
      {"grows past an odd width", "\n\n\n\n", 7, "\\n\\n\\n"},
      {"capacity for the terminator only", "\n", 1, ""},
      {"empty", "", 3, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    // The field fills its allocation, so that sanitizers detect any access past its end.
    std::vector<char> field(static_cast<size_t>(row.capacity), '\0');
    std::memcpy(field.data(), row.text.data(), std::min(row.text.size(), field.size()));
    EXPECT_EQ(EscapeControlChars(field.data(), row.capacity), 0);
    EXPECT_EQ(std::string(field.data(), ::strnlen(field.data(), field.size())), row.expected);
  }
}

TEST(EscapeControlChars, ClearsTheRestOfTheFieldAndRejectsMissingFields) {
  char field[8] = {'a', '\0', 'x', 'y', 'z', 'x', 'y', 'z'};
  EXPECT_EQ(EscapeControlChars(field, 8), 0);
  EXPECT_EQ(std::memcmp(field, "a\0\0\0\0\0\0\0", 8), 0);

  EXPECT_EQ(EscapeControlChars(nullptr, 8), -1);
  EXPECT_EQ(EscapeControlChars(field, 0), -1);
  EXPECT_EQ(EscapeControlChars(field, -1), -1);
}

TEST(FormatTagsList, QuotesEachLine) {
  const std::pair<const char*, const char*> rows[] = {
      {"", ""},           {"a", "'a'"},    {"a\nb", "'a','b'"},
      {"a\n", "'a',''"},  {"\n", "'',''"}, {"a\r\nb", "'a\r','b'"},
      {"it's", "'it's'"},
  };
  for (const auto& [tags, list] : rows) EXPECT_EQ(FormatTagsList(tags), list);
}

TEST(ComposeVideoBody, ReadsUnterminatedFieldsAndEscapesInPlace) {
  YoutubeUploadInfo info;
  std::memset(&info, 'x', sizeof info);
  const std::string body = ComposeVideoBody(info);
  const auto run = [](size_t length) { return std::string(length, 'x'); };
  EXPECT_EQ(body, "{ 'snippet': {  'title': '" + run(299) + "',  'tags': [  '" + run(1024) +
                      "'  ], 'description': '" + run(4999) + "', 'categoryId': '" + run(25) +
                      "'}, 'status': { 'privacyStatus' : '" + run(25) + "'}}");
  EXPECT_EQ(info.title[299], '\0');
  EXPECT_EQ(info.tags[0], 'x');
}

TEST(FindLocationHeader, ReturnsTheLastValue) {
  using namespace std::string_literals;
  struct Row {
    const char* name;
    std::string text;
    std::string expected;
  };
  const Row rows[] = {
      {"one", "HTTP/1.1 200 OK\r\nLocation: https://a/b?c\r\nX: y\r\n\r\n", "https://a/b?c"},
      {"also in the body", "Location: head\r\n\r\nLocation: body", "body"},
      {"no line ending", "x\r\nLocation: tail", "tail"},
      {"ended by a line feed", "Location: a\nb", "a"},
      {"empty value", "Location: \r\nLocationX: ", ""},
      {"at the very end", "Location: ", ""},
      {"lower case does not match", "HTTP/1.1 200 OK\r\nlocation: x\r\n", "200 OK"},
      {"part of a longer name", "X-Location: y\r\n", "y"},
      {"none", "HTTP/1.1 200 Fine\r\n\r\n", "200 Fine"},
      {"none and short", "HTTP/1.1", ""},
      {"none, line ending before the tenth byte", "HTTP\r\n\r\nlong body", ""},
      {"nothing", "", ""},
      {"search ends at a NUL", "HTTP/1.1 200 OK\r\n\0Location: x\r\n"s, "200 OK"},
      {"long", "Location: " + std::string(5000, 'u') + "\r\n", std::string(5000, 'u')},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(FindLocationHeader(row.text), row.expected);
  }
}

TEST(UploadFileContent, FailsWhenTheFileDisappearsAfterTheSession) {
  FileUploader uploader{};
  const YoutubeUploadInfo info{};
  char id[256];
  const NativePath gone = WidenPath("/no/such/file");
  EXPECT_EQ(UploadFileContent(&uploader, "t", &info, "http://u", id, gone), VELK_FILE_NOT_OPENED);
}

TEST(YoutubeProgress, ContinuesOnlyWhileUploading) {
  EXPECT_EQ(YoutubeProgressCallback(nullptr, 0, 0, 0, 0), -1);
  for (const uint32_t state : {0U, 1U, 4U}) {
    FileUploader uploader{1, 2, state, 0};
    EXPECT_EQ(YoutubeProgressCallback(&uploader, 0, 0, 100, 40), -10);
    EXPECT_EQ(uploader.uploadedBytes, 1);
    EXPECT_EQ(uploader.state, state);
  }
  FileUploader uploader{0, 0, kYoutubeUploading, 1};
  EXPECT_EQ(YoutubeProgressCallback(&uploader, 7, 8, 100, 40), 0);
  EXPECT_EQ(uploader.totalBytes, 100);
  EXPECT_EQ(uploader.uploadedBytes, 40);
  EXPECT_EQ(uploader.state, uint32_t{kYoutubeUploading});
}

}  // namespace
}  // namespace velk::youtube
