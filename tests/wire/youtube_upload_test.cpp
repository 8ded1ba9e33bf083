// Publishing a video to YouTube: the exact requests, every result code, faults and cancellation.
#include <boost/json.hpp>
#include <fstream>
#include <iterator>
#include <map>

#include "support/service_fixture.h"

namespace velk::test {
namespace {

class YoutubeUpload : public ServiceTest {
 protected:
  YoutubeUpload() {
    Fill(info.filePath, file.Path());
    Fill(info.title, "a");
    Fill(info.description, "about a");
    Fill(info.privacyStatus, "private");
    Fill(info.categoryId, "22");
    Fill(info.tags, "x\ny");
  }
  ~YoutubeUpload() override {
    CancelYoutubeUploadFile(uploader);
    EXPECT_EQ(UninitYoutubeFileUploder(uploader), VELK_OK);
  }

  int32_t Start() { return StartYoutubeUploadFile(uploader, "token", &info, videoId); }

  // Scripts the replies to the session request and to the PUT. The session reply names an upload URL of the
  // simulated service.
  void ScriptReplies(Script session, Script put) {
    session.method = "POST";
    session.headers.push_back("Location: https://www.googleapis.com/upload/youtube/v3/videos?upload_id=1");
    put.method = "PUT";
    sandbox.Add(session);
    sandbox.Add(put);
  }

  TempFile file{"clip.mp4", "not much of a video"};
  FileUploader* uploader = InitYoutubeFileUploder();
  YoutubeUploadInfo info{};
  char videoId[256] = "untouched";
};

TEST_F(YoutubeUpload, SendsTheExactRequests) {
  ScriptReplies({}, {.body = R"({"kind": "youtube#video", "id": "dQw4"})"});
  ASSERT_EQ(Start(), VELK_OK);
  EXPECT_STREQ(videoId, "dQw4");

  const auto requests = sandbox.Requests();
  ASSERT_EQ(requests.size(), 2U);
  const std::string body =
      "{ 'snippet': {  'title': 'a',  'tags': [  'x','y'  ], 'description': 'about a', 'categoryId': '22'}, "
      "'status': { 'privacyStatus' : 'private'}}";
  EXPECT_EQ(requests[0].host, "www.googleapis.com");
  EXPECT_EQ(requests[0].scheme, "https");
  EXPECT_EQ(requests[0].head,
            "POST /upload/youtube/v3/videos?uploadType=resumable&part=snippet%2Cstatus HTTP/1.1\r\n"
            "Host: www.googleapis.com\r\n"
            "User-Agent: libcurl-agent/1.0\r\n"
            "Accept: */*\r\n"
            "Authorization: Bearer token\r\n"
            "Content-Type:  application/json; charset=UTF-8\r\n"
            "X-Upload-Content-Length: 19\r\n"
            "X-Upload-Content-Type: application/octet-stream\r\n"
            "Content-Length: " +
                std::to_string(body.size()) + "\r\n\r\n");
  EXPECT_EQ(requests[0].body, body);

  EXPECT_EQ(requests[1].head,
            "PUT /upload/youtube/v3/videos?upload_id=1 HTTP/1.1\r\n"
            "Host: www.googleapis.com\r\n"
            "User-Agent: libcurl-agent/1.0\r\n"
            "Accept: */*\r\n"
            "Authorization: Bearer token\r\n"
            "Content-Type: application/octet-stream\r\n"
            "Content-Length: 19\r\n"
            "Expect: 100-continue\r\n\r\n");
  EXPECT_EQ(requests[1].body, "not much of a video");
}

TEST_F(YoutubeUpload, PublishesFilesOfAnyNameAndSize) {
  for (const Media& row : MediaToUpload()) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    const TempFile media(row.fileName, row.content);
    Fill(info.filePath, media.Path());
    ASSERT_EQ(Start(), VELK_OK);
    const auto requests = sandbox.Requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[1].bodySize, row.content.size());
    EXPECT_EQ(requests[1].bodySha256, Sha256(row.content));
    EXPECT_NE(boost::json::serialize(sandbox.State()).find('"' + std::string(videoId) + '"'),
              std::string::npos);

    double uploaded = -1;
    double total = -1;
    EXPECT_EQ(GetYoutubeUploadFileProgress(uploader, &uploaded, &total), VELK_OK)
        << "readable after the upload";
    EXPECT_EQ(uploaded, static_cast<double>(row.content.size()));
    EXPECT_EQ(total, static_cast<double>(row.content.size()));
    EXPECT_EQ(UninitYoutubeFileUploder(uploader), VELK_BUSY);
    EXPECT_TRUE(Deletable(media));
  }
}

TEST_F(YoutubeUpload, AnnouncesSizesAboveFourGibibytes) {
  const auto large = TempFile::Sparse("large.mp4", (4ULL << 30) + 5);
  Fill(info.filePath, large.Path());
  ScriptReplies({}, {.status = 400, .answerEarly = true});
  EXPECT_EQ(Start(), VELK_UNEXPECTED_REPLY);
  const auto requests = sandbox.Requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0].Header("X-Upload-Content-Length"), " 4294967301");
  EXPECT_EQ(requests[1].Header("Content-Length"), " 4294967301");
}

