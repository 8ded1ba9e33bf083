// YouTube's routes, and what its requests share: limits, selected fields, pages, the state.
#include "services/youtube/youtube.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include "services/youtube/partial_response.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

namespace json = boost::json;

constexpr std::string_view kGdataHosts[] = {"gdata.youtube.com"};
constexpr std::string_view kTokenHosts[] = {"oauth2.googleapis.com", "accounts.google.com"};
constexpr std::string_view kSandboxHosts[] = {"127.0.0.1"};

constexpr std::uint64_t kUploadCost = 1600;  // in units of the quota
constexpr std::uint64_t kWriteCost = 50;
constexpr std::uint64_t kReadCost = 1;

Reply WithSelectedFields(Reply reply, const std::string& fields) {
  boost::system::error_code error;
  const json::value body = json::parse(reply.body, error);
  if (error) return reply;
  const auto selected = SelectFields(body, fields);
  Require(selected.has_value(), 400, "invalidParameter", "Invalid field selection " + fields, "fields");
  reply.body = json::serialize(*selected);
  return reply;
}

json::array ToJson(const std::vector<std::string>& texts) {
  json::array array;
  for (const std::string& text : texts) array.emplace_back(text);
  return array;
}

}  // namespace

void Youtube::RegisterRoutes() {
  const struct {
    std::span<const std::string_view> hosts;
    const char* method;
    const char* path;
    Member member;
    std::uint64_t cost;
  } rows[] = {
      {kApiHosts, "POST", "/upload/youtube/v3/videos", &Youtube::Insert, 0},
      {kApiHosts, "PUT", "/upload/youtube/v3/videos", &Youtube::ContinueSession, 0},
      {kApiHosts, "DELETE", "/upload/youtube/v3/videos", &Youtube::CancelSession, 0},
      {kApiHosts, "POST", "/resumable/upload/youtube/v3/videos", &Youtube::Insert, 0},
      {kApiHosts, "PUT", "/resumable/upload/youtube/v3/videos", &Youtube::ContinueSession, 0},
      {kApiHosts, "DELETE", "/resumable/upload/youtube/v3/videos", &Youtube::CancelSession, 0},
      {kApiHosts, "POST", "/upload/youtube/v3/thumbnails/set", &Youtube::SetThumbnail, kWriteCost},
      {kApiHosts, "POST", "/youtube/v3/videos", &Youtube::InsertWithoutMedia, 0},
      {kApiHosts, "GET", "/youtube/v3/videos", &Youtube::ListVideos, kReadCost},
      {kApiHosts, "PUT", "/youtube/v3/videos", &Youtube::UpdateVideo, kWriteCost},
      {kApiHosts, "DELETE", "/youtube/v3/videos", &Youtube::DeleteVideo, kWriteCost},
      {kApiHosts, "GET", "/youtube/v3/videoCategories", &Youtube::ListCategories, kReadCost},
      {kApiHosts, "GET", "/youtube/v3/channels", &Youtube::ListChannels, kReadCost},
      {kApiHosts, "GET", "/youtube/v3/playlistItems", &Youtube::ListUploads, kReadCost},
      {kApiHosts, "POST", "/oauth2/v4/token", &Youtube::IssueToken, 0},
      {kTokenHosts, "POST", "/token", &Youtube::IssueToken, 0},
      {kTokenHosts, "POST", "/o/oauth2/token", &Youtube::IssueToken, 0},
      {kGdataHosts, "POST", "/action/GetUploadToken", &Youtube::GetUploadToken, 0},
      {kSandboxHosts, "POST", "/action/FormDataUpload/{upload}", &Youtube::HandleFormUpload, 0},
  };
  for (const auto& row : rows) {
    const auto call = [this, member = row.member, cost = row.cost](const ServiceRequest& request) {
      return Limited(member, cost, request);
    };
    for (const std::string_view host : row.hosts)
      routes_.Add(host, row.method, row.path, WithErrorReply<ApiError>(call, &ErrorReply));
  }
}

// A client names the method in a header when it cannot send it, or when a URL would be too long. Then the
// body has the parameters of a GET.
void Youtube::Normalize(ServiceRequest& request) const {
  const std::string method = request.head.Header("X-HTTP-Method-Override");
  if (request.method != "POST" || method.empty()) return;
  request.method = method;
  if (method == "GET") request.query.insert(request.query.end(), request.form.begin(), request.form.end());
}

Reply Youtube::UnknownPath(const ServiceRequest& request) const {
  return ErrorReply({404, "notFound", "Not Found", "", routes_.WhyNone(request)});
}

