// YouTube's one simulated channel, and the list of its uploads.
#include <algorithm>
#include <boost/json/array.hpp>

#include "services/youtube/youtube.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

namespace json = boost::json;

constexpr std::string_view kChannelParts[] = {"id",         "snippet", "contentDetails",
                                              "statistics", "status",  "brandingSettings"};
constexpr std::string_view kItemParts[] = {"id", "snippet", "contentDetails", "status"};

}  // namespace

Reply Youtube::ListChannels(const ServiceRequest& request) {
  RequireTokenOrKey(request);
  const Parts parts = RequireParts(request, kChannelParts);
  const std::vector<std::string> ids = request.List("id");
  const bool own = request.Flag("mine", false);
  Require(own || !ids.empty(), 400, "missingRequiredParameter",
          "No filter selected. Expected one of: id, mine", "parameters.");
  json::array items;
  if (own || std::ranges::find(ids, kChannelId) != ids.end()) {
    json::object channel{{"kind", "youtube#channel"}, {"id", kChannelId}};
    if (parts.contains("snippet")) channel["snippet"] = {{"title", kChannelTitle}, {"description", ""}};
    if (parts.contains("contentDetails"))
      channel["contentDetails"] = {{"relatedPlaylists", {{"likes", ""}, {"uploads", kUploadsId}}}};
    if (parts.contains("statistics"))
      channel["statistics"] = {{"videoCount", std::to_string(videos_.size())}};
    items.push_back(std::move(channel));
  }
  return JsonReply(200, Page(request, "youtube#channelListResponse", items));
}

// The newest first.
Reply Youtube::ListUploads(const ServiceRequest& request) {
  RequireTokenOrKey(request);
  const Parts parts = RequireParts(request, kItemParts);
  Require(request.Query("playlistId") == kUploadsId, 404, "playlistNotFound",
          "The playlist identified with the request's playlistId parameter cannot be found.", "playlistId");
  json::array items;
  for (auto video = videos_.rbegin(); video != videos_.rend(); ++video) {
    json::object item{{"kind", "youtube#playlistItem"}, {"id", "UU" + video->id}};
    if (parts.contains("snippet")) {
      item["snippet"] = {{"title", video->metadata.title},
                         {"description", video->metadata.description},
                         {"playlistId", kUploadsId},
                         {"position", items.size()},
                         {"resourceId", {{"kind", "youtube#video"}, {"videoId", video->id}}}};
    }
    if (parts.contains("contentDetails")) item["contentDetails"] = {{"videoId", video->id}};
    if (parts.contains("status")) item["status"] = {{"privacyStatus", video->metadata.privacyStatus}};
    items.push_back(std::move(item));
  }
  return JsonReply(200, Page(request, "youtube#playlistItemListResponse", items));
}

}  // namespace velk::sandbox
