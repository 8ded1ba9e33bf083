// Stands in for Facebook's Graph API: tokens, the user and the pages, and everything that is published.
#include "services/facebook.h"

#include <algorithm>
#include <boost/json/array.hpp>

#include "services/facebook_error.h"
#include "services/lenient_json.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr std::string_view kGraph = "graph.facebook.com";
constexpr std::string_view kGraphVideo = "graph-video.facebook.com";

constexpr std::string_view kUser = "100000000000001";
constexpr std::uint64_t kFirstNumber = 10150000000001;
constexpr int kSixtyDays = 60 * 24 * 60 * 60;

struct Page {
  const char* id;
  const char* name;
  const char* categoryId;
  const char* category;
};

constexpr Page kPages[] = {
    {"104000000000001", "Velk News", "2233", "Media company"},
    {"104000000000002", "Velk Garden", "2301", "Gardener"},
};

// ---- Tokens and the user ----

Reply TradeToken(const ServiceRequest& request) {
  const std::string token = request.Query("fb_exchange_token");
  Demand(!request.Query("client_id").empty(), kMissingClient);
  Demand(request.Query("client_secret") != "wrong", kWrongSecret);
  DemandToken(token);
  return JsonReply(200,
                   {{"access_token", "long-" + token}, {"token_type", "bearer"}, {"expires_in", kSixtyDays}});
}

Reply TellToken(const ServiceRequest& request) {
  Demand(!request.Query("client_id").empty(), kMissingClient);
  DemandToken(request.Query("access_token"));
  return JsonReply(200, {{"access_token", request.Query("access_token")},
                         {"token_type", "bearer"},
                         {"expires_in", kSixtyDays}});
}

Reply TellUser(const ServiceRequest& request) {
  DemandToken(request.Query("access_token"));
  return JsonReply(200, {{"id", kUser}, {"name", "Vera Velk"}, {"email", "vera@velk.example"}});
}

Reply ListPages(const ServiceRequest& request) {
  DemandToken(request.Query("access_token"));
  json::array pages;
  if (request.Query("access_token") == "pageless") return JsonReply(200, {{"data", std::move(pages)}});
  for (const Page& page : kPages) {
    pages.push_back({{"access_token", std::string("page-token-") + page.id},
                     {"category", page.category},
                     {"category_list", json::array{{{"id", page.categoryId}, {"name", page.category}}}},
                     {"name", page.name},
                     {"id", page.id},
                     {"tasks", {"ANALYZE", "CREATE_CONTENT"}}});
  }
  return JsonReply(
      200, {{"data", std::move(pages)}, {"paging", {{"cursors", {{"before", "A"}, {"after", "B"}}}}}});
}

// ---- Reading requests ----

// The number of a node that can be published to.
std::string NodeNumber(const std::string& node) {
  if (node == "me" || node == kUser) return std::string(kUser);
  Demand(std::ranges::find(kPages, node, &Page::id) != std::end(kPages), UnknownObject("post", node));
  return node;
}

void DemandPermission(const ServiceRequest& request) {
  DemandToken(request.Query("access_token"));
  Demand(request.Query("access_token") != "forbidden", kNoPermission);
}

// The value in a privacy object such as {'value':'SELF'}; an empty one leaves the choice to the service.
std::string PrivacyValue(std::string_view text) {
  static constexpr std::string_view kValues[] = {"EVERYONE", "ALL_FRIENDS", "FRIENDS_OF_FRIENDS", "SELF"};
  const auto parsed = ParseLenientJson(text);
  const json::value* const value =
      parsed && parsed->is_object() ? parsed->get_object().if_contains("value") : nullptr;
  Demand(value && value->is_string(), kBadPrivacy);
  if (value->get_string().empty()) return "EVERYONE";
  Demand(std::ranges::find(kValues, value->get_string()) != std::end(kValues), kBadPrivacy);
  return std::string(value->get_string());
}

std::string Text(const ServiceRequest& request, std::string_view field) {
  const FormPart* const part = request.Field(field);
  return part ? part->content.Load() : std::string();
}

}  // namespace

void Facebook::Enter(Routes& routes) {
  const auto on = [&](std::string_view host, const char* method, const char* pattern, Handler handler) {
    routes.On(host, method, pattern, Refusing(std::move(handler), &ErrorReply));
  };
  on(kGraph, "GET", "/oauth/access_token", TradeToken);
  on(kGraph, "GET", "/oauth/access_token_info", TellToken);
  on(kGraph, "GET", "/me", TellUser);
  on(kGraph, "GET", "/me/accounts", ListPages);
  for (const std::string_view host : {kGraph, kGraphVideo})
    on(host, "POST", "/{node}/videos/uploaded", [this](const ServiceRequest& r) { return PublishVideo(r); });
  on(kGraph, "POST", "/{node}/photos", [this](const ServiceRequest& r) { return PublishPhoto(r); });
  on(kGraph, "POST", "/{node}/feed", [this](const ServiceRequest& r) { return PublishPost(r); });
  on(kGraph, "GET", "/{object}", [this](const ServiceRequest& r) { return Read(r); });
  on(kGraph, "POST", "/{object}", [this](const ServiceRequest& r) { return Change(r); });
}

