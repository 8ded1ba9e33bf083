// The parts of velk-publish that make no call: encodings, progress, suggestions, exit codes, retries, files.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "publish/encoding.h"
#include "publish/failure.h"
#include "publish/meta.h"
#include "publish/nearest.h"
#include "publish/outcome.h"
#include "publish/progress.h"
#include "publish/retries.h"
#include "publish/settings.h"
#include "velk_upload.h"

namespace velk::publish {
namespace {

using namespace std::string_literals;

TEST(PublishEncoding, WritesWhatTheServicesReadBack) {
  const struct {
    const char* name;
    std::string (*encode)(std::string_view);
    std::string text, encoded;
  } kRows[] = {
      {"unreserved", PercentEncoded, "aZ09-._~", "aZ09-._~"},
      {"reserved", PercentEncoded, "a&b=c%d +/", "a%26b%3Dc%25d%20%2B%2F"},
      {"UTF-8", PercentEncoded, "é", "%C3%A9"},
      {"a post that reads NULL", PostText, "NULL", "%4EULL"},
      {"NULL inside a post", PostText, "NULL!", "NULL%21"},
      {"apostrophe", YoutubeText, "it's", "it\\u0027s"},
      {"backslash", YoutubeText, "a\\n", "a\\\\n"},
      {"line end and tab", YoutubeText, "a\r\n\tb", "a\\r\\n\\tb"},
      {"another control byte", YoutubeText, "\x1b", "\\u001B"},
      {"quotation mark and UTF-8", YoutubeText, "\"é\"", "\"é\""},
      {"line end of Windows", Trimmed, "token\r\n", "token"},
      {"blanks", Trimmed, " a b \t", " a b"},
      {"nothing else", Trimmed, "\n", ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(row.encode(row.text), row.encoded);
  }
}

TEST(PublishEncoding, NeverCountsMoreThanTwitter) {
  const struct {
    const char* name;
    std::string text;
    std::size_t length;
  } kRows[] = {
      {"letters and blanks", "a b\nc", 5},
      {"Latin letters count once", "éß", 2},
      {"Japanese counts twice", "日本", 4},
      {"a link counts 23", "see https://example.org/a/very/long/path/indeed", 27},
      {"a short link may count less", "a.b", 3},
      {"an emoji with a skin tone", "👍🏽", 2},
      {"a family", "👨‍👩‍👧", 2},
      {"a typographic quote counts once", "“a”", 3},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(LeastTweetLength(row.text), row.length);
  }
}

TEST(PublishProgress, FitsTheWidth) {
  const std::string name = "holidays-in-the-mountains.mp4";
  for (const int width : {20, 40, 59, 60, 79, 119, 300}) {
    for (const double done : {0.0, 1.0, 5e5, 2.4e9, 3e9, 9e9}) {
      const std::string line = ProgressLine(name, {done, 3e9, 4000}, width);
      SCOPED_TRACE(line);
      EXPECT_LE(line.size(), static_cast<std::size_t>(width));
      EXPECT_EQ(line.find('\n'), line.npos);
    }
  }
}

TEST(PublishProgress, ShowsRateAndTimeLeft) {
  EXPECT_EQ(ProgressLine("clip.mp4", {1048576, 4194304, 2}, 59),
            "[#......]  25 %  1.0 MiB of 4.0 MiB  512.0 KiB/s  0:06 left");
  const std::string wide = ProgressLine("clip.mp4", {1048576, 4194304, 2}, 119);
  EXPECT_TRUE(wide.starts_with("clip.mp4  [#######.......................]  25 %")) << wide;
  EXPECT_NE(ProgressLine("a", {9, 3, 1}, 79).find("100 %  3 B of 3 B"), std::string::npos);  // never more
  EXPECT_NE(ProgressLine("a", {999, 1000, 1}, 79).find(" 99 %"), std::string::npos);  // not yet complete
}

TEST(PublishProgress, AddsUpTheSegmentsOfAPhoto) {
  constexpr double kSegment = 1048576, kForm = 700;
  SegmentSum sum(2.5 * kSegment);
  EXPECT_EQ(sum.Whole(1000, kSegment + kForm), 1000);
  EXPECT_EQ(sum.Whole(kSegment + kForm, kSegment + kForm), kSegment);
  EXPECT_EQ(sum.Whole(1000, kSegment + kForm), kSegment + 1000);
  EXPECT_EQ(sum.Whole(1000, kSegment / 2 + kForm), 2 * kSegment + 1000);
  EXPECT_EQ(sum.Whole(kSegment / 2 + kForm, kSegment / 2 + kForm), 2.5 * kSegment);

  SegmentSum missed(2.5 * kSegment);  // the second segment was too fast to be seen
  EXPECT_EQ(missed.Whole(5000, kSegment + kForm), 5000);
  EXPECT_EQ(missed.Whole(6000, kSegment / 2 + kForm), 2 * kSegment + 6000);
}

TEST(PublishNearest, SuggestsWhatIsLikeTheWord) {
  const std::vector<std::string> kWords{"facebook", "twitter", "youtube", "--title", "--token-file"};
  const struct {
    const char *word, *nearest;
  } kRows[] = {{"facebok", "facebook"},
               {"yuotube", "youtube"},
               {"--token", "--token-file"},
               {"--titel", "--title"},
               {"zzz", ""},
               {"", ""}};
  for (const auto& row : kRows) EXPECT_EQ(Nearest(row.word, kWords), row.nearest) << row.word;
}

// The page has one row for each code, and a column for each of these kinds.
TEST(PublishOutcome, HasTheExitCodesOfThePage) {
  std::ifstream page(VELK_SOURCE "/docs/velk_publish.md");
  int rows = 0;
  for (std::string line; std::getline(page, line);) {
    std::istringstream cells(line);
    std::int32_t code = 0;
    char bar = 0;
    std::string name;
    if (!(cells >> bar >> code >> bar >> name >> bar) || name.front() != '`') continue;
    ++rows;
    for (const CallKind kind : {CallKind::kFacebookPost, CallKind::kFacebookUpdate, CallKind::kTwitterPhoto,
                                CallKind::kYoutubeUpload}) {
      std::string status;
      cells >> status >> bar;
      SCOPED_TRACE(line + " kind " + std::to_string(static_cast<int>(kind)));
      EXPECT_EQ('`' + TextOf(code).name + '`', name);
      if (status == "-") continue;
      EXPECT_EQ(std::to_string(StatusOf(kind, code)), status);
    }
  }
  EXPECT_EQ(rows, 24);
}

TEST(PublishOutcome, ReportsAnUpdateThatChangedThePrivacyAlone) {
  EXPECT_EQ(StatusOf(CallKind::kFacebookUpdate, VELK_TEXT_NOT_UPDATED, 1), kPartlyDone);
  EXPECT_EQ(StatusOf(CallKind::kFacebookUpdate, VELK_TEXT_NOT_UPDATED, 2), kRefused);
}

TEST(PublishRetries, NeverRepeatWhatMayBePublished) {
  for (const CallKind kind : {CallKind::kFacebookPost, CallKind::kFacebookPhoto, CallKind::kFacebookVideo,
                              CallKind::kTwitterTweet, CallKind::kTwitterPhoto, CallKind::kYoutubeUpload}) {
    for (const std::int32_t result : {VELK_OK, VELK_TRANSFER_FAILED, VELK_NO_IDENTIFIER, VELK_CANCELLED})
      EXPECT_FALSE(MayRetry(kind, result)) << static_cast<int>(kind) << ' ' << result;
  }
  EXPECT_FALSE(MayRetry(CallKind::kYoutubeUpload, VELK_NO_HANDLE));  // a status of the PUT
  // A small video goes to two hosts, and the result is that of the second.
  EXPECT_FALSE(MayRetry(CallKind::kFacebookVideo, VELK_SERVER_ERROR, 52'428'799));
  EXPECT_TRUE(MayRetry(CallKind::kFacebookVideo, VELK_SERVER_ERROR, 52'428'800));
  EXPECT_TRUE(MayRetry(CallKind::kFacebookRead, VELK_TRANSFER_FAILED));
  EXPECT_TRUE(MayRetry(CallKind::kYoutubeUpdate, VELK_TRANSFER_FAILED));
}

TEST(PublishOutcome, IsValidJsonForAnyFileName) {
  const struct {
    std::string file, written;
  } kRows[] = {{"Zo\xC3\xAB \xE6\x97\xA5 \xF0\x9F\x8E\xAC", "Zo\xC3\xAB \xE6\x97\xA5 \xF0\x9F\x8E\xAC"},
               {"a\xFF.mp4", "a\xEF\xBF\xBD.mp4"},
               {"caf\xE9", "caf\xEF\xBF\xBD"},
               {"\xC3", "\xEF\xBF\xBD"},
               {"\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD"},
               {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"}};
  for (const auto& row : kRows) {
    Outcome outcome;
    outcome.file = row.file;
    const std::string member = "\"file\":\"" + row.written + '"';
    EXPECT_NE(ToJson("youtube", outcome).find(member), std::string::npos) << row.file;
  }
}

TEST(PublishRetries, PauseLongerEachTime) {
  EXPECT_EQ(PauseBefore(0, 1), 1);
  EXPECT_EQ(PauseBefore(3, 1), 8);
  EXPECT_EQ(PauseBefore(50, 1), 60);
  EXPECT_EQ(PauseBefore(2, 100), 100);
}

TEST(PublishSettings, KeepsOtherSections) {
  EXPECT_EQ(
      WithSection("# mine\n[facebook]\ntoken = \"a\"\n[twitter]\ntoken = \"old\"\n[youtube]\ntoken = \"b\"\n",
                  "twitter", {{"token", "new"}}),
      "# mine\n[facebook]\ntoken = \"a\"\n[youtube]\ntoken = \"b\"\n[twitter]\ntoken = \"new\"\n");
  EXPECT_EQ(WithSection("", "twitter", {{"token", "a\"b"}}), "[twitter]\ntoken = 'a\"b'\n");
}

const Choices kChoices{{"privacy", {"public", "private"}}};

TEST(PublishMetadata, NamesLineAndMember) {
  const struct {
    const char *text, *message;
  } kRows[] = {
      {"{\"title\": 1}", "line 1: member \"title\": must be a string"},
      {"{\n\"tags\": \"a\"}", "line 2: member \"tags\": must be an array of strings"},
      {"{\n\n\"privcy\": \"a\"}", "line 3: member \"privcy\": is unknown; did you mean \"privacy\"?"},
      {"{\"title\": \"tags\",\n\"tags\": 1}", "line 2: member \"tags\": must be an array of strings"},
      {"{\"title\": \"a\",\n\"privacy\": \"SELF\"}",
       "line 2: member \"privacy\": \"SELF\" is not one of public, private"},
      {"[]", "line 1: no object of JSON"},
      {"{}\n}", "line 2"},
      {"{\"title\": \"a\",\n", "line 2"},
      {"", "line 1"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    Options options;
    try {
      AddMetadata(options, kChoices, row.text, "meta.json");
      ADD_FAILURE() << "accepted";
    } catch (const UsageError& error) {
      EXPECT_TRUE(std::string(error.what()).starts_with("meta.json, "s + row.message)) << error.what();
    }
  }
}

TEST(PublishMetadata, CanRemoveAllTags) {
  Options removed;
  removed.noTags = true;
  AddMetadata(removed, kChoices, R"({"tags": ["c"]})", "meta.json");
  EXPECT_TRUE(removed.tags.empty());
  Options empty;
  AddMetadata(empty, kChoices, R"({"tags": []})", "meta.json");
  EXPECT_TRUE(empty.noTags);
}

TEST(PublishMetadata, YieldsToTheCommandLine) {
  Options options;
  options.title = "given";
  AddMetadata(options, kChoices, R"({"title": "a", "description": "b", "tags": ["c", "d"]})", "meta.json");
  EXPECT_EQ(options.title, "given");
  EXPECT_EQ(options.description, "b");
  EXPECT_EQ(options.tags, (std::vector<std::string>{"c", "d"}));
}

}  // namespace
}  // namespace velk::publish
