// The sandbox says why it refused a request: in the journal, and never on the wire.
#include "support/facebook_fixture.h"
#include "support/files.h"
#include "support/http.h"
#include "support/oauth.h"

namespace velk::test {
namespace {

namespace json = boost::json;

constexpr const char* kForm = "Content-Type: application/x-www-form-urlencoded";
constexpr const char* kMultipart = "Content-Type: multipart/form-data; boundary=b";
constexpr const char* kToken = "Authorization: Bearer t";
const std::string kGraph = "graph.facebook.com";
const std::string kTweets = "api.twitter.com/1.1/statuses/update.json";
const std::string kMedia = "upload.twitter.com/1.1/media/upload.json";
const std::string kVideos =
    "www.googleapis.com/upload/youtube/v3/videos?uploadType=resumable&part=snippet,status";

class SandboxReasons : public testing::Test {
 protected:
  json::object Newest() { return sandbox.Newest(); }
  std::string Reason() { return std::string(Newest().at("reason").as_string()); }

  Sandbox sandbox;
};

std::string Signature(const Parameters& oauth) { return AuthorizationHeader(oauth); }

TEST_F(SandboxReasons, NameWhatIsWrong) {
  const Parameters status{{"status", "a b"}};
  const auto tweet = [&](const Parameters& oauth) {
    return HttpRequest{"POST", kTweets, {kForm, Signature(oauth)}, "status=a%20b"};
  };
  const auto video = [](const std::string& metadata) {
    return HttpRequest{"POST", kVideos, {kToken}, metadata};
  };
  const std::string longText(281, 'x');
  const struct {
    const char* name;
    HttpRequest request;
    const char* reason;
  } rows[] = {
      {"Facebook: no token", {"GET", kGraph + "/me"}, "no token"},
      {"Facebook: expired",
       {"GET", kGraph + "/me?access_token=expired"},
       "\"expired\" is refused by its name"},
      {"Facebook: unknown method",
       {"PUT", kGraph + "/me/feed?access_token=t"},
       "the path \"/me/feed\" takes POST, GET and not PUT"},
      {"Facebook: unknown path", {"GET", kGraph + "/a/b/c/d"}, "has no call with the path \"/a/b/c/d\""},
      {"Twitter: other host",
       {"POST", "api.x.com/1.1/media/upload.json"},
       "is one of upload.twitter.com, upload.x.com"},
      {"Facebook: apostrophe in the privacy",
       {"POST", kGraph + "/me/feed?access_token=t&message=m&privacy={'value':'SE'LF'}"},
       "the apostrophe in value ends the string"},
      {"Facebook: unknown privacy",
       {"POST", kGraph + "/me/feed?access_token=t&message=m&privacy={'value':'ALL'}"},
       "the value is \"ALL\"; it can be EVERYONE"},
      {"Facebook: no image",
       {"POST",
        kGraph + "/me/photos?access_token=t",
        {kMultipart},
        Multipart({FormPart("source", "text", "a.jpg")})},
       "does not start as JPEG"},
      {"Facebook: empty file",
       {"POST",
        kGraph + "/me/videos?access_token=t",
        {kMultipart},
        Multipart({FormPart("file", "", "a.mp4")})},
       "the file \"file\" of the form is empty"},
      {"Facebook: step of a batch",
       {"POST", kGraph + R"(/?access_token=t&batch=[{"method":"GET","relative_url":"me"},)"
                         R"({"method":"GET","relative_url":"12"}])"},
       "step 2: \"12\" is no object"},
      {"Twitter: no OAuth", {"POST", kTweets, {kForm}, "status=a"}, "no OAuth parameters"},
      {"Twitter: old", tweet(Signed("POST", kTweets, status, {}, -301)), "they may differ by 300 s"},
      {"Twitter: another method", tweet(Signed("GET", kTweets, status)), "the client signed the method GET"},
      {"Twitter: unsigned form", tweet(Signed("POST", kTweets, {})),
       "the client signed no parameter of the form"},
      {"Twitter: unsigned form and query",
       {"POST", kTweets + "?a=b", {kForm, Signature(Signed("POST", kTweets, {}))}, "status=a"},
       "the client signed OAuth's parameters alone"},
      {"Twitter: two mistakes", tweet(Signed("GET", kTweets, {})),
       "the client signed the method GET and no parameter of the form"},
      {"Twitter: no token's secret", tweet(Signed("POST", kTweets, status, {.tokenSecret = ""})),
       "the base string is right, but the client signed it with a key without the token's secret"},
      {"Twitter: other secret", tweet(Signed("POST", kTweets, status, {.consumerSecret = "x"})),
       "a secret is wrong"},
      {"Twitter: parameter twice",
       {"POST",
        kTweets,
        {kForm, Signature(Signed("POST", kTweets, status)) + ", oauth_token=\"7-tk\""},
        "status=a%20b"},
       "the request has oauth_token twice"},
      {"Twitter: long text",
       {"POST",
        kTweets,
        {kForm, Signature(Signed("POST", kTweets, {{"status", longText}}))},
        "status=" + longText},
       "the text counts 281 characters; the limit is 280"},
      {"Twitter: no number",
       {"POST",
        kMedia + "?command=INIT&total_bytes=many",
        {Signature(Signed("POST", kMedia, {{"command", "INIT"}, {"total_bytes", "many"}}))}},
       "total_bytes is \"many\" instead of a number"},
      {"YouTube: apostrophe",
       video("{'snippet': {'title': 'a', 'description': 'it's here', 'categoryId': '22'}}"),
       "the apostrophe in description ends the string, and \"s here', 'categoryId…\" follows where a comma "
       "or a "
       "closing brace is expected"},
      {"YouTube: apostrophe before a comma", video("{'snippet': {'title': 'the boys', and girls'}}"),
       "the apostrophe in title ends the string, and \"and girls'}}\" follows where the name of a member"},
      {"YouTube: apostrophe in a tag", video("{'snippet': {'title': 'a', 'tags': ['x', 'it's']}}"),
       "the apostrophe in tags ends the string"},
      {"YouTube: no closing quote", video("{'snippet': {'title': 'a"),
       "the string in title has no closing quote"},
      {"YouTube: cut", video("{'snippet': {'title': 'a'"), "the text ends where a comma or a closing brace"},
      {"YouTube: wrong escape", video(R"({'snippet': {'title': '\uD'}})"), "the escape"},
      {"YouTube: angle bracket", video("{'snippet': {'title': 'a', 'description': 'b > c'}}"),
       "the description contains an angle bracket, which YouTube refuses: \"b > c\""},
      {"YouTube: no token", {"POST", kVideos}, "the request has no token"},
      {"YouTube: other part",
       {"GET", "www.googleapis.com/youtube/v3/videos?key=k&part=nonsense"},
       "\"nonsense\""},
      {"YouTube: unknown video",
       {"DELETE", "www.googleapis.com/youtube/v3/videos?id=none", {kToken}},
       "no video has the id \"none\""},
      {"YouTube: grant",
       {"POST", "oauth2.googleapis.com/token?grant_type=password"},
       "grant_type is \"password\""},
      {"form without an end",
       {"POST", kGraph + "/me/feed", {kMultipart}, "--b\r\n\r\ntext"},
       "the form ends before its last delimiter"},
      {"form without a boundary",
       {"POST", kGraph + "/me/feed", {"Content-Type: multipart/form-data"}, "a"},
       "boundary"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const HttpReply reply = Send(sandbox, row.request);
    const std::string reason = Reason();
    EXPECT_NE(reason.find(row.reason), std::string::npos) << reason << "\n" << reply.body;
    EXPECT_EQ(reply.body.find(reason), std::string::npos) << "the reason is not for the client";
  }
  EXPECT_EQ(Send(sandbox, {"GET", kGraph + "/me?access_token=t"}).status, 200);
  EXPECT_EQ(Reason(), "");
}

TEST_F(SandboxReasons, ShowBothBaseStringsOfASignature) {
  const Parameters oauth = Signed("GET", kTweets, {{"status", "a"}});
  EXPECT_EQ(Send(sandbox, {"POST", kTweets, {kForm, Signature(oauth)}, "status=a"}).status, 401);
  const json::object details = Newest().at("details").as_object();
  const std::string expected(details.at("expectedBaseString").as_string());
  const std::string made(details.at("signedBaseString").as_string());
  EXPECT_TRUE(expected.starts_with("POST&https%3A%2F%2Fapi.twitter.com")) << expected;
  EXPECT_EQ(made, "GET" + expected.substr(4));
  EXPECT_EQ(details.at("firstDifference"), 0);
}

TEST_F(SandboxReasons, NameTheScriptAndItsFaults) {
  sandbox.Add({.status = 503});
  EXPECT_EQ(Send(sandbox, {"GET", kGraph + "/me"}).status, 503);
  EXPECT_EQ(Reason(), "script 1 (status 503)");
  sandbox.Add({.passThrough = true, .delayMs = 1});
  Send(sandbox, {"GET", kGraph + "/12?access_token=t"});
  EXPECT_NE(Reason().find("\"12\" is no object"), std::string::npos) << "that of the service comes first";
  EXPECT_EQ(Newest().at("script"), 2);
}

class SandboxJournal : public FacebookTest {
 protected:
  double Time(const char* phase) { return sandbox.Newest().at("times").at(phase).to_number<double>(); }
};

TEST_F(SandboxJournal, KeepsTheReplyAsItWasSent) {
  const HttpReply reply = Send(sandbox, {"GET", kGraph + "/me?access_token=t"});
  json::object exchange = sandbox.Newest();
  EXPECT_EQ(exchange.at("replyHead").as_string(), reply.head);
  EXPECT_EQ(exchange.at("replyBody").as_string(), reply.body);

  const std::string large(70'000, 'x');
  sandbox.Add({.headers = {"X: y"}, .body = large});
  EXPECT_EQ(Send(sandbox, {"GET", kGraph + "/me"}).body, large);
  exchange = sandbox.Newest();
  EXPECT_EQ(exchange.at("replyBodySize"), 70'000);
  EXPECT_EQ(exchange.at("replyBodySha256").as_string(), Sha256(large));
  EXPECT_FALSE(exchange.contains("replyBody")) << "too large for the memory";
}

TEST_F(SandboxJournal, TimesEachPhase) {
  sandbox.Add({.passThrough = true, .delayMs = 60});
  sandbox.Add({.passThrough = true, .readSlowly = 1000});
  Send(sandbox, {"GET", kGraph + "/me?access_token=t"});
  EXPECT_GE(Time("service"), 60);
  EXPECT_LT(Time("body"), 60);
  Send(sandbox, {"POST", kGraph + "/me/feed", {kForm}, "access_token=t&message=" + std::string(80, 'x')});
  EXPECT_GE(Time("body"), 60);
  EXPECT_FALSE(sandbox.Newest().at("times").as_object().contains("tls"));
  FacebookPage* pages = nullptr;
  int32_t count = 0;
  ASSERT_EQ(GetFacebookUserPagesList("t", &pages, &count), VELK_OK);
  EXPECT_EQ(FreeFacebookUserPagesList(&pages), VELK_OK);
  EXPECT_GT(Time("tls"), 0);
  EXPECT_GT(Time("connect"), 0);
  EXPECT_EQ(sandbox.Newest().at("began").as_string().size(),
            std::string_view("2026-01-31T12:00:00.000Z").size());
}

}  // namespace
}  // namespace velk::test
