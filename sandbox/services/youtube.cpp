// The video service's present interface: resumable sessions, uploads into them, and changes of what they
// made.
#include "services/youtube.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <charconv>
#include <functional>

#include "services/lenient_json.h"
#include "services/youtube_checks.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

namespace json = boost::json;

constexpr std::string_view kHost = "www.googleapis.com";
constexpr std::string_view kGdataHost = "gdata.youtube.com";
constexpr std::string_view kOwnHost = "127.0.0.1";
constexpr std::string_view kUploadPath = "/upload/youtube/v3/videos";

std::string Text(const json::object& object, std::string_view name) {
  const json::value* const value = object.if_contains(name);
  return value && value->is_string() ? std::string(value->get_string()) : std::string();
}

json::object Member(const json::object& object, std::string_view name) {
  const json::value* const value = object.if_contains(name);
  return value && value->is_object() ? value->get_object() : json::object();
}

json::object ReadJson(const Content& body) {
  const auto parsed = ParseLenientJson(body.Bytes());
  Demand(parsed && parsed->is_object(), 400, "parseError", "Parse Error");
  return parsed->get_object();
}

// Characters of UTF-8 text: every byte that does not continue one.
std::size_t Characters(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

json::array ToJson(const std::vector<std::string>& texts) {
  json::array array;
  for (const std::string& text : texts) array.emplace_back(text);
  return array;
}

}  // namespace

void Youtube::Enter(Routes& routes) {
  const auto on = [&](std::string_view host, std::string_view method, std::string_view path, auto answer) {
    routes.On(host, method, path,
              Refusing([this, answer](const ServiceRequest& r) { return answer(*this, r); }, &ErrorReply));
  };
  on(kHost, "POST", kUploadPath, std::mem_fn(&Youtube::Begin));
  on(kHost, "PUT", kUploadPath, std::mem_fn(&Youtube::Upload));
  on(kHost, "PUT", "/youtube/v3/videos", std::mem_fn(&Youtube::Update));
  on(kGdataHost, "POST", "/action/GetUploadToken", std::mem_fn(&Youtube::GrantTicket));
  on(kOwnHost, "POST", "/action/FormDataUpload/{ticket}", std::mem_fn(&Youtube::TakeForm));
  routes.On(kHost, "GET", "/youtube/v3/videoCategories", Refusing(&Youtube::Category, &ErrorReply));
}

Youtube::Metadata Youtube::ReadMetadata(const json::object& body) {
  static constexpr std::string_view kPrivacies[] = {"public", "private", "unlisted"};
  const json::object snippet = Member(body, "snippet");
  Metadata metadata{Text(snippet, "title"),
                    Text(snippet, "description"),
                    Text(snippet, "categoryId"),
                    Text(Member(body, "status"), "privacyStatus"),
                    {}};
  std::size_t tagCharacters = 0;
  if (const json::value* const tags = snippet.if_contains("tags"); tags && tags->is_array()) {
    for (const json::value& tag : tags->get_array()) {
      Demand(tag.is_string(), 400, "invalidTags", "The request metadata specifies invalid video keywords.");
      metadata.tags.emplace_back(tag.get_string());
      tagCharacters += Characters(metadata.tags.back());
    }
  }
  const std::size_t titleCharacters = Characters(metadata.title);
  Demand(titleCharacters > 0 && titleCharacters <= 100, 400, "invalidTitle",
         "The request metadata specifies an invalid or empty video title.");
  Demand(metadata.description.size() <= 5000, 400, "invalidDescription",
         "The request metadata specifies an invalid video description.");
  Demand(AllDigits(metadata.categoryId), 400, "invalidCategoryId",
         "The request metadata specifies an invalid category ID.");
  Demand(std::ranges::find(kPrivacies, metadata.privacyStatus) != std::end(kPrivacies), 400,
         "invalidVideoMetadata", "The request metadata specifies an invalid privacy status.");
  Demand(tagCharacters <= 500, 400, "invalidTags", "The request metadata specifies invalid video keywords.");
  return metadata;
}

