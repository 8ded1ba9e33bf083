// Signing in to Twitter: the exact requests, the replies read by position, and every result code.
#include "support/twitter_fixture.h"

namespace velk::test {
namespace {

constexpr const char* kAuthorize = "https://api.twitter.com/oauth/authorize?oauth_token=";

class TwitterSignIn : public TwitterTest {
 protected:
  TwitterSignIn() {
    Fill(request.consumerKey, "ck");
    Fill(request.consumerSecret, "ck-secret");
    Fill(request.requestToken, "request");
    Fill(request.verifier, "1234567");
    Fill(token.oauthToken, kUntouched);
  }

  int32_t GetUrl() { return GetTwitterOauthUrl("ck", "ck-secret", &urlSize, url); }
  int32_t GetToken() { return GetTwitterAccessToken(&request, &token); }

  int32_t urlSize = sizeof url;
  char url[1076] = "untouched";
  TwitterAccessRequest request{};
};

TEST_F(TwitterSignIn, SignsInAndPostsATweet) {
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
  const std::string wide(1100, 't');
  const std::pair<std::string, std::string> rows[] = {
      {"oauth_token=abc&oauth_token_secret=def&oauth_callback_confirmed=true", "abc"},
      {"oauth_token=abc", "abc"},
      {"oauth_token=", ""},
      {"oauth_token=a%2B+&x=1&oauth_token_secret=d", "a%2B+&x=1"},
      {"oauth_token_secret=def&oauth_token=abc", "def"},
      {"oauth_token=" + wide, wide.substr(0, 1023)},
  };
  for (const auto& [reply, requestToken] : rows) {
    SCOPED_TRACE(reply);
    sandbox.Add(Reply(200, reply));
    EXPECT_EQ(GetTwitterOauthUrl("ck", "ck-secret", nullptr, url), VELK_OK);
    EXPECT_EQ(std::string(url), kAuthorize + requestToken);
  }
}

TEST_F(TwitterSignIn, ComparesTheSizeWithTheReply) {
  const std::string usual = "oauth_token=abc&oauth_token_secret=def&oauth_callback_confirmed=true";
  const std::string swapped = "oauth_token_secret=def&oauth_token=abc";
  struct Row {
    const char* name;
    std::string reply;
    int32_t size;
    int32_t result;
    int32_t sizeAfter;
  };
  const Row rows[] = {
      {"exact fit", usual, 57, VELK_OK, 57},
      {"one byte short", usual, 56, VELK_BUFFER_TOO_SMALL, 57},
      {"negative size", usual, -1, VELK_BUFFER_TOO_SMALL, 57},
      {"token alone", "oauth_token=abc", 4, VELK_OK, 4},
      {"token alone, one byte short", "oauth_token=abc", 3, VELK_BUFFER_TOO_SMALL, 4},
      {"empty token", "oauth_token=", 1, VELK_OK, 1},
      {"swapped", swapped, 20, VELK_OK, 20},
      {"swapped, one byte short", swapped, 19, VELK_BUFFER_TOO_SMALL, 20},
      {"long token", "oauth_token=" + std::string(1100, 't'), 1101, VELK_OK, 1101},
      {"no token at the start", "<html>oauth_token=abc</html>", 99, VELK_NO_IDENTIFIER, 99},
      {"no equals sign", "oauth_token", 0, VELK_NO_IDENTIFIER, 0},
      {"no body", "", 0, VELK_NO_IDENTIFIER, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Add(Reply(200, row.reply));
    urlSize = row.size;
    Fill(url, kUntouched);
    EXPECT_EQ(GetUrl(), row.result);
    EXPECT_EQ(urlSize, row.sizeAfter);
    EXPECT_EQ(std::string(url) == kUntouched, row.result != VELK_OK);
  }
}

TEST_F(TwitterSignIn, ReadsTheAccessTokenByPosition) {
  const std::string wide(1100, 'w');
  const auto four = [](const std::string& a, const std::string& b, const std::string& c,
                       const std::string& d) {
    return "oauth_token=" + a + "&oauth_token_secret=" + b + "&user_id=" + c + "&screen_name=" + d;
  };
  const std::string u = kUntouched;
  struct Row {
    std::string reply;
    int32_t result;
    std::string fields[4];
  };
  const Row rows[] = {
      {four("7-a", "b", "7", "me") + "&x_auth_expires=0", VELK_OK, {"7-a", "b", "7", "me"}},
      {"oauth_token=a&oauth_token_secret=b", VELK_OK, {"a", "b", u, u}},
      {"oauth_token=a", VELK_OK, {"a", u, u, u}},
      {"oauth_token=a&screen_name=123456789&oauth_tok=b&x", VELK_OK, {"a", "89", "k=b", ""}},
      {"oauth_token=a&&&oauth_token_secret=b&", VELK_OK, {"a", "b", u, u}},
      {"oauth_token=&short&id&n", VELK_OK, {"", "", "", ""}},
      {four("%41+", "b=c", "\xC3\xA9", " x"), VELK_OK, {"%41+", "b=c", "\xC3\xA9", " x"}},
      {four(wide, wide, wide, wide),
       VELK_OK,
       {wide.substr(0, 1023), wide.substr(0, 1023), wide.substr(0, 259), wide.substr(0, 259)}},
      {"oauth_token_secret=b&oauth_token=a", VELK_NO_IDENTIFIER, {u, u, u, u}},
      {"&oauth_token=a", VELK_NO_IDENTIFIER, {u, u, u, u}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reply);
    char* const fields[] = {token.oauthToken, token.oauthTokenSecret, token.userId, token.screenName};
    for (char* field : fields) std::snprintf(field, sizeof token.userId, "%s", kUntouched);
    sandbox.Add(Reply(200, row.reply));
    EXPECT_EQ(GetToken(), row.result);
    for (const int index : {0, 1, 2, 3}) EXPECT_EQ(fields[index], row.fields[index]);
  }
}

TEST_F(TwitterSignIn, MapsEveryReplyToItsCode) {
  const std::string good = "oauth_token=abc&oauth_token_secret=def";
  const std::string refused = "<hash>Failed to validate oauth signature and token</hash>";
  const Outcome rows[] = {
      {"401 signature error", Reply(401, refused), VELK_CREDENTIALS_REFUSED},
      {"400 signature error", Reply(400, refused), VELK_CREDENTIALS_REFUSED},
      {"403 signature error", Reply(403, refused), VELK_UNEXPECTED_REPLY},
      {"401 other error", Reply(401, "Could not authenticate you."), VELK_UNEXPECTED_REPLY},
      {"500", Reply(500, good), VELK_UNEXPECTED_REPLY},
      {"201", Reply(201, good), VELK_UNEXPECTED_REPLY},
      {"reset", {.reset = true}, VELK_TRANSFER_FAILED},
      {"truncated", {.body = good, .cutBodyAfter = 20, .reset = true}, VELK_TRANSFER_FAILED},
      {"connection refused", {.refuseConnect = 503}, VELK_TRANSFER_FAILED},
  };
  for (const Outcome& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    sandbox.Add(row.reply);
    sandbox.Add(row.reply);
    EXPECT_EQ(GetUrl(), row.result);
    EXPECT_EQ(GetToken(), row.result);
  }
  EXPECT_STREQ(url, kUntouched);
  EXPECT_STREQ(token.oauthToken, kUntouched);
  EXPECT_EQ(GetTwitterOauthUrl("ck", "another secret", &urlSize, url), VELK_CREDENTIALS_REFUSED);
}

TEST_F(TwitterSignIn, ValidatesArgumentsBeforeSending) {
  ExpectRequired<0, 1, 3>("GetTwitterOauthUrl", GetTwitterOauthUrl, "x", "x", &urlSize, url);
  EXPECT_EQ(GetTwitterOauthUrl("", "x", &urlSize, url), VELK_MISSING_ARGUMENT);
  EXPECT_EQ(GetTwitterOauthUrl("x", "", &urlSize, url), VELK_MISSING_ARGUMENT);
  ExpectRequired<0, 1>("GetTwitterAccessToken", GetTwitterAccessToken, &request, &token);
  for (char* field : {request.consumerKey, request.consumerSecret, request.requestToken, request.verifier}) {
    const char kept = std::exchange(*field, '\0');
    EXPECT_EQ(GetToken(), VELK_MISSING_ARGUMENT);
    *field = kept;
  }
  EXPECT_TRUE(sandbox.Requests().empty());
  EXPECT_STREQ(url, kUntouched);
}

TEST_F(TwitterSignIn, SendsTokenAndVerifierUnescapedAndUnsigned) {
  Fill(request.requestToken, "a=b%2B+c~");
  Fill(request.verifier, "1=x+\"2\"%");
  EXPECT_EQ(GetToken(), VELK_CREDENTIALS_REFUSED) << "the service does not know this token";
  ExpectVerified(1);
  const std::string query = sandbox.Only().Query();
  EXPECT_EQ(query.substr(query.find("&oauth_token")), "&oauth_token=a=b%2B+c~&oauth_verifier=1=x+\"2\"%");

  Fill(request.verifier, "1 2");
  EXPECT_EQ(GetToken(), VELK_TRANSFER_FAILED) << "a URL cannot contain a space";
  EXPECT_EQ(sandbox.Requests().size(), 1U);
}

TEST_F(TwitterSignIn, ReadsUnterminatedFieldsToTheirWidth) {
  Fill(request.consumerKey, std::string(1024, 'k'));
  Fill(request.consumerSecret, std::string(1024, 's'));
  Fill(request.requestToken, std::string(1024, 't'));
  Fill(request.verifier, std::string(1024, 'v'));
  EXPECT_EQ(GetToken(), VELK_CREDENTIALS_REFUSED) << "the service does not know this token";
  ExpectVerified(1);
  const std::string query = sandbox.Only().Query();
  EXPECT_TRUE(query.starts_with("oauth_consumer_key=" + std::string(1004, 'k') + "&oauth_nonce="));
  EXPECT_TRUE(query.ends_with("&oauth_token=" + std::string(1024, 't') +
                              "&oauth_verifier=" + std::string(1024, 'v')));
}

}  // namespace
}  // namespace velk::test
