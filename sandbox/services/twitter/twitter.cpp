// Twitter's routes, and what its requests share: signatures, nonces, rate limits, the state.
#include "services/twitter/twitter.h"

#include <algorithm>
#include <boost/json/array.hpp>

#include "services/twitter/oauth_mistakes.h"

namespace velk::sandbox {

using namespace twitter;

namespace {

namespace json = boost::json;

constexpr std::uint64_t kWindow = 15 * 60;  // of a rate limit, in seconds
constexpr std::uint64_t kRequestsInAWindow = 900;

// The client's buffers limit name and value together to 1023 bytes. A key of that size gets a secret of
// maximum size.
std::string KeySecret(const std::string& key, std::string_view name) {
  const bool isLong = name.size() + key.size() >= 1023;
  return isLong ? std::string(1024, 's') : key + "-secret";
}

bool ContinuesAnUpload(const ServiceRequest& request) {
  const std::string command = request.Parameter("command");
  return request.path == "/1.1/media/upload.json" && request.method == "POST" && !command.empty() &&
         command != "INIT";
}

bool IsVersion2(const ServiceRequest& request) { return request.path.starts_with("/2/"); }

std::string WhyNotFresh(const OauthCheck& check) {
  return "oauth_timestamp is " + Quoted(check.timestamp) + ", and the time is " + std::to_string(Now()) +
         "; they may differ by " + std::to_string(kClockTolerance) + " s";
}

void AddRateLimit(Reply& reply, std::uint64_t remaining) {
  const std::uint64_t reset = static_cast<std::uint64_t>(Now()) + kWindow;
  const std::pair<const char*, std::uint64_t> values[] = {
      {"limit", kRequestsInAWindow}, {"remaining", remaining}, {"reset", reset}};
  for (const auto& [name, value] : values)
    reply.headers.push_back(std::string("x-rate-limit-") + name + ": " + std::to_string(value));
}

}  // namespace

void Twitter::RegisterRoutes() {
  const struct {
    std::span<const std::string_view> hosts;
    const char* method;
    const char* path;
    Member member;
  } rows[] = {
      {kApiHosts, "GET", "/oauth/request_token", &Twitter::IssueRequestToken},
      {kApiHosts, "POST", "/oauth/request_token", &Twitter::IssueRequestToken},
      {kApiHosts, "GET", "/oauth/authorize", &Twitter::Authorize},
      {kApiHosts, "GET", "/oauth/authenticate", &Twitter::Authorize},
      {kApiHosts, "GET", "/oauth/access_token", &Twitter::IssueAccessToken},
      {kApiHosts, "POST", "/oauth/access_token", &Twitter::IssueAccessToken},
      {kApiHosts, "GET", "/1.1/account/verify_credentials.json", &Twitter::VerifyCredentials},
      {kUploadHosts, "POST", "/1.1/media/upload.json", &Twitter::HandleMediaUpload},
      {kUploadHosts, "GET", "/1.1/media/upload.json", &Twitter::GetMediaStatus},
      {kUploadHosts, "POST", "/1.1/media/metadata/create.json", &Twitter::DescribeMedia},
      {kUploadHosts, "POST", "/1.1/media/subtitles/create.json", &Twitter::AddSubtitles},
      {kUploadHosts, "POST", "/1.1/media/subtitles/delete.json", &Twitter::RemoveSubtitles},
      {kApiHosts, "POST", "/1.1/statuses/update.json", &Twitter::PostTweet},
      {kApiHosts, "GET", "/1.1/statuses/show.json", &Twitter::ShowTweet},
      {kApiHosts, "GET", "/1.1/statuses/show/{id}.json", &Twitter::ShowTweet},
      {kApiHosts, "POST", "/1.1/statuses/destroy.json", &Twitter::DeleteTweet},
      {kApiHosts, "POST", "/1.1/statuses/destroy/{id}.json", &Twitter::DeleteTweet},
      {kApiHosts, "GET", "/1.1/statuses/lookup.json", &Twitter::LookUpTweets},
      {kApiHosts, "POST", "/1.1/statuses/lookup.json", &Twitter::LookUpTweets},
      {kApiHosts, "GET", "/1.1/statuses/user_timeline.json", &Twitter::ListTweets},
      {kApiHosts, "GET", "/1.1/statuses/home_timeline.json", &Twitter::ListTweets},
      {kApiHosts, "POST", "/2/tweets", &Twitter::PostTweetV2},
      {kApiHosts, "GET", "/2/tweets", &Twitter::LookUpTweetsV2},
      {kApiHosts, "GET", "/2/tweets/{id}", &Twitter::ShowTweetV2},
      {kApiHosts, "DELETE", "/2/tweets/{id}", &Twitter::DeleteTweetV2},
      {kApiHosts, "GET", "/2/users/me", &Twitter::ShowUserV2},
      {kApiHosts, "GET", "/2/users/{id}/tweets", &Twitter::ListTweetsV2},
  };
  for (const auto& row : rows) {
    const bool isVersion2 = std::string_view(row.path).starts_with("/2/");
    const auto call = [this, member = row.member](const ServiceRequest& r) { return (this->*member)(r); };
    const Handler handler = WithErrorReply<ApiError>(call, isVersion2 ? &ErrorReplyV2 : &ErrorReply);
    const Handler limited = [this, handler](const ServiceRequest& r) { return Limited(handler, r); };
    for (const std::string_view host : row.hosts) routes_.Add(host, row.method, row.path, limited);
  }
}

Reply Twitter::UnknownPath(const ServiceRequest& request) const {
  const ApiError error = Because(kUnknownPath, routes_.WhyNone(request));
  return IsVersion2(request) ? ErrorReplyV2(error) : ErrorReply(error);
}

std::map<std::string_view, Switch*> Twitter::Switches() {
  return {{"rateLimit", &rateLimit_},
          {"processingSteps", &processingSteps_},
          {"processingFails", &processingFails_},
          {"checkAfterSecs", &checkAfterSecs_}};
}

// The refusal has the headers too.
Reply Twitter::Limited(const Handler& handler, const ServiceRequest& request) {
  if (!rateLimit_ || request.path.starts_with("/oauth/")) return handler(request);
  const auto refuse = IsVersion2(request) ? &ErrorReplyV2 : &ErrorReply;
  Reply reply = TakeFrom(rateLimit_) ? handler(request)
                                     : refuse(Because(kRateLimit, "the switch twitter.rateLimit is used up"));
  AddRateLimit(reply, *rateLimit_);
  return reply;
}

// ---- Signatures ----

std::string Twitter::SecretOf(const std::string& key, std::string_view name) const {
  const auto found = name == "oauth_token=" ? requestTokens_.find(key) : requestTokens_.end();
  return found == requestTokens_.end() ? KeySecret(key, name) : found->second.secret;
}

OauthCheck Twitter::Authenticate(const ServiceRequest& request, const ApiError& error,
                                 const std::vector<std::string_view>& unsignedNames) {
  const auto secretOf = [this](const std::string& key, std::string_view name) { return SecretOf(key, name); };
  OauthCheck check = CheckOauth(request, secretOf);
  if (!check.Valid() && !unsignedNames.empty()) {
    OauthCheck lessSigned = CheckOauth(request, secretOf, unsignedNames);
    if (lessSigned.Valid()) check = std::move(lessSigned);
  }
  if (check.Valid()) {
    RejectReusedNonce(request, check);
    Touch("count");
    ++verified_;
    return check;
  }
  ++refused_;
  Touch("count");
  const bool isSignIn = error.code == 0;
  ApiError refusal = error;
  if (!check.present && !isSignIn) {
    refusal =
        Because(kNoAuthentication, "the request has no OAuth parameters, in no place that can have them");
  } else if (check.SignatureFits()) {
    refusal = Because(isSignIn ? error : kOldTimestamp, WhyNotFresh(check));
  } else {
    refusal.why = WhySignatureFails(request, check);
  }
  throw refusal;
}

std::string Twitter::UserOf(const ServiceRequest& request) {
  if (IsVersion2(request) && !request.BearerToken().empty()) return std::string(kUserId);
  const OauthCheck check = Authenticate(request);
  return check.tokenKey.substr(0, check.tokenKey.find('-'));
}

// A client can sign a chunked upload once: the requests after an INIT can use its nonce again, for the media
// that it created. Any other repeated nonce with the same timestamp could be a replay.
void Twitter::RejectReusedNonce(const ServiceRequest& request, const OauthCheck& check) {
  const Nonce nonce{check.timestamp, check.consumerKey, check.tokenKey, check.nonce};
  if (ContinuesAnUpload(request)) {
    const auto media = media_.find(request.Parameter("media_id"));
    if (media != media_.end() && media->second.nonce == nonce) return;
  }
  // CheckOauth rejects these timestamps, so their nonces are no longer necessary.
  nonces_.erase(nonces_.begin(), nonces_.lower_bound({OldestNonce()}));
  if (nonces_.insert(nonce).second) return Touch("nonce", nonce.Id());
  ++refused_;
  Touch("count");
  throw Because(kBadSignature, "the oauth_nonce " + Quoted(check.nonce) +
                                   " came before, with the timestamp " + check.timestamp);
}

// ---- State ----

json::object Twitter::StateOf(const std::string& id, const Media& media) {
  std::uint64_t received = media.complete ? media.totalBytes : 0;
  for (const auto& [index, segment] : media.segments) received += segment.content->Size();
  json::array subtitles;
  for (const std::string& language : media.subtitles) subtitles.emplace_back(language);
  return {{"id", id},
          {"type", media.type},
          {"category", media.category},
          {"size", media.totalBytes},
          {"received", received},
          {"complete", media.complete},
          {"processed", media.complete && media.stepsLeft == 0},
          {"altText", media.altText},
          {"subtitles", std::move(subtitles)},
          {"sha256", media.sha256},
          {"file", media.file}};
}

json::object Twitter::StateOf(const Tweet& tweet) {
  return {{"id", tweet.id},           {"user", tweet.user},
          {"text", tweet.text},       {"mediaIds", tweet.mediaIds},
          {"replyTo", tweet.replyTo}, {"quoted", tweet.quoted}};
}

json::object Twitter::StateOf(const std::string& token, const RequestToken& pending) {
  return {{"token", token},
          {"callback", pending.callback},
          {"pin", pending.callback.empty() ? pending.verifier : ""},
          {"agreed", pending.agreed},
          {"authorize", "/oauth/authorize?oauth_token=" + PercentEncode(token)}};
}

json::object Twitter::State() const {
  json::array media, tweets, signIns;
  for (const auto& [id, item] : media_) media.push_back(StateOf(id, item));
  for (const Tweet& tweet : tweets_) tweets.push_back(StateOf(tweet));
  for (const auto& [token, pending] : requestTokens_) signIns.push_back(StateOf(token, pending));
  return {{"media", std::move(media)},
          {"tweets", std::move(tweets)},
          {"signIns", std::move(signIns)},
          {"verified", verified_},
          {"refused", refused_}};
}

std::optional<json::object> Twitter::Describe(const RecordId& id) const {
  if (id.first == "media") {
    const auto media = media_.find(id.second);
    if (media != media_.end()) return StateOf(media->first, media->second);
  }
  if (id.first == "tweet") {
    const Tweet* const tweet = FindNewest(tweets_, id.second);
    if (tweet) return StateOf(*tweet);
  }
  if (id.first == "signIn") {
    const auto pending = requestTokens_.find(id.second);
    if (pending != requestTokens_.end()) return StateOf(pending->first, pending->second);
  }
  return std::nullopt;
}

void Twitter::Reset() {
  requestTokens_.clear();
  media_.clear();
  tweets_.clear();
  nonces_.clear();
  verified_ = refused_ = 0;
}

namespace twitter {

std::string OldestNonce() { return std::to_string(Now() - 2 * kClockTolerance); }

std::uint64_t IdNumber(std::string_view id) { return ToNumber(id).value_or(0); }

std::string UserIdOf(const std::string& user) { return ToNumber(user) ? user : std::string(kUserId); }

json::object UserJson(const std::string& user) {
  const std::string id = UserIdOf(user);
  return {{"id", IdNumber(id)},
          {"id_str", id},
          {"name", kUserName},
          {"screen_name", kScreenName},
          {"location", ""},
          {"description", "A simulated user"},
          {"url", nullptr},
          {"protected", false},
          {"followers_count", 0},
          {"friends_count", 0},
          {"created_at", "Mon Jul 16 08:00:00 +0000 2007"},
          {"verified", false},
          {"statuses_count", 0},
          {"default_profile", true}};
}

}  // namespace twitter
}  // namespace velk::sandbox
