// Publishing a photo: the exact requests, file sizes, names, states, result codes and cancellation.
#include <boost/json.hpp>
#include <chrono>
#include <map>
#include <thread>

#include "support/twitter_fixture.h"

namespace velk::test {
namespace {

constexpr std::uint64_t kSegment = 1'048'576;
constexpr const char* kUploadHost = "upload.twitter.com";

class TwitterPhoto : public TwitterTest {
 protected:
  TwitterPhoto() { Fill(upload.statusText, "look"); }
  ~TwitterPhoto() override {
    uploader->state = 0;  // a completed upload leaves its handle busy
    EXPECT_EQ(UninitTwitterFileUploder(uploader), VELK_OK);
  }

  void Choose(const TempFile& file) { FillPath(upload, file.Path()); }

  int32_t Start() { return StartTwitterUploadPhoto(uploader, &consumer, &token, &upload); }
  int32_t Start(const TempFile& file) {
    Choose(file);
    return Start();
  }

  // Returns one word per request received: the form's command, STATUS for the status query, or TWEET.
  std::string Steps() {
    std::string steps;
    for (const Request& request : sandbox.Requests()) {
      const FormField* command = request.Field("command");
      const std::string other = request.method == "GET" ? "STATUS" : "TWEET";
      if (request.method != "CONNECT") steps += (command ? command->content : other) + ' ';
    }
    return steps;
  }

  // Scripts the replies to the steps from INIT on. With kPass, the service itself replies to a step.
  void ScriptReplies(const std::vector<Script>& steps) {
    for (Script step : steps) {
      step.host = kUploadHost;
      step.method = "POST";
      sandbox.Add(step);
    }
  }

