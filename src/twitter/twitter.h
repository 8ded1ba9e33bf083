// The implementation of the exported Twitter functions, and what they share.
#pragma once

#include <string>
#include <string_view>

#include "core/core.h"
#include "twitter/signing.h"

namespace velk::twitter {

constexpr const char* kTwitterApi = "https://api.twitter.com";
constexpr const char* kTwitterApiHostHeader = "Host: api.twitter.com";

// The capacity of a media id buffer, including the terminator.
constexpr int32_t kMediaIdCapacity = 1024;

OauthKeys UserKeys(const TwitterConsumer& consumer, const TwitterAccessToken& token);

std::string OauthHeader(std::string_view authParams);

// Whether the status and the body report that the signature was refused; `words` is the text to look for.
bool RefusesSignature(const Transfer& transfer, const char* words) noexcept;

// The result code of an unsuccessful reply, for all requests but those of the sign-in.
int32_t TwitterFailure(const Transfer& transfer) noexcept;

// Posts a tweet. The media ids are sent as they are and may be empty. Returns a result code.
int32_t PostStatus(const TwitterConsumer& consumer, const TwitterAccessToken& token,
                   const std::string& statusText, const std::string& mediaIds);

// ---- Sign-in: what a form-encoded token reply holds ----

// Parses the reply with a request token. `token` receives a view of the reply, cut to a field's width.
// `needed` receives the size with which the caller's buffer size is compared. Returns VELK_NO_IDENTIFIER,
// with both unchanged, if the reply does not begin with a token or its secret.
int32_t ReadRequestToken(std::string_view reply, std::string_view& token, int32_t& needed) noexcept;

// Parses the reply with an access token. The fields are identified by position. Missing ones leave `token`
// unchanged. Returns VELK_NO_IDENTIFIER if the reply does not begin with a token.
int32_t ReadAccessToken(std::string_view reply, TwitterAccessToken& token) noexcept;

// ---- Media upload: its steps ----
//
// Each step returns a result code and uses the connections of the call. INIT is the first, so it opens a new
// one. `authParams` is the text after "Authorization: OAuth ". A media id may be empty. A null `extension`
// means "png".
//
// A null argument or an empty path gives VELK_MISSING_ARGUMENT. Some arguments are not checked and must not
// be null: `mediaIdSize`, `processing`, the `authParams` of INIT and the `mediaId` of APPEND.
//
// On entry `mediaIdSize` is the size of `mediaId`. If the reply's identifier does not fit, it receives the
// required size, and `mediaId` is unchanged. FINALIZE replaces `mediaId` with the state in the reply, if any.
// It sets `processing` to 1 unless the state is empty or "success".

// The image type for INIT: at most three bytes after the file name's last dot. Trailing dots are ignored. A
// name without a dot counts as an extension.
std::string MediaExtension(std::string_view fileName);

int32_t TwitterMediaInit(const Connections& connections, char* mediaId, int32_t* mediaIdSize,
                         const char* authParams, const NativePath& path, const char* extension);
int32_t TwitterMediaAppendFile(const Connections& connections, const char* mediaId, FileUploader* uploader,
                               const char* authParams, const NativePath& path);
int32_t TwitterMediaAppend(const Connections& connections, const char* mediaId, FileUploader* uploader,
                           const char* authParams, const char* bytes, int32_t count,
                           const char* segmentIndex);
int32_t TwitterMediaFinalize(const Connections& connections, char* mediaId, int32_t* mediaIdSize,
                             const char* authParams, int32_t* processing);
int32_t TwitterMediaStatus(const Connections& connections, const TwitterConsumer* consumer,
                           const TwitterAccessToken* token, const char* mediaId);

}  // namespace velk::twitter