TEST_F(YoutubeUpload, RewritesTheRecordAsSent) {
  Fill(info.title, "two\nlines");
  Fill(info.description, "tab\there\r\n" + std::string(4988, 'd') + "\t\t");
  ScriptReplies({}, {.body = R"({"id": "1"})"});
  ASSERT_EQ(Start(), VELK_OK);
  EXPECT_STREQ(info.title, "two\\nlines");
  const std::string description(info.description, sizeof info.description);
  EXPECT_EQ(description, "tab\\there\\r\\n" + std::string(4986, 'd') + '\0');
  EXPECT_NE(
      sandbox.Requests()[0].body.find("'description': 'tab\\there\\r\\n" + std::string(4986, 'd') + "', "),
      std::string::npos);
}

TEST_F(YoutubeUpload, MapsEveryReplyToItsCode) {
  const std::string id = R"({"id": "v1"})";
  const Outcome sessions[] = {
      {"session 401", {.status = 401}, VELK_MISSING_ARGUMENT},
      {"session 403", {.status = 403}, VELK_FORBIDDEN},
      {"session 201", {.status = 201}, VELK_UNEXPECTED_REPLY},
      {"session 302", {.status = 302}, VELK_UNEXPECTED_REPLY},
      {"session 500", {.status = 500}, VELK_UNEXPECTED_REPLY},
      {"session reset", {.reset = true}, VELK_TRANSFER_FAILED},
      {"session truncated", {.body = "half of it", .cutBodyAfter = 4}, VELK_TRANSFER_FAILED},
      {"connection refused", {.refuseConnect = 503}, VELK_TRANSFER_FAILED},
  };
  const Script moved{.status = 302, .headers = {"Location: https://graph.facebook.com/"}, .body = id};
  const Outcome puts[] = {
      {"put 200", {.body = id}, VELK_OK},
      {"put 302", moved, VELK_OK},
      {"put 200 without id", {.body = R"({"kind": "id-less"})"}, VELK_NO_IDENTIFIER},
      {"put 200 without a body", {}, VELK_NO_IDENTIFIER},
      {"put 200 with a numeric id", {.body = R"({"id": 12})"}, VELK_NO_IDENTIFIER},
      {"put 201", {.status = 201, .body = id}, VELK_NO_IDENTIFIER},
      {"put 308", {.status = 308, .body = id}, VELK_NO_IDENTIFIER},
      {"put 400", {.status = 400, .body = id}, VELK_UNEXPECTED_REPLY},
      {"put 503", {.status = 503, .body = id}, VELK_TRANSFER_FAILED},
      {"put 401", {.status = 401, .body = id}, VELK_NO_HANDLE},
      {"put 500", {.status = 500, .body = id}, VELK_NO_HANDLE},
      {"put reset", {.body = id, .reset = true}, VELK_TRANSFER_FAILED},
      {"put reset after the id",
       {.body = id + "    ", .cutBodyAfter = 13, .reset = true},
       VELK_TRANSFER_FAILED},
      {"put truncated", {.body = id, .cutBodyAfter = 3}, VELK_TRANSFER_FAILED},
  };
  const auto expect = [this](const Outcome& row, const std::string& arrived) {
    SCOPED_TRACE(row.name);
    Fill(videoId, kUntouched);
    EXPECT_EQ(Start(), row.result);
    EXPECT_STREQ(videoId, row.result == VELK_OK ? "v1" : kUntouched);
    std::string methods;
    for (const Request& request : sandbox.Requests()) methods += request.method + ' ';
    EXPECT_EQ(methods, arrived);
  };
  for (const Outcome& row : sessions) {
    if (row.reply.refuseConnect != 0 && Sandbox::IsBehindAnother()) continue;
    sandbox.Reset();
    sandbox.Add(row.reply);
    expect(row, row.reply.refuseConnect == 0 ? "POST " : "CONNECT ");
  }
  for (const Outcome& row : puts) {
    sandbox.Reset();
    ScriptReplies({}, row.reply);
    expect(row, "POST PUT ");
  }
  EXPECT_TRUE(Deletable(file)) << "no failure leaves the file open";
}

