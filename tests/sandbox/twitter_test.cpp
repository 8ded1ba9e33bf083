// The simulated Twitter with requests as other clients send them: parameters and signatures in every place
// that OAuth allows, media in one request and in base64.
#include "support/files.h"
#include "support/http.h"
#include "support/oauth.h"

namespace velk::test {
namespace {

constexpr const char* kForm = "Content-Type: application/x-www-form-urlencoded; charset=UTF-8";
constexpr const char* kMultipart = "Content-Type: multipart/form-data; boundary=b";
const std::string kTweets = "api.twitter.com/1.1/statuses/update.json";
const std::string kUpload = "upload.twitter.com/1.1/media/upload.json";

class SandboxTwitterClients : public testing::Test {
 protected:
  // Signs the parameters, and sends them in the query, as some clients do even with POST.
  HttpReply InQuery(const std::string& method, const std::string& url, const Parameters& parameters,
                    std::vector<std::string> headers = {}, const std::string& body = "") {
    headers.push_back(AuthorizationHeader(Signed(method, url, parameters)));
    return Send(sandbox, {method, url + '?' + Join(parameters, "&"), headers, body});
  }

  HttpReply InForm(const std::string& url, const Parameters& parameters, const OauthKeys& keys = {}) {
    const std::string header = AuthorizationHeader(Signed("POST", url, parameters, keys));
    return Send(sandbox, {"POST", url, {kForm, header}, Join(parameters, "&")});
  }

  boost::json::object State() { return sandbox.State().at("twitter").as_object(); }

