// Posting a tweet: the exact request, the signature of every text, and every result code.
#include "support/twitter_fixture.h"

namespace velk::test {
namespace {

class TwitterStatus : public TwitterTest {
 protected:
  int32_t Post(const std::string& text, const std::string& mediaIds = "") {
    return PostTwitterComment(&consumer, &token, text.c_str(), mediaIds.c_str());
  }
};

TEST_F(TwitterStatus, SendsTheExactRequest) {
  sandbox.Add({});
  EXPECT_EQ(Post("50% off & more", "710,711"), VELK_OK);
  const Request request = sandbox.Only();
  EXPECT_EQ(request.scheme, "https");
  EXPECT_EQ(request.body, "media_ids=710%2C711&status=50%25%20off%20%26%20more");
  EXPECT_EQ(Masked(request.head),
            "POST /1.1/statuses/update.json HTTP/1.1\r\n"
            "Host: api.twitter.com\r\n"
            "User-Agent: libcurl-agent/1.0\r\n"
            "Accept: */*\r\n"
            "Content-Type: application/x-www-form-urlencoded\r\n"
            "Authorization: OAuth QUOTED\r\n"
            "Content-Length: 51\r\n\r\n");
}

TEST_F(TwitterStatus, SignsAndSendsEveryText) {
  std::string low;
  std::string high;
  for (int byte = 1; byte < 256; ++byte) (byte < 128 ? low : high) += static_cast<char>(byte);
  std::string emoji;
  while (emoji.size() < 420) emoji += "\xF0\x9F\x8E\x89";
  const std::vector<std::string> texts = {
      "a b  c ",      "x&status=y&media_ids=1", "=",   "100%", "%41%2", "1+1", "~-._",
      "two\r\nlines", "oauth_token=x",          emoji, low,    high};
  for (const std::string& text : texts) EXPECT_EQ(Post(text), VELK_OK) << text;
  EXPECT_EQ(All("tweets", "text"), texts);
  ExpectVerified(texts.size());
}

TEST_F(TwitterStatus, LimitsTheTextInBytes) {
  std::string accents;
  while (accents.size() < 420) accents += "\xC3\xA9";
  EXPECT_EQ(Post(accents), VELK_OK);
  EXPECT_EQ(Post(accents + "."), VELK_TOO_LARGE);
  EXPECT_EQ(Post(std::string(421, 'x')), VELK_TOO_LARGE);
  EXPECT_EQ(sandbox.Requests().size(), 1U);
}

TEST_F(TwitterStatus, AlsoSendsEmptyParameters) {
  token = {};
  EXPECT_EQ(Post(""), VELK_UNEXPECTED_REPLY) << "the service requires a text";
  ExpectVerified(1);
  const Request request = sandbox.Only();
  EXPECT_EQ(request.body, "media_ids=&status=");
  EXPECT_NE(request.head.find(R"(", oauth_token="", oauth_version=")"), std::string::npos);
}

TEST_F(TwitterStatus, MapsEveryReplyToItsCode) {
  const std::string credentials = R"({"errors":[{"code":32,"message":"Could not authenticate you."}]})";
  const std::string duplicate = R"({"errors":[{"code":187,"message":"Status is a duplicate."}]})";
  const Outcome rows[] = {
      {"401 credentials", Reply(401, credentials), VELK_CREDENTIALS_REFUSED},
      {"400 credentials", Reply(400, credentials), VELK_CREDENTIALS_REFUSED},
      {"403 credentials", Reply(403, credentials), VELK_UNEXPECTED_REPLY},
      {"401 other", Reply(401, "Failed to validate oauth signature and token"), VELK_UNEXPECTED_REPLY},
      {"403 duplicate", Reply(403, duplicate), VELK_DUPLICATE_STATUS},
      {"403 without the full stop", Reply(403, "Status is a duplicate"), VELK_UNEXPECTED_REPLY},
      {"401 duplicate", Reply(401, duplicate), VELK_UNEXPECTED_REPLY},
      {"200 with an error message", Reply(200, credentials), VELK_OK},
      {"201", Reply(201), VELK_UNEXPECTED_REPLY},
      {"reset", {.reset = true}, VELK_TRANSFER_FAILED},
      {"truncated", {.body = "{\"id\":1}", .cutBodyAfter = 2, .reset = true}, VELK_TRANSFER_FAILED},
      {"connection refused", {.refuseConnect = 503}, VELK_TRANSFER_FAILED},
  };
  for (const Outcome& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Add(row.reply);
    EXPECT_EQ(Post("text"), row.result);
  }
}

TEST_F(TwitterStatus, ReportsRejectionsByTheService) {
  EXPECT_EQ(Post("once"), VELK_OK);
  EXPECT_EQ(Post("once"), VELK_DUPLICATE_STATUS);
  EXPECT_EQ(Post("with media", "1"), VELK_UNEXPECTED_REPLY);
  Fill(token.oauthTokenSecret, "another");
  EXPECT_EQ(Post("twice"), VELK_CREDENTIALS_REFUSED);
  EXPECT_EQ(Count("refused"), 1U);
  EXPECT_EQ(All("tweets", "text"), std::vector<std::string>{"once"});
}

TEST_F(TwitterStatus, ValidatesArgumentsBeforeSending) {
  ExpectRequired<0, 1, 2, 3>("PostTwitterComment", PostTwitterComment, &consumer, &token, "", "");
  for (char* field : {consumer.consumerKey, consumer.consumerSecret}) {
    const char kept = std::exchange(*field, '\0');
    EXPECT_EQ(Post(std::string(421, 'x')), VELK_MISSING_ARGUMENT) << "reported before the length";
    *field = kept;
  }
  EXPECT_TRUE(sandbox.Requests().empty());
}

}  // namespace
}  // namespace velk::test
