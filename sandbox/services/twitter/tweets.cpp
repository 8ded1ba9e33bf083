// Twitter's tweets, in version 1.1 of the API.
#include <algorithm>
#include <boost/json/array.hpp>

#include "services/twitter/tweet_length.h"
#include "services/twitter/twitter.h"

namespace velk::sandbox {

using namespace twitter;

namespace {

namespace json = boost::json;

constexpr std::size_t kLongestTimeline = 200;

std::string IdOf(const ServiceRequest& request) {
  const auto inPath = request.pathParameters.find("id");
  return inPath != request.pathParameters.end() ? inPath->second : request.Parameter("id");
}

bool IsExtended(const ServiceRequest& request) { return request.Parameter("tweet_mode") == "extended"; }

// The number at the end of a URL such as https://twitter.com/i/statuses/1.
std::string LastSegment(const std::string& url) { return url.substr(url.find_last_of('/') + 1); }

// Media are shown in these sizes, whatever theirs is.
json::object Sizes() {
  json::object sizes;
  for (const char* const name : {"thumb", "small", "medium", "large"})
    sizes[name] = {{"w", 150}, {"h", 150}, {"resize", "crop"}};
  return sizes;
}

// Clients with fixed types require all of these members. The link would follow the text.
json::object MediaEntity(const std::string& id, std::string_view type, std::size_t textLength) {
  const bool isVideo = type.starts_with("video/");
  return {{"id", IdNumber(id)},
          {"id_str", id},
          {"indices", {textLength, textLength}},
          {"sizes", Sizes()},
          {"media_url", "http://pbs.velk.example/media/" + id},
          {"display_url", "pic.velk.example/" + id},
          {"expanded_url", "https://twitter.com/i/status/" + id},
          {"type", isVideo               ? "video"
                   : type == "image/gif" ? "animated_gif"
                                         : "photo"},
          {"media_url_https", "https://pbs.velk.example/media/" + id},
          {"url", "https://t.co/" + id}};
}

}  // namespace

Reply Twitter::PostTweet(const ServiceRequest& request) {
  Tweet tweet{.id = {},
              .text = request.Parameter("status"),
              .mediaIds = request.Parameter("media_ids"),
              .user = UserOf(request),
              .replyTo = request.Parameter("in_reply_to_status_id"),
              .quoted = LastSegment(request.Parameter("attachment_url"))};
  return JsonReply(200, TweetJson(AddTweet(std::move(tweet)), IsExtended(request)));
}

// The rules that both versions of the API share.
const Twitter::Tweet& Twitter::AddTweet(Tweet tweet) {
  Require(
      !tweet.text.empty() || !tweet.mediaIds.empty(),
      {403, 170, "Missing required parameter: status.", {.text = "the tweet has neither text nor media"}});
  const std::size_t length = TweetLength(tweet.text);
  Require(length <= kMaxTweetLength,
          {403,
           186,
           "Tweet needs to be a bit shorter.",
           {.text = "the text counts " + std::to_string(length) + " characters; the limit is " +
                    std::to_string(kMaxTweetLength)}});
  RequireUsable(Split(tweet.mediaIds, ','));
  Require(tweet.replyTo.empty() || FindTweet(tweet.replyTo),
          {403,
           385,
           "You attempted to reply to a Tweet that is deleted or not visible to you.",
           {.text = "no tweet has the id " + Quoted(tweet.replyTo)}});
  Require(
      std::ranges::find(tweets_, tweet.DuplicateKey(), &Tweet::DuplicateKey) == tweets_.end(),
      {403, 187, "Status is a duplicate.", {.text = "this user has a tweet with the same text and media"}});
  tweet.id = std::to_string(++lastId_);
  tweet.created = Now();
  Touch("tweet", tweet.id);
  Touch("count");
  tweets_.push_back(std::move(tweet));
  KeepNewest(tweets_);
  return tweets_.back();
}

Twitter::Tweet* Twitter::FindTweet(const std::string& id) {
  const auto found = std::ranges::find(tweets_, id, &Tweet::id);
  return found == tweets_.end() ? nullptr : &*found;
}

json::object Twitter::TweetJson(const Tweet& tweet, bool extended) const {
  const auto orNull = [](const std::string& text) {
    return text.empty() ? json::value(nullptr) : json::value(text);
  };
  json::array media;
  for (const std::string& id : Split(tweet.mediaIds, ',')) {
    const auto found = media_.find(id);
    if (found != media_.end())
      media.push_back(MediaEntity(id, found->second.type, CountCharacters(tweet.text)));
  }
  json::object entities{{"hashtags", json::array()},
                        {"symbols", json::array()},
                        {"user_mentions", json::array()},
                        {"urls", json::array()}};
  if (!media.empty()) entities["media"] = media;
  json::object body{{"id", IdNumber(tweet.id)},
                    {"id_str", tweet.id},
                    {extended ? "full_text" : "text", tweet.text},
                    {"user", UserJson(tweet.user)},
                    {"created_at", FormatTime(tweet.created, "%a %b %d %H:%M:%S +0000 %Y")},
                    {"truncated", false},
                    {"source", "<a href=\"https://velk.example\" rel=\"nofollow\">velk</a>"},
                    {"in_reply_to_status_id_str", orNull(tweet.replyTo)},
                    {"is_quote_status", !tweet.quoted.empty()},
                    {"retweet_count", 0},
                    {"favorite_count", 0},
                    {"favorited", false},
                    {"retweeted", false},
                    {"entities", std::move(entities)}};
  if (!tweet.replyTo.empty()) body["in_reply_to_status_id"] = IdNumber(tweet.replyTo);
  if (!tweet.quoted.empty()) body["quoted_status_id_str"] = tweet.quoted;
  if (!media.empty()) body["extended_entities"] = {{"media", std::move(media)}};
  return body;
}

Reply Twitter::ShowTweet(const ServiceRequest& request) {
  UserOf(request);
  const Tweet* const tweet = FindTweet(IdOf(request));
  Require(tweet != nullptr, Because(kNoStatus, "no tweet has the id " + Quoted(IdOf(request))));
  return JsonReply(200, TweetJson(*tweet, IsExtended(request)));
}

void Twitter::RemoveTweet(const std::string& id, const std::string& user) {
  const auto found = std::ranges::find(tweets_, id, &Tweet::id);
  Require(found != tweets_.end(), Because(kNoStatus, "no tweet has the id " + Quoted(id)));
  Require(found->user == user, {403,
                                183,
                                "You may not delete another user's status.",
                                {.text = "the tweet is of user " + found->user + ", the token of " + user}});
  tweets_.erase(found);
  Touch("tweet", id);
}

Reply Twitter::DeleteTweet(const ServiceRequest& request) {
  const std::string user = UserOf(request);
  const std::string id = IdOf(request);
  const Tweet* const tweet = FindTweet(id);
  Require(tweet != nullptr, Because(kNoStatus, "no tweet has the id " + Quoted(IdOf(request))));
  const json::object body = TweetJson(*tweet, IsExtended(request));
  RemoveTweet(id, user);
  return JsonReply(200, body);
}

// Unknown ones are left out.
Reply Twitter::LookUpTweets(const ServiceRequest& request) {
  UserOf(request);
  json::array found;
  for (const std::string& id : request.List("id")) {
    if (const Tweet* const tweet = FindTweet(id)) found.push_back(TweetJson(*tweet, IsExtended(request)));
  }
  return JsonListReply(200, found);
}

std::vector<const Twitter::Tweet*> Twitter::TweetsOf(const std::string& user) const {
  std::vector<const Tweet*> own;
  for (auto tweet = tweets_.rbegin(); tweet != tweets_.rend(); ++tweet) {
    if (UserIdOf(tweet->user) == UserIdOf(user)) own.push_back(&*tweet);
  }
  return own;
}

Reply Twitter::ListTweets(const ServiceRequest& request) {
  const std::string self = UserOf(request);
  const std::uint64_t newest = ToNumber(request.Parameter("max_id")).value_or(~0ULL);
  const std::uint64_t before = ToNumber(request.Parameter("since_id")).value_or(0);
  const std::size_t count =
      std::min<std::size_t>(ToNumber(request.Parameter("count")).value_or(20), kLongestTimeline);
  json::array list;
  for (const Tweet* const tweet : TweetsOf(request.FindParameter("user_id").value_or(self))) {
    const std::uint64_t id = IdNumber(tweet->id);
    if (id <= newest && id > before && list.size() < count)
      list.push_back(TweetJson(*tweet, IsExtended(request)));
  }
  return JsonListReply(200, list);
}

}  // namespace velk::sandbox