  FileUploader* uploader = InitTwitterFileUploder();
  TwitterUploadFile upload{};
};

const Script kPass{.passThrough = true};

std::string FieldsOf(const Request& request) {
  std::string text;
  for (const FormField& field : request.fields) text += field.name + '=' + field.content + '\n';
  return text;
}

TEST_F(TwitterPhoto, SendsTheExactRequests) {
  const std::string content = std::string("not\0much\xFF of a photo\r\n--", 24) + RandomBytes(1000, 1);
  ScriptReplies({{.status = 202, .body = R"({"media_id_string":"71\/0"})"},
                 {.status = 204},
                 {.body = R"({"processing_info":{"state":"pending"}})"}});
  sandbox.Add({.method = "GET", .status = 500});
  sandbox.Add({.path = kTweetPath});
  EXPECT_EQ(Start(TempFile("photo.jpg", content)), VELK_OK);

  const auto requests = sandbox.Requests();
  ASSERT_EQ(Steps(), "INIT APPEND FINALIZE STATUS TWEET ");
  const auto head = [](const std::string& line, const std::string& host, const std::string& rest) {
    return line + " HTTP/1.1\r\nHost: " + host + "\r\nUser-Agent: libcurl-agent/1.0\r\nAccept: */*\r\n" +
           rest + "\r\n\r\n";
  };
  const auto form = [&](const Request& request) {
    return head("POST /1.1/media/upload.json", kUploadHost,
                "Authorization: OAuth QUOTED\r\nContent-Length: " + std::to_string(request.bodySize) +
                    "\r\nContent-Type: multipart/form-data; BOUNDARY");
  };
  for (const size_t step : {0U, 1U, 2U}) EXPECT_EQ(Masked(requests[step].head), form(requests[step]));
  EXPECT_EQ(Masked(requests[3].head), head("GET /1.1/media/upload.json?command=STATUS&media_id=pending",
                                           kUploadHost, "Authorization: OAuth BARE"));
  EXPECT_EQ(Masked(requests[4].head),
            head("POST /1.1/statuses/update.json", "api.twitter.com",
                 "Content-Type: application/x-www-form-urlencoded\r\nAuthorization: OAuth QUOTED\r\n"
                 "Content-Length: 29"));

  EXPECT_EQ(FieldsOf(requests[0]), "command=INIT\nmedia_type=image/jpg\ntotal_bytes=" +
                                       std::to_string(content.size()) + "\nmedia_category=tweet_image\n");
  EXPECT_EQ(FieldsOf(requests[1]), "command=APPEND\nmedia_id=71/0\nsegment_index=0\nmedia=" + content + '\n');
  EXPECT_EQ(FieldsOf(requests[2]), "command=FINALIZE\nmedia_id=71/0\n");
  EXPECT_EQ(requests[4].body, "media_ids=pending&status=look");
  for (const Request& request : requests)
    for (const FormField& field : request.fields) EXPECT_EQ(field.fileName + field.contentType, "");

  EXPECT_EQ(requests[0].Header("Authorization"), requests[1].Header("Authorization"));
  EXPECT_EQ(requests[0].Header("Authorization"), requests[2].Header("Authorization"));
}

TEST_F(TwitterPhoto, PublishesFilesOfEverySize) {
  struct Row {
    std::uint64_t size;
    std::vector<std::uint64_t> segments;
  };
  const Row rows[] = {
      {8, {8}},
      {kSegment, {kSegment}},
      {kSegment + 1, {kSegment, 1}},
      {2'500'000, {kSegment, kSegment, 402'848}},
      {5'242'880, {kSegment, kSegment, kSegment, kSegment, kSegment}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.size);
    sandbox.Reset();
    const std::string content = Png(RandomBytes(row.size - 8, 2));
    const TempFile photo("photo.png", content);
    ASSERT_EQ(Start(photo), VELK_OK);
    std::vector<std::uint64_t> segments;
    for (const Request& request : sandbox.Requests()) {
      const FormField* media = request.Field("media");
      if (!media) continue;
      EXPECT_EQ(request.Field("segment_index")->content, std::to_string(segments.size()));
      EXPECT_EQ(request.Header("Expect"), "") << "segments do not wait for 100 Continue";
      segments.push_back(media->size);
    }
    EXPECT_EQ(segments, row.segments);
    EXPECT_EQ(All("media", "sha256"), std::vector<std::string>{Sha256(content)});
    EXPECT_EQ(All("tweets", "mediaIds"), All("media", "id"));
    ExpectVerified(row.segments.size() + 3);
    EXPECT_TRUE(Deletable(photo));
  }
  double uploaded = 0;
  double total = 0;
  EXPECT_EQ(GetTwitterUploadFileProgress(uploader, &uploaded, &total), VELK_OK);
  EXPECT_EQ(uploaded, total);
  EXPECT_GE(total, 1.0 * kSegment);
  EXPECT_LE(total, 1.0 * kSegment + 1000) << "the last segment and its form";
  EXPECT_EQ(UninitTwitterFileUploder(uploader), VELK_BUSY);
}

TEST_F(TwitterPhoto, ReportsFilesThatTheServiceRefuses) {
  const struct {
    const char* name;
    std::string content;
    const char* steps;
  } rows[] = {
      {"empty", "", "INIT "},
      {"one byte", "x", "INIT APPEND FINALIZE "},
      {"no photo", RandomBytes(1000, 7), "INIT APPEND FINALIZE "},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    EXPECT_EQ(Start(TempFile("photo.png", row.content)), VELK_UNEXPECTED_REPLY);
    EXPECT_EQ(Steps(), row.steps);
  }
}

TEST_F(TwitterPhoto, RejectsAFileThatIsTooLargeBeforeSending) {
  EXPECT_EQ(Start(TempFile("photo.png", RandomBytes(5'242'881, 3))), VELK_TOO_LARGE);
  EXPECT_EQ(Start(TempFile::Sparse("photo.png", (4ULL << 30) + 5)), VELK_TOO_LARGE)
      << "the size is not truncated to 32 bits";
  EXPECT_TRUE(sandbox.Requests().empty());
}

TEST_F(TwitterPhoto, AcceptsAnyFileAndFolderName) {
  const std::pair<const char*, const char*> rows[] = {
      {"x.jpeg", "jpe"},
      {"x.PNG", "PNG"},
      {"name", "nam"},
      {"\xE6\x88\x91 \xC3\xA9t\xC3\xA9 \xF0\x9F\x8E\x89.gif", "gif"}};
  for (const auto& [name, type] : rows) {
    SCOPED_TRACE(name);
    sandbox.Reset();
    ASSERT_EQ(Start(TempFile(name, Png("content"))), VELK_OK);
    EXPECT_EQ(sandbox.Requests()[0].Field("media_type")->content, std::string("image/") + type);
  }
  const TempFile photo("photo.png", Png("content"));
  const std::filesystem::path folder = photo.File().parent_path() / u8"\u6211 caf\u00e9";
  std::filesystem::create_directory(folder);
  std::filesystem::copy_file(photo.File(), folder / "copy.png");
  const std::u8string folderText = folder.u8string();
  Fill(upload.folderPath, std::string(folderText.begin(), folderText.end()));
  Fill(upload.fileName, "copy.png");
  EXPECT_EQ(Start(), VELK_OK);
}

TEST_F(TwitterPhoto, UsesTheIdentifiersAndStatesOfTheService) {
  const std::string longest(1023, 'i');
  const auto id = [](const std::string& text) {
    return Reply(200, R"({"media_id_string":")" + text + "\"}");
  };
  const auto state = [](const std::string& text) { return Reply(201, R"({"state":")" + text + "\"}"); };
  const std::string withoutStatus = "INIT APPEND FINALIZE TWEET ";
  const std::string withStatus = "INIT APPEND FINALIZE STATUS TWEET ";
  struct Row {
    const char* name;
    Script init;
    Script finalize;
    std::string steps;
    std::string mediaIds;
  };
  const Row rows[] = {
      {"no state", id("9"), Reply(201), withoutStatus, "9"},
      {"successful state", id("9"), state("success"), withoutStatus, "success"},
      {"empty state", id("9"), state(""), withoutStatus, ""},
      {"no media id", Reply(202, R"({"media_id":9})"), Reply(200), withoutStatus, ""},
      {"empty media id", id(""), Reply(200), withoutStatus, ""},
      {"longest id", id(longest), Reply(200), withoutStatus, longest},
      {"id too long", id(longest + "i"), Reply(200), "INIT ", ""},
      {"longest state", id("9"), state(longest), withStatus, longest},
      {"state too long", id("9"), state(longest + "i"), "INIT APPEND FINALIZE ", ""},
  };
  const TempFile photo("photo.png", "content");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    ScriptReplies({row.init, Reply(204), row.finalize});
    sandbox.Add({.method = "GET"});
    sandbox.Add({.path = kTweetPath});
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(Start(photo), row.steps.ends_with("TWEET ") ? VELK_OK : VELK_BUFFER_TOO_SMALL);
    const auto took = std::chrono::steady_clock::now() - began;
    EXPECT_GE(took, std::chrono::seconds(row.steps == withStatus ? 1 : 0));
    EXPECT_EQ(Steps(), row.steps);
    if (!row.steps.ends_with("TWEET ")) continue;
    EXPECT_EQ(sandbox.Requests().back().body, "media_ids=" + row.mediaIds + "&status=look");
  }
}

TEST_F(TwitterPhoto, MapsEveryReplyToItsCode) {
  const std::string credentials = "Could not authenticate you";
  const std::string duplicate = "Status is a duplicate.";
  enum Step { kInit, kAppend, kFinalize, kTweet };
  const std::string all[] = {"INIT ", "APPEND ", "FINALIZE ", "TWEET "};
  struct Row {
    const char* name;
    Step step;     // it gets the reply; the steps before it succeed
    Script reply;  // two resets where a step is retried on a new connection
    int32_t result;
  };
  const Row rows[] = {
      {"INIT 201", kInit, Reply(201), VELK_UNEXPECTED_REPLY},
      {"INIT 401", kInit, Reply(401, credentials), VELK_CREDENTIALS_REFUSED},
      {"INIT 403", kInit, Reply(403, duplicate), VELK_DUPLICATE_STATUS},
      {"INIT reset", kInit, {.reset = true}, VELK_UNEXPECTED_REPLY},
      {"APPEND 202", kAppend, Reply(202), VELK_UNEXPECTED_REPLY},
      {"APPEND 400", kAppend, Reply(400, credentials), VELK_CREDENTIALS_REFUSED},
      {"APPEND 403", kAppend, Reply(403, duplicate), VELK_DUPLICATE_STATUS},
      {"APPEND reset", kAppend, {.times = 2, .reset = true}, VELK_TRANSFER_FAILED},
      {"FINALIZE 202", kFinalize, Reply(202), VELK_UNEXPECTED_REPLY},
      {"FINALIZE 204", kFinalize, Reply(204), VELK_UNEXPECTED_REPLY},
      {"FINALIZE 401", kFinalize, Reply(401, credentials), VELK_CREDENTIALS_REFUSED},
      {"FINALIZE 403", kFinalize, Reply(403, duplicate), VELK_DUPLICATE_STATUS},
      {"FINALIZE reset", kFinalize, {.times = 2, .reset = true}, VELK_TRANSFER_FAILED},
      {"tweet 401", kTweet, Reply(401, credentials), VELK_CREDENTIALS_REFUSED},
      {"tweet 403", kTweet, Reply(403, duplicate), VELK_DUPLICATE_STATUS},
      {"tweet reset", kTweet, {.reset = true}, VELK_TRANSFER_FAILED},
      {"200 throughout", kTweet, Reply(200), VELK_OK},
  };
  const TempFile photo("photo.png", "content");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    std::string steps = all[0];
    for (int step = kInit; step < row.step; ++step) {
      sandbox.Add(Reply(200, R"({"media_id_string":"9"})"));
      steps += all[step + 1];
    }
    sandbox.Add(row.reply);
    if (row.reply.times == 2) steps += all[row.step];
    EXPECT_EQ(Start(photo), row.result);
    EXPECT_EQ(Steps(), steps) << "no step follows a failed one";
  }
  EXPECT_TRUE(Deletable(photo)) << "no failure leaves the file open";
}

