// Simulates Facebook's Graph API: access tokens, the user, the user's pages, and published objects.
#include "services/facebook/facebook.h"

#include <algorithm>
#include <boost/json/array.hpp>

#include "services/facebook/errors.h"
#include "services/lenient_json.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr std::string_view kGraphHost = "graph.facebook.com";
constexpr std::string_view kVideoHost = "graph-video.facebook.com";

constexpr std::string_view kUserId = "100000000000001";
constexpr std::uint64_t kFirstObjectNumber = 10150000000001;
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

// ---- Access tokens and the user ----

Reply ExchangeToken(const ServiceRequest& request) {
  const std::string token = request.Query("fb_exchange_token");
  Require(!request.Query("client_id").empty(), kMissingClient);
  Require(request.Query("client_secret") != "wrong", kWrongSecret);
  RequireToken(token);
  return JsonReply(200,
                   {{"access_token", "long-" + token}, {"token_type", "bearer"}, {"expires_in", kSixtyDays}});
}

Reply GetTokenInfo(const ServiceRequest& request) {
  Require(!request.Query("client_id").empty(), kMissingClient);
  RequireToken(request.Query("access_token"));
  return JsonReply(200, {{"access_token", request.Query("access_token")},
                         {"token_type", "bearer"},
                         {"expires_in", kSixtyDays}});
}

Reply GetUser(const ServiceRequest& request) {
  RequireToken(request.Query("access_token"));
  return JsonReply(200, {{"id", kUserId}, {"name", "Vera Velk"}, {"email", "vera@velk.example"}});
}

Reply ListPages(const ServiceRequest& request) {
  RequireToken(request.Query("access_token"));
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

// ---- Request parameters ----

// The identifier of a node that accepts publications.
std::string NodeId(const std::string& node) {
  if (node == "me" || node == kUserId) return std::string(kUserId);
  Require(std::ranges::find(kPages, node, &Page::id) != std::end(kPages), UnknownObject("post", node));
  return node;
}

void RequirePublishPermission(const ServiceRequest& request) {
  RequireToken(request.Query("access_token"));
  Require(request.Query("access_token") != "forbidden", kNoPermission);
}

// The value in a privacy object such as {'value':'SELF'}. An empty value selects the service's default.
std::string PrivacyValue(std::string_view text) {
  static constexpr std::string_view kValues[] = {"EVERYONE", "ALL_FRIENDS", "FRIENDS_OF_FRIENDS", "SELF"};
  const auto parsed = ParseLenientJson(text);
  const json::value* const value =
      parsed && parsed->is_object() ? parsed->get_object().if_contains("value") : nullptr;
  Require(value && value->is_string(), kBadPrivacy);
  if (value->get_string().empty()) return "EVERYONE";
  Require(std::ranges::find(kValues, value->get_string()) != std::end(kValues), kBadPrivacy);
  return std::string(value->get_string());
}

std::string FieldText(const ServiceRequest& request, std::string_view field) {
  const FormPart* const part = request.Field(field);
  return part ? part->content.Text() : std::string();
}

}  // namespace

void Facebook::RegisterRoutes() {
  const auto add = [&](std::string_view host, const char* method, const char* pattern, Handler handler) {
    routes_.Add(host, method, pattern, WithErrorReply(std::move(handler), &ErrorReply));
  };
  add(kGraphHost, "GET", "/oauth/access_token", ExchangeToken);
  add(kGraphHost, "GET", "/oauth/access_token_info", GetTokenInfo);
  add(kGraphHost, "GET", "/me", GetUser);
  add(kGraphHost, "GET", "/me/accounts", ListPages);
  for (const std::string_view host : {kGraphHost, kVideoHost})
    add(host, "POST", "/{node}/videos/uploaded", [this](const ServiceRequest& r) { return PublishVideo(r); });
  add(kGraphHost, "POST", "/{node}/photos", [this](const ServiceRequest& r) { return PublishPhoto(r); });
  add(kGraphHost, "POST", "/{node}/feed", [this](const ServiceRequest& r) { return PublishPost(r); });
  add(kGraphHost, "GET", "/{object}", [this](const ServiceRequest& r) { return GetObject(r); });
  add(kGraphHost, "POST", "/{object}", [this](const ServiceRequest& r) { return UpdateObject(r); });
}

Reply Facebook::UnknownPath(const ServiceRequest& request) const {
  return ErrorReply({400, "OAuthException", 2500, 0, "Unknown path components: " + request.path});
}

