// Every call to Facebook that sends a request: the small requests byte by byte, the result for each kind of
// reply, and the time limits.
#include <functional>
#include <thread>

#include "api/facebook_test.h"

namespace velk::test {
namespace {

constexpr const char* kToken = "t/o+k%20e&n={'x'}";
constexpr const char* kEscapedForm = "a&b=c+%20\xC3\xA9";

class FacebookRequests : public FacebookTest {
 protected:
  struct Call {
    const char* name;
    std::function<int32_t(char* text)> run;  // writes its text into room for 1024 bytes
  };

  int32_t Update(uint32_t kind) const {
    FacebookUploadInfo update = info;
    update.updateKind = kind;
    return SetFacebookUpdateInfo(kToken, "1_2", &update);
  }

  static int32_t Pages() {
    FacebookPage* pages = nullptr;
    int32_t count = -7;
    const int32_t result = GetFacebookUserPagesList(kToken, &pages, &count);
    EXPECT_EQ(pages, nullptr);
    EXPECT_EQ(count, result == VELK_NO_PAGES ? 0 : -7);
    return result;
  }

  const std::vector<Call> calls{
      {"exchange",
       [](char* out) {
         uint32_t length = 7;
         uint32_t lifetime = 8;
         const int32_t result = ExangeFacebookAccessToken("app", "sec&ret", kToken, out, &length, &lifetime);
         EXPECT_EQ(length, result == VELK_OK ? 0U : 7U);
         EXPECT_EQ(lifetime, 8U);
         return result;
       }},
      {"check",
       [](char*) {
         uint32_t valid = 7;
         const int32_t result = CheckFacebookAccessTokenValid("app", kToken, &valid);
         EXPECT_EQ(valid == 7, result == VELK_TRANSFER_FAILED);
         return result;
       }},
      {"name",
       [](char* out) {
         char email[1024] = "";
         int32_t size = 1024;
         return GetFacebookUserNameEmail(kToken, out, &size, email, &size);
       }},
      {"pages", [](char*) { return Pages(); }},
      {"video", [this](char* out) { return StartFacebookUploadVideo(uploader, kToken, &info, out); }},
      {"photo", [this](char* out) { return StartFacebookUploadPhoto(uploader, kToken, &info, out); }},
      {"post", [this](char* out) { return PostFacebookComment(kToken, &info, out); }},
      {"photo url",
       [](char* out) {
         int32_t size = 1024;
         return GetFacebookPhotoUrl(kToken, "1_2", out, &size);
       }},
      {"embed url",
       [](char* out) {
         int32_t size = 1024;
         return GetFacebookVideoEmbedUrl(kToken, "1_2", out, &size);
       }},
      {"message", [this](char*) { return Update(0); }},
      {"privacy and message", [this](char*) { return Update(1); }},
      {"description", [this](char*) { return Update(2); }},
  };
};

TEST_F(FacebookRequests, SendsEachSmallRequestToTheByte) {
  struct Row {
    const char* call;
    std::string requestLine;
    std::string body;
  };
  const std::string token = std::string("access_token=") + kToken;
  const Row rows[] = {
      {"exchange",
       "GET /oauth/access_token?grant_type=fb_exchange_token&client_id=app&client_secret=sec&ret"
       "&fb_exchange_token=" +
           std::string(kToken),
       ""},
      {"check", "GET /oauth/access_token_info?client_id=app&" + token, ""},
      {"name", "GET /me?" + token, ""},
      {"pages", "GET /me/accounts?" + token + "&limit=5000&offset=0", ""},
      {"post", "POST /104000000000001/feed?" + token,
       std::string("message=") + kEscapedForm + "&privacy={'value': 'SELF'}"},
      {"photo url", "GET /1_2?" + token, ""},
      {"embed url", "GET /1_2?" + token, ""},
      {"message", "POST /1_2?" + token, std::string("message=") + kEscapedForm},
      {"description", "POST /1_2?" + token, std::string("description=") + kEscapedForm},
  };
  Fill(info.description, kEscapedForm);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.call);
    sandbox.Reset();
    sandbox.Add({});
    for (const Call& call : calls)
      if (call.name == std::string_view(row.call)) call.run(text);
    const Request request = sandbox.Only();
    EXPECT_EQ(request.scheme, "https");
    std::string head = row.requestLine +
                       " HTTP/1.1\r\nHost: graph.facebook.com\r\nUser-Agent: libcurl-agent/1.0\r\n"
                       "Accept: */*\r\n";
    if (!row.body.empty()) {
      head += "Content-Length: " + std::to_string(row.body.size()) +
              "\r\nContent-Type: application/x-www-form-urlencoded\r\n";
    }
    EXPECT_EQ(request.head, head + "\r\n");
    EXPECT_EQ(request.body, row.body);
  }
}