Reply Youtube::Begin(const ServiceRequest& request) {
  CheckToken(request);
  Demand(request.Query("uploadType") == "resumable", 400, "badRequest", "Only resumable uploads are known.");
  const std::string declared = request.head.Header("X-Upload-Content-Length");
  std::uint64_t length = 0;
  const bool numeric =
      AllDigits(declared) &&
      std::from_chars(declared.data(), declared.data() + declared.size(), length).ec == std::errc();
  Demand(numeric, 400, "badRequest", "X-Upload-Content-Length is not a number.");
  Session session{length, ReadMetadata(ReadJson(request.received.body))};
  const std::string id = RandomName(24);
  sessions_.emplace(id, std::move(session));
  return {.status = 200,
          .headers = {"X-GUploader-UploadID: " + id,
                      "Location: https://" + std::string(kHost) + request.head.target + "&upload_id=" + id}};
}

Reply Youtube::Upload(const ServiceRequest& request) {
  CheckToken(request);
  const auto session = sessions_.find(request.Query("upload_id"));
  Demand(session != sessions_.end(), 404, "notFound", "The upload session does not exist.");
  const Content& body = request.received.body;
  Demand(body.Size() == session->second.length, 400, "badRequest",
         "The upload's length differs from the one that was declared.");
  const Video& video = Publish(std::move(session->second.metadata), body);
  sessions_.erase(session);
  return JsonReply(200, Resource(video));
}

const Youtube::Video& Youtube::Publish(Metadata metadata, const Content& content) {
  Video video{RandomName(11), std::move(metadata), content.Size(), content.Sha256(), {}};
  video.file = store_.Keep(content, video.id).string();
  return videos_.emplace_back(std::move(video));
}

// The named parts are replaced as a whole, so a body without tags removes them.
Reply Youtube::Update(const ServiceRequest& request) {
  CheckToken(request);
  Demand(request.Query("part") == "snippet,status", 400, "unexpectedPart",
         "Only snippet and status can change.");
  Demand(request.head.Header("Content-Type").starts_with("application/json"), 400, "badRequest",
         "The body's type is not supported.");
  const json::object body = ReadJson(request.received.body);
  const auto video = std::ranges::find(videos_, Text(body, "id"), &Video::id);
  Demand(video != videos_.end(), 404, "videoNotFound",
         "The video that you are trying to update cannot be found.");
  video->metadata = ReadMetadata(body);
  return JsonReply(200, Resource(*video));
}

json::object Youtube::Resource(const Video& video) {
  const Metadata& metadata = video.metadata;
  return {{"kind", "youtube#video"},
          {"etag", '"' + video.sha256.substr(0, 16) + '"'},
          {"id", video.id},
          {"snippet",
           {{"title", metadata.title},
            {"description", metadata.description},
            {"tags", ToJson(metadata.tags)},
            {"categoryId", metadata.categoryId}}},
          {"status", {{"uploadStatus", "uploaded"}, {"privacyStatus", metadata.privacyStatus}}}};
}

json::object Youtube::State() const {
  json::array sessions;
  for (const auto& [id, session] : sessions_) {
    sessions.push_back({{"uploadId", id}, {"length", session.length}, {"title", session.metadata.title}});
  }
  json::array videos;
  for (const Video& video : videos_) {
    const Metadata& metadata = video.metadata;
    videos.push_back({{"id", video.id},
                      {"title", metadata.title},
                      {"description", metadata.description},
                      {"tags", ToJson(metadata.tags)},
                      {"categoryId", metadata.categoryId},
                      {"privacyStatus", metadata.privacyStatus},
                      {"size", video.size},
                      {"sha256", video.sha256},
                      {"file", video.file}});
  }
  return {{"sessions", std::move(sessions)}, {"videos", std::move(videos)}};
}

void Youtube::Reset() {
  sessions_.clear();
  tickets_.clear();
  videos_.clear();
}

}  // namespace velk::sandbox
