// Simulates Twitter: the sign-in with a PIN, chunked media uploads, and tweets.
#pragma once

#include <compare>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "kit/service.h"
#include "services/twitter/oauth_check.h"

namespace velk::sandbox {

// Accepts every consumer key and token. The secret is the key with the suffix "-secret". For a key of maximum
// size (1004 bytes; a token 1011 bytes) the secret is 1024 times the letter s. The PIN of each sign-in is
// 1234567. The authorize page shows it.
class Twitter : public Service {
 public:
  // Thrown by a failed check. Code 0 selects a plain text reply, which the sign-in uses.
  struct ApiError {
    int status;
    int code;
    const char* message;
  };

  explicit Twitter(Store& store) : store_(store) {}

  std::string Name() const override { return "twitter"; }
  void RegisterRoutes(Routes& routes) override;
  boost::json::object State() const override;
  void Reset() override;

 private:
  struct Segment {
    std::shared_ptr<const Received> owner;
    const Content* content;
  };
  // Must be unique for each request. The timestamp is first, so that a set is in order of age.
  struct Nonce {
    std::string timestamp, consumerKey = {}, tokenKey = {}, nonce = {};
    auto operator<=>(const Nonce&) const = default;
  };
  struct Media {
    Nonce nonce;  // of the INIT request
    std::string type;
    std::uint64_t totalBytes;
    std::map<int, Segment> segments = {};
    bool complete = false;
    std::string sha256 = {}, file = {};  // set when complete
  };
  struct Tweet {
    std::string id, text, mediaIds, user;
    auto DuplicateKey() const { return std::tie(user, text, mediaIds); }
  };

  Reply IssueRequestToken(const ServiceRequest& request);
  Reply ShowPin(const ServiceRequest& request);
  Reply IssueAccessToken(const ServiceRequest& request);
  Reply HandleMediaUpload(const ServiceRequest& request);
  Reply InitMedia(const ServiceRequest& request, Nonce nonce);
  Reply AppendSegment(const ServiceRequest& request);
  Reply FinalizeMedia(const ServiceRequest& request);
  Reply GetMediaStatus(const ServiceRequest& request);
  Reply PostTweet(const ServiceRequest& request);

  // Throws the error if the signature is wrong, and logs the reason to the standard error stream.
  OauthCheck Authenticate(const ServiceRequest& request, const ApiError& error,
                          const std::vector<std::string_view>& unsignedNames = {});
  void RejectReusedNonce(const ServiceRequest& request, const OauthCheck& check);
  Media& FindMedia(const std::string& id);
  void AssembleSegments(const std::string& id, Media& media);

  Store& store_;
  std::set<std::string> requestTokens_;
  std::map<std::string, Media> media_;
  std::deque<Tweet> tweets_;
  std::uint64_t lastId_ = 710511363345354752;

  std::set<Nonce> nonces_;
  std::uint64_t verified_ = 0;
  std::uint64_t refused_ = 0;
};

}  // namespace velk::sandbox
