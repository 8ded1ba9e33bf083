// Simulates Twitter: the sign-in with a PIN, chunked media uploads, and tweets.
#include "services/twitter/twitter.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>
#include <charconv>
#include <cstdio>
#include <ctime>

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr std::string_view kApiHost = "api.twitter.com";
constexpr std::string_view kUploadHost = "upload.twitter.com";
constexpr std::string_view kUploadPath = "/1.1/media/upload.json";

constexpr std::uint64_t kMaxImageSize = 5'242'880;
constexpr std::size_t kMaxTweetLength = 280;

constexpr std::string_view kPin = "1234567";
constexpr std::string_view kUserId = "7505382";
constexpr std::string_view kScreenName = "velk_sandbox";

using ApiError = Twitter::ApiError;

constexpr ApiError kBadSignature{401, 32, "Could not authenticate you."};
constexpr ApiError kNoToken{401, 0, "Failed to validate oauth signature and token"};

void Require(bool condition, const ApiError& error) {
  if (!condition) throw error;
}

Reply ErrorReply(const ApiError& error) {
  if (error.code == 0)
    return {
        .status = error.status, .headers = {"Content-Type: text/html; charset=utf-8"}, .body = error.message};
  const json::object detail{{"code", error.code}, {"message", error.message}};
  return JsonReply(error.status, {{"errors", json::array{detail}}});
}

Reply FormReply(const std::string& body) {
  return {.status = 200, .headers = {"Content-Type: text/html; charset=utf-8"}, .body = body};
}

// The client's buffers limit name and value together to 1023 bytes. A key of that size gets a secret of
// maximum size.
std::string KeySecret(const std::string& key, std::string_view name) {
  const bool isLong = name.size() + key.size() >= 1023;
  return isLong ? std::string(1024, 's') : key + "-secret";
}

bool IsMediaUpload(const ServiceRequest& request) {
  return request.head.host == kUploadHost && request.head.method == "POST";
}

// Every text field is short. A field too large for memory has no bytes here, so it is never loaded from disk.
std::string FieldText(const ServiceRequest& request, std::string_view name) {
  const FormPart* const part = request.Field(name);
  return part ? part->content.Text() : std::string();
}

template <typename Number>
Number ToNumber(const std::string& text, const ApiError& error) {
  Number number = 0;
  const std::errc result = std::from_chars(text.data(), text.data() + text.size(), number).ec;
  Require(AllDigits(text) && result == std::errc(), error);
  return number;
}

std::vector<std::string> SplitIds(std::string_view ids) {
  std::vector<std::string> split;
  while (!ids.empty()) {
    split.emplace_back(ids.substr(0, ids.find(',')));
    ids.remove_prefix(std::min(split.back().size() + 1, ids.size()));
  }
  return split;
}

// The base string lets a developer compare the received request with what the client signed.
void LogSignatureMismatch(const ServiceRequest& request, const OauthCheck& check) {
  std::fprintf(
      stderr,
      "velk-sandbox: signature refused: %s %s%s: received \"%s\", expected \"%s\" for the base string "
      "that the request gives: %s\n",
      request.head.method.c_str(), request.head.host.c_str(), request.head.Path().c_str(),
      check.receivedSignature.c_str(), check.expectedSignature.c_str(), check.baseString.c_str());
}

}  // namespace

void Twitter::RegisterRoutes(Routes& routes) {
  const auto add = [&](std::string_view host, std::string_view method, std::string_view path, auto member) {
    routes.Add(host, method, path,
               WithErrorReply([this, member](const auto& request) { return (this->*member)(request); },
                              &ErrorReply));
  };
  add(kApiHost, "GET", "/oauth/request_token", &Twitter::IssueRequestToken);
  add(kApiHost, "GET", "/oauth/authorize", &Twitter::ShowPin);
  add(kApiHost, "GET", "/oauth/access_token", &Twitter::IssueAccessToken);
  add(kApiHost, "POST", "/1.1/statuses/update.json", &Twitter::PostTweet);
  add(kUploadHost, "POST", kUploadPath, &Twitter::HandleMediaUpload);
  add(kUploadHost, "GET", kUploadPath, &Twitter::GetMediaStatus);
}

