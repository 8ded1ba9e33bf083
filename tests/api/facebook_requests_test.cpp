// Every Facebook call that sends a request: the exact small requests, the result for each kind of reply, and
// the timeouts.
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
    std::function<int32_t(char* text)> run;  // writes its output into a buffer of 1024 bytes
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
         return GetFacebookUserNameEmail(kToken, out, nullptr, email, nullptr);
       }},
      {"pages", [](char*) { return Pages(); }},
      {"video", [this](char* out) { return StartFacebookUploadVideo(uploader, kToken, &info, out); }},
      {"photo", [this](char* out) { return StartFacebookUploadPhoto(uploader, kToken, &info, out); }},
      {"post", [this](char* out) { return PostFacebookComment(kToken, &info, out); }},
      {"photo url", [](char* out) { return GetFacebookPhotoUrl(kToken, "1_2", out, nullptr); }},
      {"embed url", [](char* out) { return GetFacebookVideoEmbedUrl(kToken, "1_2", out, nullptr); }},
      {"message", [this](char*) { return Update(0); }},
      {"privacy and message", [this](char*) { return Update(1); }},
      {"description", [this](char*) { return Update(2); }},
  };
};

TEST_F(FacebookRequests, SendsTheExactSmallRequests) {
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

TEST_F(FacebookRequests, MapsEveryReplyToItsCode) {
  // The results are in the order of `calls`. Every request of a call gets the same reply.
  struct Row {
    const char* name;
    int status;
    std::string body;
    std::vector<int32_t> results;
    bool reset = false;
    int refuseConnect = 0;
  };
  const std::string oauth = R"({"error":{"message":"Missing permission","type":"OAuthException"}})";
  const std::string unsupported = R"({"error":{"message":"Unsupported get request.","type":"Graph"}})";
  const std::string retry = "An unexpected error has occurred. Please retry your request later.";
  const Row rows[] = {
      {"empty object", 200, "{}", {0, 0, 0, 2, -4, 0, -4, 0, 0, 0, 0, 0}},
      {"no body", 200, "", {0, 0, 0, 2, -4, 0, -4, 0, 0, 0, 0, 0}},
      {"token rejected", 400, kRejectedToken, {-5, 0, -5, -3, -5, -5, -5, -5, -5, 4, 1, 3}},
      {"another OAuth error", 400, oauth, {-1, 0, -1, -3, -1, -1, -1, -1, -1, 4, 1, 3}},
      {"unsupported get", 400, unsupported, {-1, -1, -1, -3, -1, -1, -1, -1, 5, 4, 1, 3}},
      {"both errors", 400, unsupported + kRejectedToken, {-5, -1, -5, -3, -5, -5, -5, -5, -5, 4, 1, 3}},
      {"unsupported get with 404", 404, unsupported, {-1, -1, -1, -3, -1, -1, -1, -1, -1, 4, 1, 3}},
      {"created", 201, R"({"id":"1"})", {-1, -1, -1, -3, -1, -1, -1, -1, -1, 4, 1, 3}},
      {"server error", 500, "", {-1, -1, -1, -3, -16, -1, -1, -1, -1, 4, 1, 3}},
      {"retry requested", 500, retry, {-1, -1, -1, -3, -5, -1, -1, -1, -1, 4, 1, 3}},
      {"token rejected with 500", 500, kRejectedToken, {-1, 0, -1, -3, -16, -1, -1, -1, -1, 4, 1, 3}},
      // libcurl reports a refused tunnel as a receive error, too.
      {"reset", 200, "", {-3, -3, -3, -3, -4, -3, -3, -3, -3, 4, 1, 3}, true},
      {"tunnel refused", 200, "", {-3, -3, -3, -3, -4, -3, -3, -3, -3, 4, 1, 3}, false, 503},
  };
  for (const Row& row : rows) {
    sandbox.Reset();
    sandbox.Add({.times = 0,
                 .status = row.status,
                 .body = row.body,
                 .reset = row.reset,
                 .refuseConnect = row.refuseConnect});
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

TEST_F(FacebookRequests, EnforcesTheTimeoutsOfEachCall) {
  // Timeouts in seconds, for a tunnel that never opens and for a late reply. 0 means no timeout: the call
  // waits longer than any limit and receives the reply.
  const int tunnelLimits[] = {10, 10, 5, 10, 10, 5, 10, 5, 5, 10, 5, 10};
  const int replyLimits[] = {10, 10, 0, 10, 0, 0, 30, 0, 0, 30, 0, 30};
  using Clock = std::chrono::steady_clock;
  constexpr int kBeyond = 32;
  ASSERT_EQ(std::size(tunnelLimits), calls.size());
  const Script scripts[] = {{.method = "CONNECT", .times = 0, .neverAnswer = true},
                            {.times = 0, .body = R"({"id":"1","post_id":"1_2"})", .delayMs = kBeyond * 1000}};
  for (const Script& script : scripts) {
    sandbox.Reset();
    // Without an identifier, the photo call sends no privacy request. Only the upload's own timeouts apply.
    if (!script.neverAnswer)
      sandbox.Add({.path = "/104000000000001/photos", .body = "{}", .delayMs = kBeyond * 1000});
    sandbox.Add(script);
    std::vector<std::thread> threads;
    for (size_t index = 0; index < calls.size(); ++index) {
      const int limit = script.neverAnswer ? tunnelLimits[index] : replyLimits[index];
      if (std::string_view(calls[index].name) == "privacy and message" && !script.neverAnswer)
        continue;  // its first request has no timeout
      threads.emplace_back([this, index, limit] {
        char out[1024] = "";
        const auto began = Clock::now();
        const int32_t result = calls[index].run(out);
        const std::chrono::duration<double> waited = Clock::now() - began;
        EXPECT_EQ(result == VELK_OK, limit == 0) << calls[index].name << ": " << result;
        EXPECT_GE(waited.count(), (limit == 0 ? kBeyond : limit) - 0.5) << calls[index].name;
        EXPECT_LE(waited.count(), (limit == 0 ? kBeyond : limit) + 5) << calls[index].name;
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
}

TEST_F(FacebookRequests, RejectsMissingArguments) {
  uint32_t number = 7;
  int32_t size = 1024;
  int32_t count = 7;
  FacebookPage* pages = nullptr;
  const FacebookUploadInfo* filled = &info;
  for (int missing = 0; missing < 5; ++missing) {
    SCOPED_TRACE(missing);
    const auto arg = [&](int index, auto* pointer) { return index == missing ? nullptr : pointer; };
    std::vector<int32_t> results{ExangeFacebookAccessToken(arg(0, "a"), arg(1, "s"), arg(2, "t"),
                                                           arg(3, text), arg(4, &number), &number)};
    if (missing < 4) {
      results.push_back(
          StartFacebookUploadVideo(arg(0, uploader), arg(1, "t"), arg(2, filled), arg(3, text)));
      results.push_back(
          StartFacebookUploadPhoto(arg(0, uploader), arg(1, "t"), arg(2, filled), arg(3, text)));
    }
    if (missing < 3) {
      results.push_back(CheckFacebookAccessTokenValid(arg(0, "a"), arg(1, "t"), arg(2, &number)));
      results.push_back(GetFacebookUserNameEmail(arg(0, "t"), arg(1, text), &size, arg(2, text), &size));
      results.push_back(PostFacebookComment(arg(0, "t"), arg(1, filled), arg(2, text)));
      for (const auto getUrl : {GetFacebookPhotoUrl, GetFacebookVideoUrl, GetFacebookVideoEmbedUrl})
        results.push_back(getUrl(arg(0, "t"), arg(1, "1"), arg(2, text), &size));
    }
    if (missing < 2) results.push_back(GetFacebookUserPagesList(arg(0, "t"), &pages, arg(1, &count)));
    EXPECT_EQ(results, std::vector<int32_t>(results.size(), VELK_MISSING_ARGUMENT));
  }
  EXPECT_EQ(StartFacebookUploadVideo(uploader, "", &info, text), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(StartFacebookUploadPhoto(uploader, "", &info, text), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(PostFacebookComment("", &info, text), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(SetFacebookUpdateInfo("t", "1", nullptr), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(GetFacebookUserPagesList("", &pages, &count), VELK_UNEXPECTED_REPLY);
  EXPECT_EQ(FreeFacebookUserPagesList(nullptr), VELK_OK);
  EXPECT_EQ(FreeFacebookUserPagesList(&pages), VELK_OK);
  EXPECT_STREQ(text, kUntouched);
  EXPECT_EQ(number, 7U);
  EXPECT_EQ(count, 7);
  EXPECT_TRUE(sandbox.Requests().empty());
}

TEST_F(FacebookRequests, FailsOnStringsThatAreInvalidInAUrl) {
  for (const char* invalid : {"with blank", "with\nline"}) {
    int32_t size = 1024;
    EXPECT_EQ(GetFacebookPhotoUrl(invalid, "1", text, &size), VELK_TRANSFER_FAILED);
    Fill(info.targetId, std::string("1") + invalid);
    EXPECT_EQ(PostFacebookComment("t", &info, text), VELK_TRANSFER_FAILED);
  }
  EXPECT_TRUE(sandbox.Requests().empty());
}

}  // namespace
}  // namespace velk::test
