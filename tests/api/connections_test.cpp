// Which requests of a call share a connection, and what becomes of a call whose service ends a kept one.
#include <algorithm>
#include <map>

#include "api/twitter_test.h"

namespace velk::test {
namespace {

class CallConnections : public TwitterTest {
 protected:
  CallConnections() {
    const std::string path = photo.Path();
    const size_t name = path.find_last_of("/\\") + 1;
    Fill(tweet.folderPath, path.substr(0, name - 1));
    Fill(tweet.fileName, path.substr(name));
    Fill(tweet.statusText, "look");
    Fill(post.filePath, path);
    for (char* field : {post.title, post.description, video.title, video.description}) *field = 'x';
    Fill(post.privacy, "SELF");
    Fill(video.filePath, path);
    Fill(video.privacyStatus, "private");
    Fill(video.categoryId, "22");
  }

  int32_t Update(uint32_t kind) {
    post.updateKind = kind;
    return SetFacebookUpdateInfo("token", storyId.c_str(), &post);
  }

  // The connection of each request that was replied to, numbered in order of appearance.
  std::string Connections() {
    std::map<int, char> letters;
    std::string used;
    for (const Request& request : sandbox.Requests()) {
      if (request.status == 0) continue;
      used += letters.try_emplace(request.connection, static_cast<char>('a' + letters.size())).first->second;
    }
    return used;
  }

  struct Call {
    const char* name;
    std::function<int32_t()> run;
    const char* connections;  // of its requests, a letter each
  };
  std::vector<Call> Calls() {
    return {
        {"photo tweet", [this] { return StartTwitterUploadPhoto(&uploader, &consumer, &token, &tweet); },
         "aaaaab"},
        {"Facebook photo", [this] { return StartFacebookUploadPhoto(&uploader, "token", &post, text); },
         "aa"},
        {"Facebook video", [this] { return StartFacebookUploadVideo(&uploader, "token", &post, text); }, "a"},
        {"message", [this] { return Update(0); }, "a"},
        {"privacy and message", [this] { return Update(1); }, "aaa"},
        {"description", [this] { return Update(2); }, "a"},
        {"YouTube video", [this] { return StartYoutubeUploadFile(&uploader, "token", &video, text); }, "ab"},
    };
  }

  // A story about a photo, which every kind of update can change.
  void PublishStory() {
    ASSERT_EQ(StartFacebookUploadPhoto(&uploader, "token", &post, text), VELK_OK);
    storyId = text;
  }

  TempFile photo{"photo.png", RandomBytes(2'500'000, 9)};
  FileUploader uploader{};
  TwitterUploadFile tweet{};
  FacebookUploadInfo post{};
  YoutubeUploadInfo video{};
  std::string storyId;
  char text[1024] = "";
};

TEST_F(CallConnections, ServeWhatCanBeRepeatedAndEndWithTheCall) {
  for (const Call& call : Calls()) {
    SCOPED_TRACE(call.name);
    sandbox.Reset();
    PublishStory();
    const size_t before = sandbox.Requests().size();
    EXPECT_EQ(call.run(), VELK_OK);
    EXPECT_EQ(Connections().substr(0, before), "aa");
    std::string used = Connections().substr(before);
    for (char& letter : used) letter = static_cast<char>(letter - 1);
    EXPECT_EQ(used, call.connections) << "none of an earlier call's";
    EXPECT_TRUE(sandbox.WaitFor([](const std::vector<Request>& requests) {
      return std::ranges::none_of(requests, &Request::connectionOpen);
    }));
  }
}

TEST_F(CallConnections, ServeTheStatusQueryToo) {
  sandbox.Add({.status = 202, .body = R"({"media_id_string":"7"})"});
  sandbox.Add({.times = 3, .status = 204});
  sandbox.Add({.body = R"({"processing_info":{"state":"pending"}})"});
  sandbox.Add({.method = "GET"});
  sandbox.Add({.path = kTweetPath});
  EXPECT_EQ(StartTwitterUploadPhoto(&uploader, &consumer, &token, &tweet), VELK_OK);
  EXPECT_EQ(Connections(), "aaaaaab");
}

// A call gives what it gave when every request had a connection of its own, and publishes once.
TEST_F(CallConnections, MayEndAtAnyMoment) {
  const struct {
    const char* name;
    Script script;
  } services[] = {
      {"hangs up after each reply", {.times = 0, .passThrough = true, .hangUp = true}},
      {"hangs up as a request comes", {.kept = true, .times = 0, .cutAfter = 0, .stopReadingAfter = 0}},
      {"hangs up when it has read a request", {.kept = true, .times = 0, .cutAfter = 0}},
      {"resets as a request comes", {.kept = true, .times = 0, .reset = true, .stopReadingAfter = 0}},
      {"resets amid a request", {.kept = true, .times = 0, .reset = true, .stopReadingAfter = 200'000}},
      {"resets when it has read a request", {.kept = true, .times = 0, .reset = true}},
  };
  for (const auto& service : services) {
    for (const Call& call : Calls()) {
      SCOPED_TRACE(std::string(call.name) + ", service " + service.name);
      sandbox.Reset();
      PublishStory();
      const size_t before = Connections().size();
      sandbox.Add(service.script);
      EXPECT_EQ(call.run(), VELK_OK);
      EXPECT_EQ(Connections().size() - before, std::string_view(call.connections).size());
    }
  }
}

TEST_F(CallConnections, AreNotTriedAgainOnceAReplyHasBegun) {
  const int broken = sandbox.Add({.kept = true, .cutAfter = 30, .reset = true});
  EXPECT_EQ(StartTwitterUploadPhoto(&uploader, &consumer, &token, &tweet), VELK_TRANSFER_FAILED);
  EXPECT_EQ(sandbox.Report(broken).matched, 1);
  EXPECT_EQ(sandbox.Requests().size(), 2U);
}

}  // namespace
}  // namespace velk::test
