// The routes of the Graph API, and what its requests share: versions, tokens, limits, the state.
#include "services/facebook/facebook.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/locale/utf.hpp>
#include <cstdio>

#include "services/lenient_json.h"

namespace velk::sandbox {

using namespace facebook;

namespace {

namespace json = boost::json;
namespace utf = boost::locale::utf;

constexpr std::string_view kGraphHosts[] = {Facebook::kHosts[0], Facebook::kHosts[1]};

constexpr Page kPages[] = {
    {"104000000000001", "Velk News", "2233", "Media company"},
    {"104000000000002", "Velk Caf\u00E9", "2301", "Cafe"},
};

// The length of "/v24.0" at the start of a path. 0 without a version.
std::size_t VersionLength(std::string_view path) {
  const std::string_view segment = path.substr(0, path.find('/', 1));
  const std::size_t point = segment.find('.');
  const bool matches = segment.starts_with("/v") && point != std::string_view::npos &&
                       AllDigits(segment.substr(2, point - 2)) && AllDigits(segment.substr(point + 1));
  return matches ? segment.size() : 0;
}

void AppendEscape(std::string& text, unsigned unit) {
  char escape[7];
  std::snprintf(escape, sizeof escape, "\\u%04x", unit);
  text += escape;
}

// The service escapes every character that is not ASCII.
std::string EscapeNonAscii(std::string_view text) {
  std::string escaped;
  for (const char* at = text.data(); at != text.data() + text.size();) {
    const char* const start = at;
    if (static_cast<unsigned char>(*at) < 0x80) {
      escaped += *at++;
      continue;
    }
    utf::code_point point = utf::utf_traits<char>::decode(at, text.data() + text.size());
    if (!utf::is_valid_codepoint(point)) {
      point = 0xFFFD;
      at = start + 1;
    }
    if (point >= 0x10000) AppendEscape(escaped, 0xD800 + ((point - 0x10000) >> 10));
    AppendEscape(escaped, point >= 0x10000 ? 0xDC00 + ((point - 0x10000) & 0x3FF) : point);
  }
  return escaped;
}

}  // namespace

void Facebook::RegisterRoutes() {
  const struct {
    const char* method;
    const char* path;
    Member member;
  } rows[] = {
      {"GET", "/oauth/access_token", &Facebook::IssueToken},
      {"POST", "/oauth/access_token", &Facebook::IssueToken},
      {"GET", "/oauth/access_token_info", &Facebook::GetTokenInfo},
      {"GET", "/debug_token", &Facebook::DebugToken},
      {"GET", "/", &Facebook::GetNodes},
      {"POST", "/", &Facebook::RunBatch},
      {"POST", "/{node}/videos", &Facebook::PublishVideo},
      {"POST", "/{node}/videos/uploaded", &Facebook::PublishVideo},
      {"POST", "/{node}/photos", &Facebook::PublishPhoto},
      {"POST", "/{node}/feed", &Facebook::PublishPost},
      {"POST", "/{node}/comments", &Facebook::PublishComment},
      {"GET", "/{object}", &Facebook::GetNode},
      {"POST", "/{object}", &Facebook::UpdateObject},
      {"DELETE", "/{object}", &Facebook::DeleteObject},
      {"GET", "/{object}/{edge}", &Facebook::GetEdge},
      {"GET", "/{object}/{edge}/uploaded", &Facebook::GetEdge},
  };
  for (const auto& row : rows) {
    const auto call = [this, member = row.member](const ServiceRequest& r) { return (this->*member)(r); };
    const Handler handler = WithErrorReply<GraphError>(call, &ErrorReply);
    const Handler limited = [this, handler](const ServiceRequest& r) { return Limited(handler, r); };
    for (const std::string_view host : kGraphHosts) routes_.Add(host, row.method, row.path, limited);
  }
}

// A client that cannot send DELETE names the method in a parameter. A step of a batch has the version of the
// batch, and can have one of its own.
void Facebook::Normalize(ServiceRequest& request) const {
  while (const std::size_t version = VersionLength(request.path)) request.path.erase(0, version);
  if (request.path.size() > 1 && request.path.ends_with('/')) request.path.pop_back();
  if (request.path.empty()) request.path = "/";
  const std::string method = request.Parameter("method");
  for (const char* const known : {"GET", "POST", "DELETE"}) {
    if (SameName(method, known)) request.method = known;
  }
}

Reply Facebook::UnknownPath(const ServiceRequest& request) const {
  return ErrorReply(Because(facebook::UnknownPath(request.path), routes_.WhyNone(request)));
}

std::map<std::string_view, Switch*> Facebook::Switches() {
  return {{"appLimit", &appLimit_}, {"callLimit", &callLimit_}};
}

Reply Facebook::Limited(const Handler& handler, const ServiceRequest& request) {
  const bool isLimited = appLimit_ || callLimit_;
  Reply reply =
      !TakeFrom(appLimit_)    ? ErrorReply(Because(kAppLimit, "the switch facebook.appLimit is used up"))
      : !TakeFrom(callLimit_) ? ErrorReply(Because(kCallLimit, "the switch facebook.callLimit is used up"))
                              : handler(request);
  if (isLimited) {
    const bool isUsedUp = appLimit_ == 0 || callLimit_ == 0;
    const std::string percent = isUsedUp ? "100" : "50";
    reply.headers.push_back("X-App-Usage: {\"call_count\":" + percent +
                            ",\"total_cputime\":1,\"total_time\":1}");
  }
  const std::string version = VersionOf(request);
  reply.headers.push_back("facebook-api-version: " + (version.empty() ? "v24.0" : version.substr(1)));
  reply.body = EscapeNonAscii(reply.body);
  return reply;
}

// ---- State ----

json::object Facebook::StateOf(const Object& object) {
  const Page* const page = FindPage(object.node);
  return {{"kind", object.kind},
          {"id", object.id},
          {"node", object.node},
          {"nodeName", page ? page->name : kUserName},
          {"title", object.title},
          {"message", object.message},
          {"description", object.description},
          {"link", object.link},
          {"privacy", object.privacy},
          {"about", object.photoId},
          {"parent", object.parent},
          {"attached", json::array(object.attached.begin(), object.attached.end())},
          {"url", object.url},
          {"published", object.published},
          {"size", object.size},
          {"sha256", object.sha256},
          {"file", object.file}};
}

json::object Facebook::StateOf(const std::string& id, const VideoSession& session) {
  return {{"uploadSessionId", id},
          {"videoId", session.video.id},
          {"title", session.video.title},
          {"size", session.size},
          {"received", SizeOf(session.pieces)}};
}

json::object Facebook::State() const {
  json::array objects;
  for (const Object& object : objects_) objects.push_back(StateOf(object));
  json::array sessions;
  for (const auto& [id, session] : sessions_) sessions.push_back(StateOf(id, session));
  return {{"objects", std::move(objects)}, {"sessions", std::move(sessions)}};
}

std::optional<json::object> Facebook::Describe(const RecordId& id) const {
  if (id.first == "object") {
    const Object* const object = FindNewest(objects_, id.second);
    if (object) return StateOf(*object);
  }
  if (id.first == "session") {
    const auto session = sessions_.find(id.second);
    if (session != sessions_.end()) return StateOf(session->first, session->second);
  }
  return std::nullopt;
}

void Facebook::Reset() {
  objectCount_ = 0;
  objects_.clear();
  sessions_.clear();
}

// ---- Parameters ----

namespace facebook {

std::span<const Page> Pages() { return kPages; }

const Page* FindPage(std::string_view id) {
  const auto page = std::ranges::find(kPages, id, &Page::id);
  return page == std::end(kPages) ? nullptr : page;
}

std::string VersionOf(const ServiceRequest& request) {
  const std::string path = request.head.Path();
  return path.substr(0, VersionLength(path));
}

std::string TokenOf(const ServiceRequest& request) {
  static constexpr std::string_view kOlderScheme = "OAuth ";
  const std::string header = request.head.Header("Authorization");
  if (const auto token = request.FindParameter("access_token")) return *token;
  const bool isOlder = SameName(std::string_view(header).substr(0, kOlderScheme.size()), kOlderScheme);
  return isOlder ? header.substr(kOlderScheme.size()) : request.BearerToken();
}

std::string NodeId(const ServiceRequest& request, const std::string& node) {
  const std::string token = TokenOf(request);
  const bool isPage = token.starts_with(kPageToken) && FindPage(token.substr(kPageToken.size()));
  if (node == "me") return isPage ? token.substr(kPageToken.size()) : std::string(kUserId);
  Require(node == kUserId || FindPage(node),
          Because(UnknownObject("post", node), Quoted(node) + " is neither the user nor a page of the user"));
  return node;
}

void RequirePublishPermission(const ServiceRequest& request) {
  RequireToken(TokenOf(request));
  Require(TokenOf(request) != "forbidden",
          Because(kNoPermission, "the token \"forbidden\" is refused by its name"));
}

std::string PrivacyOf(const ServiceRequest& request) {
  static constexpr std::string_view kValues[] = {"EVERYONE", "ALL_FRIENDS", "FRIENDS_OF_FRIENDS", "SELF",
                                                 "CUSTOM"};
  std::string why = "it is no object with a string as value";
  auto parsed = ParseLenientJson(request.FindParameter("privacy").value_or("{'value':''}"), &why);
  // A form can have the member of the object alone.
  if (const auto member = request.FindParameter("privacy[value]")) parsed = json::object{{"value", *member}};
  const json::value* const value =
      parsed && parsed->is_object() ? parsed->get_object().if_contains("value") : nullptr;
  Require(value && value->is_string(), Because(kBadPrivacy, "privacy: " + why));
  if (value->get_string().empty()) return "EVERYONE";
  Require(std::ranges::find(kValues, value->get_string()) != std::end(kValues),
          Because(kBadPrivacy, "privacy: the value is " + Quoted(value->get_string()) +
                                   "; it can be EVERYONE, ALL_FRIENDS, FRIENDS_OF_FRIENDS, SELF or CUSTOM"));
  return std::string(value->get_string());
}

}  // namespace facebook
}  // namespace velk::sandbox
