// YouTube's video categories with their English titles.
#include <algorithm>
#include <boost/json/array.hpp>

#include "services/youtube/checks.h"
#include "services/youtube/youtube.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

struct NamedCategory {
  std::string_view id, title;
  bool assignable = true;  // to a video
};

constexpr NamedCategory kCategories[] = {
    {"1", "Film & Animation"},
    {"2", "Autos & Vehicles"},
    {"10", "Music"},
    {"15", "Pets & Animals"},
    {"17", "Sports"},
    {"18", "Short Movies", false},
    {"19", "Travel & Events"},
    {"20", "Gaming"},
    {"21", "Videoblogging", false},
    {"22", "People & Blogs"},
    {"23", "Comedy"},
    {"24", "Entertainment"},
    {"25", "News & Politics"},
    {"26", "Howto & Style"},
    {"27", "Education"},
    {"28", "Science & Technology"},
    {"29", "Nonprofits & Activism"},
    {"30", "Movies", false},
    {"31", "Anime/Animation", false},
    {"32", "Action/Adventure", false},
    {"33", "Classics", false},
    {"34", "Comedy", false},
    {"35", "Documentary", false},
    {"36", "Drama", false},
    {"37", "Family", false},
    {"38", "Foreign", false},
    {"39", "Horror", false},
    {"40", "Sci-Fi/Fantasy", false},
    {"41", "Thriller", false},
    {"42", "Shorts", false},
    {"43", "Shows", false},
    {"44", "Trailers", false},
};

}  // namespace

Reply Youtube::ListCategories(const ServiceRequest& request) {
  using namespace youtube;
  static constexpr std::string_view kParts[] = {"id", "snippet"};
  RequireTokenOrKey(request);
  const Parts parts = RequireParts(request, kParts);
  const std::vector<std::string> ids = request.List("id");
  const std::string region = request.Query("regionCode");
  Require(!ids.empty() || !region.empty(), 400, "missingRequiredParameter",
          "No filter selected. Expected one of: id, regionCode", "parameters.");
  Require(region.empty() || region.size() == 2, 400, "invalidRegionCode", "The region code is invalid.",
          "regionCode");
  for (const std::string& id : ids) {
    Require(std::ranges::find(kCategories, id, &NamedCategory::id) != std::end(kCategories), 404,
            "videoCategoryNotFound", "The category cannot be found.", "id");
  }
  json::array items;
  for (const NamedCategory& category : kCategories) {
    if (!ids.empty() && std::ranges::find(ids, category.id) == ids.end()) continue;
    json::object item{{"kind", "youtube#videoCategory"}, {"etag", RandomName(27)}, {"id", category.id}};
    if (parts.contains("snippet"))
      item["snippet"] = {
          {"title", category.title}, {"assignable", category.assignable}, {"channelId", kChannelId}};
    items.push_back(std::move(item));
  }
  return JsonReply(200, {{"kind", "youtube#videoCategoryListResponse"}, {"items", std::move(items)}});
}

namespace youtube {

std::string_view CategoryTitle(std::string_view id) {
  const auto category = std::ranges::find(kCategories, id, &NamedCategory::id);
  return category == std::end(kCategories) ? std::string_view() : category->title;
}

bool IsAssignableCategory(std::string_view id) {
  const auto category = std::ranges::find(kCategories, id, &NamedCategory::id);
  return category != std::end(kCategories) && category->assignable;
}

}  // namespace youtube
}  // namespace velk::sandbox
