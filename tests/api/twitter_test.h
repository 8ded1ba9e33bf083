// What every test of Twitter starts from: a consumer and a user that the stand-in service knows.
#pragma once

#include <algorithm>

#include "api/service_test.h"

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

  boost::json::object Service() { return sandbox.State().at("twitter").as_object(); }
  std::uint64_t Count(const char* what) { return Service().at(what).to_number<std::uint64_t>(); }
  // The texts of one member of each tweet or media, in order.
  std::vector<std::string> All(const char* kind, const char* member) {
    std::vector<std::string> texts;
    const boost::json::object service = Service();
    for (const boost::json::value& one : service.at(kind).as_array())
      texts.emplace_back(one.at(member).as_string());
    return texts;
  }
  // The service recomputes every signature; nothing else may have come to it.
  void ExpectVerified(std::uint64_t requests) {
    EXPECT_EQ(Count("verified"), requests);
    EXPECT_EQ(Count("refused"), 0U);
    EXPECT_EQ(Count("reusedNonces"), 0U);
  }

  // Fields without a terminator, and what the service knows such keys' secrets to be.
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

// How signed parameters are written: between them, and around their values.
struct SignedForm {
  const char* word;  // what stands for them in a masked head
  std::string separator;
  std::string quote;
  bool hasToken;
};

// Where the parameters that begin there end, or npos unless they are all there, in order and well-formed.
inline size_t EndOfParameters(const std::string& head, size_t begin, const SignedForm& form) {
  const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  size_t at = begin;
  const auto take = [&](const std::string& name, const std::string& value) {
    const std::string text = (at == begin ? "" : form.separator) + name + '=' + form.quote + value;
    at = at != std::string::npos && head.compare(at, text.size(), text) == 0 ? at + text.size()
                                                                             : std::string::npos;
  };
  const auto takeAny = [&](const std::string& name, const std::string& bytes, size_t least, size_t most) {
    take(name, "");
    const size_t end =
        at == std::string::npos ? at : std::min(head.find_first_not_of(bytes, at), head.size());
    const bool fits = end != std::string::npos && end - at >= least && end - at <= most;
    at = fits && head.compare(end, form.quote.size(), form.quote) == 0 ? end + form.quote.size()
                                                                       : std::string::npos;
  };
  take("oauth_consumer_key", "ck" + form.quote);
  takeAny("oauth_nonce", letters + '_', 15, 31);
  take("oauth_signature_method", "HMAC-SHA1" + form.quote);
  takeAny("oauth_timestamp", "0123456789", 10, 10);
  if (form.hasToken) take("oauth_token", "7-tk" + form.quote);
  take("oauth_version", "1.0" + form.quote);
  takeAny("oauth_signature", letters + '%', 28, 84);
  return at;
}

// A request's head in which a word replaces what differs from run to run, provided that it is well-formed:
// the signed parameters and a form's boundary.
inline std::string Masked(std::string head) {
  static const SignedForm kForms[] = {
      {"QUOTED", ", ", "\"", true}, {"BARE", ", ", "", true}, {"QUERY", "&", "", false}};
  const size_t begin = head.find("oauth_consumer_key=");
  for (const SignedForm& form : kForms) {
    const size_t end = EndOfParameters(head, begin, form);
    if (end == std::string::npos) continue;
    head.replace(begin, end - begin, form.word);
    break;
  }
  const std::string boundary = "boundary=------------------------";
  if (const size_t at = head.find(boundary); at != std::string::npos)
    head.replace(at, boundary.size() + 16, "BOUNDARY");
  return head;
}

}  // namespace velk::test