TEST_F(FacebookRequests, JudgesEachKindOfReply) {
  // One result for each of the calls, in their order; every request of a call gets the same reply.
  struct Row {
    const char* name;
    Script reply;
    std::vector<int32_t> results;
  };
  const std::string oauth = R"({"error":{"message":"Missing permission","type":"OAuthException"}})";
  const std::string unsupported = R"({"error":{"message":"Unsupported get request.","type":"Graph"}})";
  const std::string retry = "An unexpected error has occurred. Please retry your request later.";
  const Row rows[] = {
      {"nothing in it", {.body = "{}"}, {0, 0, 0, 2, -4, 0, -4, 0, 0, 0, 0, 0}},
      {"no body", {}, {0, 0, 0, 2, -4, 0, -4, 0, 0, 0, 0, 0}},
      {"no JSON", {.body = "<id>1</id>"}, {0, 0, 0, 2, -4, 0, -4, 0, 0, 0, 0, 0}},
      {"token rejected",
       {.status = 400, .body = kRejectedToken},
       {-5, 0, -5, -3, -5, -5, -5, -5, -5, 4, 1, 3}},
      {"token rejected with another status",
       {.status = 401, .body = kRejectedToken},
       {-1, 0, -1, -3, -1, -1, -1, -1, -1, 4, 1, 3}},
      {"another error", {.status = 400, .body = oauth}, {-1, 0, -1, -3, -1, -1, -1, -1, -1, 4, 1, 3}},
      {"unsupported", {.status = 400, .body = unsupported}, {-1, -1, -1, -3, -1, -1, -1, -1, 5, 4, 1, 3}},
      {"unsupported with another status",
       {.status = 404, .body = unsupported},
       {-1, -1, -1, -3, -1, -1, -1, -1, -1, 4, 1, 3}},
      {"both texts",
       {.status = 400, .body = unsupported + kRejectedToken},
       {-5, -1, -5, -3, -5, -5, -5, -5, -5, 4, 1, 3}},
      {"created", {.status = 201, .body = R"({"id":"1"})"}, {-1, -1, -1, -3, -1, -1, -1, -1, -1, 4, 1, 3}},
      {"elsewhere",
       {.status = 302, .headers = {"Location: https://www.facebook.com/"}},
       {-1, -1, -1, -3, -1, -1, -1, -1, -1, 4, 1, 3}},
      {"server error", {.status = 500}, {-1, -1, -1, -3, -16, -1, -1, -1, -1, 4, 1, 3}},
      {"server error asking for a retry",
       {.status = 500, .body = retry},
       {-1, -1, -1, -3, -5, -1, -1, -1, -1, 4, 1, 3}},
      {"server error about the token",
       {.status = 500, .body = kRejectedToken},
       {-1, 0, -1, -3, -16, -1, -1, -1, -1, 4, 1, 3}},
      {"reset", {.reset = true}, {-3, -3, -3, -3, -4, -3, -3, -3, -3, 4, 1, 3}},
      {"refused by the proxy, which libcurl calls a receive error",
       {.refuseConnect = 503},
       {-3, -3, -3, -3, -4, -3, -3, -3, -3, 4, 1, 3}},
  };
  for (const Row& row : rows) {
    sandbox.Reset();
    Script reply = row.reply;
    reply.times = 0;
    sandbox.Add(reply);
    ASSERT_EQ(row.results.size(), calls.size());
    for (size_t index = 0; index < calls.size(); ++index) {
      SCOPED_TRACE(std::string(row.name) + ": " + calls[index].name);
      Fill(text, kUntouched);
      EXPECT_EQ(calls[index].run(text), row.results[index]);
      if (row.results[index] != VELK_OK) {
        EXPECT_STREQ(text, kUntouched);
      }
    }
  }
  EXPECT_TRUE(Deletable(file)) << "no failure leaves the file open";
}

