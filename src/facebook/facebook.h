// What the Facebook functions share: base URLs, the choice of node, small requests and their results.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "core/core.h"

namespace velk::facebook {

inline constexpr std::string_view kGraphApi = "https://graph.facebook.com/";
inline constexpr std::string_view kGraphVideo = "https://graph-video.facebook.com/";
inline constexpr std::string_view kFacebookWeb = "https://www.facebook.com/";

// The size of the host's buffer for a value from a reply, including the terminator.
inline constexpr size_t kValueCapacity = 1024;

// The node to publish to. It is targetId if that begins with a number other than 0, so never for "NULL".
// Otherwise it is the user's own node, "me".
std::string_view TargetNode(const FacebookUploadInfo& info) noexcept;

std::string ObjectUrl(std::string_view objectId, std::string_view accessToken);

// The result of a performed request that succeeds only with status 200.
int32_t GraphResult(const Transfer& request, CURLcode failure) noexcept;

// Each performs one small request and returns its result. After VELK_OK the transfer holds the reply.
int32_t FetchObject(Transfer& request, std::string_view objectId, std::string_view accessToken);
int32_t PostForm(Transfer& request, const std::string& url, std::string body);

// Sets the privacy of a published object to info.privacy, over a connection of the call. Returns a result
// code.
int32_t UpdatePrivacy(const Connections& connections, const char* accessToken, const FacebookUploadInfo& info,
                      const char* objectId) noexcept;

// Parses the pages in a reply. Always writes `count`. Only VELK_OK writes *outPages: an array to free with
// FreeFacebookUserPagesList. A null outPages only counts the pages. Returns a result code.
int32_t ListPages(std::string_view reply, FacebookPage** outPages, int32_t& count);

// Whether a string and its terminator fit the host's buffer size. Both sizes are compared as unsigned 64-bit
// numbers, so a negative size counts as very large. A null size means no limit.
bool FitsHostBuffer(size_t length, const int32_t* size) noexcept;

// Reports the size that a string needs, including the terminator. Does nothing if `size` is null.
void ReportSize(size_t length, int32_t* size) noexcept;

}  // namespace velk::facebook
