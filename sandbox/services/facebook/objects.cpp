// Facebook's nodes and published objects: reading them with their fields and edges, changing and deleting
// them.
#include <algorithm>
#include <boost/json/array.hpp>
#include <stdexcept>

#include "kit/byte_strings.h"
#include "services/facebook/facebook.h"
#include "services/facebook/node_types.h"

namespace velk::sandbox {

using namespace facebook;

namespace {

namespace json = boost::json;

constexpr std::uint64_t kPageSize = 25;
constexpr std::string_view kEdges[] = {"accounts", "feed",   "posts",   "published_posts",
                                       "photos",   "videos", "comments"};

std::string TimeText(std::time_t time) { return FormatTime(time, "%Y-%m-%dT%H:%M:%S+0000"); }

json::object NameOf(const std::string& node) {
  const Page* const page = FindPage(node);
  return {{"name", page ? page->name : kUserName}, {"id", node}};
}

json::object UserMembers() { return {{"id", kUserId}, {"name", kUserName}, {"email", "vera@velk.example"}}; }

json::object PageMembers(const Page& page) {
  return {{"access_token", std::string(kPageToken) + page.id},
          {"category", page.category},
          {"category_list", json::array{{{"id", page.categoryId}, {"name", page.category}}}},
          {"name", page.name},
          {"id", page.id},
          {"tasks", {"ANALYZE", "CREATE_CONTENT"}}};
}

// Without a version, a reply has the members that the oldest version had.
json::object OldestMembers(const json::object& all) {
  static constexpr std::string_view kNames[] = {"id",          "link", "source",  "object_id", "title",
                                                "description", "name", "message", "privacy",   "email"};
  json::object body;
  for (const std::string_view name : kNames) {
    if (const json::value* const value = all.if_contains(name)) body[name] = *value;
  }
  return body;
}

std::vector<Field> Fields(const std::vector<std::string>& names) {
  std::vector<Field> fields;
  for (const std::string& name : names) fields.push_back({name, {}, {}});
  return fields;
}

std::vector<Field> RequestedFields(const ServiceRequest& request) {
  const std::string text = request.Parameter("fields");
  if (text.empty()) return {};
  const auto fields = ParseFields(text);
  Require(fields.has_value(),
          {400, "OAuthException", 2500, 0, "Syntax error in the field expansion: " + text});
  return *fields;
}

// A cursor hides the position that it is.
std::string Cursor(std::uint64_t position) { return Base64("item" + std::to_string(position)); }

std::optional<std::uint64_t> PositionOf(const std::string& cursor) {
  static constexpr std::string_view kPrefix = "item";
  if (cursor.empty()) return std::nullopt;
  std::string text;
  try {
    text = FromBase64(cursor);
  } catch (const std::invalid_argument&) {
  }
  const auto position = ToNumber(text.substr(std::min(text.size(), kPrefix.size())));
  Require(position && *position < kMaxObjects, InvalidParameter("Invalid cursors values"));
  return position;
}

// Where a list starts and ends. Only a request for the list itself can continue it.
struct Range {
  std::uint64_t first, end;
};

Range RangeOf(const ServiceRequest& request, std::uint64_t count, std::uint64_t limit) {
  if (!request.pathParameters.contains("edge")) return {0, std::min(count, limit)};
  if (const auto before = PositionOf(request.Parameter("before")))
    return {*before - std::min(*before, limit), std::min(count, *before)};
  const auto after = PositionOf(request.Parameter("after"));
  const std::uint64_t first = after ? *after + 1 : ToNumber(request.Parameter("offset")).value_or(0);
  return {first, std::min(count, first + std::min(limit, count))};
}

// The URL of another page of a list.
std::string PageUrl(const ServiceRequest& request, const std::string& path, const Pairs& parameters) {
  std::string url = "https://" + request.head.host + VersionOf(request) + path + '?';
  for (const std::string_view name : {"access_token", "fields"}) {
    const bool applies = name != "fields" || request.pathParameters.contains("edge");
    const auto value = applies ? Find(request.query, name) : std::nullopt;
    if (value) url += std::string(name) + '=' + PercentEncode(*value) + '&';
  }
  for (const auto& [name, value] : parameters)
    url += name + '=' + PercentEncode(value) + (name == parameters.back().first ? "" : "&");
  return url;
}

}  // namespace

// ---- Objects ----

Facebook::Object& Facebook::FindObject(const std::string& id, const char* method) {
  const auto found = std::ranges::find(objects_, id, &Object::id);
  Require(found != objects_.end(), Because(UnknownObject(method, id), "no object has the id " + Quoted(id)));
  return *found;
}

json::object Facebook::AllMembers(const Object& object) const {
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
  body["from"] = NameOf(object.node);
  body["created_time"] = TimeText(object.created);
  body["updated_time"] = TimeText(object.created);
  body["permalink_url"] = "https://www.facebook.com/" + object.id;
  if (object.kind == "story") body["is_published"] = object.published;
  if (object.kind == "comment") body["parent"] = {{"id", object.parent}};
  if (object.kind == "photo") body["page_story_id"] = object.node + '_' + object.id;
  if (object.kind != "video") return body;
  body["published"] = object.published;
  body["status"] = {{"video_status", "ready"}};
  body["embed_html"] =
      "<iframe src=\"https://www.facebook.com/plugins/video.php?href=" + object.id + "\"></iframe>";
  return body;
}

// ---- Reading ----

// The requested fields, of which each must exist on this type of node.
json::object Facebook::Select(const ServiceRequest& request, const std::string& id, const json::object& all,
                              std::string_view kind, const std::vector<Field>& fields) {
  json::object body;
  for (const Field& field : fields) {
    const json::value* const value = all.if_contains(field.name);
    if (value) {
      body[field.name] = *value;
      if (field.fields.empty() || !value->is_object()) continue;
      json::object inner;
      for (const Field& member : field.fields) {
        if (const json::value* const found = value->get_object().if_contains(member.name))
          inner[member.name] = *found;
      }
      body[field.name] = std::move(inner);
    } else if (std::ranges::find(kEdges, field.name) != std::end(kEdges)) {
      body[field.name] = EdgePage(request, id, field.name, field.fields, field.limit.value_or(kPageSize));
    } else {
      Require(HasField(kind, field.name),
              InvalidParameter("Tried accessing nonexisting field (" + field.name + ") on node type (" +
                               TypeName(kind) + ")"));
    }
  }
  body["id"] = id;
  return body;
}

json::object Facebook::ReadNode(const ServiceRequest& request, const std::string& node) {
  const bool isObject = std::ranges::find(objects_, node, &Object::id) != objects_.end();
  const bool isNode = node == "me" || node == kUserId || FindPage(node);
  Require(isObject || isNode,
          Because(UnknownObject("get", node), Quoted(node) + " is no object, nor the user, nor a page"));
  const std::string id = isObject ? node : NodeId(request, node);
  const Page* const page = FindPage(id);
  const std::string kind = isObject ? FindObject(id, "get").kind : page ? "page" : "user";
  const json::object all = isObject ? AllMembers(FindObject(id, "get"))
                           : page   ? PageMembers(*page)
                                    : UserMembers();
  const std::vector<Field> fields = RequestedFields(request);
  if (!fields.empty()) return Select(request, id, all, kind, fields);
  return !VersionOf(request).empty() ? Select(request, id, all, kind, Fields(DefaultFields(kind)))
                                     : OldestMembers(all);
}

Reply Facebook::GetNode(const ServiceRequest& request) {
  RequireToken(TokenOf(request));
  return JsonReply(200, ReadNode(request, request.PathParameter("object")));
}

// Several nodes at once, by ?ids=1,2.
Reply Facebook::GetNodes(const ServiceRequest& request) {
  RequireToken(TokenOf(request));
  const std::vector<std::string> ids = request.List("ids");
  Require(!ids.empty(), Because(facebook::UnknownPath("/"), "the path is empty, and there is no ids"));
  json::object nodes;
  for (const std::string& id : ids) nodes[id] = ReadNode(request, id);
  return JsonReply(200, nodes);
}

// ---- Edges ----

// The kinds and all members of what the edge leads to. The newest objects come first.
std::vector<std::pair<std::string, json::object>> Facebook::EdgeMembers(const ServiceRequest& request,
                                                                        const std::string& id,
                                                                        const std::string& edge) {
  std::vector<std::pair<std::string, json::object>> members;
  if (edge == "accounts") {
    Require(id == kUserId,
            InvalidParameter("Tried accessing nonexisting field (accounts) on node type (Page)"));
    if (TokenOf(request) == "pageless") return members;
    for (const Page& page : Pages()) members.emplace_back("page", PageMembers(page));
    return members;
  }
  const std::string kind = edge == "comments" ? "comment"
                           : edge == "photos" ? "photo"
                           : edge == "videos" ? "video"
                                              : "story";
  for (auto object = objects_.rbegin(); object != objects_.rend(); ++object) {
    const bool fits = kind == "comment" ? object->parent == id : object->node == id && object->published;
    if (object->kind == kind && fits) members.emplace_back(kind, AllMembers(*object));
  }
  return members;
}

json::object Facebook::EdgePage(const ServiceRequest& request, const std::string& id, const std::string& edge,
                                const std::vector<Field>& fields, std::uint64_t limit) {
  const auto members = EdgeMembers(request, id, edge);
  const auto [first, end] = RangeOf(request, members.size(), limit);
  json::array data;
  for (std::uint64_t i = first; i < end; ++i) data.push_back(EdgeMember(request, members[i], fields));
  json::object page{{"data", std::move(data)}};
  if (first >= end) return page;
  json::object paging{{"cursors", {{"before", Cursor(first)}, {"after", Cursor(end - 1)}}}};
  const auto url = [&](const char* direction, std::uint64_t position) {
    return PageUrl(request, '/' + id + '/' + edge,
                   {{"limit", std::to_string(limit)}, {direction, Cursor(position)}});
  };
  if (end < members.size()) paging["next"] = url("after", end - 1);
  if (first > 0) paging["previous"] = url("before", first);
  page["paging"] = std::move(paging);
  return page;
}

// A list of pages has all members of each, even with a version.
json::object Facebook::EdgeMember(const ServiceRequest& request,
                                  const std::pair<std::string, json::object>& member,
                                  const std::vector<Field>& fields) {
  const auto& [kind, all] = member;
  const std::string id(all.at("id").as_string());
  if (!fields.empty()) return Select(request, id, all, kind, fields);
  if (kind == "page") return all;
  return VersionOf(request).empty() ? OldestMembers(all)
                                    : Select(request, id, all, kind, Fields(DefaultFields(kind)));
}

Reply Facebook::GetEdge(const ServiceRequest& request) {
  RequireToken(TokenOf(request));
  const std::string edge = request.PathParameter("edge");
  const std::string object = request.PathParameter("object");
  Require(std::ranges::find(kEdges, edge) != std::end(kEdges),
          Because(facebook::UnknownPath("/" + edge), "no node has the edge " + Quoted(edge)));
  const bool isObject = std::ranges::find(objects_, object, &Object::id) != objects_.end();
  const std::string id = isObject ? object : NodeId(request, object);
  const std::uint64_t limit = ToNumber(request.Parameter("limit")).value_or(kPageSize);
  return JsonReply(200, EdgePage(request, id, edge, RequestedFields(request), limit));
}

// ---- Changing ----

Reply Facebook::UpdateObject(const ServiceRequest& request) {
  RequirePublishPermission(request);
  Object& object = FindObject(request.PathParameter("object"), "post");
  const auto message = request.FindParameter("message");
  const auto description = request.FindParameter("description");
  const auto title = request.FindParameter("title").has_value() ? request.FindParameter("title")
                                                                : request.FindParameter("name");
  const auto privacy = request.FindParameter("privacy");
  const bool publishes = request.Flag("is_published", false);
  Require(message || description || title || privacy || publishes,
          Because(kNothingToChange,
                  "the request has none of message, description, title, name, privacy and is_published"));
  if (privacy) object.privacy = PrivacyOf(request);
  if (message) object.message = *message;
  if (description) object.description = *description;
  if (title) object.title = *title;
  if (publishes) object.published = true;
  Touch("object", object.id);
  return JsonReply(200, {{"success", true}});
}

// The story of a photo goes with the photo, and the comments with what they are about.
Reply Facebook::DeleteObject(const ServiceRequest& request) {
  RequirePublishPermission(request);
  const std::string id = FindObject(request.PathParameter("object"), "delete").id;
  const auto goes = [&](const Object& object) {
    return object.id == id || object.photoId == id || object.parent == id;
  };
  for (const Object& object : objects_) {
    if (goes(object)) Touch("object", object.id);
  }
  std::erase_if(objects_, goes);
  return JsonReply(200, {{"success", true}});
}

}  // namespace velk::sandbox
