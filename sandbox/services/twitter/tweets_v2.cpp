// Twitter's tweets, in version 2 of the API.
#include <boost/json/array.hpp>
#include <boost/json/parse.hpp>

#include "services/twitter/twitter.h"

namespace velk::sandbox {

using namespace twitter;

namespace {

namespace json = boost::json;

json::object BodyOf(const ServiceRequest& request) {
  boost::system::error_code error;
  const json::value value = json::parse(request.received->body.Text(), error);
  Require(!error && value.is_object(), {400, 214, "The body is no JSON object."});
  return value.get_object();
}

// The member at a path of names. Null if it is absent.
const json::value* At(const json::object& object, std::string_view outer, std::string_view inner) {
  const json::value* const value = object.if_contains(outer);
  return value && value->is_object() ? value->get_object().if_contains(inner) : nullptr;
}

std::string Text(const json::value* value) {
  return value && value->is_string() ? std::string(value->get_string()) : std::string();
}

std::string JoinIds(const json::value* list) {
  std::string ids;
  if (!list || !list->is_array()) return ids;
  for (const json::value& id : list->get_array()) ids += (ids.empty() ? "" : ",") + Text(&id);
  return ids;
}

json::object Unknown(const std::string& id) {
  return {{"value", id},
          {"resource_id", id},
          {"parameter", "id"},
          {"resource_type", "tweet"},
          {"title", "Not Found Error"},
          {"detail", "Could not find tweet with id: [" + id + "]."},
          {"type", "https://api.twitter.com/2/problems/resource-not-found"}};
}

// Fields beyond the default ones come on request.
json::object Data(const ServiceRequest& request, const std::string& id, const std::string& text,
                  const std::string& user, std::time_t created) {
  json::object data{{"id", id}, {"text", text}, {"edit_history_tweet_ids", json::array{id}}};
  for (const std::string& field : request.List("tweet.fields")) {
    if (field == "author_id") data["author_id"] = UserJson(user).at("id_str");
    if (field == "created_at") data["created_at"] = FormatTime(created, "%Y-%m-%dT%H:%M:%S.000Z");
  }
  return data;
}

}  // namespace

Reply Twitter::PostTweetV2(const ServiceRequest& request) {
  const std::string user = UserOf(request);
  const json::object body = BodyOf(request);
  const Tweet& tweet = AddTweet({.id = {},
                                 .text = Text(body.if_contains("text")),
                                 .mediaIds = JoinIds(At(body, "media", "media_ids")),
                                 .user = user,
                                 .replyTo = Text(At(body, "reply", "in_reply_to_tweet_id")),
                                 .quoted = Text(body.if_contains("quote_tweet_id"))});
  return JsonReply(201, {{"data", Data(request, tweet.id, tweet.text, tweet.user, tweet.created)}});
}

Reply Twitter::ShowTweetV2(const ServiceRequest& request) {
  UserOf(request);
  const std::string id = request.PathParameter("id");
  const Tweet* const tweet = FindTweet(id);
  if (!tweet) return JsonReply(200, {{"errors", json::array{Unknown(id)}}});
  return JsonReply(200, {{"data", Data(request, tweet->id, tweet->text, tweet->user, tweet->created)}});
}

Reply Twitter::LookUpTweetsV2(const ServiceRequest& request) {
  UserOf(request);
  json::array data, errors;
  for (const std::string& id : request.List("ids")) {
    const Tweet* const tweet = FindTweet(id);
    if (tweet)
      data.push_back(Data(request, tweet->id, tweet->text, tweet->user, tweet->created));
    else
      errors.push_back(Unknown(id));
  }
  json::object body;
  if (!data.empty()) body["data"] = std::move(data);
  if (!errors.empty()) body["errors"] = std::move(errors);
  return JsonReply(200, body);
}

Reply Twitter::DeleteTweetV2(const ServiceRequest& request) {
  const std::string user = UserOf(request);
  RemoveTweet(request.PathParameter("id"), user);
  return JsonReply(200, {{"data", {{"deleted", true}}}});
}

Reply Twitter::ListTweetsV2(const ServiceRequest& request) {
  UserOf(request);
  json::array data;
  for (const Tweet* const tweet : TweetsOf(request.PathParameter("id")))
    data.push_back(Data(request, tweet->id, tweet->text, tweet->user, tweet->created));
  const std::size_t count = data.size();
  return JsonReply(200, {{"data", std::move(data)}, {"meta", {{"result_count", count}}}});
}

Reply Twitter::ShowUserV2(const ServiceRequest& request) {
  const json::object user = UserJson(UserOf(request));
  return JsonReply(
      200, {{"data",
             {{"id", user.at("id_str")}, {"name", user.at("name")}, {"username", user.at("screen_name")}}}});
}

}  // namespace velk::sandbox
