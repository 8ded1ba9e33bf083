// The simulated YouTube with requests as other clients send them: multipart bodies with line feeds, tokens in
// the query, lists in pages.
#include "support/files.h"
#include "support/http.h"

namespace velk::test {
namespace {

constexpr const char* kToken = "Authorization: bearer token";
const std::string kInsert =
    "youtube.googleapis.com/upload/youtube/v3/videos?alt=json&part=snippet&part=status";
const std::string kVideos = "www.googleapis.com/youtube/v3/videos";
const std::string kMetadata =
    R"({"snippet": {"title": "a", "categoryId": "22"}, "status": {"privacyStatus": "private"}})";

class SandboxYoutubeClients : public testing::Test {
 protected:
  boost::json::value Videos() { return sandbox.State().at("youtube").at("videos"); }

  Sandbox sandbox;
};

TEST_F(SandboxYoutubeClients, TakesAMultipartBodyWithLineFeeds) {
  const std::string video = "\r\n\n--\n" + RandomBytes(100'000, 1) + '\r';
  const std::string body =
      Multipart({"Content-Type: application/json\nMIME-Version: 1.0\n\n" + kMetadata,
                 "Content-Type: video/mp4\nContent-Transfer-Encoding: binary\n\n" + video},
                "\n");
  for (const char* const type : {"&uploadType=multipart", ""}) {
    sandbox.Reset();
    const HttpReply reply = Send(
        sandbox, {"POST", kInsert + type, {kToken, "Content-Type: multipart/related; boundary=\"b\""}, body});
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(Videos().at(0).at("sha256").as_string(), Sha256(video));
    EXPECT_EQ(reply.At("/id"), Videos().at(0).at("id").as_string());
    EXPECT_EQ(reply.At("/status/privacyStatus"), "private");
  }
}

TEST_F(SandboxYoutubeClients, RefusesOtherBodies) {
  const std::string related = "Content-Type: multipart/related; boundary=b";
  const std::string json = "Content-Type: application/json\r\n\r\n";
  const struct {
    const char* name;
    const char* type;
    std::string contentType, body;
    const char* reason;
  } rows[] = {
      {"one part", "multipart", related, Multipart({json + kMetadata}), "badRequest"},
      {"picture", "multipart", related, Multipart({json + kMetadata, "Content-Type: image/png\r\n\r\nx"}),
       "badContent"},
      {"no JSON", "multipart", related, Multipart({json + "x", "Content-Type: video/mp4\r\n\r\nx"}),
       "parseError"},
      {"form", "media", "Content-Type: application/x-www-form-urlencoded", "a=b", "badContent"},
      {"nothing", "media", "Content-Type: video/mp4", "", "mediaBodyRequired"},
      {"unknown kind", "telepathy", "Content-Type: video/mp4", "x", "badRequest"},
      {"resumable picture", "resumable", "X-Upload-Content-Type: image/png", kMetadata, "badContent"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const HttpReply reply =
        Send(sandbox, {"POST", kInsert + "&uploadType=" + row.type, {kToken, row.contentType}, row.body});
    EXPECT_EQ(reply.status, 400);
    EXPECT_EQ(reply.At("/error/errors/0/reason"), row.reason) << reply.body;
  }
  EXPECT_TRUE(Videos().as_array().empty());
}

TEST_F(SandboxYoutubeClients, ListsInPages) {
  std::string ids;
  for (int i = 0; i < 3; ++i) {
    const HttpReply reply = Send(sandbox, {"POST",
                                           kInsert + "&uploadType=media&access_token=t",
                                           {"Content-Type: video/mp4"},
                                           std::to_string(i)});
    ASSERT_EQ(reply.status, 200) << reply.body;
    ids += (i > 0 ? "," : "") + reply.At("/id");
  }
  const std::string list = kVideos + "?part=id,fileDetails&maxResults=2&access_token=t&id=" + ids;
  const HttpReply first = Send(sandbox, {"GET", list});
  EXPECT_EQ(first.At("/pageInfo/totalResults") + first.At("/items/1/id"), "3" + ids.substr(12, 11));
  EXPECT_EQ(first.At("/items/2"), "");
  const HttpReply second = Send(sandbox, {"GET", list + "&pageToken=" + first.At("/nextPageToken")});
  EXPECT_EQ(second.At("/items/0/id"), ids.substr(24));
  EXPECT_EQ(second.At("/nextPageToken"), "");
  EXPECT_EQ(Send(sandbox, {"GET", list + "&pageToken=x"}).At("/error/errors/0/reason"), "invalidPageToken");
  EXPECT_EQ(Send(sandbox, {"GET", kVideos + "?part=id&chart=mostPopular&key=k"}).At("/pageInfo/totalResults"),
            "3");
  EXPECT_EQ(Send(sandbox, {"GET", kVideos + "?part=id&chart=mostPopular"}).status, 401);
}

}  // namespace
}  // namespace velk::test