std::map<std::string_view, Switch*> Youtube::Switches() {
  return {{"rateLimit", &rateLimit_}, {"quota", &quota_}, {"uploadLimit", &uploadLimit_}};
}

// A new upload counts for the quota when it starts. What continues it is free.
Reply Youtube::Limited(Member member, std::uint64_t cost, const ServiceRequest& request) {
  Require(TakeFrom(rateLimit_), 429, "rateLimitExceeded", "Rate Limit Exceeded", "",
          "the switch youtube.rateLimit is used up");
  const bool isUpload = member == &Youtube::Insert && request.Query("upload_id").empty();
  Require(TakeFrom(quota_, isUpload ? kUploadCost : cost), 403, "quotaExceeded",
          "The request cannot be completed because you have exceeded your quota.", "",
          "the switch youtube.quota has too few units left for this call");
  Require(!isUpload || TakeFrom(uploadLimit_), 400, "uploadLimitExceeded",
          "The user has exceeded the number of videos they may upload.", "",
          "the switch youtube.uploadLimit is used up");
  const std::string form = request.Query("alt");
  Require(form.empty() || form == "json" || form == "media", 400, "invalidParameter",
          "Invalid value \"" + form + "\".", "alt", "alt is " + Quoted(form) + "; it can be json or media");
  Reply reply = (this->*member)(request);
  const std::string fields = request.Query("fields");
  return fields.empty() || reply.status != 200 ? reply : WithSelectedFields(std::move(reply), fields);
}

json::object Youtube::StateOf(const std::string& id, const Session& session) {
  return {{"uploadId", id},
          {"length", session.length ? json::value(*session.length) : json::value(nullptr)},
          {"received", SizeOf(session.pieces)},
          {"title", session.metadata.title}};
}

json::object Youtube::StateOf(const Video& video) {
  const Metadata& metadata = video.metadata;
  return {{"id", video.id},
          {"title", metadata.title},
          {"description", metadata.description},
          {"tags", ToJson(metadata.tags)},
          {"categoryId", metadata.categoryId},
          {"category", CategoryTitle(metadata.categoryId)},
          {"privacyStatus", metadata.privacyStatus},
          {"thumbnailSha256", video.thumbnailSha256},
          {"size", video.size},
          {"sha256", video.sha256},
          {"file", video.file}};
}

json::object Youtube::State() const {
  json::array sessions;
  for (const auto& [id, session] : sessions_) {
    if (session.videoId.empty()) sessions.push_back(StateOf(id, session));
  }
  json::array videos;
  for (const Video& video : videos_) videos.push_back(StateOf(video));
  return {{"sessions", std::move(sessions)}, {"videos", std::move(videos)}};
}

std::optional<json::object> Youtube::Describe(const RecordId& id) const {
  if (id.first == "video") {
    const Video* const video = FindNewest(videos_, id.second);
    if (video) return StateOf(*video);
  }
  if (id.first == "session") {
    const auto session = sessions_.find(id.second);
    if (session != sessions_.end() && session->second.videoId.empty())
      return StateOf(session->first, session->second);
  }
  return std::nullopt;
}

void Youtube::Reset() {
  sessions_.clear();
  formUploads_.clear();
  videos_.clear();
}

namespace youtube {

json::object Page(const ServiceRequest& request, const char* kind, const json::array& items) {
  const std::uint64_t size = ToNumber(request.Query("maxResults")).value_or(items.size());
  const std::string token = request.Query("pageToken");
  const std::uint64_t first = token.empty() ? 0 : ToNumber(token.substr(1)).value_or(~0ULL);
  Require(token.empty() || (token.starts_with('P') && first < items.size()), 400, "invalidPageToken",
          "The request specifies an invalid page token.", "pageToken",
          "pageToken is " + Quoted(token) + ", which no reply of this list gave");
  json::object page{{"kind", kind}, {"etag", RandomName(27)}};
  json::array shown;
  for (std::uint64_t i = first; i < items.size() && shown.size() < size; ++i) shown.push_back(items[i]);
  const std::uint64_t next = first + shown.size();
  if (next < items.size()) page["nextPageToken"] = "P" + std::to_string(next);
  if (first > 0) page["prevPageToken"] = "P" + std::to_string(first - std::min(first, size));
  page["pageInfo"] = {{"totalResults", items.size()}, {"resultsPerPage", size}};
  page["items"] = std::move(shown);
  return page;
}

}  // namespace youtube
}  // namespace velk::sandbox
