// Simulates Twitter: the sign-in, media uploads, and tweets.
#pragma once

#include <compare>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "kit/pieces.h"
#include "kit/service.h"
#include "services/twitter/errors.h"
#include "services/twitter/oauth_check.h"

namespace velk::sandbox {

// Accepts every consumer key and token. The secret is the key with the suffix "-secret". For a key of maximum
// size (1004 bytes; a token 1011 bytes) the secret is 1024 times the letter s. The PIN of each sign-in is
// 1234567. The authorize page shows it.
class Twitter : public Service {
 public:
  static constexpr std::string_view kApiHosts[] = {"api.twitter.com", "api.x.com"};
  static constexpr std::string_view kUploadHosts[] = {"upload.twitter.com", "upload.x.com"};
  static constexpr std::string_view kHosts[] = {kApiHosts[0], kApiHosts[1], kUploadHosts[0], kUploadHosts[1]};

  explicit Twitter(Store& store) : store_(store) {}

  std::string Name() const override { return "twitter"; }
  std::span<const std::string_view> Hosts() const override { return kHosts; }
  void RegisterRoutes() override;
  std::map<std::string_view, Switch*> Switches() override;
  boost::json::object State() const override;
  void Reset() override;
  std::optional<boost::json::object> Save(const RecordId& id) const override;
  void Load(const RecordId& id, const boost::json::object& record) override;
  const Piece* FindPiece(const std::string& id) const override;
  void AddPiece(const std::string& id, const Piece& piece) override;
  const char* UploadKind() const override { return "media"; }
  std::optional<boost::json::object> Describe(const RecordId& id) const override;
  std::optional<Reply> Authorize(const std::string& token) override;

 protected:
  Reply UnknownPath(const ServiceRequest& request) const override;

 private:
  using ApiError = twitter::ApiError;
  using Member = Reply (Twitter::*)(const ServiceRequest&);

  struct RequestToken {
    std::string secret = {}, callback = {}, verifier = {};
    bool agreed = false;  // the user did, and has the PIN, or is on the way back to the application
  };
  // Must be unique for each request. The timestamp is first, so that a set is in order of age.
  struct Nonce {
    std::string timestamp = {}, consumerKey = {}, tokenKey = {}, nonce = {};
    auto operator<=>(const Nonce&) const = default;
    std::string Id() const { return timestamp + ' ' + consumerKey + ' ' + tokenKey + ' ' + nonce; }
  };
  struct Media {
    Nonce nonce = {};  // of the INIT request
    std::string type = {};
    std::string category = {};  // in lower case, without underscores
    std::uint64_t totalBytes = 0;
    std::map<int, Piece> segments = {};
    bool complete = false;
    std::uint64_t stepsLeft = 0;           // replies that state an unfinished processing
    bool failed = false;                   // once the processing is over
    std::string sha256 = {}, file = {};    // set when complete
    std::string altText = {};              // a description for those who cannot see
    std::set<std::string> subtitles = {};  // the languages
  };
  struct Tweet {
    std::string id = {}, text = {}, mediaIds = {}, user = {};
    std::string replyTo = {}, quoted = {};
    std::time_t created = 0;
    auto DuplicateKey() const { return std::tie(user, text, mediaIds); }
  };

  static boost::json::object StateOf(const std::string& id, const Media& media);
  static boost::json::object StateOf(const Tweet& tweet);
  static boost::json::object StateOf(const std::string& token, const RequestToken& pending);

  // sign_in.cpp
  Reply IssueRequestToken(const ServiceRequest& request);
  Reply Authorize(const ServiceRequest& request);
  Reply IssueAccessToken(const ServiceRequest& request);
  Reply VerifyCredentials(const ServiceRequest& request);

  // media.cpp
  Reply HandleMediaUpload(const ServiceRequest& request);
  Reply InitMedia(const ServiceRequest& request, Nonce nonce);
  Reply AppendSegment(const ServiceRequest& request);
  Reply FinalizeMedia(const ServiceRequest& request);
  Reply UploadSimply(const ServiceRequest& request, Nonce nonce);
  Reply GetMediaStatus(const ServiceRequest& request);
  Reply DescribeMedia(const ServiceRequest& request);
  Reply AddSubtitles(const ServiceRequest& request);
  Reply RemoveSubtitles(const ServiceRequest& request);
  Media& FindMedia(const std::string& id);
  Piece PieceOf(const ServiceRequest& request);
  std::string AddMedia(Media media);
  void Complete(const std::string& id, Media& media, const Content& whole);
  boost::json::object ProcessingInfo(const Media& media, bool started) const;
  boost::json::object MediaReply(const std::string& id, const Media& media) const;
  void RequireUsable(const std::vector<std::string>& mediaIds);

  // tweets.cpp
  Reply PostTweet(const ServiceRequest& request);
  Reply ShowTweet(const ServiceRequest& request);
  Reply DeleteTweet(const ServiceRequest& request);
  Reply LookUpTweets(const ServiceRequest& request);
  Reply ListTweets(const ServiceRequest& request);
  const Tweet& AddTweet(Tweet tweet);
  Tweet* FindTweet(const std::string& id);
  void RemoveTweet(const std::string& id, const std::string& user);
  std::vector<const Tweet*> TweetsOf(const std::string& user) const;  // the newest first
  boost::json::object TweetJson(const Tweet& tweet, bool extended) const;

  // tweets_v2.cpp
  Reply PostTweetV2(const ServiceRequest& request);
  Reply ShowTweetV2(const ServiceRequest& request);
  Reply LookUpTweetsV2(const ServiceRequest& request);
  Reply DeleteTweetV2(const ServiceRequest& request);
  Reply ListTweetsV2(const ServiceRequest& request);
  Reply ShowUserV2(const ServiceRequest& request);

  // Throws the error, with the reason, if the signature is wrong.
  OauthCheck Authenticate(const ServiceRequest& request, const ApiError& error = twitter::kBadSignature,
                          const std::vector<std::string_view>& unsignedNames = {});
  std::string UserOf(const ServiceRequest& request);  // authenticates. Version 2 also takes a bearer token
  void RejectReusedNonce(const ServiceRequest& request, const OauthCheck& check);
  std::string SecretOf(const std::string& key, std::string_view name) const;
  Reply Limited(const Handler& handler, const ServiceRequest& request);

  Store& store_;
  std::map<std::string, RequestToken> requestTokens_;
  std::map<std::string, Media> media_;
  std::deque<Tweet> tweets_;
  std::uint64_t lastId_ = 710511363345354752;

  std::set<Nonce> nonces_;
  std::uint64_t verified_ = 0;
  std::uint64_t refused_ = 0;

  Switch rateLimit_, processingSteps_, processingFails_, checkAfterSecs_;
};

namespace twitter {

// The simulated user. Each token starts with the number of its user.
inline constexpr std::string_view kUserId = "7505382";
inline constexpr std::string_view kScreenName = "velk_sandbox";
inline constexpr std::string_view kUserName = "Velk Sandbox";

std::uint64_t IdNumber(std::string_view id);
std::string OldestNonce();                      // the timestamp from which on a nonce must be unique
std::string UserIdOf(const std::string& user);  // that of the simulated user for what is no number
boost::json::object UserJson(const std::string& user);

}  // namespace twitter
}  // namespace velk::sandbox