TEST_F(TwitterPhoto, JudgesInitByItsStatusAlone) {
  const std::string body = R"({"media_id_string":"9","expires":1})";
  ScriptReplies({{.body = body, .cutBodyAfter = body.size() - 3, .reset = true}, {}, {}});
  sandbox.Add({.path = kTweetPath});
  EXPECT_EQ(Start(TempFile("photo.png", "content")), VELK_OK) << "the status had already arrived";
  EXPECT_EQ(Steps(), "INIT APPEND FINALIZE TWEET ");

  SetLibVelkUploadProxy(kRefusingProxy);
  EXPECT_EQ(Start(TempFile("photo.png", "content")), VELK_UNEXPECTED_REPLY) << "no status arrived";
}

TEST_F(TwitterPhoto, ValidatesArgumentsBeforeSending) {
  Choose(TempFile("photo.png", "gone at once"));
  ExpectRequired<0, 1, 2, 3>("StartTwitterUploadPhoto", StartTwitterUploadPhoto, uploader, &consumer, &token,
                             &upload);
  for (char* field : {consumer.consumerKey, consumer.consumerSecret, token.oauthToken, token.oauthTokenSecret,
                      token.userId, token.screenName, upload.statusText}) {
    const char kept = std::exchange(*field, '\0');
    EXPECT_EQ(Start(), VELK_MISSING_ARGUMENT) << "reported before the missing file";
    *field = kept;
  }
  EXPECT_EQ(Start(), VELK_FILE_NOT_OPENED);
  *upload.fileName = '\0';
  EXPECT_EQ(Start(), VELK_FILE_NOT_OPENED) << "a folder is not a file";
  *upload.folderPath = '\0';
  EXPECT_EQ(Start(), VELK_FILE_NOT_OPENED);
  EXPECT_TRUE(sandbox.Requests().empty());
}

