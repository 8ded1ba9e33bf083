// Changes the description of a published video.
#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

// The access token authorizes the request, so the key is empty.
constexpr const char* kVideosUrl = "https://www.googleapis.com/youtube/v3/videos?part=snippet%2Cstatus&key=";

}  // namespace
}  // namespace velk::youtube

using namespace velk;
using namespace velk::youtube;

int32_t SetYoutubeUploadFileUpdateInfo(const char* accessToken, const char* videoId,
                                       YoutubeUploadInfo* info) noexcept {
  using namespace std::chrono_literals;
  if (!accessToken || !info || !videoId) return VELK_MISSING_ARGUMENT;
  if (IsDescriptionIncomplete(accessToken, *info) || *videoId == '\0') return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    Transfer update;
    if (!update) return VELK_NO_HANDLE;
    update.Url(kVideosUrl)
        .Timeout(10s)
        .Body(ComposeVideoBody(*info, videoId))
        .Verb("PUT")
        .Header(BearerHeader(accessToken))
        .Header("Content-Type:  application/json");
    if (update.Perform() != CURLE_OK) return VELK_TRANSFER_FAILED;
    return FromDescriptionStatus(update.Status());
  });
}
