// Signatures against known values: published examples, and values from Python's hmac and urllib for other
// cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <thread>
#include <vector>

#include "twitter/signing.h"

namespace velk::twitter {
namespace {

// Returns everything after a parameter's name, up to the next separator.
std::string Value(const std::string& text, const std::string& name) {
  const size_t begin = text.find(name) + name.size();
  return text.substr(begin, text.find_first_of("&,", begin) - begin);
}

// Returns a signature as sent. Of its characters, only these three are escaped.
std::string Escaped(const std::string& signature) {
  std::string escaped;
  for (const char byte : signature)
    escaped += byte == '+' ? "%2B" : byte == '/' ? "%2F" : byte == '=' ? "%3D" : std::string(1, byte);
  return escaped;
}

std::string AllBytes() {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

// Signing uses a nonce and a timestamp that the URL already contains.
const std::string kUrl = "https://a.b/c?oauth_nonce=n&oauth_timestamp=1";
const OauthKeys kKeys{"ck", "cs", "tk", "ts"};

struct Vector {
  const char* signature;
  std::string url;
  std::vector<std::string> postArguments;
  const char* method;
  OauthKeys keys;
};

// Twitter's own example under two paths, and two examples from RFC 5849. The signatures of the latter differ
// from those in the RFC, because the version is always signed.
std::vector<Vector> Published() {
  const std::string twitter = "https://api.twitter.com";
  const std::string query =
      "/statuses/update.json?include_entities=true&oauth_timestamp=1318622958"
      "&oauth_nonce=kYjzVBB8Y0ZFabxSWbWovY3uYSQ2pTgmZeNu2VS4cg";
  const std::string photos =
      "http://photos.example.net/photos?file=vacation.jpg&size=original"
      "&oauth_nonce=chapoH&oauth_timestamp=137131202";
  const std::string mixed =
      "http://example.com/request?b5=%3D%253D&a3=a&c%40=&a2=r%20b"
      "&oauth_nonce=7d8f3e4a&oauth_timestamp=137131201";
  const std::vector<std::string> status{"status=Hello Ladies + Gentlemen, a signed OAuth request!",
                                        "oauth_version=1.0"};
  const OauthKeys keys{"xvz1evFS4wEEPTGEFPHBog", "kAcSOqF21Fu85e7zjz7ZN2U4ZRhfV3WpwPAoE3Z7kBw",
                       "370773112-GmHxMAgYyLbNEtIKZeRNFsMKPR9EyMZeS9weJAEb",
                       "LswwdoUaIvS8ltyTt5jkRh4J50vUPVVHtR2YPi5kE"};
  const OauthKeys photoKeys{"dpf43f3p2l4k3l03", "kd94hf93k423kf44", "nnch734d00sl2jdk", "pfkkdhi9sl3r4s00"};
  const OauthKeys mixedKeys{"9djdj82h48djs9d2", "j49sk3j29djd", "kkk9d7dh3k39sjv7", "dh893hdasih9"};
  return {{"tnnArxj06cWHq44gCs1OSKk/jLY=", twitter + "/1" + query, status, "POST", keys},
          {"hCtSmYh+iHYCEqBWrE7C7hYmtUk=", twitter + "/1.1" + query, status, "POST", keys},
          {"1IAE9RzK+DqSqVTdQ/0zWANXVzs=", photos, {}, "GET", photoKeys},
          {"OB33pYjWAnf+xtOHN4Gmbdil168=", mixed, {"c2=", "a3=2 q"}, "POST", mixedKeys}};
}

std::vector<Vector> Computed() {
  const std::string k(1004, 'k'), t(1011, 't');  // the lengths that fit liboauth's line
  const std::string s(1024, 's');
  std::string e;  // as a token key, truncated in the middle of a character
  while (e.size() < 1024) e += "\u00E9";
  const std::string text = "status=a&b=c%41 +~\xC3\xA9";
  return {
      {"jgoULkPAqef5TPozkLwEXFWluoA=", kUrl, {}, nullptr, {"ck", "cs"}},
      {"QX9bwd98M7J2KLSmlkWw8pW/MZY=", kUrl, {}, nullptr, {"ck", "cs", ""}},
      {"puFkfVX7fWHWVon7Q0PQviDFoZU=", kUrl, {}, "GET", {"ck", "cs", "tk"}},
      {"0D04iSZAk90E+jhmhNDf0Xqz20Y=", kUrl, {}, nullptr, kKeys},
      {"0D04iSZAk90E+jhmhNDf0Xqz20Y=", kUrl, {}, "get", kKeys},
      {"YKk0dWCcVmJVbMdt3xOnU/qhAFQ=", kUrl, {}, "delete", kKeys},
      {"YaWVu+WlTwlFXJlHwhmvT99vzYA=", kUrl, {}, "GET", {"c k+", "c s&+", "t&%", "t/=%"}},
      {"my7QLrY4pkYU68A5mfAQnFWz5xI=", kUrl + "&b=x%20y&a=2&a=1&a%21=0&c=", {}, nullptr, kKeys},
      {"CQlBbhP4woYmxXEEKkW+3xi42Ck=", kUrl, {"media_ids=", text}, "POST", kKeys},
      {"CQlBbhP4woYmxXEEKkW+3xi42Ck=", kUrl, {"media_ids=", text}, nullptr, kKeys},
      {"CQlBbhP4woYmxXEEKkW+3xi42Ck=", kUrl, {"media_ids=", text, "a=third"}, "POST", kKeys},
      {"lt+wRZzXvxFCZFtveUs+9GMDZL0=", kUrl, {"", "status=x"}, nullptr, kKeys},
      {"ioRZ8aZNfL5FfMWN6LFXo31hSHQ=", kUrl, {"media_ids=" + AllBytes(), "status=x"}, "POST", kKeys},
      {"np6bFylD91JCfrRFUr+wufdbhus=", kUrl, {}, "GET", {k, s, t, s}},
      {"np6bFylD91JCfrRFUr+wufdbhus=", kUrl, {}, "GET", {k + k, s, t + t, s}},
      {"GTnRIA/LNSCC/5XlE9du7aHf+Pg=", kUrl, {}, "GET", {e, e, e, e}},
  };
}

TEST(SignRequest, MatchesKnownSignaturesOnTwoThreadsAtOnce) {
  const auto sign = [](const std::vector<Vector>& vectors) {
    for (int round = 0; round < 100; ++round) {
      for (const Vector& row : vectors) {
        const std::string query =
            SignRequest(row.url, row.postArguments, row.method, row.keys, OauthForm::kQuery);
        ASSERT_EQ(Value(query, "oauth_signature="), Escaped(row.signature));
      }
    }
  };
  std::thread other(sign, Published());
  sign(Computed());
  other.join();
}

TEST(SignRequest, WritesAllThreeForms) {
  struct Row {
    const char* name;
    std::string url;
    std::vector<std::string> postArguments;
    OauthKeys keys;
    OauthForm form;
    std::string expected;
  };
  const std::string end =
      "&oauth_signature_method=HMAC-SHA1&oauth_timestamp=1&oauth_version=1.0&oauth_signature=";
  const Row rows[] = {
      {"query",
       kUrl,
       {},
       {"ck", "cs"},
       OauthForm::kQuery,
       "https://a.b/c?oauth_consumer_key=ck&oauth_nonce=n" + end + "jgoULkPAqef5TPozkLwEXFWluoA%3D"},
      {"quoted header",
       kUrl + "&x=y",
       {"a=1", "z=2"},
       {"c k", "cs", "t\"k", "ts"},
       OauthForm::kQuotedHeader,
       R"(oauth_consumer_key="c%20k", oauth_nonce="n", oauth_signature_method="HMAC-SHA1", )"
       R"(oauth_timestamp="1", oauth_token="t%22k", oauth_version="1.0", oauth_signature=")"},
      {"bare header",
       kUrl + "&x=y",
       {},
       {"ck", "cs", "", "ts"},
       OauthForm::kBareHeader,
       "oauth_consumer_key=ck, oauth_nonce=n, oauth_signature_method=HMAC-SHA1, oauth_timestamp=1, "
       "oauth_token=, oauth_version=1.0, oauth_signature="},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string text = SignRequest(row.url, row.postArguments, "GET", row.keys, row.form);
    EXPECT_EQ(text.substr(0, row.expected.size()), row.expected);
  }
}

TEST(SignRequest, GeneratesANonceAndTheCurrentTimestamp) {
  std::string drawn;
  std::set<std::string> nonces;
  for (int draw = 0; draw < 200; ++draw) {
    const std::string header = SignRequest("https://a.b/c", {}, nullptr, kKeys, OauthForm::kBareHeader);
    const std::string nonce = Value(header, "oauth_nonce=");
    EXPECT_EQ(nonce.size(), 32U) << nonce;
    drawn += nonce;
    nonces.insert(nonce);
    const auto now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    EXPECT_NEAR(std::stod(Value(header, "oauth_timestamp=")), static_cast<double>(now), 2);
  }
  EXPECT_EQ(nonces.size(), 200U);
  // About 103 of each character are expected. A missing character, or twice that number, is not a
  // coincidence.
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  EXPECT_EQ(drawn.find_first_not_of(alphabet), std::string::npos);
  for (const char character : alphabet) {
    EXPECT_GT(std::ranges::count(drawn, character), 40) << character;
    EXPECT_LT(std::ranges::count(drawn, character), 180) << character;
  }
}

}  // namespace
}  // namespace velk::twitter