OauthCheck Twitter::Authenticate(const ServiceRequest& request, const ApiError& error,
                                 const std::vector<std::string_view>& unsignedNames) {
  OauthCheck check = CheckOauth(request, KeySecret, unsignedNames);
  if (check.Valid()) {
    RejectReusedNonce(request, check);
    ++verified_;
    return check;
  }
  ++refused_;
  LogSignatureMismatch(request, check);
  throw error;
}

// A client can sign a chunked upload once: the requests after an INIT can use its nonce again, for the media
// that it created. Any other repeated nonce with the same timestamp could be a replay.
void Twitter::RejectReusedNonce(const ServiceRequest& request, const OauthCheck& check) {
  const Nonce nonce{check.timestamp, check.consumerKey, check.tokenKey, check.nonce};
  if (IsMediaUpload(request) && FieldText(request, "command") != "INIT") {
    const auto media = media_.find(FieldText(request, "media_id"));
    if (media != media_.end() && media->second.nonce == nonce) return;
  }
  // CheckOauth rejects these timestamps, so their nonces are no longer necessary.
  nonces_.erase(nonces_.begin(),
                nonces_.lower_bound({std::to_string(std::time(nullptr) - 2 * kClockTolerance)}));
  if (nonces_.insert(nonce).second) return;
  ++refused_;
  std::fprintf(stderr, "velk-sandbox: signature refused: the nonce \"%s\" came before at %s\n",
               check.nonce.c_str(), check.timestamp.c_str());
  throw kBadSignature;
}

// ---- Sign-in ----

Reply Twitter::IssueRequestToken(const ServiceRequest& request) {
  Authenticate(request, kNoToken);
  const std::string token = RandomName(27);
  LimitPending(requestTokens_);
  requestTokens_.insert(token);
  return FormReply("oauth_token=" + token + "&oauth_token_secret=" + RandomName(32) +
                   "&oauth_callback_confirmed=true");
}

Reply Twitter::ShowPin(const ServiceRequest& request) {
  Require(requestTokens_.contains(request.Query("oauth_token")), {403, 0, "This page is no longer valid."});
  return FormReply("<!DOCTYPE html><p>Enter this PIN to complete the authorization: <code>" +
                   std::string(kPin) + "</code></p>\n");
}

Reply Twitter::IssueAccessToken(const ServiceRequest& request) {
  Authenticate(request, kNoToken, {"oauth_token", "oauth_verifier"});
  Require(request.Query("oauth_verifier") == kPin, kNoToken);
  Require(requestTokens_.erase(request.Query("oauth_token")) == 1, kNoToken);
  const std::string token = std::string(kUserId) + '-' + RandomName(40);
  return FormReply("oauth_token=" + token + "&oauth_token_secret=" + KeySecret(token, "oauth_token=") +
                   "&user_id=" + std::string(kUserId) + "&screen_name=" + std::string(kScreenName) +
                   "&x_auth_expires=0");
}

// ---- Media ----

Reply Twitter::HandleMediaUpload(const ServiceRequest& request) {
  const OauthCheck check = Authenticate(request, kBadSignature);
  const std::string command = FieldText(request, "command");
  if (command == "INIT")
    return InitMedia(request, {check.timestamp, check.consumerKey, check.tokenKey, check.nonce});
  if (command == "APPEND") return AppendSegment(request);
  if (command == "FINALIZE") return FinalizeMedia(request);
  throw ApiError{400, 38, "command parameter is missing."};
}

Reply Twitter::InitMedia(const ServiceRequest& request, Nonce nonce) {
  Media media{.nonce = std::move(nonce),
              .type = FieldText(request, "media_type"),
              .totalBytes = ToNumber<std::uint64_t>(FieldText(request, "total_bytes"),
                                                    {400, 38, "total_bytes parameter is missing."})};
  Require(media.type.starts_with("image/"), {400, 324, "The media type is not supported."});
  Require(media.totalBytes <= kMaxImageSize, {400, 324, "Image file size must be <= 5242880 bytes"});
  const std::string id = std::to_string(++lastId_);
  LimitPending(media_);
  media_.emplace(id, std::move(media));
  return JsonReply(202, {{"media_id", lastId_}, {"media_id_string", id}, {"expires_after_secs", 86400}});
}

Twitter::Media& Twitter::FindMedia(const std::string& id) {
  const auto found = media_.find(id);
  Require(found != media_.end(), {400, 324, "Invalid mediaId."});
  return found->second;
}