TEST_F(FacebookRequests, KeepsEachFamilysTimeLimits) {
  // In seconds: how long a call waits for a tunnel that never opens, and for a reply that never comes; 0: longer
  // than the longest of the limits, so that it takes the reply that comes at last.
  struct Row {
    int tunnel;
    int reply;
  };
  const Row rows[] = {
      {10, 10}, {10, 10}, {5, 0}, {10, 10}, {10, 0}, {5, 0},
      {10, 30}, {5, 0},   {5, 0}, {10, 30}, {5, 30}, {10, 30},
  };
  using Clock = std::chrono::steady_clock;
  constexpr int kBeyond = 32;
  ASSERT_EQ(std::size(rows), calls.size());
  const Script scripts[] = {{.method = "CONNECT", .times = 0, .neverAnswer = true},
                            {.times = 0, .body = R"({"id":"1","post_id":"1_2"})", .delayMs = kBeyond * 1000}};
  for (const Script& script : scripts) {
    sandbox.Reset();
    // Without an identifier the photo's own limits are all there is to wait for.
    if (!script.neverAnswer)
      sandbox.Add({.path = "/104000000000001/photos", .body = "{}", .delayMs = kBeyond * 1000});
    sandbox.Add(script);
    std::vector<std::thread> threads;
    for (size_t index = 0; index < calls.size(); ++index) {
      int limit = script.neverAnswer ? rows[index].tunnel : rows[index].reply;
      if (std::string_view(calls[index].name) == "privacy and message" && !script.neverAnswer)
        continue;  // its first request waits without a limit
      threads.emplace_back([this, index, limit] {
        char out[1024] = "";
        const auto began = Clock::now();
        const int32_t result = calls[index].run(out);
        const std::chrono::duration<double> waited = Clock::now() - began;
        EXPECT_EQ(result == VELK_OK, limit == 0) << calls[index].name << ": " << result;
        EXPECT_GE(waited.count(), (limit == 0 ? kBeyond : limit) - 0.5) << calls[index].name;
        if (limit != 0) {
          EXPECT_LE(waited.count(), limit + 3) << calls[index].name;
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
}

TEST_F(FacebookRequests, ChecksEveryPointer) {
  uint32_t number = 7;
  int32_t size = 1024;
  int32_t count = 7;
  FacebookPage* pages = nullptr;
  FacebookUploadInfo* none = nullptr;
  const int32_t results[] = {ExangeFacebookAccessToken(nullptr, "s", "t", text, &number, &number),
                             ExangeFacebookAccessToken("a", nullptr, "t", text, &number, &number),
                             ExangeFacebookAccessToken("a", "s", nullptr, text, &number, &number),
                             ExangeFacebookAccessToken("a", "s", "t", nullptr, &number, &number),
                             ExangeFacebookAccessToken("a", "s", "t", text, nullptr, &number),
                             CheckFacebookAccessTokenValid(nullptr, "t", &number),
                             CheckFacebookAccessTokenValid("a", nullptr, &number),
                             CheckFacebookAccessTokenValid("a", "t", nullptr),
                             GetFacebookUserNameEmail(nullptr, text, &size, text, &size),
                             GetFacebookUserNameEmail("t", nullptr, &size, text, &size),
                             GetFacebookUserNameEmail("t", text, &size, nullptr, &size),
                             StartFacebookUploadVideo(nullptr, "t", &info, text),
                             StartFacebookUploadVideo(uploader, nullptr, &info, text),
                             StartFacebookUploadVideo(uploader, "", &info, text),
                             StartFacebookUploadVideo(uploader, "t", none, text),
                             StartFacebookUploadVideo(uploader, "t", &info, nullptr),
                             StartFacebookUploadPhoto(nullptr, "t", &info, text),
                             StartFacebookUploadPhoto(uploader, nullptr, &info, text),
                             StartFacebookUploadPhoto(uploader, "", &info, text),
                             StartFacebookUploadPhoto(uploader, "t", none, text),
                             StartFacebookUploadPhoto(uploader, "t", &info, nullptr),
                             PostFacebookComment(nullptr, &info, text),
                             PostFacebookComment("", &info, text),
                             PostFacebookComment("t", none, text),
                             PostFacebookComment("t", &info, nullptr),
                             GetFacebookUserPagesList(nullptr, &pages, &count),
                             GetFacebookUserPagesList("t", &pages, nullptr),
                             SetFacebookUpdateInfo("t", "1", none),
                             GetFacebookPhotoUrl(nullptr, "1", text, &size),
                             GetFacebookPhotoUrl("t", nullptr, text, &size),
                             GetFacebookPhotoUrl("t", "1", nullptr, &size),
                             GetFacebookVideoUrl(nullptr, "1", text, &size),
                             GetFacebookVideoUrl("t", nullptr, text, &size),
                             GetFacebookVideoUrl("t", "1", nullptr, &size),
                             GetFacebookVideoEmbedUrl(nullptr, "1", text, &size),
                             GetFacebookVideoEmbedUrl("t", nullptr, text, &size),
                             GetFacebookVideoEmbedUrl("t", "1", nullptr, &size)};
  for (size_t index = 0; index < std::size(results); ++index)
    EXPECT_EQ(results[index], VELK_MISSING_ARGUMENT) << index;
  EXPECT_EQ(GetFacebookUserPagesList("", &pages, &count), VELK_UNEXPECTED_REPLY);
  EXPECT_EQ(FreeFacebookUserPagesList(nullptr), VELK_OK);
  EXPECT_EQ(FreeFacebookUserPagesList(&pages), VELK_OK);
  EXPECT_STREQ(text, kUntouched);
  EXPECT_EQ(number, 7U);
  EXPECT_EQ(count, 7);
  EXPECT_TRUE(sandbox.Requests().empty());
}

TEST_F(FacebookRequests, FailsOnATextThatNoUrlCanHold) {
  for (const char* unfit : {"with blank", "with\nline"}) {
    int32_t size = 1024;
    EXPECT_EQ(GetFacebookPhotoUrl(unfit, "1", text, &size), VELK_TRANSFER_FAILED);
    Fill(info.targetId, std::string("1") + unfit);
    EXPECT_EQ(PostFacebookComment("t", &info, text), VELK_TRANSFER_FAILED);
  }
  EXPECT_TRUE(sandbox.Requests().empty());
}

}  // namespace
}  // namespace velk::test