// ---- Publishing ----

void Facebook::Publish(Object object) {
  objects_.push_back(std::move(object));
  KeepNewest(objects_);
}

Facebook::Object Facebook::NewObject(std::string kind, const std::string& node) {
  Object object;
  object.id = std::to_string(kFirstObjectNumber + objectCount_++);
  if (kind == "story") object.id = node + '_' + object.id;
  object.kind = std::move(kind);
  object.node = node;
  object.privacy = "EVERYONE";
  return object;
}

void Facebook::StoreFile(const ServiceRequest& request, Object& object) {
  const Content& content = request.Field("file")->content;
  object.size = content.Size();
  object.sha256 = content.Sha256();
  object.file = store_.Keep(content, object.kind + '-' + object.id);
}

Reply Facebook::PublishVideo(const ServiceRequest& request) {
  RequirePublishPermission(request);
  const std::string node = NodeId(request.PathParameter("node"));
  const FormPart* const file = request.Field("file");
  Require(file && file->content.Size() > 0, kNoVideo);
  const std::string privacy = PrivacyValue(request.Query("privacy"));
  Object video = NewObject("video", node);
  video.title = FieldText(request, "title");
  video.description = FieldText(request, "description");
  video.privacy = privacy;
  video.source = "https://video.velk.example/" + video.id + ".mp4";
  StoreFile(request, video);
  Publish(video);
  return JsonReply(200, {{"id", video.id}});
}

Reply Facebook::PublishPhoto(const ServiceRequest& request) {
  RequirePublishPermission(request);
  const std::string node = NodeId(request.PathParameter("node"));
  const FormPart* const file = request.Field("file");
  Require(file && file->content.Size() > 0, kNoPhoto);
  Object photo = NewObject("photo", node);
  photo.message = FieldText(request, "message");
  photo.link = "https://www.facebook.com/photo.php?fbid=" + photo.id;
  photo.source = "https://photos.velk.example/" + photo.id + ".jpg";
  StoreFile(request, photo);
  Object story = NewObject("story", node);
  story.id = node + '_' + photo.id;
  story.message = photo.message;
  story.link = photo.link;
  story.photoId = photo.id;
  Publish(photo);
  Publish(story);
  return JsonReply(200, {{"id", photo.id}, {"post_id", story.id}});
}

Reply Facebook::PublishPost(const ServiceRequest& request) {
  RequirePublishPermission(request);
  const std::string node = NodeId(request.PathParameter("node"));
  const Pairs& form = request.form;
  const std::string privacy = PrivacyValue(Find(form, "privacy").value_or("{'value':''}"));
  Object story = NewObject("story", node);
  story.message = Find(form, "message").value_or("");
  story.link = Find(form, "link").value_or("");
  story.privacy = privacy;
  Require(!story.message.empty() || !story.link.empty(), kNothingToPost);
  Publish(story);
  return JsonReply(200, {{"id", story.id}});
}

// ---- Published objects ----

Facebook::Object& Facebook::FindObject(const std::string& id, const char* method) {
  const auto found = std::ranges::find(objects_, id, &Object::id);
  Require(found != objects_.end(), UnknownObject(method, id));
  return *found;
}

Reply Facebook::GetObject(const ServiceRequest& request) {
  RequireToken(request.Query("access_token"));
  const Object& object = FindObject(request.PathParameter("object"), "get");
  json::object body{{"id", object.id}};
  const auto add = [&](const char* name, const std::string& text) {
    if (!text.empty()) body[name] = text;
  };
  add("link", object.link);
  add("source", object.source);
  add("object_id", object.photoId);
  add("title", object.title);
  add("description", object.description);
  add(object.kind == "photo" ? "name" : "message", object.message);
  body["privacy"] = {{"value", object.privacy}};
  return JsonReply(200, body);
}

Reply Facebook::UpdateObject(const ServiceRequest& request) {
  RequirePublishPermission(request);
  Object& object = FindObject(request.PathParameter("object"), "post");
  const Pairs& form = request.form;
  const auto message = Find(form, "message");
  const auto description = Find(form, "description");
  const auto privacy = Find(form, "privacy");
  Require(message || description || privacy, kNothingToChange);
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
                       {"about", object.photoId},
                       {"size", object.size},
                       {"sha256", object.sha256},
                       {"file", object.file}});
  }
  return {{"objects", std::move(objects)}};
}

void Facebook::Reset() {
  objectCount_ = 0;
  objects_.clear();
}

}  // namespace velk::sandbox
