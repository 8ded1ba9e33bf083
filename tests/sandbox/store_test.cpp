// What a sandbox with a store acknowledged is there after it was killed: published objects, tokens, and
// uploads that are not complete.
#include "support/files.h"
#include "support/http.h"
#include "support/oauth.h"
#include "support/running_sandbox.h"

#include <filesystem>
#include <fstream>

namespace velk::test {
namespace {

namespace fs = std::filesystem;
namespace json = boost::json;

constexpr const char* kMultipart = "Content-Type: multipart/form-data; boundary=b";
constexpr const char* kToken = "Authorization: Bearer t";
constexpr std::size_t kPiece = 256 * 1024;
const std::string kGraph = "graph.facebook.com/";
const std::string kTweets = "api.twitter.com/1.1/statuses/update.json";
const std::string kMedia = "upload.twitter.com/1.1/media/upload.json";
const std::string kUploads = "www.googleapis.com/upload/youtube/v3/videos";

class SandboxStore : public testing::Test {
 protected:
  SandboxStore() { Start(); }
  ~SandboxStore() override {
    running_.reset();
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  void Start() {
    running_.reset();
    running_.emplace(VELK_SANDBOX_PROGRAM, std::vector<std::string>{"--store", folder_.string()}, errors_);
    ASSERT_TRUE(running_->sandbox);
  }
  Sandbox& Box() { return *running_->sandbox; }
  HttpReply Request(const HttpRequest& request) { return Send(Box(), request); }
  HttpReply Signed(const std::string& url, const Parameters& parameters, const std::string& body = "",
                   const OauthKeys& keys = {}) {
    const std::string header = AuthorizationHeader(test::Signed("POST", url, parameters, keys));
    const std::string target = url + (parameters.empty() ? "" : "?" + Join(parameters, "&"));
    return Request({"POST", target, {header, body.empty() ? "X: y" : kMultipart}, body});
  }
  json::value StateOf(const char* service) { return Box().State().at(service); }
  fs::path Ledger() const { return folder_ / "state.jsonl"; }
  std::size_t FilesIn(const fs::path& folder) {
    return static_cast<std::size_t>(std::count_if(fs::directory_iterator(folder), {},
                                                  [](const auto& entry) { return entry.is_regular_file(); }));
  }

  const TempFile place_{"place", ""};
  const fs::path errors_ = place_.File().parent_path() / "errors";
  const fs::path folder_ = place_.File().parent_path() / "store";
  std::optional<RunningSandbox> running_;
};

std::string PhotoForm(const std::string& photo) {
  return Multipart({FormPart("access_token", "t"), FormPart("source", photo, "photo.png")});
}

TEST_F(SandboxStore, KeepsWhatWasPublished) {
  const std::string photo = Png(RandomBytes(100'000, 1));
  EXPECT_EQ(Request({"POST", kGraph + "me/photos", {kMultipart}, PhotoForm(photo)}).status, 200);
  const std::string feed = kGraph + "me/feed?access_token=t&message=";
  const std::string kept = Request({"POST", feed + "kept"}).At("/id");
  const std::string removed = Request({"POST", feed + "removed"}).At("/id");
  Request({"POST", kGraph + kept + "/comments?access_token=t&message=%FF%C3%A9"});
  Request({"POST", kGraph + kept + "?access_token=t&message=changed"});
  EXPECT_EQ(Request({"DELETE", kGraph + removed + "?access_token=t"}).status, 200);
  EXPECT_EQ(Signed(kTweets, {{"status", "a tweet"}}).status, 200);
  const std::string metadata =
      "{'snippet': {'title': 'a', 'tags': ['x', 'y']}, 'status': {'embeddable': true}}";
  const std::string body = Multipart({"Content-Type: application/json\r\n\r\n" + metadata,
                                      "Content-Type: video/mp4\r\n\r\n" + RandomBytes(70'000, 2)});
  EXPECT_EQ(Request({"POST",
                     kUploads + "?uploadType=multipart&part=snippet,status",
                     {kToken, "Content-Type: multipart/related; boundary=b"},
                     body})
                .status,
            200);
  const json::value before = Box().State();
  Start();
  EXPECT_EQ(Box().State(), before);
  const std::string file(before.at("facebook").at("objects").at(0).at("file").as_string());
  std::ifstream stored{fs::path(std::u8string(file.begin(), file.end())), std::ios::binary};
  EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(stored), {}) == photo);

  const std::string next = Request({"POST", feed + "next"}).At("/id");
  EXPECT_GT(next, removed) << "an identifier is not used again";
  const auto tweet = test::Signed("POST", kTweets, {});
  const HttpRequest signedOnce{"POST", kTweets, {AuthorizationHeader(tweet)}};
  EXPECT_EQ(Request(signedOnce).status, 403) << "it has no text";
  Start();
  EXPECT_EQ(Request(signedOnce).status, 401) << "a nonce is not accepted again";
}

TEST_F(SandboxStore, KeepsUploadsInProgress) {
  const std::string video = RandomBytes(2 * kPiece, 3);
  const std::string halves[] = {video.substr(0, kPiece), video.substr(kPiece)};

  const std::string phase = kGraph + "me/videos?access_token=t&upload_phase=";
  const std::string facebook =
      Request({"POST", phase + "start&title=T&file_size=" + std::to_string(video.size())})
          .At("/upload_session_id");
  const auto transfer = [&](std::size_t half) {
    return Request(
        {"POST",
         phase + "transfer&upload_session_id=" + facebook + "&start_offset=" + std::to_string(half * kPiece),
         {kMultipart},
         Multipart({FormPart("video_file_chunk", halves[half], "c")})});
  };
  EXPECT_EQ(transfer(0).At("/start_offset"), std::to_string(kPiece));

  const std::string twitter = Signed(kMedia, {{"command", "INIT"},
                                              {"total_bytes", std::to_string(video.size())},
                                              {"media_type", "video/mp4"}})
                                  .At("/media_id_string");
  const auto append = [&](std::size_t half) {
    return Signed(kMedia,
                  {{"command", "APPEND"}, {"media_id", twitter}, {"segment_index", std::to_string(half)}},
                  Multipart({FormPart("media", halves[half], "m")}));
  };
  EXPECT_EQ(append(0).status, 204);

  const HttpReply session = Request({"POST",
                                     kUploads + "?uploadType=resumable&part=snippet",
                                     {kToken, "X-Upload-Content-Length: " + std::to_string(video.size())},
                                     "{'snippet': {'title': 'resumed'}}"});
  const std::size_t at = session.head.find("upload_id=") + 10;
  const std::string youtube = kUploads + "?upload_id=" + session.head.substr(at, 24);
  const auto put = [&](std::size_t half) {
    const std::string first = std::to_string(half * kPiece), last = std::to_string((half + 1) * kPiece - 1);
    return Request({"PUT",
                    youtube,
                    {"Content-Range: bytes " + first + '-' + last + '/' + std::to_string(video.size())},
                    halves[half]});
  };
  EXPECT_EQ(put(0).status, 308);

  const OauthKeys app{.token = ""};
  const std::string signIn = Signed("api.twitter.com/oauth/request_token", {}, "", app).body;
  const std::string token = signIn.substr(12, 27), secret = signIn.substr(signIn.find("secret=") + 7, 32);

  const json::value before = Box().State();
  EXPECT_EQ(FilesIn(folder_ / "pending"), 3U);
  Start();
  EXPECT_EQ(Box().State(), before);
  EXPECT_EQ(Request({"PUT", youtube, {"Content-Range: bytes */*"}}).status, 308);

  EXPECT_EQ(transfer(1).status, 200);
  EXPECT_EQ(Request({"POST", phase + "finish&upload_session_id=" + facebook}).body, R"({"success":true})");
  EXPECT_EQ(append(1).status, 204);
  EXPECT_EQ(Signed(kMedia, {{"command", "FINALIZE"}, {"media_id", twitter}}).status, 201);
  EXPECT_EQ(put(1).status, 200);
  for (const json::value& hash : {StateOf("facebook").at("objects").at(0).at("sha256"),
                                  StateOf("twitter").at("media").at(0).at("sha256"),
                                  StateOf("youtube").at("videos").at(0).at("sha256")})
    EXPECT_EQ(hash.as_string(), Sha256(video));
  const OauthKeys user{.token = token, .tokenSecret = secret};
  const Parameters pin{{"oauth_verifier", "1234567"}};
  EXPECT_EQ(Signed("api.twitter.com/oauth/access_token", pin, "", user).status, 200);
  EXPECT_EQ(FilesIn(folder_ / "pending"), 0U) << "the pieces are no longer necessary";
}

TEST_F(SandboxStore, IgnoresALineThatWasCut) {
  Request({"POST", kGraph + "me/feed?access_token=t&message=kept"});
  const json::value before = Box().State();
  running_.reset();
  std::ofstream(Ledger(), std::ios::binary | std::ios::app) << R"([["facebook.object","1",{"kind":"st)";
  Start();
  EXPECT_EQ(Box().State(), before);
  Request({"POST", kGraph + "me/feed?access_token=t&message=next"});
  Start();
  EXPECT_EQ(StateOf("facebook").at("objects").as_array().size(), 2U);
}

TEST_F(SandboxStore, RefusesToStartFromADamagedFile) {
  for (const char* line : {"rubbish\n", "[[1,2]]\n",
                           R"([["twitter.count","",{"lastId":"many"}]])"
                           "\n"}) {
    SCOPED_TRACE(line);
    running_.reset();
    std::ofstream(Ledger(), std::ios::binary) << line;
    running_.emplace(VELK_SANDBOX_PROGRAM, std::vector<std::string>{"--store", folder_.string()}, errors_);
    EXPECT_FALSE(running_->sandbox);
    EXPECT_EQ(running_->ExitStatus(), 1);
  }
}

TEST_F(SandboxStore, IsUsedByOneSandboxAtATime) {
  RunningSandbox second(VELK_SANDBOX_PROGRAM, {"--store", folder_.string()}, errors_);
  EXPECT_FALSE(second.sandbox);
  EXPECT_EQ(second.ExitStatus(), 1);
}

TEST_F(SandboxStore, ForgetsAllWithAReset) {
  std::ofstream(folder_ / "mine", std::ios::binary) << "not the sandbox's";
  Request({"POST", kGraph + "me/photos", {kMultipart}, PhotoForm(Png("x"))});
  EXPECT_EQ(FilesIn(folder_), 4U);
  Start();
  Box().Reset();
  EXPECT_EQ(FilesIn(folder_), 3U) << "the ledger, the lock, and the file that is not the sandbox's";
  Start();
  EXPECT_EQ(StateOf("facebook").at("objects").as_array().size(), 0U);
}

}  // namespace
}  // namespace velk::test