TEST_F(YoutubeUpload, ValidatesArgumentsBeforeSending) {
  struct Row {
    const char* name;
    char* emptied;
    int32_t result;
  };
  const Row rows[] = {
      {"description", info.description, VELK_MISSING_ARGUMENT},
      {"title", info.title, VELK_MISSING_ARGUMENT},
      {"privacy", info.privacyStatus, VELK_MISSING_ARGUMENT},
      {"category", info.categoryId, VELK_MISSING_ARGUMENT},
      {"file path", info.filePath, VELK_FILE_NOT_OPENED},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const char kept = std::exchange(*row.emptied, '\0');
    EXPECT_EQ(Start(), row.result);
    *row.emptied = kept;
  }
  ExpectRequired<1, 2>("StartYoutubeUploadFile", StartYoutubeUploadFile, uploader, "token", &info, videoId);
  EXPECT_EQ(StartYoutubeUploadFile(uploader, "", &info, videoId), VELK_MISSING_ARGUMENT);

  Fill(info.filePath, file.Path() + "x");
  EXPECT_EQ(Start(), VELK_FILE_NOT_OPENED);
  for (const char* device : {"/dev/null", "NUL", "nul.mp4"}) {
    Fill(info.filePath, device);
    EXPECT_EQ(Start(), VELK_FILE_NOT_OPENED) << device;
  }
  *info.title = '\0';
  EXPECT_EQ(Start(), VELK_MISSING_ARGUMENT) << "a missing string is reported before a missing file";
  EXPECT_TRUE(sandbox.Requests().empty());
  EXPECT_STREQ(videoId, kUntouched);
  EXPECT_EQ(uploader->state, 0U);
}

TEST_F(YoutubeUpload, ChecksTheHandleOnlyAfterTheSession) {
  EXPECT_EQ(StartYoutubeUploadFile(nullptr, "token", &info, videoId), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(StartYoutubeUploadFile(uploader, "token", &info, nullptr), VELK_MISSING_ARGUMENT);
  const auto requests = sandbox.Requests();
  ASSERT_EQ(requests.size(), 2U);
  for (const Request& request : requests) EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(uploader->state, 0U);
}

// The session reply chooses the upload URL. It must not reach a local file or use another protocol.
TEST_F(YoutubeUpload, UploadsOverHttpOnly) {
  const TempFile victim("victim.txt", "untouched");
  const std::string authority = sandbox.Proxy().substr(std::string_view("http://").size());
  const std::string urls[] = {
      "file://" + victim.Path(),      "file:///" + victim.Path(),   "file:" + victim.Path(),
      "ftp://" + authority + "/a",    "ftps://" + authority + "/a", "gopher://" + authority + "/_a",
      "dict://" + authority + "/d:a", "telnet://" + authority,      "smtp://" + authority,
      "tftp://" + authority + "/a",   "ftp.velk.example/a",         "velk://" + authority};
  for (const std::string& url : urls) {
    SCOPED_TRACE(url);
    sandbox.Reset();
    sandbox.Add({.method = "POST", .headers = {"Location: " + url}});
    EXPECT_EQ(Start(), VELK_TRANSFER_FAILED);
    EXPECT_EQ(sandbox.Requests().size(), 1U);
  }
  std::ifstream kept(victim.File(), std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "untouched");
}

TEST_F(YoutubeUpload, SendsNothingForATokenWithALineBreak) {
  for (const char* token :
       {"TOK\r\nX: 1", "TOK\n", "TOK\r", "\nTOK", "TOK\r\n\r\nPOST / HTTP/1.1\r\nHost: h\r\n\r\n"}) {
    SCOPED_TRACE(token);
    EXPECT_EQ(StartYoutubeUploadFile(uploader, token, &info, videoId), VELK_TRANSFER_FAILED);
    EXPECT_EQ(SetYoutubeUploadFileUpdateInfo(token, "video", &info), VELK_TRANSFER_FAILED);
  }
  EXPECT_TRUE(sandbox.Requests().empty());
  EXPECT_STREQ(videoId, kUntouched);
}

TEST_F(YoutubeUpload, TruncatesALongIdentifier) {
  char buffer[257];
  std::fill(std::begin(buffer), std::end(buffer), '#');
  ScriptReplies({}, {.body = R"({"id": ")" + std::string(300, 'i') + "\"}"});
  EXPECT_EQ(StartYoutubeUploadFile(uploader, "token", &info, buffer), VELK_OK);
  EXPECT_EQ(std::string(buffer), std::string(255, 'i'));
  EXPECT_EQ(buffer[256], '#');
}

