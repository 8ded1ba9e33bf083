// Stands in for the micro-blog: the sign-in, media that arrive in segments, and the tweets that show them.
#pragma once

#include <compare>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "kit/service.h"
#include "services/oauth_check.h"

namespace velk::sandbox {

// Every consumer key and token is good, and its secret is its own text with "-secret" behind it; for one that
// fills the line of its parameter (1004 and 1011 bytes) it is 1024 times the letter s. A sign-in's PIN is
// 1234567; the authorize page shows it.
class Twitter : public Service {
 public:
  // A check that failed; becomes the service's error reply. The sign-in's have no code and are plain text.
  struct Refusal {
    int status;
    int code;
    const char* message;
  };

  explicit Twitter(Store& store) : store_(store) {}

  std::string Name() const override { return "twitter"; }
  void Enter(Routes& routes) override;
  boost::json::object State() const override;
  void Reset() override;

 private:
  struct Segment {
    std::uint64_t size;
    std::string bytes;  // fewer than the size when contents are only counted
  };
  // What no two requests may share; in this order the set of them is sorted by age.
  struct Nonce {
    std::string timestamp, consumerKey = {}, tokenKey = {}, nonce = {};
    auto operator<=>(const Nonce&) const = default;
  };
  struct Media {
    Nonce nonce;  // of its INIT
    std::string type;
    std::uint64_t totalBytes;
    std::map<int, Segment> segments = {};
    bool complete = false;
    std::string sha256 = {}, file = {};  // once complete
  };
  struct Tweet {
    std::string id, text, mediaIds, user;
    auto Content() const { return std::tie(user, text, mediaIds); }
  };

  Reply GiveRequestToken(const ServiceRequest& request);
  Reply ShowPin(const ServiceRequest& request);
  Reply GiveAccessToken(const ServiceRequest& request);
  Reply TakeMedia(const ServiceRequest& request);
  Reply Init(const ServiceRequest& request, Nonce nonce);
  Reply Append(const ServiceRequest& request);
  Reply Finalize(const ServiceRequest& request);
  Reply TellStatus(const ServiceRequest& request);
  Reply Post(const ServiceRequest& request);

  // Throws the refusal, after a word about it on the standard error stream, unless the signature is right.
  OauthCheck Authenticate(const ServiceRequest& request, const Refusal& refusal,
                          const std::vector<std::string_view>& unsignedNames = {});
  void RefuseRepeat(const ServiceRequest& request, const OauthCheck& check);
  Media& FindMedia(const std::string& id);
  void Assemble(const std::string& id, Media& media);

  Store& store_;
  std::set<std::string> requestTokens_;
  std::map<std::string, Media> media_;
  std::vector<Tweet> tweets_;
  std::uint64_t lastId_ = 710511363345354752;

  std::set<Nonce> nonces_;
  std::uint64_t verified_ = 0;
  std::uint64_t refused_ = 0;
};

}  // namespace velk::sandbox
