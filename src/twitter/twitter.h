// Twitter's operations behind the exports, and the rules that they share.
#pragma once

#include <string>
#include <string_view>

#include "core/core.h"
#include "twitter/signing.h"

namespace velk {

constexpr const char* kTwitterApi = "https://api.twitter.com";
constexpr const char* kTwitterApiHostHeader = "Host: api.twitter.com";

// A media id fills a buffer of this size, terminator included.
constexpr int32_t kMediaIdRoom = 1024;

OauthKeys UserKeys(const TwitterConsumer& consumer, const TwitterAccessToken& token);

// The header that carries signed parameters.
std::string OauthHeader(std::string_view authParams);

// Whether status and body say that the request's signature was refused, in the words given.
bool RefusesSignature(const Transfer& transfer, const char* words) noexcept;

// The code of a reply that does not report success, for everything behind the sign-in.
int32_t TwitterFailure(const Transfer& transfer) noexcept;

// Posts a tweet, with the media ids as they stand; they may be empty. Answers a result code.
int32_t PostStatus(const TwitterConsumer& consumer, const TwitterAccessToken& token,
                   const std::string& statusText, const std::string& mediaIds);

// ---- Sign-in: what a form-encoded token reply holds ----

// Reads a request token's reply. `needed` receives what the room check compares with the caller's size.
// VELK_NO_IDENTIFIER when it begins otherwise.
int32_t ReadRequestToken(std::string_view reply, std::string_view& token, int32_t& needed) noexcept;

// Reads an access token's reply, whose fields count by their position. Fields that are not there leave
// `token` as it was.
int32_t ReadAccessToken(std::string_view reply, TwitterAccessToken& token) noexcept;

// ---- Media upload: its steps ----
//
// Each answers a result code, and goes over the connections of the call: INIT, the first one, over a fresh one. A null argument is missing, an empty media id is not. `authParams` is what
// follows "Authorization: OAuth ". `mediaIdRoom` is the size of `mediaId` on the way in; when an identifier
// does not fit, it receives the size needed.

// What INIT announces as image type: up to three bytes of what follows the file name's last dot.
std::string MediaExtension(std::string_view fileName);

int32_t TwitterMediaInit(const Connections& connections, char* mediaId, int32_t* mediaIdRoom,
                         const char* authParams, const NativePath& path, const char* extension);
int32_t TwitterMediaAppendFile(const Connections& connections, const char* mediaId, FileUploader* uploader,
                               const char* authParams, const NativePath& path);
int32_t TwitterMediaAppend(const Connections& connections, const char* mediaId, FileUploader* uploader,
                           const char* authParams, const char* bytes, int32_t count,
                           const char* segmentIndex);
int32_t TwitterMediaFinalize(const Connections& connections, char* mediaId, int32_t* mediaIdRoom,
                             const char* authParams, int32_t* processing);
int32_t TwitterMediaStatus(const Connections& connections, const TwitterConsumer* consumer,
                           const TwitterAccessToken* token, const char* mediaId);

}  // namespace velk
