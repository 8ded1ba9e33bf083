// YouTube's category titles, and the category terms of the legacy upload. No exported function calls them.
#include <algorithm>

#include "json/json.h"
#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

using namespace std::chrono_literals;

constexpr const char* kCategoriesUrl =
    "https://www.googleapis.com/youtube/v3/videoCategories?part=snippet&id=";

constexpr StatusResult kTitleResults[] = {
    {200, VELK_OK},
    {401, VELK_TRANSFER_FAILED},
    {403, VELK_FORBIDDEN},
};

struct CategoryTerm {
  std::string_view id;
  std::string_view term;
};

// Two rows look like mistakes but are intended. 23 has the same term as 22, and the term of 42 ends in an
// apostrophe.
constexpr CategoryTerm kTerms[] = {
    {"1", "Film"},
    {"2", "Autos"},
    {"10", "Music"},
    {"15", "Animals"},
    {"17", "Sports"},
    {"18", "Shortmov"},
    {"19", "Travel"},
    {"20", "Games"},
    {"22", "People"},
    {"23", "People"},
    {"24", "Entertainment"},
    {"25", "News"},
    {"26", "Howto"},
    {"27", "Education"},
    {"28", "Tech"},
    {"29", "Nonprofit"},
    {"30", "Movies"},
    {"31", "Movies_anime_animation"},
    {"32", "Movies_action_adventure"},
    {"33", "Movies_classics"},
    {"34", "Movies_comedy"},
    {"35", "Movies_documentary"},
    {"36", "Movies_drama"},
    {"37", "Movies_family"},
    {"38", "Movies_foreign"},
    {"39", "Movies_horror"},
    {"40", "Movies_sci_fi_fantasy"},
    {"41", "Movies_thriller"},
    {"42", "Movies_shorts'"},
    {"43", "Shows"},
    {"44", "Trailers"},
};
static_assert(std::ranges::all_of(kTerms, [](const CategoryTerm& row) {
  return row.term.size() < kCategoryTermCapacity;
}));

}  // namespace

int32_t GetYoutubeCategoryTitle(const char* accessToken, const char* categoryId,
                                std::span<char, kCategoryTitleCapacity> outTitle) noexcept {
  if (!accessToken || !categoryId || *accessToken == '\0' || *categoryId == '\0')
    return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    Transfer lookup;
    if (!lookup) return VELK_NO_HANDLE;
    lookup.Url(Concat({kCategoriesUrl, categoryId})).Get().Timeout(10s).Header(BearerHeader(accessToken));
    if (lookup.Perform() != CURLE_OK) return VELK_TRANSFER_FAILED;
    const int32_t result = FromStatus(lookup.Status(), kTitleResults, VELK_NO_HANDLE);
    if (result != VELK_OK) return result;
    char title[kCategoryTitleCapacity] = "";
    if (JsonGetStringValue(lookup.Reply().Bytes(), "title", title) != 0) return VELK_NO_TITLE;
    // The legacy upload uses "Games" for this category.
    CopyText(std::string_view(title) == "Gaming" ? "Games" : title, outTitle);
    return VELK_OK;
  });
}

int YoutubeCategoryTermFromId(std::string_view idText,
                              std::span<char, kCategoryTermCapacity> outTerm) noexcept {
  const auto row = std::ranges::find(kTerms, idText, &CategoryTerm::id);
  if (row == std::end(kTerms)) return -1;
  CopyText(row->term, outTerm);
  return 0;
}

}  // namespace velk::youtube
