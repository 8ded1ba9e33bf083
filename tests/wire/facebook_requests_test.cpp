// Every Facebook call that sends a request: the exact small requests, and the result for each kind of reply.
#include <algorithm>

#include "support/facebook_fixture.h"
#include "support/host.h"

namespace velk::test {
namespace {

constexpr const char* kToken = "t/o+k%20e&n={'x'}";
constexpr const char* kEscapedForm = "a&b=c+%20\xC3\xA9";

class FacebookRequests : public FacebookTest {};

TEST_F(FacebookRequests, SendsTheExactSmallRequests) {
  struct Row {
    const char* call;
    std::string requestLine;
    std::string body;
  };
  const std::string token = std::string("access_token=") + kToken;
  const Row rows[] = {
      {"ExangeFacebookAccessToken",
       "GET /oauth/access_token?grant_type=fb_exchange_token&client_id=app&client_secret=sec&ret"
       "&fb_exchange_token=" +
           std::string(kToken),
       ""},
      {"CheckFacebookAccessTokenValid", "GET /oauth/access_token_info?client_id=app&" + token, ""},
      {"GetFacebookUserNameEmail", "GET /me?" + token, ""},
      {"GetFacebookUserPagesList", "GET /me/accounts?" + token + "&limit=5000&offset=0", ""},
      {"PostFacebookComment", "POST /104000000000001/feed?" + token,
       std::string("message=") + kEscapedForm + "&privacy={'value': 'SELF'}"},
      {"GetFacebookPhotoUrl", "GET /1_2?" + token, ""},
      {"GetFacebookVideoEmbedUrl", "GET /1_2?" + token, ""},
      {"SetFacebookUpdateInfo message", "POST /1_2?" + token, std::string("message=") + kEscapedForm},
      {"SetFacebookUpdateInfo description", "POST /1_2?" + token, std::string("description=") + kEscapedForm},
  };
  Host host(file.Path());
  host.accessToken = kToken;
  Fill(host.post.description, kEscapedForm);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.call);
    sandbox.Reset();
    sandbox.Add({});
    CallNamed(row.call).run(host);
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
  const std::string oauth = R"({"error":{"message":"Missing permission","type":"OAuthException"}})";
  const std::string unsupported = R"({"error":{"message":"Unsupported get request.","type":"Graph"}})";
  const std::string retry = "An unexpected error has occurred. Please retry your request later.";
  // Every request of a call gets the same reply.
  const Outcome replies[] = {
      {"empty object", {.body = "{}"}, VELK_OK},
      {"no body", {}, VELK_OK},
      {"created", {.status = 201, .body = R"({"id":"1"})"}, VELK_UNEXPECTED_REPLY},
      {"token rejected", {.status = 400, .body = kRejectedToken}, VELK_TOKEN_REJECTED},
      {"another OAuth error", {.status = 400, .body = oauth}, VELK_UNEXPECTED_REPLY},
      {"unsupported get", {.status = 400, .body = unsupported}, VELK_UNEXPECTED_REPLY},
      {"both errors", {.status = 400, .body = unsupported + kRejectedToken}, VELK_TOKEN_REJECTED},
      {"unsupported get with 404", {.status = 404, .body = unsupported}, VELK_UNEXPECTED_REPLY},
      {"server error", {.status = 500}, VELK_UNEXPECTED_REPLY},
      {"retry requested", {.status = 500, .body = retry}, VELK_UNEXPECTED_REPLY},
      {"token rejected with 500", {.status = 500, .body = kRejectedToken}, VELK_UNEXPECTED_REPLY},
      {"reset", {.reset = true}, VELK_TRANSFER_FAILED},
      {"tunnel refused", {.refuseConnect = 503}, VELK_TRANSFER_FAILED},
  };
  // What some calls return instead.
  const std::string_view anyFailure = "any reply that is a failure";
  struct Exception {
    const char* call;
    std::string_view reply;
    int32_t result;
  };
  const Exception exceptions[] = {
      {"CheckFacebookAccessTokenValid", "token rejected", VELK_OK},
      {"CheckFacebookAccessTokenValid", "token rejected with 500", VELK_OK},
      {"CheckFacebookAccessTokenValid", "another OAuth error", VELK_OK},
      {"CheckFacebookAccessTokenValid", "both errors", VELK_UNEXPECTED_REPLY},
      {"GetFacebookUserPagesList", "empty object", VELK_NO_PAGES},
      {"GetFacebookUserPagesList", "no body", VELK_NO_PAGES},
      {"GetFacebookUserPagesList", anyFailure, VELK_TRANSFER_FAILED},
      {"StartFacebookUploadVideo", "empty object", VELK_NO_IDENTIFIER},
      {"StartFacebookUploadVideo", "no body", VELK_NO_IDENTIFIER},
      {"StartFacebookUploadVideo", "server error", VELK_SERVER_ERROR},
      {"StartFacebookUploadVideo", "token rejected with 500", VELK_SERVER_ERROR},
      {"StartFacebookUploadVideo", "retry requested", VELK_TOKEN_REJECTED},
      {"StartFacebookUploadVideo", "reset", VELK_NO_IDENTIFIER},
      // libcurl reports a refused tunnel as a receive error, too.
      {"StartFacebookUploadVideo", "tunnel refused", VELK_NO_IDENTIFIER},
      {"PostFacebookComment", "empty object", VELK_NO_IDENTIFIER},
      {"PostFacebookComment", "no body", VELK_NO_IDENTIFIER},
      {"GetFacebookVideoEmbedUrl", "unsupported get", VELK_UNSUPPORTED_GET},
      {"SetFacebookUpdateInfo message", anyFailure, VELK_MESSAGE_NOT_UPDATED},
      {"SetFacebookUpdateInfo privacy and message", anyFailure, VELK_PRIVACY_NOT_UPDATED},
      {"SetFacebookUpdateInfo description", anyFailure, VELK_TEXT_NOT_UPDATED},
  };
  for (const Outcome& row : replies) {
    sandbox.Reset();
    Script always = row.reply;
    always.times = 0;
    sandbox.Add(always);
    for (const Call& call : Calls()) {
      if (!call.IsOf("Facebook")) continue;
      SCOPED_TRACE(std::string(call.name) + ": " + row.name);
      const auto instead = std::ranges::find_if(exceptions, [&](const Exception& exception) {
        return exception.call == std::string_view(call.name) &&
               (exception.reply == row.name || (exception.reply == anyFailure && row.result != VELK_OK));
      });
      const int32_t result = instead == std::end(exceptions) ? row.result : instead->result;

      Host host(file.Path());
      EXPECT_EQ(call.run(host), result);
      if (result != VELK_OK) {
        EXPECT_STREQ(host.text, kUntouched);
        EXPECT_EQ(host.length, 77U);
        EXPECT_EQ(host.pageCount, result == VELK_NO_PAGES ? 0 : -7);
        EXPECT_EQ(host.pages, nullptr);
      }
      EXPECT_EQ(host.lifetime, 88U);
      const bool decided = call.IsOf("Valid") && result != VELK_TRANSFER_FAILED;
      EXPECT_EQ(host.valid == 99, !decided);
    }
  }
  EXPECT_TRUE(Deletable(file)) << "no failure leaves the file open";
}

TEST_F(FacebookRequests, RejectsMissingArguments) {
  uint32_t number = 7;
  int32_t count = 7;
  FacebookPage* pages = nullptr;
  ExpectRequired<0, 1, 2, 3, 4>("ExangeFacebookAccessToken", ExangeFacebookAccessToken, "a", "s", "t", text,
                                &number, &number);
  ExpectRequired<0, 1, 2>("CheckFacebookAccessTokenValid", CheckFacebookAccessTokenValid, "a", "t", &number);
  ExpectRequired<0, 1, 3>("GetFacebookUserNameEmail", GetFacebookUserNameEmail, "t", text, &count, text,
                          &count);
  ExpectRequired<0, 2>("GetFacebookUserPagesList", GetFacebookUserPagesList, "t", &pages, &count);
  ExpectRequired<0, 1, 2, 3>("StartFacebookUploadVideo", StartFacebookUploadVideo, uploader, "t", &info,
                             text);
  ExpectRequired<0, 1, 2, 3>("StartFacebookUploadPhoto", StartFacebookUploadPhoto, uploader, "t", &info,
                             text);
  ExpectRequired<0, 1, 2>("PostFacebookComment", PostFacebookComment, "t", &info, text);
  ExpectRequired<0, 1, 2>("GetFacebookPhotoUrl", GetFacebookPhotoUrl, "t", "1", text, &count);
  ExpectRequired<0, 1, 2>("GetFacebookVideoUrl", GetFacebookVideoUrl, "t", "1", text, &count);
  ExpectRequired<0, 1, 2>("GetFacebookVideoEmbedUrl", GetFacebookVideoEmbedUrl, "t", "1", text, &count);
  ExpectRequired<2>("SetFacebookUpdateInfo", SetFacebookUpdateInfo, "t", "1", &info);
  EXPECT_EQ(StartFacebookUploadVideo(uploader, "", &info, text), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(StartFacebookUploadPhoto(uploader, "", &info, text), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(PostFacebookComment("", &info, text), VELK_MISSING_ARGUMENT);
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
