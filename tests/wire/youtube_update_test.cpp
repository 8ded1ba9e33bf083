// Updating a published video: the exact request, every result code, faults, and the changes to the caller's
// record.
#include <boost/json.hpp>
#include <cstring>

#include "support/service_fixture.h"

namespace velk::test {
namespace {

class YoutubeUpdate : public ServiceTest {
 protected:
  YoutubeUpdate() {
    Fill(info.filePath, "/no/such/file");
    Fill(info.title, "a");
    Fill(info.description, "about a");
    Fill(info.privacyStatus, "unlisted");
    Fill(info.categoryId, "20");
    Fill(info.tags, "x\ny");
  }

  int32_t Update(const char* videoId = "abc") {
    return SetYoutubeUploadFileUpdateInfo("token", videoId, &info);
  }

  YoutubeUploadInfo info{};
};

TEST_F(YoutubeUpdate, SendsTheExactRequest) {
  struct Row {
    const char* name;
    std::string videoId;
    const char* tags;
    const char* list;
  };
  const Row rows[] = {
      {"two tags", "abc", "x\ny", "'x','y'"},
      {"no tags", "dQw4w9WgXcQ", "", ""},
      {"identifier sent unescaped", "a'\"\\\n%26", "x", "'x'"},
      {"very long identifier", std::string(20000, 'i'), "x", "'x'"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    sandbox.Add({.method = "PUT"});
    Fill(info.tags, row.tags);
    EXPECT_EQ(Update(row.videoId.c_str()), VELK_OK);
    const std::string body = "{ 'id': '" + row.videoId + "', 'snippet': {  'title': 'a',  'tags': [  " +
                             row.list +
                             "  ], 'description': 'about a', 'categoryId': '20'}, "
                             "'status': { 'privacyStatus' : 'unlisted'}}";
    const Request request = sandbox.Only();
    EXPECT_EQ(request.scheme, "https");
    EXPECT_EQ(request.host, "www.googleapis.com");
    EXPECT_EQ(request.head,
              "PUT /youtube/v3/videos?part=snippet%2Cstatus&key= HTTP/1.1\r\n"
              "Host: www.googleapis.com\r\n"
              "User-Agent: libcurl-agent/1.0\r\n"
              "Accept: */*\r\n"
              "Authorization: Bearer token\r\n"
              "Content-Type:  application/json\r\n"
              "Content-Length: " +
                  std::to_string(body.size()) + "\r\n\r\n");
    EXPECT_EQ(request.body, body);
  }
}

TEST_F(YoutubeUpdate, UpdatesAnUploadedVideo) {
  const TempFile file("clip.mp4", "not much of a video");
  YoutubeUploadInfo first = info;
  Fill(first.filePath, file.Path());
  Fill(first.privacyStatus, "private");
  char videoId[256] = "";
  FileUploader* uploader = InitYoutubeFileUploder();
  ASSERT_EQ(StartYoutubeUploadFile(uploader, "token", &first, videoId), VELK_OK);
  CancelYoutubeUploadFile(uploader);
  UninitYoutubeFileUploder(uploader);
  const boost::json::value before = sandbox.State().at("youtube").at("videos").at(0);

  Fill(info.title, "another");
  Fill(info.description, "two\nlines");
  Fill(info.tags, "z");
  ASSERT_EQ(Update(videoId), VELK_OK);
  const boost::json::value state = sandbox.State();
  ASSERT_EQ(state.at("youtube").at("videos").as_array().size(), 1U);
  boost::json::object expected = before.as_object();
  expected["title"] = "another";
  expected["description"] = "two\nlines";
  expected["tags"] = boost::json::array{"z"};
  expected["categoryId"] = "20";
  expected["privacyStatus"] = "unlisted";
  EXPECT_EQ(state.at("youtube").at("videos").at(0), expected);

  EXPECT_EQ(Update("unknown"), VELK_UNEXPECTED_REPLY);
  EXPECT_EQ(SetYoutubeUploadFileUpdateInfo("expired", videoId, &info), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(SetYoutubeUploadFileUpdateInfo("forbidden", videoId, &info), VELK_FORBIDDEN);
  Fill(info.privacyStatus, "secret");
  EXPECT_EQ(Update(videoId), VELK_UNEXPECTED_REPLY);
  EXPECT_EQ(sandbox.State(), state);
}

TEST_F(YoutubeUpdate, ReturnsTheCodeOfEachOutcome) {
  const std::string video = R"({"id": "abc"})";
  const Outcome rows[] = {
      {"200", {.body = video}, VELK_OK},
      {"200 without a body", {}, VELK_OK},
      {"200 with a malformed body", {.body = "}{"}, VELK_OK},
      {"201", {.status = 201, .body = video}, VELK_UNEXPECTED_REPLY},
      {"302", {.status = 302, .headers = {"Location: /"}}, VELK_UNEXPECTED_REPLY},
      {"400", {.status = 400}, VELK_UNEXPECTED_REPLY},
      {"401", {.status = 401}, VELK_MISSING_ARGUMENT},
      {"403", {.status = 403}, VELK_FORBIDDEN},
      {"reset", {.reset = true}, VELK_TRANSFER_FAILED},
      {"truncated", {.body = video, .cutBodyAfter = 3}, VELK_TRANSFER_FAILED},
      {"reset while reading the request", {.reset = true, .stopReadingAfter = 20}, VELK_TRANSFER_FAILED},
      {"tunnel refused", {.refuseConnect = 403}, VELK_TRANSFER_FAILED},
  };
  for (const Outcome& row : rows) {
    SCOPED_TRACE(row.name);
    if (row.reply.refuseConnect != 0 && Sandbox::IsBehindAnother()) continue;
    sandbox.Reset();
    const int id = sandbox.Add(row.reply);
    EXPECT_EQ(Update(), row.result);
    EXPECT_EQ(sandbox.Report(id).matched, 1);
    EXPECT_EQ(sandbox.Requests().size(), 1U) << "neither retried nor redirected";
  }
  SetLibVelkUploadProxy(kRefusingProxy);
  EXPECT_EQ(Update(), VELK_TRANSFER_FAILED);
}

TEST_F(YoutubeUpdate, ValidatesArgumentsBeforeChangingAnything) {
  Fill(info.title, "two\nlines");
  for (char* emptied : {info.description, info.title, info.privacyStatus, info.categoryId}) {
    SCOPED_TRACE(emptied);
    const char kept = std::exchange(*emptied, '\0');
    EXPECT_EQ(Update(), VELK_MISSING_ARGUMENT);
    *emptied = kept;
  }
  ExpectRequired<0, 1, 2>("SetYoutubeUploadFileUpdateInfo", SetYoutubeUploadFileUpdateInfo, "token", "abc",
                          &info);
  EXPECT_EQ(SetYoutubeUploadFileUpdateInfo("", "abc", &info), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(SetYoutubeUploadFileUpdateInfo("token", "", &info), VELK_MISSING_ARGUMENT);
  EXPECT_TRUE(sandbox.Requests().empty());
  EXPECT_STREQ(info.title, "two\nlines");
}

TEST_F(YoutubeUpdate, RewritesTheRecordForEveryReply) {
  Fill(info.title, std::string(298, 't') + "\t");
  Fill(info.description, "tab\there\r\nend");
  sandbox.Add({.method = "PUT", .times = 0, .status = 403});
  const YoutubeUploadInfo before = info;
  EXPECT_EQ(Update(), VELK_FORBIDDEN);
  EXPECT_EQ(std::string(info.title, sizeof info.title), std::string(298, 't') + "\\t")
      << "the escape replaces the terminator";
  EXPECT_STREQ(info.description, "tab\\there\\r\\nend");
  const auto restAt = offsetof(YoutubeUploadInfo, privacyStatus);
  EXPECT_EQ(std::memcmp(reinterpret_cast<const char*>(&before) + restAt,
                        reinterpret_cast<const char*>(&info) + restAt, sizeof info - restAt),
            0);
  EXPECT_NE(sandbox.Only().body.find("'title': '" + std::string(298, 't') + "\\t',  'tags'"),
            std::string::npos);

  EXPECT_EQ(Update(), VELK_FORBIDDEN);
  EXPECT_EQ(std::string(info.title, sizeof info.title), std::string(298, 't') + "\\" + '\0')
      << "a full field loses its last byte when it is sent again";
  EXPECT_STREQ(info.description, "tab\\there\\r\\nend");
}

}  // namespace
}  // namespace velk::test
