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

TEST_F(SandboxYoutubeClients, TakesAMultipartBodyInBase64) {
  const std::string media = "Content-Type: video/mp4\r\nContent-Transfer-Encoding: base64\r\n\r\n";
  const auto send = [&](const std::string& text) {
    const std::string body = Multipart({"Content-Type: application/json\r\n\r\n" + kMetadata, media + text});
    return Send(sandbox, {"POST",
                          kInsert + "&uploadType=multipart",
                          {kToken, "Content-Type: multipart/related; boundary=b"},
                          body});
  };
  EXPECT_EQ(send("aGVs\r\nbG8=").status, 200);
  EXPECT_EQ(Videos().at(0).at("sha256").as_string(), Sha256("hello"));
  EXPECT_EQ(send("no base64").status, 400);
}

TEST_F(SandboxYoutubeClients, TakesUploadsByCommands) {
  const std::string start = "youtube.googleapis.com/upload/youtube/v3/videos?part=snippet";
  const HttpReply started =
      Send(sandbox, {"POST",
                     start,
                     {kToken, "Content-Type: application/json", "X-Goog-Upload-Protocol: resumable",
                      "X-Goog-Upload-Command: start", "X-Goog-Upload-Header-Content-Length: 6",
                      "X-Goog-Upload-Header-Content-Type: video/mp4"},
                     kMetadata});
  ASSERT_EQ(started.status, 200) << started.body;
  EXPECT_NE(started.head.find("X-Goog-Upload-Status: active"), std::string::npos) << started.head;
  const std::string session =
      start + "&upload_id=" + started.head.substr(started.head.find("upload_id=") + 10, 24);
  const auto command = [&](const std::string& name, const std::string& offset, const std::string& body) {
    return Send(sandbox, {"POST",
                          session,
                          {kToken, "X-Goog-Upload-Command: " + name, "X-Goog-Upload-Offset: " + offset},
                          body});
  };
  EXPECT_EQ(command("upload", "0", "vid").status, 200);
  EXPECT_NE(command("query", "", "").head.find("X-Goog-Upload-Size-Received: 3"), std::string::npos);
  EXPECT_EQ(command("upload, finalize", "0", "vid").status, 400) << "not where it goes on";
  EXPECT_EQ(command("finalize", "", "").status, 400) << "not complete";
  const HttpReply last = command("upload, finalize", "3", "eos");
  EXPECT_NE(last.head.find("X-Goog-Upload-Status: final"), std::string::npos) << last.head;
  EXPECT_EQ(last.At("/id"), Videos().at(0).at("id").as_string());
  EXPECT_EQ(Videos().at(0).at("sha256").as_string(), Sha256("videos"));
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

// Some clients compress the metadata.
TEST_F(SandboxYoutubeClients, TakesCompressedMetadata) {
  static constexpr char kBytes[] =  // kMetadata
      "\037\213\010\000\000\000\000\000\002\003\253\126\052\316\313\054\050\110\055\121\262\122\250\126"
      "\052\311\054\311\111\005\262\224\022\225\164\024\224\222\023\113\122\323\363\213\052\075\123\100"
      "\102\106\106\112\265\100\301\342\222\304\222\322\142\260\352\202\242\314\262\304\344\312\140\230"
      "\010\104\240\044\125\251\266\026\000\155\311\011\105\127\000\000\000";
  const std::string compressed(kBytes, sizeof kBytes - 1);
  const std::vector<std::string> headers{kToken, "Content-Type: application/json", "Content-Encoding: gzip"};
  const std::string start = kInsert + "&uploadType=resumable";
  const HttpReply reply = Send(sandbox, {"POST", start, headers, compressed});
  ASSERT_EQ(reply.status, 200) << reply.body;
  EXPECT_EQ(sandbox.State().at("youtube").at("sessions").at(0).at("title"), "a");
  std::string damaged = compressed;
  damaged[compressed.size() - 1] ^= 1;
  const std::string bad[] = {compressed.substr(0, compressed.size() - 9), damaged, kMetadata,
                             compressed + 'x'};
  for (const std::string& body : bad) EXPECT_EQ(Send(sandbox, {"POST", start, headers, body}).status, 400);
}

TEST_F(SandboxYoutubeClients, ExchangesEveryGrant) {
  const std::string form = "Content-Type: application/x-www-form-urlencoded";
  const struct {
    const char *url, *body;
    int status;
  } rows[] = {
      {"oauth2.googleapis.com/token", "grant_type=refresh_token&client_id=c&refresh_token=r", 200},
      {"accounts.google.com/o/oauth2/token", "grant_type=authorization_code&client_id=c&code=d", 200},
      {"www.googleapis.com/oauth2/v4/token", "grant_type=refresh_token&refresh_token=r", 400},
      {"oauth2.googleapis.com/token",
       "grant_type=urn%3Aietf%3Aparams%3Aoauth%3Agrant-type%3Ajwt-bearer&assertion=a.b.c", 200},
      {"oauth2.googleapis.com/token",
       "grant_type=urn%3Aietf%3Aparams%3Aoauth%3Agrant-type%3Ajwt-bearer&client_id=c", 400},
      {"oauth2.googleapis.com/token", "grant_type=refresh_token&client_id=c&refresh_token=expired", 400},
  };
  for (const auto& row : rows) {
    const HttpReply reply = Send(sandbox, {"POST", row.url, {form}, row.body});
    EXPECT_EQ(reply.status, row.status) << row.body << ": " << reply.body;
  }
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
  const HttpReply overridden = Send(
      sandbox, {"POST",
                kVideos,
                {kToken, "X-HTTP-Method-Override: GET", "Content-Type: application/x-www-form-urlencoded"},
                "part=id&maxResults=1&id=" + ids});
  EXPECT_EQ(overridden.At("/items/0/id"), ids.substr(0, 11)) << overridden.body;
  EXPECT_EQ(Send(sandbox, {"GET", list + "&pageToken=x"}).At("/error/errors/0/reason"), "invalidPageToken");
  EXPECT_EQ(Send(sandbox, {"GET", kVideos + "?part=id&chart=mostPopular&key=k"}).At("/pageInfo/totalResults"),
            "3");
  EXPECT_EQ(Send(sandbox, {"GET", kVideos + "?part=id&chart=mostPopular"}).status, 401);
}

TEST_F(SandboxYoutubeClients, GoesOnWithoutStatus308OnRequest) {
  const HttpReply start = Send(
      sandbox,
      {"POST", kInsert + "&uploadType=resumable", {kToken, "Content-Type: application/json"}, kMetadata});
  ASSERT_EQ(start.status, 200) << start.body;
  const std::string id = start.head.substr(start.head.find("upload_id=") + 10, 24);
  const std::string session = kInsert + "&uploadType=resumable&upload_id=" + id;
  const std::string piece(256 * 1024, 'x');
  const HttpReply more =
      Send(sandbox, {"POST", session, {"Content-Range: bytes 0-262143/*", "X-GUploader-No-308: yes"}, piece});
  EXPECT_EQ(more.status, 200);
  EXPECT_NE(more.head.find("X-HTTP-Status-Code-Override: 308"), std::string::npos) << more.head;
  EXPECT_NE(more.head.find("Range: bytes=0-262143"), std::string::npos) << more.head;
  EXPECT_TRUE(Videos().as_array().empty());
  const HttpReply last =
      Send(sandbox,
           {"POST", session, {"Content-Range: bytes 262144-262144/262145", "X-GUploader-No-308: yes"}, "y"});
  EXPECT_EQ(last.At("/id"), Videos().at(0).at("id").as_string());
  EXPECT_EQ(Videos().at(0).at("sha256").as_string(), Sha256(piece + 'y'));
}

}  // namespace
}  // namespace velk::test