Reply Twitter::AppendSegment(const ServiceRequest& request) {
  Media& media = FindMedia(FieldText(request, "media_id"));
  const int index =
      ToNumber<int>(FieldText(request, "segment_index"), {400, 38, "segment_index parameter is missing."});
  const FormPart* const part = request.Field("media");
  Require(part && part->content.Size() > 0, {400, 38, "media parameter is missing."});
  Require(!media.complete, {400, 324, "The media was finalized before."});
  media.segments[index] = {request.received, &part->content};
  return {.status = 204};
}

Reply Twitter::FinalizeMedia(const ServiceRequest& request) {
  const std::string id = FieldText(request, "media_id");
  Media& media = FindMedia(id);
  std::uint64_t size = 0;
  int next = 0;
  for (const auto& [index, segment] : media.segments) {
    Require(index == next++, {400, 324, "A segment is missing."});
    size += segment.content->Size();
  }
  Require(size == media.totalBytes, {400, 324, "Segments do not add up to provided total file size."});
  AssembleSegments(id, media);
  return JsonReply(201, {{"media_id", ToNumber<std::uint64_t>(id, kBadSignature)},
                         {"media_id_string", id},
                         {"size", size},
                         {"expires_after_secs", 86400},
                         {"image", {{"image_type", media.type}}}});
}

// If the sandbox only counts large contents, the bytes are missing and hash and file remain empty.
void Twitter::AssembleSegments(const std::string& id, Media& media) {
  Content whole(store_, store_.LargeContents());
  for (const auto& [index, segment] : media.segments) whole.Append(segment.content->Load());
  whole.Finish();
  media.complete = true;
  media.segments.clear();
  if (whole.Size() != media.totalBytes) return;
  media.sha256 = whole.Sha256();
  media.file = store_.Keep(whole, id);
}

Reply Twitter::GetMediaStatus(const ServiceRequest& request) {
  Authenticate(request, kBadSignature);
  Require(request.Query("command") == "STATUS", {400, 38, "command parameter is missing."});
  const std::string id = request.Query("media_id");
  const Media& media = FindMedia(id);
  return JsonReply(200, {{"media_id_string", id},
                         {"processing_info", {{"state", media.complete ? "succeeded" : "pending"}}}});
}

// ---- Tweets ----

Reply Twitter::PostTweet(const ServiceRequest& request) {
  const OauthCheck check = Authenticate(request, kBadSignature);
  const Pairs form = request.Form();
  Tweet tweet{.id = {},
              .text = Find(form, "status").value_or(""),
              .mediaIds = Find(form, "media_ids").value_or(""),
              .user = check.tokenKey.substr(0, check.tokenKey.find('-'))};
  Require(!tweet.text.empty() || !tweet.mediaIds.empty(), {403, 170, "Missing required parameter: status."});
  Require(CountCharacters(tweet.text) <= kMaxTweetLength, {403, 186, "Tweet needs to be a bit shorter."});
  for (const std::string& id : SplitIds(tweet.mediaIds))
    Require(FindMedia(id).complete, {400, 324, "The media was not finalized."});
  Require(std::ranges::find(tweets_, tweet.DuplicateKey(), &Tweet::DuplicateKey) == tweets_.end(),
          {403, 187, "Status is a duplicate."});
  tweet.id = std::to_string(++lastId_);
  tweets_.push_back(tweet);
  KeepNewest(tweets_);
  return JsonReply(200, {{"id", lastId_},
                         {"id_str", tweet.id},
                         {"text", tweet.text},
                         {"user", {{"id_str", tweet.user}, {"screen_name", kScreenName}}}});
}

json::object Twitter::State() const {
  json::array media;
  for (const auto& [id, item] : media_) {
    media.push_back({{"id", id},
                     {"type", item.type},
                     {"size", item.totalBytes},
                     {"complete", item.complete},
                     {"sha256", item.sha256},
                     {"file", item.file}});
  }
  json::array tweets;
  for (const Tweet& tweet : tweets_) {
    tweets.push_back(
        {{"id", tweet.id}, {"user", tweet.user}, {"text", tweet.text}, {"mediaIds", tweet.mediaIds}});
  }
  return {{"media", std::move(media)},
          {"tweets", std::move(tweets)},
          {"verified", verified_},
          {"refused", refused_}};
}

void Twitter::Reset() {
  requestTokens_.clear();
  media_.clear();
  tweets_.clear();
  nonces_.clear();
  verified_ = refused_ = 0;
}

}  // namespace velk::sandbox
