#include "support/twitter_fixture.h"

#include <boost/json.hpp>
#include <regex>

namespace velk::test {

boost::json::object TwitterTest::Service() { return sandbox.State().at("twitter").as_object(); }

std::uint64_t TwitterTest::Count(const char* what) { return Service().at(what).to_number<std::uint64_t>(); }

std::vector<std::string> TwitterTest::All(const char* kind, const char* member) {
  std::vector<std::string> texts;
  const boost::json::object service = Service();
  for (const boost::json::value& one : service.at(kind).as_array())
    texts.emplace_back(one.at(member).as_string());
  return texts;
}

std::string Masked(std::string head) {
  static const std::pair<std::regex, const char*> kForms[] = {
      {std::regex(
           R"re(oauth_consumer_key="ck", oauth_nonce="[A-Za-z0-9]{32}", oauth_signature_method="HMAC-SHA1", )re"
           R"re(oauth_timestamp="\d{10}", oauth_token="7-tk", oauth_version="1.0", )re"
           R"re(oauth_signature="[\w%]{28,84}")re"),
       "QUOTED"},
      {std::regex(
           "oauth_consumer_key=ck, oauth_nonce=[A-Za-z0-9]{32}, oauth_signature_method=HMAC-SHA1, "
           "oauth_timestamp=\\d{10}, oauth_token=7-tk, oauth_version=1\\.0, oauth_signature=[\\w%]{28,84}"),
       "BARE"},
      {std::regex("oauth_consumer_key=ck&oauth_nonce=[A-Za-z0-9]{32}&oauth_signature_method=HMAC-SHA1&"
                  "oauth_timestamp=\\d{10}&oauth_version=1\\.0&oauth_signature=[\\w%]{28,84}"),
       "QUERY"},
      {std::regex("boundary=-{24}\\w{16}"), "BOUNDARY"}};
  for (const auto& [form, word] : kForms) head = std::regex_replace(head, form, word);
  return head;
}

}  // namespace velk::test