TEST_F(TwitterPhoto, RejectsALongTextAfterTheUpload) {
  Fill(upload.statusText, std::string(1024, 'x'));
  EXPECT_EQ(Start(TempFile("photo.png", Png("content"))), VELK_TOO_LARGE);
  EXPECT_EQ(Steps(), "INIT APPEND FINALIZE ");
}

TEST_F(TwitterPhoto, ReadsUnterminatedFieldsAndSignsTheStatusQuery) {
  FillWholeFields();
  Fill(token.userId, std::string(260, 'u'));
  Fill(token.screenName, std::string(260, 'n'));
  Fill(upload.folderPath, std::string(1024, 'f'));
  Fill(upload.fileName, std::string(1024, 'n'));
  EXPECT_EQ(Start(), VELK_FILE_NOT_OPENED);
  ScriptReplies({kPass, kPass, Reply(200, R"({"state":"in_progress"})")});
  sandbox.Add({.path = kTweetPath});
  EXPECT_EQ(Start(TempFile("photo.png", "content")), VELK_OK);
  EXPECT_EQ(Steps(), "INIT APPEND FINALIZE STATUS TWEET ");
  ExpectVerified(3);
}

TEST_F(TwitterPhoto, StopsWhenTheFileShrinks) {
  const TempFile photo("photo.png", RandomBytes(2 * kSegment, 4));
  ScriptReplies({kPass, {.passThrough = true, .delayMs = 500}});
  Choose(photo);
  int32_t result = VELK_OK;
  std::thread publishing([&] { result = Start(); });
  EXPECT_TRUE(sandbox.WaitForBody(1, kSegment));
  std::filesystem::resize_file(photo.File(), kSegment + 10);
  publishing.join();
  EXPECT_EQ(result, VELK_MISSING_ARGUMENT);
  EXPECT_EQ(Steps(), "INIT APPEND ");
}

