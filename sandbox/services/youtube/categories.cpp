// YouTube's video categories with their English titles.
#include <algorithm>
#include <boost/json/array.hpp>

#include "services/youtube/checks.h"
#include "services/youtube/youtube.h"

namespace velk::sandbox {
namespace {

struct NamedCategory {
  std::string_view id, title;
};

constexpr NamedCategory kCategories[] = {
    {"1", "Film & Animation"},
    {"2", "Autos & Vehicles"},
    {"10", "Music"},
    {"15", "Pets & Animals"},
    {"17", "Sports"},
    {"18", "Short Movies"},
    {"19", "Travel & Events"},
    {"20", "Gaming"},
    {"21", "Videoblogging"},
    {"22", "People & Blogs"},
    {"23", "Comedy"},
    {"24", "Entertainment"},
    {"25", "News & Politics"},
    {"26", "Howto & Style"},
    {"27", "Education"},
    {"28", "Science & Technology"},
    {"29", "Nonprofits & Activism"},
    {"30", "Movies"},
    {"31", "Anime/Animation"},
    {"32", "Action/Adventure"},
    {"33", "Classics"},
    {"34", "Comedy"},
    {"35", "Documentary"},
    {"36", "Drama"},
    {"37", "Family"},
    {"38", "Foreign"},
    {"39", "Horror"},
    {"40", "Sci-Fi/Fantasy"},
    {"41", "Thriller"},
    {"42", "Shorts"},
    {"43", "Shows"},
    {"44", "Trailers"},
};

}  // namespace

Reply Youtube::GetCategory(const ServiceRequest& request) {
  using namespace youtube;
  namespace json = boost::json;
  RequireToken(request);
  Require(request.Query("part") == "snippet", 400, "unexpectedPart", "Only the snippet can be asked for.");
  const auto category = std::ranges::find(kCategories, request.Query("id"), &NamedCategory::id);
  Require(category != std::end(kCategories), 404, "videoCategoryNotFound", "The category cannot be found.");
  const json::object item{{"kind", "youtube#videoCategory"},
                          {"id", category->id},
                          {"snippet", {{"title", category->title}, {"assignable", true}}}};
  return JsonReply(200, {{"kind", "youtube#videoCategoryListResponse"}, {"items", json::array{item}}});
}

}  // namespace velk::sandbox
