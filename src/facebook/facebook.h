// What the calls to Facebook share: its hosts, the node that receives, the small requests and their results.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "core/core.h"

namespace velk {

inline constexpr std::string_view kGraphApi = "https://graph.facebook.com/";
inline constexpr std::string_view kGraphVideo = "https://graph-video.facebook.com/";
inline constexpr std::string_view kFacebookWeb = "https://www.facebook.com/";

// The room that a host provides for a value read out of a reply, terminator included.
inline constexpr size_t kValueRoom = 1024;

// The node that receives what is published: the record's target when it begins with a number other than 0
// (and so is not "NULL"), else the user's own.
std::string_view NodeOf(const FacebookUploadInfo& info) noexcept;

// The address under which an object is read and changed.
std::string ObjectUrl(std::string_view objectId, std::string_view accessToken);

// Judges a performed request for which nothing but status 200 is a success.
int32_t GraphResult(const Transfer& request, CURLcode failure) noexcept;

// Each performs one small request and judges it; on VELK_OK the reply stands in the transfer.
int32_t GetObject(Transfer& request, std::string_view objectId, std::string_view accessToken);
int32_t PostForm(Transfer& request, const std::string& url, std::string body);

// Sets the privacy of a published object to the record's, over a connection of the call. Answers a result code.
int32_t UpdatePrivacy(const Connections& connections, const char* accessToken, const FacebookUploadInfo& info,
                      const char* objectId) noexcept;

// Reads the pages in a reply into a list that the host owns. Answers a result code; the count is written in any case.
int32_t ListPages(std::string_view reply, FacebookPage** outPages, int32_t& count);

// Whether a text and its terminator fit the size that the host passed. Both are compared as 64 bits without a
// sign, so a negative size counts as very large; without a pointer there is no limit.
bool Fits(size_t length, const int32_t* size) noexcept;

// Tells the host the size that such a text needs.
void TellSize(size_t length, int32_t* size) noexcept;

}  // namespace velk
