// The URLs at which a photo or a video can be viewed.
#include <cstring>

#include "facebook/facebook.h"
#include "json/json.h"

namespace velk::facebook {
namespace {

// Which member of an object holds the URL, and which result reports that it is absent.
struct UrlMember {
  const char* member;
  int32_t unreadable;       // the result if the reply cannot be split
  bool reportsUnsupported;  // Facebook may support no such URL for the object
};

constexpr UrlMember kPhotoLink{"link", VELK_OK, false};
constexpr UrlMember kVideoSource{"source", VELK_TRANSFER_FAILED, true};

int32_t CopyUrl(std::string_view url, char* outUrl, int32_t* inOutSize) noexcept {
  if (!FitsHostBuffer(url.size(), inOutSize)) {
    ReportSize(url.size(), inOutSize);
    return VELK_BUFFER_TOO_SMALL;
  }
  CopyText(url, {outUrl, url.size() + 1});
  return VELK_OK;
}

int32_t LookUp(const UrlMember& wanted, const char* accessToken, const char* objectId, char* outUrl,
               int32_t* inOutSize) noexcept {
  if (!accessToken || !objectId || !outUrl) return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    Transfer lookup;
    if (!lookup) return VELK_NO_HANDLE;
    const int32_t result = FetchObject(lookup, objectId, accessToken);
    if (result == VELK_UNEXPECTED_REPLY && wanted.reportsUnsupported && lookup.Status() == 400 &&
        lookup.ReplyContains("Unsupported get request."))
      return VELK_UNSUPPORTED_GET;
    if (result != VELK_OK) return result;

    // A value is never longer than its reply. If the reply has none, the URL is empty.
    std::string url(lookup.Reply().Bytes().size() + 1, '\0');
    const bool split = QuotedTokenAfter(lookup.Reply().data, wanted.member, url) == kReplySplit;
    if (!split) return wanted.unreadable;
    return CopyUrl(url.c_str(), outUrl, inOutSize);
  });
}

}  // namespace
}  // namespace velk::facebook

using namespace velk;
using namespace velk::facebook;

int32_t GetFacebookPhotoUrl(const char* accessToken, const char* photoId, char* outUrl,
                            int32_t* inOutSize) noexcept {
  return LookUp(kPhotoLink, accessToken, photoId, outUrl, inOutSize);
}

int32_t GetFacebookVideoEmbedUrl(const char* accessToken, const char* videoId, char* outUrl,
                                 int32_t* inOutSize) noexcept {
  return LookUp(kVideoSource, accessToken, videoId, outUrl, inOutSize);
}

int32_t GetFacebookVideoUrl(const char* accessToken, const char* videoId, char* outUrl,
                            int32_t* inOutSize) noexcept {
  // The size required in addition to the identifier's length. The rest of the URL and its terminator take 44.
  constexpr size_t kCapacityBesideId = 46;
  if (!accessToken || !videoId || !outUrl) return VELK_MISSING_ARGUMENT;
  std::memset(outUrl, 0, std::strlen(outUrl));
  const std::string_view id = videoId;
  const size_t needed = id.size() + kCapacityBesideId;
  if (!FitsHostBuffer(needed - 1, inOutSize)) {
    ReportSize(needed - 1, inOutSize);
    return VELK_BUFFER_TOO_SMALL;
  }
  return Guarded([&]() -> int32_t {
    CopyText(Concat({kFacebookWeb, "video/video.php?v=", id}), {outUrl, needed});
    return VELK_OK;
  });
}
