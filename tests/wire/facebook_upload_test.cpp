// Video and photo uploads to Facebook: the exact forms, the choice of host, faults and cancellation.
#include <boost/json.hpp>

#include "support/facebook_fixture.h"

namespace velk::test {
namespace {

constexpr const char* kGraph = "graph.facebook.com";
constexpr const char* kGraphVideo = "graph-video.facebook.com";
constexpr const char* kVideoId = R"({"id":"v1"})";

class FacebookUpload : public FacebookTest {
 protected:
  int32_t Video() { return StartFacebookUploadVideo(uploader, "token", &info, text); }
  int32_t Photo() { return StartFacebookUploadPhoto(uploader, "token", &info, text); }

  std::vector<std::string> Hosts() {
    std::vector<std::string> hosts;
    for (const Request& request : sandbox.Requests()) hosts.push_back(request.host);
    return hosts;
  }

  // Returns the file name that a form announces. On Windows, the ANSI code page has no Chinese characters.
  static std::string Announced(std::string path) {
#ifdef _WIN32
    for (const char* const chinese : {"\xE6\x88\x91\xE7\x9A\x84", "\xE8\xA7\x86\xE9\xA2\x91"}) {
      const size_t at = path.find(chinese);
      if (at != std::string::npos) path.replace(at, 6, "??");
    }
#endif
    return path;
  }
};

TEST_F(FacebookUpload, SendsTheExactForms) {
  struct Row {
    const char* name;
    bool video;
    Script script;
    const char* requestLine;
    std::vector<std::pair<std::string, std::string>> texts;
  };
  const char* const videoLine =
      "/104000000000001/videos/uploaded?privacy={'value':'SELF'}&access_token=token";
  const std::vector<std::pair<std::string, std::string>> videoTexts{{"title", "a"},
                                                                    {"description", "about a"}};
  const Row rows[] = {
      {kGraph, true, {.body = kVideoId}, videoLine, videoTexts},
      {kGraphVideo, true, {.host = kGraphVideo, .body = kVideoId}, videoLine, videoTexts},
      {kGraph, false, {.body = "{}"}, "/104000000000001/photos?access_token=token", {{"message", "about a"}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.name) + row.requestLine);
    sandbox.Reset();
    if (!row.script.host.empty()) sandbox.Add({.host = kGraph, .status = 500});
    sandbox.Add(row.script);
    ASSERT_EQ(row.video ? Video() : Photo(), VELK_OK);
    EXPECT_STREQ(text, row.video ? "v1" : kUntouched);
    Fill(text, kUntouched);

    const Request request = sandbox.Requests().back();
    const std::string type = request.Header("Content-Type");
    const std::string boundary = "--" + type.substr(std::min(type.find('=') + 1, type.size()));
    std::string body;
    for (const auto& [name, content] : row.texts) {
      body +=
          boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + content + "\r\n";
    }
    body += boundary + "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"" + file.Path() +
            "\"\r\n\r\nnot much of a video\r\n" + boundary + "--\r\n";
    EXPECT_EQ(request.body, body);
    EXPECT_EQ(request.head, std::string("POST ") + row.requestLine + " HTTP/1.1\r\nHost: " + row.name +
                                "\r\nUser-Agent: libcurl-agent/1.0\r\nAccept: */*\r\nContent-Length: " +
                                std::to_string(body.size()) + "\r\nContent-Type:" + type + "\r\n\r\n");
  }
}

TEST_F(FacebookUpload, UploadsFilesOfAnyNameAndSize) {
  for (const Media& row : MediaToUpload()) {
    for (const bool video : {true, false}) {
      SCOPED_TRACE(std::string(row.name) + (video ? ", video" : ", photo"));
      sandbox.Reset();
      if (row.content.empty()) sandbox.Add({.body = R"({"id":"1","post_id":"1_2"})"});
      if (row.content.empty() && !video) sandbox.Add({});
      const std::string content = video || row.content.empty() ? row.content : Png(row.content);
      const TempFile media(row.fileName, content);
      Fill(info.filePath, media.Path());
      ASSERT_EQ(video ? Video() : Photo(), VELK_OK);
      const Request request = sandbox.Requests().front();
      const FormField* sent = request.Field("file");
      ASSERT_NE(sent, nullptr);
      EXPECT_EQ(sent->fileName, Announced(media.Path()));
      EXPECT_EQ(sent->sha256, Sha256(content));
      EXPECT_EQ(sent->size, content.size());
      EXPECT_TRUE(Deletable(media));
      if (row.content.empty()) continue;
      const std::string state = boost::json::serialize(sandbox.State());
      EXPECT_NE(state.find('"' + std::string(text) + '"'), std::string::npos);
      double uploaded = -1;
      double total = -1;
      EXPECT_EQ(GetFacebookUploadFileProgress(uploader, &uploaded, &total), VELK_OK);
      EXPECT_EQ(uploaded, static_cast<double>(request.bodySize)) << "the whole form is counted";
      EXPECT_EQ(total, uploaded);
    }
  }
}

TEST_F(FacebookUpload, ChoosesTheHostByWholeMebibytes) {
  const std::pair<std::uint64_t, std::vector<std::string>> rows[] = {
      {52428799, {kGraph, kGraphVideo}}, {52428800, {kGraphVideo}}, {(4ULL << 30) + 5, {kGraphVideo}}};
  for (const auto& [size, hosts] : rows) {
    SCOPED_TRACE(size);
    sandbox.Reset();
    const auto large = TempFile::Sparse("large.mp4", size);
    Fill(info.filePath, large.Path());
    sandbox.Add({.times = 0, .status = 400, .answerEarly = true});
    EXPECT_EQ(Video(), VELK_UNEXPECTED_REPLY);
    EXPECT_EQ(Hosts(), hosts);
    for (const Request& request : sandbox.Requests()) {
      const std::uint64_t form = std::stoull(request.Header("Content-Length")) - size;
      EXPECT_TRUE(form > 0 && form < 2000) << form;
    }
  }
}

TEST_F(FacebookUpload, FallsBackToTheVideoHostAfterAnyFailure) {
  struct Row {
    const char* name;
    Script first;
    Script second;
    int32_t result;
    std::vector<std::string> hosts;
  };
  const std::string padded = std::string(kVideoId) + Repeat(' ', 20);
  const Script published{.body = kVideoId};
  const Script rejected{.status = 400, .body = kRejectedToken};
  const Script brokenAfterId{.status = 400, .body = padded, .cutBodyAfter = 12, .reset = true};
  const Script brokenBeforeId{.body = padded, .cutBodyAfter = 5, .reset = true};
  const std::vector<std::string> both{kGraph, kGraphVideo};
  const Row rows[] = {
      {"published on the first host", published, {}, VELK_OK, {kGraph}},
      {"broken after the identifier", brokenAfterId, {}, VELK_OK, {kGraph}},
      {"broken before the identifier", brokenBeforeId, published, VELK_OK, both},
      {"token rejected", rejected, published, VELK_OK, both},
      {"server error", {.status = 500}, published, VELK_OK, both},
      {"no identifier", {.body = "{}"}, published, VELK_OK, both},
      {"broken on both hosts", brokenBeforeId, brokenBeforeId, VELK_NO_IDENTIFIER, both},
      {"broken after the second identifier", rejected, brokenAfterId, VELK_OK, both},
      {"second result returned", rejected, {.status = 500}, VELK_SERVER_ERROR, both},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    Fill(text, kUntouched);
    for (const Script& script : {row.first, row.second}) sandbox.Add(script);
    EXPECT_EQ(Video(), row.result);
    EXPECT_STREQ(text, row.result == VELK_OK ? "v1" : kUntouched);
    EXPECT_EQ(Hosts(), row.hosts);
  }
}

TEST_F(FacebookUpload, TruncatesALongIdentifier) {
  text[1024] = '#';
  sandbox.Add({.body = R"({"id":")" + Repeat('i', 2000) + "\"}"});
  EXPECT_EQ(Video(), VELK_OK);
  EXPECT_EQ(std::string(text, 1024), Repeat('i', 1023) + '\0');
  EXPECT_EQ(text[1024], '#');
}

TEST_F(FacebookUpload, SetsThePrivacyOfThePhoto) {
  struct Row {
    const char* name;
    std::string reply;
    Script privacy;
    int32_t result;
    const char* postId;
    size_t requests;
  };
  const std::string both = R"({"id":"22","post_id":"1_2"})";
  const Script rejected{.status = 400, .body = kRejectedToken};
  const Row rows[] = {
      {"photo and story", both, {}, VELK_OK, "1_2", 2},
      {"no story", R"({"id":"22"})", {}, VELK_OK, kUntouched, 2},
      {"no photo", R"({"post_id":"1_2"})", {}, VELK_OK, "1_2", 1},
      {"privacy rejected", both, rejected, VELK_PRIVACY_NOT_UPDATED, kUntouched, 2},
      {"reset on the reused connection and on a new one",
       both,
       {.times = 2, .reset = true},
       VELK_PRIVACY_NOT_UPDATED,
       kUntouched,
       3},
      {"empty photo identifier", R"({"id":"","post_id":"1_2"})", {}, VELK_PRIVACY_NOT_UPDATED, kUntouched, 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    Fill(text, kUntouched);
    sandbox.Add({.body = row.reply});
    sandbox.Add(row.privacy);
    EXPECT_EQ(Photo(), row.result);
    EXPECT_STREQ(text, row.postId);
    std::vector<std::string> arrived{"POST graph.facebook.com/104000000000001/photos"};
    while (arrived.size() < row.requests)
      arrived.push_back("POST graph.facebook.com/22 privacy={'value':'SELF'}");
    EXPECT_EQ(Arrived(), arrived);
    EXPECT_EQ(sandbox.Requests().back().Query(), "access_token=token");
  }
  sandbox.Reset();
  sandbox.Add({.body = both + "    ", .cutBodyAfter = both.size(), .reset = true});
  EXPECT_EQ(Photo(), VELK_TRANSFER_FAILED) << "no identifier is read from a broken reply";
  EXPECT_STREQ(text, kUntouched);
}

TEST_F(FacebookUpload, ValidatesArgumentsBeforeSending) {
  struct Row {
    const char* name;
    char* emptied;
    bool videoNeeds;
    bool photoNeeds;
  };
  const Row rows[] = {
      {"path", info.filePath, true, true},           {"title", info.title, true, false},
      {"description", info.description, true, true}, {"privacy", info.privacy, false, true},
      {"target", info.targetId, false, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    sandbox.Add({.times = 0, .body = R"({"id":"1","post_id":"1_2"})"});
    const char kept = std::exchange(*row.emptied, '\0');
    EXPECT_EQ(Video(), row.videoNeeds ? VELK_MISSING_ARGUMENT : VELK_OK);
    EXPECT_EQ(Photo(), row.photoNeeds ? VELK_MISSING_ARGUMENT : VELK_OK);
    EXPECT_EQ(sandbox.Requests().empty(), row.videoNeeds && row.photoNeeds);
    *row.emptied = kept;
  }
  sandbox.Reset();
  for (const std::string& path : {file.Path() + "x", file.Path().substr(0, file.Path().size() - 8)}) {
    Fill(info.filePath, path);
    EXPECT_EQ(Video(), VELK_FILE_NOT_OPENED);
    EXPECT_EQ(Photo(), VELK_FILE_NOT_OPENED);
  }
  *info.description = '\0';
  EXPECT_EQ(Video(), VELK_MISSING_ARGUMENT) << "a missing string is reported before a missing file";
  EXPECT_EQ(Photo(), VELK_MISSING_ARGUMENT);
  EXPECT_TRUE(sandbox.Requests().empty());
}

TEST_F(FacebookUpload, CancelsDuringTheTransferFromAnotherThread) {
  const TempFile large("large.mp4", RandomBytes(8 * 1024 * 1024, 3));
  Fill(info.filePath, large.Path());
  struct Row {
    const char* name;
    bool video;
    Script first;  // the reply before the cancelled upload, if any
    std::vector<std::string> hosts;
  };
  const Script refused{.host = kGraph, .status = 400, .answerEarly = true};
  const Row rows[] = {
      {"video to the first host", true, {}, {kGraph}},
      {"video to the second host", true, refused, {kGraph, kGraphVideo}},
      {"photo", false, {}, {kGraph}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    if (!row.first.host.empty()) sandbox.Add(row.first);
    sandbox.Add({.times = 0, .passThrough = true, .readSlowly = 200000});
    *uploader = {};
    double total = 0;
    EXPECT_EQ(CancelInMidTransfer(
                  sandbox, row.hosts.size() - 1, uploader, GetFacebookUploadFileProgress,
                  CancelFacebookUploadFile, [&] { return row.video ? Video() : Photo(); }, total),
              VELK_CANCELLED);
    EXPECT_GT(total, 8.0 * 1024 * 1024);
    EXPECT_EQ(uploader->state, 0U);
    EXPECT_STREQ(text, kUntouched);
    EXPECT_EQ(Hosts(), row.hosts);
    EXPECT_FALSE(sandbox.Requests().back().bodyComplete);
  }
  EXPECT_EQ(Photo(), VELK_CANCELLED) << "the cancel request persists";
  EXPECT_TRUE(Deletable(large));
}

}  // namespace
}  // namespace velk::test
