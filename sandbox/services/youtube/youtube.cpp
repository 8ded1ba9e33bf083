// YouTube's current interface: resumable upload sessions, and updates of metadata.
#include "services/youtube/youtube.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <charconv>
#include <functional>

#include "services/lenient_json.h"
#include "services/youtube/checks.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

namespace json = boost::json;

constexpr std::string_view kHost = "www.googleapis.com";
constexpr std::string_view kGdataHost = "gdata.youtube.com";
constexpr std::string_view kSandboxHost = "127.0.0.1";
constexpr std::string_view kUploadPath = "/upload/youtube/v3/videos";

std::string StringMember(const json::object& object, std::string_view name) {
  const json::value* const value = object.if_contains(name);
  return value && value->is_string() ? std::string(value->get_string()) : std::string();
}

json::object ObjectMember(const json::object& object, std::string_view name) {
  const json::value* const value = object.if_contains(name);
  return value && value->is_object() ? value->get_object() : json::object();
}

json::object ParseJson(const Content& body) {
  const auto parsed = ParseLenientJson(body.Text());
  Require(parsed && parsed->is_object(), 400, "parseError", "Parse Error");
  return parsed->get_object();
}

json::array ToJson(const std::vector<std::string>& texts) {
  json::array array;
  for (const std::string& text : texts) array.emplace_back(text);
  return array;
}

}  // namespace

void Youtube::RegisterRoutes() {
  const auto add = [&](std::string_view host, std::string_view method, std::string_view path, auto handler) {
    routes_.Add(
        host, method, path,
        WithErrorReply([this, handler](const ServiceRequest& r) { return handler(*this, r); }, &ErrorReply));
  };
  add(kHost, "POST", kUploadPath, std::mem_fn(&Youtube::StartSession));
  add(kHost, "PUT", kUploadPath, std::mem_fn(&Youtube::UploadVideo));
  add(kHost, "PUT", "/youtube/v3/videos", std::mem_fn(&Youtube::UpdateVideo));
  add(kGdataHost, "POST", "/action/GetUploadToken", std::mem_fn(&Youtube::GetUploadToken));
  add(kSandboxHost, "POST", "/action/FormDataUpload/{upload}", std::mem_fn(&Youtube::HandleFormUpload));
  routes_.Add(kHost, "GET", "/youtube/v3/videoCategories",
              WithErrorReply(&Youtube::GetCategory, &ErrorReply));
}

Reply Youtube::UnknownPath(const ServiceRequest&) const { return ErrorReply({404, "notFound", "Not Found"}); }

Youtube::Metadata Youtube::ParseMetadata(const json::object& body) {
  static constexpr std::string_view kPrivacies[] = {"public", "private", "unlisted"};
  const json::object snippet = ObjectMember(body, "snippet");
  Metadata metadata{StringMember(snippet, "title"),
                    StringMember(snippet, "description"),
                    StringMember(snippet, "categoryId"),
                    StringMember(ObjectMember(body, "status"), "privacyStatus"),
                    {}};
  std::size_t tagCharacters = 0;
  if (const json::value* const tags = snippet.if_contains("tags"); tags && tags->is_array()) {
    for (const json::value& tag : tags->get_array()) {
      Require(tag.is_string(), 400, "invalidTags", "The request metadata specifies invalid video keywords.");
      metadata.tags.emplace_back(tag.get_string());
      tagCharacters += CountCharacters(metadata.tags.back());
    }
  }
  const std::size_t titleCharacters = CountCharacters(metadata.title);
  Require(titleCharacters > 0 && titleCharacters <= 100, 400, "invalidTitle",
          "The request metadata specifies an invalid or empty video title.");
  Require(metadata.description.size() <= 5000, 400, "invalidDescription",
          "The request metadata specifies an invalid video description.");
  Require(AllDigits(metadata.categoryId), 400, "invalidCategoryId",
          "The request metadata specifies an invalid category ID.");
  Require(std::ranges::find(kPrivacies, metadata.privacyStatus) != std::end(kPrivacies), 400,
          "invalidVideoMetadata", "The request metadata specifies an invalid privacy status.");
  Require(tagCharacters <= 500, 400, "invalidTags", "The request metadata specifies invalid video keywords.");
  return metadata;
}

Reply Youtube::StartSession(const ServiceRequest& request) {
  RequireToken(request);
  Require(request.Query("uploadType") == "resumable", 400, "badRequest", "Only resumable uploads are known.");
  const std::string declared = request.head.Header("X-Upload-Content-Length");
  std::uint64_t length = 0;
  const bool numeric =
      AllDigits(declared) &&
      std::from_chars(declared.data(), declared.data() + declared.size(), length).ec == std::errc();
  Require(numeric, 400, "badRequest", "X-Upload-Content-Length is not a number.");
  Session session{length, ParseMetadata(ParseJson(request.received->body))};
  const std::string id = RandomName(24);
  LimitPending(sessions_);
  sessions_.emplace(id, std::move(session));
  return {.status = 200,
          .headers = {"X-GUploader-UploadID: " + id,
                      "Location: https://" + std::string(kHost) + request.head.target + "&upload_id=" + id}};
}

Reply Youtube::UploadVideo(const ServiceRequest& request) {
  RequireToken(request);
  const auto session = sessions_.find(request.Query("upload_id"));
  Require(session != sessions_.end(), 404, "notFound", "The upload session does not exist.");
  const Content& body = request.received->body;
  Require(body.Size() == session->second.length, 400, "badRequest",
          "The upload's length differs from the one that was declared.");
  const Video& video = Publish(session->second.metadata, body);
  sessions_.erase(session);
  return JsonReply(200, VideoResource(video));
}

const Youtube::Video& Youtube::Publish(Metadata metadata, const Content& content) {
  Video video{RandomName(11), std::move(metadata), content.Size(), content.Sha256(), {}};
  video.file = store_.Keep(content, video.id);
  videos_.push_back(std::move(video));
  KeepNewest(videos_);
  return videos_.back();
}

// An update replaces whole parts, so a body without tags removes the tags.
Reply Youtube::UpdateVideo(const ServiceRequest& request) {
  RequireToken(request);
  Require(request.Query("part") == "snippet,status", 400, "unexpectedPart",
          "Only snippet and status can change.");
  Require(request.head.Header("Content-Type").starts_with("application/json"), 400, "badRequest",
          "The body's type is not supported.");
  const json::object body = ParseJson(request.received->body);
  const auto video = std::ranges::find(videos_, StringMember(body, "id"), &Video::id);
  Require(video != videos_.end(), 404, "videoNotFound",
          "The video that you are trying to update cannot be found.");
  video->metadata = ParseMetadata(body);
  return JsonReply(200, VideoResource(*video));
}

json::object Youtube::VideoResource(const Video& video) {
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
  formUploads_.clear();
  videos_.clear();
}

}  // namespace velk::sandbox
