// YouTube's published videos: reading, changing, removing them, and their thumbnails.
#include <algorithm>
#include <boost/json/array.hpp>

#include "kit/byte_strings.h"
#include "kit/media_type.h"
#include "services/youtube/youtube.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

namespace json = boost::json;

constexpr std::string_view kUpdateParts[] = {"id",     "snippet",          "status",
                                             "player", "recordingDetails", "localizations"};
constexpr std::uint64_t kLargestThumbnail = 2 * 1024 * 1024;
constexpr const char* kNotFound = "The video that you are trying to update cannot be found.";

json::object Thumbnail(const std::string& id) {
  return {{"default",
           {{"url", "https://i.velk.example/vi/" + id + "/default.jpg"}, {"width", 120}, {"height", 90}}}};
}

}  // namespace

Youtube::Video& Youtube::FindVideo(const std::string& id) {
  const auto video = std::ranges::find(videos_, id, &Video::id);
  Require(video != videos_.end(), 404, "videoNotFound", kNotFound, "", "no video has the id " + Quoted(id));
  return *video;
}

json::object Youtube::VideoResource(const Video& video, const Parts& parts) {
  const Metadata& metadata = video.metadata;
  json::object resource{
      {"kind", "youtube#video"}, {"etag", '"' + video.sha256.substr(0, 16) + '"'}, {"id", video.id}};
  if (parts.contains("snippet")) {
    resource["snippet"] = {{"title", metadata.title},
                           {"description", metadata.description},
                           {"tags", json::array(metadata.tags.begin(), metadata.tags.end())},
                           {"categoryId", metadata.categoryId},
                           {"channelId", kChannelId},
                           {"channelTitle", kChannelTitle},
                           {"publishedAt", FormatTime(video.published, "%Y-%m-%dT%H:%M:%SZ")},
                           {"thumbnails", Thumbnail(video.id)},
                           {"liveBroadcastContent", "none"}};
  }
  if (parts.contains("status")) {
    json::object status{{"uploadStatus", "uploaded"},
                        {"privacyStatus", metadata.privacyStatus},
                        {"license", "youtube"},
                        {"embeddable", true},
                        {"publicStatsViewable", true}};
    for (const auto& [name, value] : metadata.status) status[name] = value;
    resource["status"] = std::move(status);
  }
  if (parts.contains("contentDetails"))
    resource["contentDetails"] = {{"duration", "PT0S"}, {"dimension", "2d"}, {"definition", "hd"}};
  if (parts.contains("statistics"))
    resource["statistics"] = {{"viewCount", "0"}, {"likeCount", "0"}, {"commentCount", "0"}};
  if (parts.contains("player"))
    resource["player"] = {
        {"embedHtml", "<iframe src=\"//www.youtube.com/embed/" + video.id + "\"></iframe>"}};
  if (parts.contains("processingDetails"))
    resource["processingDetails"] = {{"processingStatus", "succeeded"}};
  if (parts.contains("fileDetails")) resource["fileDetails"] = {{"fileSize", std::to_string(video.size)}};
  return resource;
}

Reply Youtube::InsertWithoutMedia(const ServiceRequest& request) {
  RequireToken(request);
  throw ApiError{400, "mediaBodyRequired", "The request does not include the video content."};
}

// A key reads what is public. A list by identifiers leaves out unknown ones.
Reply Youtube::ListVideos(const ServiceRequest& request) {
  RequireTokenOrKey(request);
  const Parts parts = RequireParts(request, kVideoParts);
  const std::vector<std::string> ids = request.List("id");
  const bool all = !request.Query("chart").empty() || !request.Query("myRating").empty();
  Require(all || !ids.empty(), 400, "missingRequiredParameter",
          "No filter selected. Expected one of: chart, id, myRating", "parameters.");
  json::array items;
  for (const Video& video : videos_) {
    const bool visible = HasToken(request) || video.metadata.privacyStatus != "private";
    const bool named = all || std::ranges::find(ids, video.id) != ids.end();
    if (visible && named) items.push_back(VideoResource(video, parts));
  }
  return JsonReply(200, Page(request, "youtube#videoListResponse", items));
}

Reply Youtube::UpdateVideo(const ServiceRequest& request) {
  RequireToken(request);
  const Parts parts = RequireParts(request, kVideoParts);
  for (const std::string& part : parts) {
    Require(std::ranges::find(kUpdateParts, part) != std::end(kUpdateParts), 400, "unexpectedPart",
            "'" + part + "'", "part", "the part " + Quoted(part) + " cannot be changed");
  }
  Require(request.head.MediaType() == "application/json", 400, "badRequest",
          "The body's type is not supported.", "",
          "the Content-Type is " + Quoted(request.head.MediaType()) + " instead of application/json");
  const json::object body = ParseJson(request.received->body);
  Video& video = FindVideo(StringMember(body, "id"));
  video.metadata = UpdatedMetadata(video.metadata, body, parts);
  Touch("video", video.id);
  return JsonReply(200, VideoResource(video, parts));
}

Reply Youtube::DeleteVideo(const ServiceRequest& request) {
  RequireToken(request);
  const std::string id = request.Parameter("id");
  Require(!id.empty(), 400, "required", "Required parameter: id", "id");
  FindVideo(id);
  Touch("video", id);
  std::erase_if(videos_, [&](const Video& video) { return video.id == id; });
  return {.status = 204};
}

// The picture is the body, or the last part of a multipart body.
Reply Youtube::SetThumbnail(const ServiceRequest& request) {
  RequireToken(request);
  const std::string id = request.Query("videoId");
  Require(!id.empty(), 400, "required", "Required parameter: videoId", "videoId");
  Video& video = FindVideo(id);
  const std::vector<FormPart>& parts = request.received->fields;
  const Content& picture = parts.empty() ? request.received->body : parts.back().content;
  Require(picture.Size() > 0, 400, "mediaBodyRequired", "The request does not include the image content.");
  Require(picture.Size() <= kLargestThumbnail, 413, "uploadTooLarge", "Media is too large. Limit: 2097152",
          "", "the picture has " + std::to_string(picture.Size()) + " bytes; the limit is 2097152");
  Require(!ImageType(picture.Start()).empty(), 400, "invalidImage", "The provided image content is invalid.",
          "", "the picture does not start as JPEG, PNG, GIF or WebP do");
  video.thumbnailSha256 = picture.Sha256();
  Touch("video", id);
  return JsonReply(200, {{"kind", "youtube#thumbnailSetResponse"}, {"items", json::array{Thumbnail(id)}}});
}

}  // namespace velk::sandbox