TEST_F(YoutubeUpload, CancelsDuringTheTransferFromAnotherThread) {
  const TempFile large("large.mp4", RandomBytes(8 * 1024 * 1024, 3));
  Fill(info.filePath, large.Path());
  sandbox.Add({.method = "PUT", .passThrough = true, .readSlowly = 200000});
  EXPECT_EQ(CancelYoutubeUploadFile(uploader), VELK_NOT_UPLOADING);

  double total = 0;
  EXPECT_EQ(CancelInMidTransfer(
                sandbox, 1, uploader, GetYoutubeUploadFileProgress, CancelYoutubeUploadFile,
                [this] { return Start(); }, total),
            VELK_CANCELLED);
  EXPECT_EQ(total, 8.0 * 1024 * 1024);
  EXPECT_EQ(uploader->state, 4U);
  EXPECT_STREQ(videoId, kUntouched);
  EXPECT_FALSE(sandbox.Requests().at(1).bodyComplete);
  EXPECT_TRUE(Deletable(large));
}

TEST_F(YoutubeUpload, ReusesACancelledHandle) {
  uploader->state = 4;
  uploader->cancelRequested = 1;
  EXPECT_EQ(Start(), VELK_OK);
  EXPECT_EQ(uploader->state, 2U);
}

TEST_F(YoutubeUpload, PublishesTwoVideosAtOnce) {
  const TempFile otherFile("other.mp4", "not much of another video");
  YoutubeUploadInfo other = info;
  Fill(other.filePath, otherFile.Path());
  Fill(other.title, "b");
  FileUploader* second = InitYoutubeFileUploder();
  char otherId[256] = "";
  // Each session waits for the other, so that the uploads overlap.
  sandbox.Add({.method = "POST", .times = 2, .passThrough = true, .delayMs = 200});
  std::thread upload([&] { EXPECT_EQ(StartYoutubeUploadFile(second, "token", &other, otherId), VELK_OK); });
  EXPECT_EQ(Start(), VELK_OK);
  upload.join();

  std::map<std::string, std::pair<std::string, std::string>> published;  // from the identifier
  const boost::json::value state = sandbox.State();
  for (const boost::json::value& video : state.at("youtube").at("videos").as_array()) {
    published[std::string(video.at("id").as_string())] = {std::string(video.at("title").as_string()),
                                                          std::string(video.at("sha256").as_string())};
  }
  const decltype(published) expected{{videoId, {"a", Sha256("not much of a video")}},
                                     {otherId, {"b", Sha256("not much of another video")}}};
  EXPECT_EQ(published, expected);
  EXPECT_EQ(uploader->uploadedBytes, 19);
  EXPECT_EQ(second->uploadedBytes, 25);
  CancelYoutubeUploadFile(second);
  EXPECT_EQ(UninitYoutubeFileUploder(second), VELK_OK);
}

}  // namespace
}  // namespace velk::test
