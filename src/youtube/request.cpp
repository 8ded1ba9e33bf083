// Common parts of the requests to YouTube: the authorization header, and the checks around a request that
// describes a video.
#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

constexpr StatusResult kDescriptionResults[] = {
    {200, VELK_OK},
    {401, VELK_MISSING_ARGUMENT},
    {403, VELK_FORBIDDEN},
};

}  // namespace

std::string BearerHeader(std::string_view accessToken) {
  return Concat({"Authorization: Bearer ", accessToken});
}

bool IsDescriptionIncomplete(const char* accessToken, const YoutubeUploadInfo& info) noexcept {
  return *accessToken == '\0' || *info.description == '\0' || *info.title == '\0' ||
         *info.privacyStatus == '\0' || *info.categoryId == '\0';
}

int32_t FromDescriptionStatus(long status) noexcept {
  return FromStatus(status, kDescriptionResults, VELK_UNEXPECTED_REPLY);
}

}  // namespace velk::youtube