// ---- Publishing ----

Facebook::Object Facebook::NewObject(std::string kind, const std::string& node) {
  Object object;
  object.id = std::to_string(kFirstNumber + published_++);
  if (kind == "story") object.id = node + '_' + object.id;
  object.kind = std::move(kind);
  object.node = node;
  object.privacy = "EVERYONE";
  return object;
}

void Facebook::KeepFile(const ServiceRequest& request, Object& object) {
  const Content& content = request.Field("file")->content;
  object.size = content.Size();
  object.sha256 = content.Sha256();
  object.file = store_.Keep(content, object.kind + '-' + object.id).string();
}

Reply Facebook::PublishVideo(const ServiceRequest& request) {
  DemandPermission(request);
  const std::string node = NodeNumber(request.Place("node"));
  const FormPart* const file = request.Field("file");
  Demand(file && file->content.Size() > 0, kNoVideo);
  const std::string privacy = PrivacyValue(request.Query("privacy"));
  Object video = NewObject("video", node);
  video.title = Text(request, "title");
  video.description = Text(request, "description");
  video.privacy = privacy;
  video.source = "https://video.velk.example/" + video.id + ".mp4";
  KeepFile(request, video);
  objects_.push_back(video);
  return JsonReply(200, {{"id", video.id}});
}

Reply Facebook::PublishPhoto(const ServiceRequest& request) {
  DemandPermission(request);
  const std::string node = NodeNumber(request.Place("node"));
  const FormPart* const file = request.Field("file");
  Demand(file && file->content.Size() > 0, kNoPhoto);
  Object photo = NewObject("photo", node);
  photo.message = Text(request, "message");
  photo.link = "https://www.facebook.com/photo.php?fbid=" + photo.id;
  photo.source = "https://photos.velk.example/" + photo.id + ".jpg";
  KeepFile(request, photo);
  Object story = NewObject("story", node);
  story.id = node + '_' + photo.id;
  story.message = photo.message;
  story.link = photo.link;
  story.about = photo.id;
  objects_.push_back(photo);
  objects_.push_back(story);
  return JsonReply(200, {{"id", photo.id}, {"post_id", story.id}});
}

Reply Facebook::PublishPost(const ServiceRequest& request) {
  DemandPermission(request);
  const std::string node = NodeNumber(request.Place("node"));
  const Pairs form = request.Form();
  const std::string privacy = PrivacyValue(Find(form, "privacy").value_or("{'value':''}"));
  Object story = NewObject("story", node);
  story.message = Find(form, "message").value_or("");
  story.link = Find(form, "link").value_or("");
  story.privacy = privacy;
  Demand(!story.message.empty() || !story.link.empty(), kNothingToPost);
  objects_.push_back(story);
  return JsonReply(200, {{"id", story.id}});
}

// ---- What was published ----

Facebook::Object& Facebook::Known(const std::string& id, const char* method) {
  const auto found = std::ranges::find(objects_, id, &Object::id);
  Demand(found != objects_.end(), UnknownObject(method, id));
  return *found;
}

Reply Facebook::Read(const ServiceRequest& request) {
  DemandToken(request.Query("access_token"));
  const Object& object = Known(request.Place("object"), "get");
  json::object body{{"id", object.id}};
  const auto add = [&](const char* name, const std::string& text) {
    if (!text.empty()) body[name] = text;
  };
  add("link", object.link);
  add("source", object.source);
  add("object_id", object.about);
  add("title", object.title);
  add("description", object.description);
  add(object.kind == "photo" ? "name" : "message", object.message);
  body["privacy"] = {{"value", object.privacy}};
  return JsonReply(200, body);
}

Reply Facebook::Change(const ServiceRequest& request) {
  DemandPermission(request);
  Object& object = Known(request.Place("object"), "post");
  const Pairs form = request.Form();
  const auto message = Find(form, "message");
  const auto description = Find(form, "description");
  const auto privacy = Find(form, "privacy");
  Demand(message || description || privacy, kNothingToChange);
  if (privacy) object.privacy = PrivacyValue(*privacy);
  if (message) object.message = *message;
  if (description) object.description = *description;
  return JsonReply(200, {{"success", true}});
}

json::object Facebook::State() const {
  json::array objects;
  for (const Object& object : objects_) {
    objects.push_back({{"kind", object.kind},
                       {"id", object.id},
                       {"node", object.node},
                       {"title", object.title},
                       {"message", object.message},
                       {"description", object.description},
                       {"link", object.link},
                       {"privacy", object.privacy},
                       {"about", object.about},
                       {"size", object.size},
                       {"sha256", object.sha256},
                       {"file", object.file}});
  }
  return {{"objects", std::move(objects)}};
}

void Facebook::Reset() {
  published_ = 0;
  objects_.clear();
}

}  // namespace velk::sandbox
