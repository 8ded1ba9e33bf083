#include "retries.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "velk_upload.h"

namespace velk::publish {
namespace {

// Reading and changing something twice does no harm, so that a broken exchange can be repeated.
constexpr std::int32_t kRead[] = {VELK_UNEXPECTED_REPLY, VELK_TRANSFER_FAILED, VELK_NO_HANDLE};
constexpr std::int32_t kFacebookUpdate[] = {VELK_PRIVACY_NOT_UPDATED, VELK_TEXT_NOT_UPDATED,
                                            VELK_MESSAGE_NOT_UPDATED};
// No request was made.
constexpr std::int32_t kFacebookPost[] = {VELK_NO_HANDLE};
// The video host itself reports the failure, or requests a later try.
constexpr std::int32_t kFacebookVideo[] = {VELK_SERVER_ERROR, VELK_TOKEN_REJECTED};
// A smaller video is first sent to another host, which may have published it before the video host failed.
constexpr std::uint64_t kOneHost = 50 * 1'048'576;
// A failure of the media, or an error status for the tweet. Twitter refuses to publish the same text twice.
constexpr std::int32_t kTwitter[] = {VELK_UNEXPECTED_REPLY, VELK_TOO_LARGE, VELK_NO_HANDLE};
// An error status for the session, which precedes the video, or status 400 for the video.
constexpr std::int32_t kYoutubeUpload[] = {VELK_UNEXPECTED_REPLY};

std::span<const std::int32_t> RetriedResults(CallKind kind) {
  switch (kind) {
    case CallKind::kFacebookRead:
    case CallKind::kYoutubeUpdate:
      return kRead;
    case CallKind::kFacebookUpdate:
      return kFacebookUpdate;
    case CallKind::kFacebookPost:
    case CallKind::kFacebookPhoto:
      return kFacebookPost;
    case CallKind::kFacebookVideo:
      return kFacebookVideo;
    case CallKind::kTwitterTweet:
    case CallKind::kTwitterPhoto:
      return kTwitter;
    case CallKind::kYoutubeUpload:
      return kYoutubeUpload;
    case CallKind::kTwitterSignIn:
      break;  // a PIN works once
  }
  return {};
}

}  // namespace

bool MayRetry(CallKind kind, std::int32_t result, std::uint64_t fileSize) {
  if (kind == CallKind::kFacebookVideo && fileSize < kOneHost) return false;
  const auto results = RetriedResults(kind);
  return std::ranges::find(results, result) != results.end();
}

double PauseBefore(int retry, double firstPause) {
  constexpr double kLongest = 60;
  return std::min(std::ldexp(firstPause, retry), std::max(firstPause, kLongest));
}

}  // namespace velk::publish