TEST_F(TwitterPhoto, CancelsDuringASegmentFromAnotherThread) {
  const TempFile photo("photo.png", RandomBytes(2 * kSegment, 5));
  ScriptReplies({kPass, kPass, {.passThrough = true, .readSlowly = 100'000}});
  Choose(photo);
  double total = 0;
  EXPECT_EQ(CancelInMidTransfer(
                sandbox, 2, uploader, GetTwitterUploadFileProgress, CancelTwitterUploadFile,
                [this] { return Start(); }, total),
            VELK_CANCELLED);
  EXPECT_LE(total, 1.0 * kSegment + 1000) << "the progress is that of one segment";
  EXPECT_EQ(Steps().substr(0, 12), "INIT APPEND ");
  EXPECT_EQ(Steps().find("FINALIZE"), std::string::npos);
  EXPECT_EQ(uploader->state, 0U);
  EXPECT_TRUE(Deletable(photo));

  sandbox.Reset();
  EXPECT_EQ(Start(TempFile("photo.png", "content")), VELK_CANCELLED) << "the cancel request persists";
  EXPECT_EQ(Steps().substr(0, 5), "INIT ");
  EXPECT_EQ(Steps().find("FINALIZE"), std::string::npos);
  ScriptReplies({Reply(202), Reply(201)});
  sandbox.Add({.path = kTweetPath});
  EXPECT_EQ(Start(TempFile("photo.png", "")), VELK_OK) << "only segments check for it";
}

TEST_F(TwitterPhoto, PublishesTwoPhotosAtOnce) {
  const std::string content = Png(RandomBytes(kSegment - 8, 6));
  const std::string otherContent = Png(RandomBytes(kSegment - 8, 7));
  const TempFile photo("photo.png", content);
  const TempFile otherPhoto("other.png", otherContent);
  TwitterUploadFile other{};
  FillPath(other, otherPhoto.Path());
  Fill(other.statusText, "look again");
  FileUploader* second = InitTwitterFileUploder();
  // Each INIT waits for the other, so that the uploads overlap.
  sandbox.Add({.host = kUploadHost, .times = 2, .passThrough = true, .delayMs = 200});
  int32_t otherResult = VELK_BUSY;
  std::thread thread([&] { otherResult = StartTwitterUploadPhoto(second, &consumer, &token, &other); });
  EXPECT_EQ(Start(photo), VELK_OK);
  thread.join();
  EXPECT_EQ(otherResult, VELK_OK);

  std::map<std::string, std::string> published;  // from the text of a tweet to the content of its photo
  const boost::json::object service = Service();
  for (const boost::json::value& tweet : service.at("tweets").as_array()) {
    for (const boost::json::value& media : service.at("media").as_array()) {
      if (media.at("id") == tweet.at("mediaIds"))
        published[std::string(tweet.at("text").as_string())] = media.at("sha256").as_string();
    }
  }
  const std::map<std::string, std::string> expected{{"look", Sha256(content)},
                                                    {"look again", Sha256(otherContent)}};
  EXPECT_EQ(published, expected);
  ExpectVerified(8);
  for (const FileUploader* each : {uploader, second}) {
    EXPECT_EQ(each->uploadedBytes, each->totalBytes);
    EXPECT_GT(each->totalBytes, 1.0 * kSegment);
  }
  second->state = 0;
  EXPECT_EQ(UninitTwitterFileUploder(second), VELK_OK);
}

}  // namespace
}  // namespace velk::test
