// Signing in to Twitter: both requests byte by byte, the replies read by position, every result code.
#include "api/twitter_test.h"

namespace velk::test {
namespace {

constexpr const char* kUntouched = "untouched";
constexpr const char* kAuthorize = "https://api.twitter.com/oauth/authorize?oauth_token=";
constexpr const char* kRefused = "Failed to validate oauth signature and token";

class TwitterSignIn : public TwitterTest {
 protected:
  TwitterSignIn() {
    Fill(request.consumerKey, "ck");
    Fill(request.consumerSecret, "ck-secret");
    Fill(request.requestToken, "request");
    Fill(request.verifier, "1234567");
    Fill(token.oauthToken, kUntouched);
    Fill(token.oauthTokenSecret, kUntouched);
    Fill(token.userId, kUntouched);
    Fill(token.screenName, kUntouched);
  }

  int32_t GetUrl() { return GetTwitterOauthUrl("ck", "ck-secret", &urlSize, url); }
  int32_t GetToken() { return GetTwitterAccessToken(&request, &token); }

  int32_t urlSize = sizeof url;
  char url[1076] = "untouched";
  TwitterAccessRequest request{};
};

TEST_F(TwitterSignIn, LeadsFromTheConsumerToATweet) {
  ASSERT_EQ(GetUrl(), VELK_OK);
  ASSERT_EQ(std::string(url).substr(0, 52), kAuthorize);
  EXPECT_EQ(urlSize, static_cast<int32_t>(sizeof url));
  Fill(request.requestToken, url + 52);
  ASSERT_EQ(GetToken(), VELK_OK);
  EXPECT_STREQ(token.userId, "7505382");
  EXPECT_STREQ(token.screenName, "velk_sandbox");
  EXPECT_EQ(PostTwitterComment(&consumer, &token, "signed in", ""), VELK_OK);

  ExpectVerified(3);
  const auto requests = sandbox.Requests();
  ASSERT_EQ(requests.size(), 3U);
  const std::string rest =
      " HTTP/1.1\r\nHost: api.twitter.com\r\nUser-Agent: libcurl-agent/1.0\r\nAccept: */*\r\n\r\n";
  EXPECT_EQ(Masked(requests[0].head), "GET /oauth/request_token?QUERY" + rest);
  EXPECT_EQ(Masked(requests[1].head), "GET /oauth/access_token?QUERY&oauth_token=" + std::string(url + 52) +
                                          "&oauth_verifier=1234567" + rest);
}

TEST_F(TwitterSignIn, ReadsTheRequestTokenByPosition) {
  const std::string reply = "oauth_token=abc&oauth_token_secret=def&oauth_callback_confirmed=true";
  const auto length = static_cast<int32_t>(reply.size());
  const std::string longToken(1100, 't');
  struct Row {
    const char* name;
    std::string reply;
    int32_t size;
    int32_t result;
    int32_t sizeAfter;
    std::string token;
  };
  const Row rows[] = {
      {"usual", reply, 1076, VELK_OK, 1076, "abc"},
      {"the room that the reply asks for", reply, length - 11, VELK_OK, length - 11, "abc"},
      {"one byte less", reply, length - 12, VELK_BUFFER_TOO_SMALL, length - 11, ""},
      {"far less", reply, 10, VELK_BUFFER_TOO_SMALL, length - 11, ""},
      {"negative", reply, -1, VELK_BUFFER_TOO_SMALL, length - 11, ""},
      {"room that only the reply fits", "oauth_token=abc", 4, VELK_OK, 4, "abc"},
      {"token alone, too small", "oauth_token=abc", 3, VELK_BUFFER_TOO_SMALL, 4, ""},
      {"token empty", "oauth_token=&oauth_token_secret=d", 1076, VELK_OK, 1076, ""},
      {"nothing behind the name", "oauth_token=", 1, VELK_OK, 1, ""},
      {"another field in between", "oauth_token=a&x=1&oauth_token_secret=d", 1076, VELK_OK, 1076, "a&x=1"},
      {"escapes stay", "oauth_token=a%2Bb+c&oauth_token_secret=d", 1076, VELK_OK, 1076, "a%2Bb+c"},
      {"secret first", "oauth_token_secret=def&oauth_token=abc", 1076, VELK_OK, 1076, "def"},
      {"secret first, exact", "oauth_token_secret=def&oauth_token=abc", 20, VELK_OK, 20, "def"},
      {"secret first, too small", "oauth_token_secret=def&oauth_token=abc", 19, VELK_BUFFER_TOO_SMALL, 20,
       ""},
      {"a token as wide as its field", "oauth_token=" + longToken, 1101, VELK_OK, 1101,
       longToken.substr(0, 1023)},
      {"an error page", "<html>oauth_token=abc</html>", 1076, VELK_NO_IDENTIFIER, 1076, ""},
      {"upper case", "OAUTH_TOKEN=abc", 1076, VELK_NO_IDENTIFIER, 1076, ""},
      {"empty", "", 1076, VELK_NO_IDENTIFIER, 1076, ""},
      {"cut before the equals sign", "oauth_token", 0, VELK_NO_IDENTIFIER, 0, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Add({.body = row.reply});
    urlSize = row.size;
    Fill(url, kUntouched);
    EXPECT_EQ(GetUrl(), row.result);
    EXPECT_EQ(urlSize, row.sizeAfter);
    EXPECT_EQ(std::string(url), row.result == VELK_OK ? kAuthorize + row.token : kUntouched);
  }
  sandbox.Add({.body = reply});
  EXPECT_EQ(GetTwitterOauthUrl("ck", "ck-secret", nullptr, url), VELK_OK);
  EXPECT_EQ(std::string(url), std::string(kAuthorize) + "abc");
}

TEST_F(TwitterSignIn, ReadsTheAccessTokenByPosition) {
  const std::string wide(1100, 'w');
  struct Row {
    const char* name;
    std::string reply;
    int32_t result;
    std::string fields[4];
  };
  const Row rows[] = {
      {"usual",
       "oauth_token=7-a&oauth_token_secret=b&user_id=7&screen_name=me&x_auth_expires=0",
       VELK_OK,
       {"7-a", "b", "7", "me"}},
      {"two fields", "oauth_token=a&oauth_token_secret=b", VELK_OK, {"a", "b", kUntouched, kUntouched}},
      {"one field", "oauth_token=a", VELK_OK, {"a", kUntouched, kUntouched, kUntouched}},
      {"places count, not names",
       "oauth_token=a&screen_name=123456789&oauth_tok=b&x",
       VELK_OK,
       {"a", "89", "k=b", ""}},
      {"runs of ampersands are one",
       "oauth_token=a&&&oauth_token_secret=b&",
       VELK_OK,
       {"a", "b", kUntouched, kUntouched}},
      {"shorter than its prefix", "oauth_token=&short&id&n", VELK_OK, {"", "", "", ""}},
      {"values stay as they are",
       "oauth_token=%41+&oauth_token_secret=b=c&user_id=\xC3\xA9&screen_name= x",
       VELK_OK,
       {"%41+", "b=c", "\xC3\xA9", " x"}},
      {"cut at the fields' widths",
       "oauth_token=" + wide + "&oauth_token_secret=" + wide + "&user_id=" + wide + "&screen_name=" + wide,
       VELK_OK,
       {wide.substr(0, 1023), wide.substr(0, 1023), wide.substr(0, 259), wide.substr(0, 259)}},
      {"another beginning",
       "oauth_token_secret=b&oauth_token=a",
       VELK_NO_IDENTIFIER,
       {kUntouched, kUntouched, kUntouched, kUntouched}},
      {"an ampersand first",
       "&oauth_token=a",
       VELK_NO_IDENTIFIER,
       {kUntouched, kUntouched, kUntouched, kUntouched}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    for (char* field : {token.oauthToken, token.oauthTokenSecret, token.userId, token.screenName})
      std::snprintf(field, sizeof token.userId, "%s", kUntouched);
    sandbox.Add({.body = row.reply});
    EXPECT_EQ(GetToken(), row.result);
    EXPECT_EQ(token.oauthToken, row.fields[0]);
    EXPECT_EQ(token.oauthTokenSecret, row.fields[1]);
    EXPECT_EQ(token.userId, row.fields[2]);
    EXPECT_EQ(token.screenName, row.fields[3]);
  }
}

TEST_F(TwitterSignIn, JudgesEveryReply) {
  const std::string good = "oauth_token=abc&oauth_token_secret=def";
  const std::string refused = std::string("<hash>") + kRefused + "</hash>";
  struct Row {
    const char* name;
    Script script;
    int32_t result;
  };
  const Row rows[] = {
      {"401 with the words", {.status = 401, .body = refused}, VELK_CREDENTIALS_REFUSED},
      {"400 with the words", {.status = 400, .body = refused}, VELK_CREDENTIALS_REFUSED},
      {"403 with the words", {.status = 403, .body = refused}, VELK_UNEXPECTED_REPLY},
      {"401 with the other service's words",
       {.status = 401, .body = "Could not authenticate you."},
       VELK_UNEXPECTED_REPLY},
      {"401 without a body", {.status = 401}, VELK_UNEXPECTED_REPLY},
      {"500", {.status = 500, .body = good}, VELK_UNEXPECTED_REPLY},
      {"201", {.status = 201, .body = good}, VELK_UNEXPECTED_REPLY},
      {"302", {.status = 302, .headers = {"Location: /"}, .body = good}, VELK_UNEXPECTED_REPLY},
      {"200 without a token", {.body = "nothing"}, VELK_NO_IDENTIFIER},
      {"reset", {.reset = true}, VELK_TRANSFER_FAILED},
      {"cut", {.body = good, .cutBodyAfter = 20, .reset = true}, VELK_TRANSFER_FAILED},
      {"connection refused", {.refuseConnect = 503}, VELK_TRANSFER_FAILED},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    Script script = row.script;
    script.times = 2;
    sandbox.Add(script);
    EXPECT_EQ(GetUrl(), row.result);
    EXPECT_EQ(GetToken(), row.result);
    EXPECT_STREQ(url, kUntouched);
    EXPECT_STREQ(token.oauthToken, kUntouched);
  }
}

TEST_F(TwitterSignIn, TellsARefusedSignature) {
  EXPECT_EQ(GetTwitterOauthUrl("ck", "another secret", &urlSize, url), VELK_CREDENTIALS_REFUSED);
  EXPECT_EQ(Count("refused"), 1U);
}

TEST_F(TwitterSignIn, ChecksBeforeItSends) {
  const char* const good = "x";
  struct Row {
    const char* key;
    const char* secret;
    char* out;
  };
  const Row rows[] = {
      {nullptr, good, url}, {"", good, url}, {good, nullptr, url}, {good, "", url}, {good, good, nullptr}};
  for (const Row& row : rows)
    EXPECT_EQ(GetTwitterOauthUrl(row.key, row.secret, &urlSize, row.out), VELK_MISSING_ARGUMENT);

  EXPECT_EQ(GetTwitterAccessToken(nullptr, &token), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(GetTwitterAccessToken(&request, nullptr), VELK_MISSING_ARGUMENT);
  for (char* field : {request.consumerKey, request.consumerSecret, request.requestToken, request.verifier}) {
    const char kept = std::exchange(*field, '\0');
    EXPECT_EQ(GetToken(), VELK_MISSING_ARGUMENT);
    *field = kept;
  }
  EXPECT_TRUE(sandbox.Requests().empty());
  EXPECT_STREQ(url, kUntouched);
}

TEST_F(TwitterSignIn, SendsTokenAndVerifierAsTheyStandAndUnsigned) {
  Fill(request.requestToken, "a=b%2B+c~");
  Fill(request.verifier, "1=x+\"2\"%");
  EXPECT_EQ(GetToken(), VELK_CREDENTIALS_REFUSED) << "the service knows no such token";
  ExpectVerified(1);
  const std::string query = sandbox.Only().Query();
  EXPECT_EQ(query.substr(query.find("&oauth_token")), "&oauth_token=a=b%2B+c~&oauth_verifier=1=x+\"2\"%");

  Fill(request.verifier, "1 2");
  EXPECT_EQ(GetToken(), VELK_TRANSFER_FAILED) << "no URL holds a blank";
  EXPECT_EQ(sandbox.Requests().size(), 1U);
}

TEST_F(TwitterSignIn, ReadsWholeFieldsAndNoFurther) {
  Fill(request.consumerKey, std::string(1024, 'k'));
  Fill(request.consumerSecret, std::string(1024, 's'));
  Fill(request.requestToken, std::string(1024, 't'));
  Fill(request.verifier, std::string(1024, 'v'));
  EXPECT_EQ(GetToken(), VELK_CREDENTIALS_REFUSED) << "the service knows no such token";
  ExpectVerified(1);
  const std::string query = sandbox.Only().Query();
  EXPECT_TRUE(query.starts_with("oauth_consumer_key=" + std::string(1004, 'k') + "&oauth_nonce="));
  EXPECT_TRUE(query.ends_with("&oauth_token=" + std::string(1024, 't') +
                              "&oauth_verifier=" + std::string(1024, 'v')));
}

TEST_F(TwitterSignIn, GivesUpOnASilentService) {
  sandbox.Add({.neverAnswer = true});
  const auto began = std::chrono::steady_clock::now();
  EXPECT_EQ(GetUrl(), VELK_TRANSFER_FAILED);
  const auto waited = std::chrono::steady_clock::now() - began;
  EXPECT_GE(waited, std::chrono::seconds(9));
  EXPECT_LE(waited, std::chrono::seconds(13));
}

}  // namespace
}  // namespace velk::test
