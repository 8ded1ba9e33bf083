// The title of a YouTube category: the exact request, the titles, and the result for each reply.
#include <cstring>

#include "support/service_fixture.h"
#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

class YoutubeCategoryTitle : public test::ServiceTest {
 protected:
  int32_t GetTitle(const char* id, const char* token = "token") {
    std::memset(title, '#', sizeof title);
    return GetYoutubeCategoryTitle(token, id, title);
  }
  bool Untouched() const { return std::string_view(title, sizeof title) == std::string(sizeof title, '#'); }

  char title[kCategoryTitleCapacity];
};

TEST_F(YoutubeCategoryTitle, SendsTheExactRequest) {
  EXPECT_EQ(GetTitle("10&x=%2C"), VELK_OK) << "the identifier is not escaped: its rest becomes a parameter";
  EXPECT_STREQ(title, "Music");
  const test::Request request = sandbox.Only();
  EXPECT_EQ(request.scheme, "https");
  EXPECT_EQ(request.head,
            "GET /youtube/v3/videoCategories?part=snippet&id=10&x=%2C HTTP/1.1\r\n"
            "Host: www.googleapis.com\r\n"
            "User-Agent: libcurl-agent/1.0\r\n"
            "Accept: */*\r\n"
            "Authorization: Bearer token\r\n\r\n");
  EXPECT_EQ(request.bodySize, 0U);
}

TEST_F(YoutubeCategoryTitle, ReturnsTheTitlesOfTheService) {
  const std::pair<const char*, const char*> rows[] = {
      {"1", "Film & Animation"}, {"20", "Games"}, {"31", "Anime/Animation"}, {"44", "Trailers"}};
  for (const auto& [id, expected] : rows) {
    EXPECT_EQ(GetTitle(id), VELK_OK);
    EXPECT_STREQ(title, expected);
  }
  EXPECT_EQ(GetTitle("20", "expired"), VELK_TRANSFER_FAILED);
  EXPECT_EQ(GetTitle("20", "forbidden"), VELK_FORBIDDEN);
}

TEST_F(YoutubeCategoryTitle, RenamesExactlyOneTitle) {
  const std::pair<std::string, std::string> rows[] = {
      {"Gaming", "Games"},
      {"Gaming ", "Gaming "},
      {"gaming", "gaming"},
      {"Games", "Games"},
      {"", ""},
      {std::string(255, 't'), std::string(255, 't')},
      {std::string(400, 't'), std::string(255, 't')},
  };
  for (const auto& [received, expected] : rows) {
    sandbox.Add({.body = R"({"items": [{"snippet": {"title": ")" + received + R"("}}]})"});
    EXPECT_EQ(GetTitle("20"), VELK_OK);
    EXPECT_EQ(title, expected);
  }
}

TEST_F(YoutubeCategoryTitle, ReturnsTheCodeOfEachOutcome) {
  const std::string body = R"({"title": "T"})";
  const test::Outcome rows[] = {
      {"200 without a title", {.body = R"({"items": []})"}, VELK_NO_TITLE},
      {"200 without a body", {}, VELK_NO_TITLE},
      {"200 with a number", {.body = R"({"title": 20})"}, VELK_NO_TITLE},
      {"201", {.status = 201, .body = body}, VELK_NO_HANDLE},
      {"400", {.status = 400, .body = body}, VELK_NO_HANDLE},
      {"401", {.status = 401, .body = body}, VELK_TRANSFER_FAILED},
      {"403", {.status = 403, .body = body}, VELK_FORBIDDEN},
      {"reset", {.reset = true}, VELK_TRANSFER_FAILED},
      {"truncated after the title", {.body = body + "  ", .cutBodyAfter = 14}, VELK_TRANSFER_FAILED},
  };
  for (const test::Outcome& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Add(row.reply);
    EXPECT_EQ(GetTitle("20"), row.result);
    EXPECT_TRUE(Untouched());
  }
  SetLibVelkUploadProxy(test::kRefusingProxy);
  EXPECT_EQ(GetTitle("20"), VELK_TRANSFER_FAILED);
  for (const char* missing : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EQ(GetTitle(missing), VELK_MISSING_ARGUMENT);
    EXPECT_EQ(GetTitle("20", missing), VELK_MISSING_ARGUMENT);
    EXPECT_TRUE(Untouched());
  }
}

}  // namespace
}  // namespace velk::youtube
