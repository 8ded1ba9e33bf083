// The common fixture of the Twitter tests: a consumer and a user that the simulated service knows.
#pragma once

#include "support/service_fixture.h"

namespace velk::test {

constexpr const char* kTweetPath = "/1.1/statuses/update.json";
constexpr const char* kMediaPath = "/1.1/media/upload.json";

class TwitterTest : public ServiceTest {
 protected:
  TwitterTest() {
    Fill(consumer.consumerKey, "ck");
    Fill(consumer.consumerSecret, "ck-secret");
    Fill(token.oauthToken, "7-tk");
    Fill(token.oauthTokenSecret, "7-tk-secret");
    Fill(token.userId, "7");
    Fill(token.screenName, "velk");
  }

  // The state of the service, a count in it, and the values of one member of all tweets or media, in order.
  boost::json::object Service();
  std::uint64_t Count(const char* what);
  std::vector<std::string> All(const char* kind, const char* member);
  // Expects that the service verified this number of requests and rejected none. It recomputes every
  // signature.
  void ExpectVerified(std::uint64_t requests) {
    EXPECT_EQ(Count("verified"), requests);
    EXPECT_EQ(Count("refused"), 0U);
  }

  // Fills every field without a terminator. The secrets are the ones that the service expects for these keys.
  void FillWholeFields() {
    Fill(consumer.consumerKey, std::string(1024, 'k'));
    Fill(consumer.consumerSecret, std::string(1024, 's'));
    Fill(token.oauthToken, std::string(1024, 't'));
    Fill(token.oauthTokenSecret, std::string(1024, 's'));
  }

  TwitterConsumer consumer{};
  TwitterAccessToken token{};
};

inline Script Reply(int status, const std::string& body = "") { return {.status = status, .body = body}; }

// Returns a request's head with a word in place of each part that differs between runs: the signed parameters
// (QUOTED, BARE or QUERY) and a form's boundary (BOUNDARY). Malformed parts stay as they are.
std::string Masked(std::string head);

}  // namespace velk::test