  Sandbox sandbox;
};

TEST_F(SandboxTwitterClients, TakesSignedParametersFromAnyPlace) {
  const Parameters status{{"status", "a b&c=d+%"}};
  const Parameters oauth = Signed("POST", kTweets, status);
  EXPECT_EQ(Send(sandbox, {"POST", kTweets + '?' + Join(status, "&"), {AuthorizationHeader(oauth)}}).status,
            200);

  const Parameters second{{"status", "2"}};
  Parameters all = Signed("POST", kTweets, second);
  all.push_back(second[0]);
  EXPECT_EQ(Send(sandbox, {"POST", kTweets + '?' + Join(all, "&")}).status, 200);

  const Parameters third{{"status", "3"}};
  all = Signed("POST", kTweets, third);
  all.push_back(third[0]);
  EXPECT_EQ(Send(sandbox, {"POST", kTweets, {kForm}, Join(all, "&")}).status, 200);

  const std::string realm = "realm=\"https://api.twitter.com/,x\", ";
  const Parameters fourth{{"status", "4"}};
  EXPECT_EQ(Send(sandbox, {"POST",
                           kTweets,
                           {kForm, AuthorizationHeader(Signed("POST", kTweets, fourth), realm)},
                           Join(fourth, "&")})
                .status,
            200);
  EXPECT_EQ(State().at("tweets").as_array().size(), 4U);
  EXPECT_EQ(State().at("tweets").at(0).at("text"), "a b&c=d+%");
  EXPECT_EQ(State().at("verified"), 4);
}

TEST_F(SandboxTwitterClients, RefusesSignaturesWithTheRightError) {
  const Parameters status{{"status", "text"}};
  const Parameters oauth = Signed("POST", kTweets, status);
  const std::string twice = AuthorizationHeader(oauth) + ", oauth_token=\"7-tk\"";
  const std::string other = kTweets + "?oauth_token=8-x";
  const struct {
    const char* name;
    HttpRequest request;
    long status;
    const char* code;
  } rows[] = {
      {"no OAuth", {"POST", kTweets, {kForm}, "status=text"}, 400, "215"},
      {"wrong signature", {"POST", kTweets, {kForm, AuthorizationHeader(oauth)}, "status=other"}, 401, "32"},
      {"parameter twice", {"POST", kTweets, {kForm, twice}, "status=text"}, 401, "32"},
      {"another value elsewhere",
       {"POST", other, {kForm, AuthorizationHeader(oauth)}, "status=text"},
       401,
       "32"},
      {"old",
       {"POST",
        kTweets,
        {kForm, AuthorizationHeader(Signed("POST", kTweets, status, {}, -301))},
        "status=text"},
       401,
       "135"},
      {"from the future",
       {"POST",
        kTweets,
        {kForm, AuthorizationHeader(Signed("POST", kTweets, status, {}, 400))},
        "status=text"},
       401,
       "135"},
      {"accepted", {"POST", kTweets, {kForm, AuthorizationHeader(oauth)}, "status=text"}, 200, ""},
      {"repeated", {"POST", kTweets, {kForm, AuthorizationHeader(oauth)}, "status=text"}, 401, "32"},
      {"unknown path", {"GET", "api.twitter.com/1.1/no/such.json"}, 404, "34"},
      {"unknown path of the upload host", {"GET", "upload.x.com/2/media"}, 404, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const HttpReply reply = Send(sandbox, row.request);
    EXPECT_EQ(reply.status, row.status) << reply.body;
    EXPECT_EQ(reply.At("/errors/0/code"), row.code) << reply.body;
  }
}

// The callback and the verifier come in the header.
TEST_F(SandboxTwitterClients, SignsInWithParametersInTheHeader) {
  const std::string step = "api.twitter.com/oauth/request_token";
  const OauthKeys app{.token = ""};
  const Parameters callback{{"oauth_callback", "https://app.example/cb"}};
  const HttpReply request =
      Send(sandbox, {"POST", step, {AuthorizationHeader(Signed("POST", step, {}, app, 0, callback))}});
  ASSERT_EQ(request.status, 200);
  const std::string token = request.body.substr(12, 27);
  const std::string secret = request.body.substr(request.body.find("secret=") + 7, 32);
  const HttpReply page = Send(sandbox, {"GET", "api.twitter.com/oauth/authenticate?oauth_token=" + token});
  EXPECT_EQ(page.status, 302);
  const std::string location = "Location: https://app.example/cb?oauth_token=" + token + "&oauth_verifier=";
  const std::size_t at = page.head.find(location);
  ASSERT_NE(at, std::string::npos) << page.head;
  const std::string verifier = page.head.substr(at + location.size(), 32);

  const std::string access = "api.twitter.com/oauth/access_token";
  const auto exchange = [&](const std::string& tokenSecret) {
    const OauthKeys keys{.token = token, .tokenSecret = tokenSecret};
    const Parameters oauth = Signed("POST", access, {}, keys, 0, {{"oauth_verifier", verifier}});
    return Send(sandbox, {"POST", access, {AuthorizationHeader(oauth)}});
  };
  EXPECT_EQ(exchange("wrong").status, 401);
  EXPECT_EQ(exchange(secret).body.substr(0, 20), "oauth_token=7505382-");
  EXPECT_EQ(exchange(secret).status, 401) << "a request token serves once";
  const Parameters bad{{"oauth_callback", "https://a\r\nX: y"}};
  EXPECT_EQ(
      Send(sandbox, {"POST", step, {AuthorizationHeader(Signed("POST", step, {}, app, 0, bad))}}).status,
      403);
}

TEST_F(SandboxTwitterClients, TakesAPhotoInOneRequest) {
  const std::string photo = Png(RandomBytes(100'000, 1));
  std::string base64((photo.size() + 2) / 3 * 4 + 1, '\0');
  base64.resize(static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(base64.data()),
                                                         reinterpret_cast<const unsigned char*>(photo.data()),
                                                         static_cast<int>(photo.size()))));
  const HttpReply replies[] = {
      InQuery("POST", kUpload, {{"media_category", "tweet_image"}}, {kMultipart},
              Multipart({FormPart("media", photo, "photo.png")})),
      InQuery("POST", kUpload, {}, {kMultipart}, Multipart({FormPart("media", photo)})),
      InQuery("POST", kUpload, {}, {kMultipart}, Multipart({FormPart("media_data", base64)})),
      InForm(kUpload, {{"media_data", base64}}),
      InForm(kUpload, {{"media", base64}}),
  };
  for (const HttpReply& reply : replies) {
    SCOPED_TRACE(reply.body);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.At("/size"), std::to_string(photo.size()));
    EXPECT_EQ(reply.At("/image/image_type"), "image/png");
  }
  const boost::json::object state = State();
  for (const boost::json::value& media : state.at("media").as_array())
    EXPECT_EQ(media.at("sha256").as_string(), Sha256(photo));
  EXPECT_EQ(state.at("media").as_array().size(), 5U);
  EXPECT_EQ(InForm(kTweets, {{"status", "x"}, {"media_ids", replies[3].At("/media_id_string")}}).status, 200);
  EXPECT_EQ(InForm(kUpload, {{"media_data", "no base64"}}).status, 400);
  const std::string text = Multipart({FormPart("media", "no photo", "photo.png")});
  EXPECT_EQ(InQuery("POST", kUpload, {}, {kMultipart}, text).At("/errors/0/code"), "324");
}

TEST_F(SandboxTwitterClients, TakesSegmentsWithParametersInTheQuery) {
  const std::string video = RandomBytes(200'000, 2);
  const auto init = InQuery("POST", kUpload,
                            {{"command", "INIT"},
                             {"total_bytes", "200000"},
                             {"media_type", "video/mp4"},
                             {"media_category", "tweet_video"}});
  ASSERT_EQ(init.status, 202) << init.body;
  const std::string id = init.At("/media_id_string");
  for (const int index : {1, 0}) {
    const std::string piece = video.substr(static_cast<std::size_t>(index) * 100'000, 100'000);
    EXPECT_EQ(InQuery("POST", kUpload,
                      {{"command", "APPEND"}, {"media_id", id}, {"segment_index", std::to_string(index)}},
                      {kMultipart}, Multipart({FormPart("media", piece, "blob")}))
                  .status,
              204);
  }
  const HttpReply finalized = InQuery("POST", kUpload, {{"command", "FINALIZE"}, {"media_id", id}});
  EXPECT_EQ(finalized.status, 201);
  EXPECT_EQ(finalized.At("/processing_info/state"), "pending");
  EXPECT_EQ(finalized.At("/processing_info/check_after_secs"), "1");
  const Parameters tweet{{"status", "a video"}, {"media_ids", id}};
  EXPECT_EQ(InForm(kTweets, tweet).status, 400) << "still being processed";
  const HttpReply status = InQuery("GET", kUpload, {{"command", "STATUS"}, {"media_id", id}});
  EXPECT_EQ(status.At("/processing_info/state"), "succeeded");
  EXPECT_EQ(InForm(kTweets, tweet).status, 200);
  EXPECT_EQ(State().at("media").at(0).at("sha256").as_string(), Sha256(video));

  for (const char* size : {"0", "-1", "", "536870913"}) {
    const Parameters refused{{"command", "INIT"}, {"total_bytes", size}, {"media_type", "video/mp4"}};
    EXPECT_EQ(InForm(kUpload, refused).status, 400) << size;
  }
}

TEST_F(SandboxTwitterClients, DescribesAMediumForClientsWithFixedTypes) {
  const std::string photo = Png(RandomBytes(100, 1));
  const HttpReply upload = InQuery("POST", kUpload, {}, {kMultipart}, Multipart({FormPart("media", photo)}));
  const HttpReply tweet = InForm(kTweets, {{"status", "x"}, {"media_ids", upload.At("/media_id_string")}});
  ASSERT_EQ(tweet.status, 200) << tweet.body;
  for (const char* const member : {"id", "url", "media_url", "media_url_https", "display_url", "expanded_url",
                                   "type", "indices/1", "sizes/large/w"})
    EXPECT_NE(tweet.At(std::string("/extended_entities/media/0/") + member), "") << member;
}

TEST_F(SandboxTwitterClients, RefusesUnknownSwitches) {
  std::string reply;
  for (const char* body : {R"({"twitter": {"speed": 1}})", R"({"friendster": {}})", R"({"twitter": 1})",
                           R"({"twitter": {"rateLimit": "one"}})", R"({"twitter": {"rateLimit": -1}})"}) {
    EXPECT_EQ(sandbox.Control("POST", "/switches", body, reply), 400) << body;
  }
  EXPECT_EQ(sandbox.Control("GET", "/switches", {}, reply), 200);
  EXPECT_NE(reply.find("\"rateLimit\":null"), std::string::npos) << reply;
}

}  // namespace
}  // namespace velk::test
