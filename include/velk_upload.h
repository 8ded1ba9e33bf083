/**
 * @file velk_upload.h
 * @brief Velk Upload publishes media files and short posts to Facebook, Twitter and YouTube.
 *
 * This header is the whole interface: plain C functions over fixed-layout records, for C99 and C++.
 *
 * @par Calls
 * Every function runs on the caller's thread and blocks until its HTTP exchange is over. The library starts
 * no thread, calls nothing of the host's, and keeps no pointer to the caller's memory after it returns.
 *
 * @par Threads
 * Any function may be called on any thread, several at once. Two things are shared: the proxy setting, and a
 * FileUploader that one thread passes to an upload while others poll or cancel it. The Linux build signs one
 * Twitter request at a time.
 *
 * @par Results
 * A signed 32-bit code: 0 for success, negative for failure, and for some Facebook functions a small positive
 * code for partial success. VelkResult lists the codes. Each function states when it returns which.
 *
 * @par Strings
 * Narrow and NUL-terminated. Paths are UTF-8 on every platform. A string goes to the service byte for byte
 * unless the function states otherwise.
 *
 * @par Arguments
 * A null pointer or an empty required string gives #VELK_MISSING_ARGUMENT before anything is sent, unless the
 * function states otherwise. A record's field without a terminator is read up to its width.
 *
 * @par Buffers
 * Written only where the function states so. A buffer without a size argument has the size that the function
 * states.
 *
 * @par Files
 * Only a regular file can be uploaded. A folder, a pipe or a device such as NUL gives #VELK_FILE_NOT_OPENED.
 * On Windows a path of 260 characters or more needs the prefix `\\?\`. Do not change a file while it is
 * uploaded. When it shrinks, the call waits until the service gives up or the upload is cancelled; a photo
 * tweet returns #VELK_MISSING_ARGUMENT. When it grows, more is sent than was announced.
 *
 * @par Replies
 * A reply of more than 4 MiB fails the exchange.
 *
 * @par Certificates
 * The services' certificates are not verified. The Linux build compares the name in a certificate with the
 * host. The DLL does not, since Windows compares it only together with the chain. A library built with the
 * CMake option VELK_VERIFY_PEER verifies chain and name, against the Windows store or the system's bundle. An
 * exchange with a service that it does not trust fails, and no request is sent.
 *
 * @par Time limits
 * These have no overall limit: the look-ups of a name, of a URL, and of the object for updateKind 1, the
 * tweet, and all uploads. The look-ups and the tweet cannot be cancelled either.
 *
 * @par Pitfalls
 * - Use one handle for each upload. A handle is not reset for another one.
 * - Form posts and URLs are sent as they are: percent-encode a post's description and link, and whatever goes
 *   into a URL. Fields of a multipart form and tweets must not be encoded: a video's or photo's title and
 *   description, a status.
 * - YouTube's texts travel between single quotes. An apostrophe ends a text early. In the sandbox \\u0027
 *   arrives as an apostrophe and \\\\ as a backslash; against YouTube itself this was not tested.
 * - A form announces the whole local path as the file's name, with its folders and so the user's name.
 * - The name of a page ends at its first escape, and a page's categories count as pages.
 * - Twitter has a limit of its own, 140 or 280 characters, besides this library's 420 bytes.
 * - A blank or a control byte in a token, a PIN, an identifier or a privacy value that goes into a URL makes
 *   its request fail, and nothing is sent: #VELK_TRANSFER_FAILED, or the code of an update's step. YouTube's
 *   token travels in a header, where only a line break does so. "#" and "/../" change a URL.
 * - Some calls return #VELK_OK with a value that is none, after an unusual reply: see "Check what you get".
 * - A host that walks a string with strtok loses its place across a Twitter call, since liboauth uses strtok.
 * - liboauth ends the process when memory runs out while a Twitter request is signed.
 * - The spellings Exange and Uploder are intended.
 *
 * No release was tested against the live services: see the page about the services.
 */
#ifndef VELK_UPLOAD_H
#define VELK_UPLOAD_H

#include <stddef.h>
#include <stdint.h>

/** The version of the library, which the build takes from here. */
#define VELK_UPLOAD_VERSION_MAJOR 1
#define VELK_UPLOAD_VERSION_MINOR 1 /**< @copydoc VELK_UPLOAD_VERSION_MAJOR */
#define VELK_UPLOAD_VERSION_PATCH 0 /**< @copydoc VELK_UPLOAD_VERSION_MAJOR */
/** The version as a string. */
#define VELK_UPLOAD_VERSION "1.1.0"

/** @cond */
#if defined(_WIN32) && !defined(VELK_UPLOAD_STATIC)
#define VELK_API __declspec(dllimport)
#elif defined(__GNUC__) && !defined(_WIN32)
#define VELK_API __attribute__((visibility("default")))
#else
#define VELK_API
#endif

/* No exception leaves the library, and a C++ host's compiler may rely on it. */
#ifdef __cplusplus
#define VELK_NOEXCEPT noexcept
extern "C" {
#else
#define VELK_NOEXCEPT
#endif
/** @endcond */

/**
 * @defgroup results Result codes
 * @{
 */

/** What a call returns. These are the common meanings; a function's own list states when it returns which. */
enum VelkResult {
  /** Success. */
  VELK_OK = 0,
  /** Facebook: published or found, but its privacy could not be set. */
  VELK_PRIVACY_NOT_UPDATED = 1,
  /** Facebook: the user manages no page. */
  VELK_NO_PAGES = 2,
  /** Facebook update: the text step of updateKind 1 or 2 failed. */
  VELK_TEXT_NOT_UPDATED = 3,
  /** Facebook update: the message step of updateKind 0 failed. */
  VELK_MESSAGE_NOT_UPDATED = 4,
  /** Facebook: "Unsupported get request." for the embed URL of a video. */
  VELK_UNSUPPORTED_GET = 5,
  /** The service replied something unexpected. For progress: nothing was reported yet. */
  VELK_UNEXPECTED_REPLY = -1,
  /** A required argument is null or empty. YouTube: also status 401. */
  VELK_MISSING_ARGUMENT = -2,
  /** Name resolution, connection, TLS, time-out, a broken exchange, or a value that cannot be sent. */
  VELK_TRANSFER_FAILED = -3,
  /** The reply lacks the token or identifier that the call is for. */
  VELK_NO_IDENTIFIER = -4,
  /** Facebook rejected the access token. A video: or requests a later try. */
  VELK_TOKEN_REJECTED = -5,
  /** A buffer is smaller than required. */
  VELK_BUFFER_TOO_SMALL = -6,
  /** YouTube categories: the reply has no title. No exported call returns it. */
  VELK_NO_TITLE = -7,
  /** YouTube: status 403. */
  VELK_FORBIDDEN = -8,
  /** The transfer was aborted through its handle. */
  VELK_CANCELLED = -10,
  /** YouTube: progress or cancel while nothing is uploading. */
  VELK_NOT_UPLOADING = -11,
  /** The handle's state does not allow it to be freed. Nothing was freed. */
  VELK_BUSY = -12,
  /** Twitter refused the credentials or the signature. */
  VELK_CREDENTIALS_REFUSED = -13,
  /** Twitter refused a text that repeats an earlier one. */
  VELK_DUPLICATE_STATUS = -14,
  /** Twitter: text or file beyond its limit; or no connection in time for a media step. */
  VELK_TOO_LARGE = -15,
  /** Facebook's video host replied with status 500. */
  VELK_SERVER_ERROR = -16,
  /** libcurl gave no handle. YouTube: also a status of the PUT that is not listed. */
  VELK_NO_HANDLE = -17,
  /** Memory ran out; for a signature also the system's randomness. */
  VELK_OUT_OF_MEMORY = -18,
  /** The file to upload cannot be opened for reading, or is no regular file. */
  VELK_FILE_NOT_OPENED = -19
};

/**
 * @}
 * @defgroup handles Upload handles
 * @{
 */

/**
 * @brief Follows one upload: the upload writes it, other threads poll it and cancel through it.
 *
 * An Init function makes it, one Start function takes it, the matching Uninit function frees it. Use one
 * handle for each upload. The layout is fixed (24 bytes), but a host reads it through the Progress functions.
 */
typedef struct FileUploader {
  double uploadedBytes; /**< Bytes sent so far in the current transfer. */
  double totalBytes;    /**< Bytes to send in the current transfer. A form's own bytes count as well. */
  /** Facebook, Twitter: 0 idle or cancelled, 1 progress was reported.
   * YouTube: 0 idle, 2 uploading, 4 cancel requested. */
  uint32_t state;
  uint32_t cancelRequested; /**< Facebook, Twitter: non-zero aborts an upload. Never cleared. */
} FileUploader;

/**
 * @brief Makes a handle for an upload to Facebook or Twitter.
 *
 * InitTwitterFileUploder is a second name of this function. A handle serves either service.
 *
 * @return A zeroed handle, which the caller owns until Uninit; null when memory runs out.
 *
 * @snippet facebook.c InitFacebookFileUploder
 */
VELK_API FileUploader* InitFacebookFileUploder(void) VELK_NOEXCEPT;
/** @copydoc InitFacebookFileUploder */
VELK_API FileUploader* InitTwitterFileUploder(void) VELK_NOEXCEPT;

/**
 * @brief Reads how far an upload is.
 *
 * Meant for another thread than the uploading one, at any time while the handle lives. The two figures may
 * come from two successive reports.
 *
 * @param[in] uploader The handle.
 * @param[out] outUploaded Bytes sent so far in the current transfer.
 * @param[out] outTotal Bytes to send in the current transfer.
 *
 * @retval VELK_OK Both figures are written.
 * @retval VELK_MISSING_ARGUMENT A pointer is null.
 * @retval VELK_UNEXPECTED_REPLY No progress was reported yet, or the upload was cancelled. Nothing is
 *   written.
 *
 * @snippet facebook.c GetFacebookUploadFileProgress
 */
VELK_API int32_t GetFacebookUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                               double* outTotal) VELK_NOEXCEPT;
/** @copydoc GetFacebookUploadFileProgress */
VELK_API int32_t GetTwitterUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                              double* outTotal) VELK_NOEXCEPT;

/**
 * @brief Requests that the upload with this handle stop.
 *
 * Returns at once. A Facebook upload stops at its next progress report and returns #VELK_CANCELLED. A photo
 * tweet checks the request only while it sends a segment. The request is never cleared: every later transfer
 * of that kind with this handle is aborted too.
 *
 * @param[in,out] uploader The handle. Any thread may pass it.
 *
 * @retval VELK_OK The request is recorded, whether or not an upload runs.
 * @retval VELK_MISSING_ARGUMENT uploader is null.
 *
 * @snippet facebook.c CancelFacebookUploadFile
 */
VELK_API int32_t CancelFacebookUploadFile(FileUploader* uploader) VELK_NOEXCEPT;
/** @copydoc CancelFacebookUploadFile */
VELK_API int32_t CancelTwitterUploadFile(FileUploader* uploader) VELK_NOEXCEPT;

/**
 * @brief Frees a handle.
 *
 * Never call it while a thread is inside an upload with the handle. #VELK_BUSY does not protect a handle in
 * every phase: before the first progress report, such as during Twitter's first request, this function frees
 * a handle in use.
 *
 * An upload that reported progress leaves the handle's state at 1, and nothing resets it. Such a handle stays
 * allocated (24 bytes): this function returns #VELK_BUSY for good. That includes an upload that never
 * connected. A handle that was cancelled during a transfer, or never used, can be freed.
 *
 * @param[in] uploader The handle.
 *
 * @retval VELK_OK The handle is freed, and the pointer is invalid.
 * @retval VELK_MISSING_ARGUMENT uploader is null.
 * @retval VELK_BUSY The handle's state is not 0. Nothing is freed.
 *
 * @snippet facebook.c UninitFacebookFileUploder
 */
VELK_API int32_t UninitFacebookFileUploder(FileUploader* uploader) VELK_NOEXCEPT;
/** @copydoc UninitFacebookFileUploder */
VELK_API int32_t UninitTwitterFileUploder(FileUploader* uploader) VELK_NOEXCEPT;

/**
 * @}
 * @defgroup proxy Proxy
 * @{
 */

/**
 * @brief Sends all later requests of the process through a proxy.
 *
 * Set it before the first request: it is one string without a lock. A request that is set up at the same time
 * may read a mixture of both strings. A running request keeps its own copy.
 *
 * Without a setting libcurl follows the environment variables http_proxy, https_proxy and all_proxy. The
 * variable no_proxy applies even with a setting.
 *
 * @param[in] proxy What libcurl accepts as CURLOPT_PROXY, such as "http://127.0.0.1:8080". Empty or null
 *   removes the setting. Only the first 255 bytes are kept.
 *
 * @retval VELK_OK Always.
 *
 * @snippet proxy.c SetLibVelkUploadProxy
 */
VELK_API int32_t SetLibVelkUploadProxy(const char* proxy) VELK_NOEXCEPT;

/**
 * @brief Reads the proxy setting back.
 *
 * @param[out] outProxy The setting, NUL-terminated; empty without one.
 * @param[in] size The size of outProxy in bytes: at least 256, however short the setting is. Not written.
 *
 * @retval VELK_OK outProxy is written.
 * @retval VELK_MISSING_ARGUMENT A pointer is null.
 * @retval VELK_BUFFER_TOO_SMALL *size is below 256. Nothing is written.
 *
 * @snippet proxy.c GetLibVelkUploadProxy
 */
VELK_API int32_t GetLibVelkUploadProxy(char* outProxy, const int32_t* size) VELK_NOEXCEPT;

/**
 * @}
 * @defgroup facebook Facebook
 *
 * Requests go to the Graph API. #VELK_TOKEN_REJECTED means status 400 with the text "Error validating access
 * token" in the reply. Any other status 400 is #VELK_UNEXPECTED_REPLY, for which a later try does not help.
 * @{
 */

/** @brief What to publish on Facebook, or how to change it. The library only reads it. 53624 bytes. */
typedef struct FacebookUploadInfo {
  uint32_t updateKind; /**< For SetFacebookUpdateInfo: 0 message, 1 privacy and message, 2 description. */
  /** The node to publish to, such as the id of a page. The user's own node ("me") when the string is empty,
   * is "NULL", or does not begin with a non-zero number. */
  char targetId[260];
  char filePath[1024];     /**< The media file, UTF-8. */
  char title[260];         /**< The title of a video. */
  char description[50000]; /**< The description of a video, or the message of a photo or a post. */
  char privacy[25];        /**< The value of the Graph API's privacy object, such as "EVERYONE" or "SELF". */
  char link[2048];         /**< The link of a post. */
} FacebookUploadInfo;

/** @brief One page that the user manages. 1284 bytes. */
typedef struct FacebookPage {
  char id[260];    /**< The page's identifier. */
  char name[1024]; /**< The page's name, up to its first escape. */
} FacebookPage;

/**
 * @brief Exchanges a token for a long-lived one, in one GET of at most 10 seconds.
 *
 * Check what you get: a reply with a blank before the value, a numeric or an empty value gives #VELK_OK with
 * ": ", ":123," or "," in outToken.
 *
 * @param[in] appId The application's client identifier.
 * @param[in] appSecret The application's client secret.
 * @param[in] exchangeToken The token to exchange.
 * @param[out] outToken A buffer of 1024 bytes. The new token, NUL-terminated, cut after 1023 bytes; empty
 *   when the reply contains none.
 * @param[out] outTokenLength The length of the new token in bytes, without its terminator; 0 without a token.
 * @param[out] outExpiresIn The lifetime of the new token in seconds; unchanged when the reply contains none.
 *   May be null.
 *
 * @retval VELK_OK Status 200. outToken and outTokenLength are written. With every other code all outputs are
 *   unchanged.
 * @retval VELK_MISSING_ARGUMENT A pointer other than outExpiresIn is null. Empty strings are sent.
 * @retval VELK_TRANSFER_FAILED The exchange failed.
 * @retval VELK_TOKEN_REJECTED Facebook rejected the token.
 * @retval VELK_UNEXPECTED_REPLY Any other status.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet facebook.c ExangeFacebookAccessToken
 */
VELK_API int32_t ExangeFacebookAccessToken(const char* appId, const char* appSecret,
                                           const char* exchangeToken, char* outToken,
                                           uint32_t* outTokenLength, uint32_t* outExpiresIn) VELK_NOEXCEPT;

/**
 * @brief Checks whether a token is valid, in one GET of at most 10 seconds.
 *
 * Each result "valid" keeps the request's memory until the process exits: some 16 KiB, and on Linux two
 * descriptors. Check when there is doubt, and do not poll.
 *
 * @param[in] appId The application's client identifier.
 * @param[in] accessToken The token to check.
 * @param[out] outValid 1 when the token is valid, else 0. Written as soon as any reply has arrived.
 *
 * @retval VELK_OK outValid is definite.
 * @retval VELK_MISSING_ARGUMENT A pointer is null. Empty strings are sent.
 * @retval VELK_TRANSFER_FAILED The exchange failed. outValid is unchanged.
 * @retval VELK_UNEXPECTED_REPLY Neither status 200 nor an error of type "OAuthException". outValid is 0.
 * @retval VELK_NO_HANDLE libcurl gave no handle. outValid is unchanged.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet facebook.c CheckFacebookAccessTokenValid
 */
VELK_API int32_t CheckFacebookAccessTokenValid(const char* appId, const char* accessToken,
                                               uint32_t* outValid) VELK_NOEXCEPT;

/**
 * @brief Fetches the name and the e-mail address of the token's owner.
 *
 * The connection attempt is limited to 5 seconds, the rest has no limit. The e-mail address is never found,
 * because reading the name cuts the reply into pieces: expect an empty string. Escapes in the name are not
 * decoded.
 *
 * Check what you get: a reply with a blank before the name, a numeric or an empty name gives #VELK_OK with
 * ": ", ":123," or "," in outName.
 *
 * @param[in] accessToken The user's access token.
 * @param[out] outName A buffer of 1024 bytes, whatever inOutNameSize states. The name, NUL-terminated, cut
 *   after 1023 bytes; empty when the reply contains none.
 * @param[in,out] inOutNameSize The size of outName in bytes; with #VELK_BUFFER_TOO_SMALL the required size.
 *   May be null.
 * @param[out] outEmail A buffer of 1024 bytes, as outName. The e-mail address.
 * @param[in,out] inOutEmailSize The size of outEmail, as inOutNameSize. May be null.
 *
 * @retval VELK_OK Status 200. Both strings are written, whatever the sizes are.
 * @retval VELK_MISSING_ARGUMENT accessToken, outName or outEmail is null. An empty token is sent.
 * @retval VELK_TRANSFER_FAILED The exchange failed.
 * @retval VELK_TOKEN_REJECTED Facebook rejected the token.
 * @retval VELK_UNEXPECTED_REPLY Any other status; or neither string could be read, and both sizes suffice.
 * @retval VELK_BUFFER_TOO_SMALL Neither string could be read, and a size is too small. Both required sizes
 *   are written.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet facebook.c GetFacebookUserNameEmail
 */
VELK_API int32_t GetFacebookUserNameEmail(const char* accessToken, char* outName, int32_t* inOutNameSize,
                                          char* outEmail, int32_t* inOutEmailSize) VELK_NOEXCEPT;

/**
 * @brief Uploads one video file in one multipart POST.
 *
 * A file below 50 MiB goes to the Graph API host. When that fails for any reason, a cancel included, it goes
 * once more from its start to the video host, whose result counts. A larger file goes to the video host
 * alone. The connection attempt is limited to 5 seconds, the rest has no limit.
 *
 * @param[in,out] uploader The handle. Progress starts again on the second host. A cancel aborts the upload.
 * @param[in] accessToken The user's or page's access token.
 * @param[in] info targetId, filePath, title, description and privacy, which may be empty. The form announces
 *   the whole path as the file's name, on Windows in the ANSI code page.
 * @param[out] outVideoId A buffer of 1024 bytes. The new video's identifier, NUL-terminated, cut after 1023
 *   bytes.
 *
 * @retval VELK_OK The video exists. outVideoId is written; with every other code it is unchanged. This
 *   includes a connection that broke after the identifier had arrived.
 * @retval VELK_MISSING_ARGUMENT A pointer is null; accessToken, filePath, title or description is empty.
 * @retval VELK_FILE_NOT_OPENED The file cannot be opened for reading, or is no regular file.
 * @retval VELK_CANCELLED The upload was cancelled.
 * @retval VELK_TRANSFER_FAILED The exchange failed.
 * @retval VELK_NO_IDENTIFIER Status 200, or a connection that broke during the reply, without an identifier.
 *   The video may exist.
 * @retval VELK_TOKEN_REJECTED Facebook rejected the token; or the video host asks, with status 500, for a
 *   later try.
 * @retval VELK_SERVER_ERROR The video host's status 500 without a request for a later try.
 * @retval VELK_UNEXPECTED_REPLY Any other status.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet facebook.c StartFacebookUploadVideo
 */
VELK_API int32_t StartFacebookUploadVideo(FileUploader* uploader, const char* accessToken,
                                          const FacebookUploadInfo* info, char* outVideoId) VELK_NOEXCEPT;

/**
 * @brief Uploads one photo in one multipart POST, then sets its privacy in a second request of at most 30
 *   seconds.
 *
 * The connection attempt is limited to 5 seconds, the rest of the upload has no limit.
 *
 * @param[in,out] uploader The handle. It follows the upload; a cancel aborts the upload.
 * @param[in] accessToken The user's or page's access token.
 * @param[in] info targetId, filePath, description (the message) and privacy. The form announces the whole
 *   path as the file's name, on Windows in the ANSI code page.
 * @param[out] outPostId A buffer of 1024 bytes. The identifier of the story about the photo ("post_id"),
 *   NUL-terminated, cut after 1023 bytes.
 *
 * @retval VELK_OK The photo exists. outPostId is written, or unchanged when the reply names no story. When
 *   the reply lacks the photo's own identifier, its privacy is not set.
 * @retval VELK_PRIVACY_NOT_UPDATED The photo exists, but its privacy could not be set. outPostId is
 *   unchanged, so the privacy cannot be set later through this library. The upload's memory stays allocated
 *   until the process exits.
 * @retval VELK_MISSING_ARGUMENT A pointer is null; accessToken, filePath, description or privacy is empty.
 * @retval VELK_FILE_NOT_OPENED The file cannot be opened for reading, or is no regular file.
 * @retval VELK_CANCELLED The upload was cancelled.
 * @retval VELK_TRANSFER_FAILED The upload failed.
 * @retval VELK_TOKEN_REJECTED Facebook rejected the token.
 * @retval VELK_UNEXPECTED_REPLY Any other status than 200.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet facebook.c StartFacebookUploadPhoto
 */
VELK_API int32_t StartFacebookUploadPhoto(FileUploader* uploader, const char* accessToken,
                                          const FacebookUploadInfo* info, char* outPostId) VELK_NOEXCEPT;

/**
 * @brief Posts a message, a link or both to a feed, in one form POST of at most 30 seconds.
 *
 * The form is sent as it is. Percent-encode description and link, or their "&", "=", "%" and "+" count as the
 * form's own.
 *
 * @param[in] accessToken The user's or page's access token.
 * @param[in] info targetId, description (the message), link and privacy. A description or link "NULL" counts
 *   as absent, unless there is nothing else to send.
 * @param[out] outPostId A buffer of 1024 bytes. The post's identifier, NUL-terminated, cut after 1023 bytes.
 *
 * @retval VELK_OK The post exists. outPostId is written; with every other code it is unchanged.
 * @retval VELK_MISSING_ARGUMENT A pointer is null; accessToken is empty; description and link are both empty.
 * @retval VELK_TRANSFER_FAILED The exchange failed.
 * @retval VELK_NO_IDENTIFIER Status 200 without an identifier. The post may exist.
 * @retval VELK_TOKEN_REJECTED Facebook rejected the token.
 * @retval VELK_UNEXPECTED_REPLY Any other status.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet facebook.c PostFacebookComment
 */
VELK_API int32_t PostFacebookComment(const char* accessToken, const FacebookUploadInfo* info,
                                     char* outPostId) VELK_NOEXCEPT;

/**
 * @brief Lists the pages that the user manages, in one GET of at most 10 seconds.
 *
 * The reply may have at most 10240 bytes, which is enough for some thirty pages. Identifiers and names are
 * paired by their order in the reply. Whatever has either counts: a page's categories become pages of their
 * own. A string ends at its first escape. A long number before an "id" hides that page.
 *
 * @param[in] accessToken The user's access token.
 * @param[out] outPages The list: an array that the caller owns and returns to FreeFacebookUserPagesList,
 *   never to its own free. May be null, to count only.
 * @param[out] outCount The number of its elements. Unchanged when the pages could not be fetched.
 *
 * @retval VELK_OK Both are written.
 * @retval VELK_NO_PAGES The user manages no page. *outCount is 0, *outPages is unchanged.
 * @retval VELK_MISSING_ARGUMENT accessToken or outCount is null.
 * @retval VELK_BUFFER_TOO_SMALL The reply has more than 10240 bytes. The caller cannot change that.
 * @retval VELK_TRANSFER_FAILED The exchange failed, or its status is not 200.
 * @retval VELK_UNEXPECTED_REPLY Any other failure: an empty token, no handle of libcurl's, or no memory.
 *
 * @snippet facebook.c GetFacebookUserPagesList
 */
VELK_API int32_t GetFacebookUserPagesList(const char* accessToken, FacebookPage** outPages,
                                          int32_t* outCount) VELK_NOEXCEPT;

/**
 * @brief Frees a list of pages and sets the caller's pointer to null, so that a second call does nothing.
 *
 * @param[in,out] pages The list that GetFacebookUserPagesList returned. The pointer, or what it points to,
 *   may be null.
 *
 * @retval VELK_OK Always.
 *
 * @snippet facebook.c GetFacebookUserPagesList
 */
VELK_API int32_t FreeFacebookUserPagesList(FacebookPage** pages) VELK_NOEXCEPT;

/**
 * @brief Changes something published earlier, by info->updateKind.
 *
 * - 0: its message.
 * - 1: the privacy of the object that the story objectId is about, if it is about one; then the story's
 *   message.
 * - 2: its description.
 *
 * Both texts come from info->description. Each form POST is limited to 30 seconds and sent as it is, as with
 * PostFacebookComment. The look-up of kind 1 has no overall limit. A failed step ends the update. What was
 * changed before stays changed.
 *
 * @param[in] accessToken The user's or page's access token. A null pointer fails the first step, with that
 *   step's code.
 * @param[in] objectId The object, such as the identifier that an upload or a post returned. Null as for
 *   accessToken.
 * @param[in] info updateKind, description and, for kind 1, privacy.
 *
 * @retval VELK_OK Every step succeeded.
 * @retval VELK_MESSAGE_NOT_UPDATED Kind 0: the message could not be set.
 * @retval VELK_PRIVACY_NOT_UPDATED Kind 1: the privacy could not be set, or the object could not be looked
 *   up. When Facebook refused the privacy, the look-up's memory stays allocated until the process exits.
 * @retval VELK_TEXT_NOT_UPDATED Kind 1: the message could not be set. Kind 2: the description could not be
 *   set.
 * @retval VELK_UNEXPECTED_REPLY Any other kind. Nothing is sent.
 * @retval VELK_MISSING_ARGUMENT info is null.
 *
 * @snippet facebook.c SetFacebookUpdateInfo
 */
VELK_API int32_t SetFacebookUpdateInfo(const char* accessToken, const char* objectId,
                                       const FacebookUploadInfo* info) VELK_NOEXCEPT;

/**
 * @brief Fetches the URL of the page that shows a photo.
 *
 * The connection attempt is limited to 5 seconds, the rest has no limit. Escapes in the URL are not decoded.
 *
 * Check what you get: a reply with a blank before the value, a numeric or an empty value gives #VELK_OK with
 * ": ", ":123," or "," in outUrl.
 *
 * @param[in] accessToken The user's or page's access token.
 * @param[in] photoId The photo's identifier.
 * @param[out] outUrl The URL, NUL-terminated; empty when the photo has none.
 * @param[in,out] inOutSize The size of outUrl in bytes; with #VELK_BUFFER_TOO_SMALL the required size. A
 *   negative size counts as very large, and null as no limit.
 *
 * @retval VELK_OK outUrl is written; with every other code it is unchanged.
 * @retval VELK_MISSING_ARGUMENT A pointer other than inOutSize is null. Empty strings are sent.
 * @retval VELK_TRANSFER_FAILED The exchange failed.
 * @retval VELK_BUFFER_TOO_SMALL The URL and its terminator do not fit.
 * @retval VELK_TOKEN_REJECTED Facebook rejected the token.
 * @retval VELK_UNEXPECTED_REPLY Any other status.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet facebook.c GetFacebookPhotoUrl
 */
VELK_API int32_t GetFacebookPhotoUrl(const char* accessToken, const char* photoId, char* outUrl,
                                     int32_t* inOutSize) VELK_NOEXCEPT;

/**
 * @brief Composes the URL of the page that shows a video. Nothing is sent.
 *
 * @param[in] accessToken Must not be null; not used.
 * @param[in] videoId The video's identifier.
 * @param[in,out] outUrl On entry a NUL-terminated string, all of which is overwritten with zeros. Receives
 *   the URL.
 * @param[in,out] inOutSize The size of outUrl in bytes: at least the length of the identifier plus 46. With
 *   #VELK_BUFFER_TOO_SMALL the required size. A negative size counts as very large, and null as no limit.
 *
 * @retval VELK_OK outUrl is written.
 * @retval VELK_MISSING_ARGUMENT A pointer other than inOutSize is null. outUrl is unchanged.
 * @retval VELK_BUFFER_TOO_SMALL The size is too small. outUrl is empty.
 * @retval VELK_OUT_OF_MEMORY Memory ran out. outUrl is empty.
 *
 * @snippet facebook.c GetFacebookVideoUrl
 */
VELK_API int32_t GetFacebookVideoUrl(const char* accessToken, const char* videoId, char* outUrl,
                                     int32_t* inOutSize) VELK_NOEXCEPT;

/**
 * @brief Fetches the URL of a video's own file, for embedding.
 *
 * The connection attempt is limited to 5 seconds, the rest has no limit. Escapes in the URL are not decoded.
 * Check what you get, as with GetFacebookPhotoUrl.
 *
 * @param[in] accessToken The user's or page's access token.
 * @param[in] videoId The video's identifier.
 * @param[out] outUrl The URL, NUL-terminated; empty when the reply contains none.
 * @param[in,out] inOutSize The size of outUrl in bytes; with #VELK_BUFFER_TOO_SMALL the required size. A
 *   negative size counts as very large, and null as no limit.
 *
 * @retval VELK_OK outUrl is written; with every other code it is unchanged.
 * @retval VELK_UNSUPPORTED_GET Status 400 with "Unsupported get request.": Facebook does not know the
 *   identifier, or the token may not see the object, or it has no such URL.
 * @retval VELK_MISSING_ARGUMENT A pointer other than inOutSize is null. Empty strings are sent.
 * @retval VELK_TRANSFER_FAILED The exchange failed, or memory ran out while the reply was read.
 * @retval VELK_BUFFER_TOO_SMALL The URL and its terminator do not fit.
 * @retval VELK_TOKEN_REJECTED Facebook rejected the token.
 * @retval VELK_UNEXPECTED_REPLY Any other status.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet facebook.c GetFacebookVideoEmbedUrl
 */
VELK_API int32_t GetFacebookVideoEmbedUrl(const char* accessToken, const char* videoId, char* outUrl,
                                          int32_t* inOutSize) VELK_NOEXCEPT;

/**
 * @}
 * @defgroup twitter Twitter
 *
 * Every request to Twitter's API 1.1 is signed (OAuth 1.0a, HMAC-SHA1). A signature contains the time in
 * seconds and a nonce, 32 random characters from the operating system. Without randomness a call returns
 * #VELK_OUT_OF_MEMORY.
 *
 * Of a consumer key 1004 bytes are used and of a token 1011, on the wire as in the signature: Twitter refuses
 * a longer one as unknown. Secrets may fill their fields.
 *
 * When memory runs out while liboauth signs, liboauth ends the process.
 * @{
 */

/** @brief The host application's own Twitter credentials. 2048 bytes. */
typedef struct TwitterConsumer {
  char consumerKey[1024];    /**< The application's key. */
  char consumerSecret[1024]; /**< The application's secret. */
} TwitterConsumer;

/** @brief What is exchanged for an access token. 4096 bytes. */
typedef struct TwitterAccessRequest {
  char consumerKey[1024];    /**< The application's key. */
  char consumerSecret[1024]; /**< The application's secret. */
  char requestToken[1024];   /**< The oauth_token in the authorize URL. */
  char verifier[1024];       /**< The PIN that Twitter showed to the user. */
} TwitterAccessRequest;

/** @brief The signed-in user. 2568 bytes. */
typedef struct TwitterAccessToken {
  char oauthToken[1024];       /**< The user's token. */
  char oauthTokenSecret[1024]; /**< The token's secret. */
  char userId[260];            /**< The user's number. */
  char screenName[260];        /**< The user's name. */
} TwitterAccessToken;

/** @brief A photo to tweet. 3072 bytes. */
typedef struct TwitterUploadFile {
  char fileName[1024];   /**< The name of the file with its extension, UTF-8. */
  char folderPath[1024]; /**< The folder of the file, UTF-8, without a trailing separator. */
  char statusText[1024]; /**< The text of the tweet, at most 420 bytes. */
} TwitterUploadFile;

/**
 * @brief Begins a sign-in: fetches a request token and composes the URL at which the user authorizes the
 *   application.
 *
 * Open the URL in a browser. Twitter then shows the user the PIN that GetTwitterAccessToken requires,
 * together with the token after "oauth_token=" in the URL. Limited to 10 seconds.
 *
 * @param[in] consumerKey The host application's key, NUL-terminated.
 * @param[in] consumerSecret Its secret, NUL-terminated.
 * @param[in,out] urlSize The size of url in bytes, or null for no check. It is compared with the length of
 *   Twitter's reply less 11 bytes, not with the URL. When it is smaller, it receives that size.
 * @param[out] url A buffer of 1076 bytes, whatever urlSize states: the longest URL with its terminator. A URL
 *   takes 52 bytes and the token. A reply of more than 1087 bytes requires a larger urlSize, but no larger
 *   buffer.
 *
 * @retval VELK_OK url is written; with every other code it is unchanged.
 * @retval VELK_MISSING_ARGUMENT A pointer other than urlSize is null; key or secret is empty.
 * @retval VELK_BUFFER_TOO_SMALL *urlSize is too small. The required size is in *urlSize.
 * @retval VELK_NO_IDENTIFIER The reply does not begin with a token.
 * @retval VELK_CREDENTIALS_REFUSED Twitter refused the key, the secret or the machine's clock.
 * @retval VELK_UNEXPECTED_REPLY Any other status than 200.
 * @retval VELK_TRANSFER_FAILED The exchange failed.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory or randomness ran out.
 *
 * @snippet twitter.c GetTwitterOauthUrl
 */
VELK_API int32_t GetTwitterOauthUrl(const char* consumerKey, const char* consumerSecret, int32_t* urlSize,
                                    char* url) VELK_NOEXCEPT;

/**
 * @brief Ends a sign-in: exchanges the request token and the user's PIN for an access token.
 *
 * Keep the token: it does not expire, and every other call requires it. Limited to 10 seconds.
 *
 * @param[in] request All four fields are required. Token and PIN go into the URL as they are, neither
 *   percent-encoded nor signed. Trim a line end from a PIN that was typed.
 * @param[out] token The user. The values are as Twitter sent them, cut at the width of their fields. A reply
 *   with fewer than four fields leaves the other fields unchanged, and is a success.
 *
 * @retval VELK_OK token is written; with every other code it is unchanged.
 * @retval VELK_MISSING_ARGUMENT A pointer is null, or a field of request is empty.
 * @retval VELK_NO_IDENTIFIER The reply does not begin with a token.
 * @retval VELK_CREDENTIALS_REFUSED Twitter refused the key, the secret, the request token, the PIN or the
 *   machine's clock.
 * @retval VELK_UNEXPECTED_REPLY Any other status than 200.
 * @retval VELK_TRANSFER_FAILED The exchange failed.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory or randomness ran out.
 *
 * @snippet twitter.c GetTwitterAccessToken
 */
VELK_API int32_t GetTwitterAccessToken(const TwitterAccessRequest* request,
                                       TwitterAccessToken* token) VELK_NOEXCEPT;

/**
 * @brief Posts a tweet.
 *
 * The connection attempt is limited to 5 seconds, the rest has no limit. The call cannot be cancelled.
 *
 * @param[in] consumer Key and secret are required.
 * @param[in] token The user's token and its secret.
 * @param[in] statusText The text, NUL-terminated, at most 420 bytes; may be empty. It must not be
 *   percent-encoded.
 * @param[in] mediaIds The identifiers of uploaded media, separated by commas; empty for none.
 *
 * @retval VELK_OK The tweet exists.
 * @retval VELK_MISSING_ARGUMENT A pointer is null; key or secret is empty.
 * @retval VELK_TOO_LARGE The text has more than 420 bytes. Nothing is sent.
 * @retval VELK_CREDENTIALS_REFUSED Twitter refused the key, the token, a secret or the machine's clock.
 * @retval VELK_DUPLICATE_STATUS The user posted this text before.
 * @retval VELK_UNEXPECTED_REPLY Any other status than 200.
 * @retval VELK_TRANSFER_FAILED The exchange failed. The tweet may exist.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory or randomness ran out.
 *
 * @snippet twitter.c PostTwitterComment
 */
VELK_API int32_t PostTwitterComment(const TwitterConsumer* consumer, const TwitterAccessToken* token,
                                    const char* statusText, const char* mediaIds) VELK_NOEXCEPT;

/**
 * @brief Publishes a photo: uploads the file, and posts a tweet that shows it.
 *
 * The upload takes one request that opens it (INIT), one for each segment of 1,048,576 bytes (APPEND), and
 * one that ends it (FINALIZE). When Twitter then reports another state of the photo than "success", the call
 * waits a second and queries the state once (STATUS), whatever the result is. The tweet follows. A failed
 * step ends the call, and nothing is withdrawn; without its tweet an uploaded photo is not visible.
 *
 * Each connection attempt is limited to 5 seconds, but for STATUS; the rest has no limit. Only a segment can
 * be cancelled. The requests from INIT to STATUS share a connection, so that the later ones seldom open one.
 *
 * @param[in,out] uploader The handle. It follows the segment that is being sent, not the file: its figures
 *   start again with each segment.
 * @param[in] consumer Key and secret are required.
 * @param[in] token All four fields are required.
 * @param[in] file The photo and its text. The names are joined with the system's path separator. The first
 *   three bytes after the last dot of the name are announced as image type.
 *
 * @retval VELK_OK The tweet exists.
 * @retval VELK_MISSING_ARGUMENT A pointer is null; a field of consumer or token, or the text, is empty; or
 *   the file became shorter while it was sent.
 * @retval VELK_FILE_NOT_OPENED The file cannot be opened for reading, or is no regular file.
 * @retval VELK_TOO_LARGE The file has more than 5,242,880 bytes, and nothing is sent; a connection for APPEND
 *   or FINALIZE was not made in time; or the text has more than 420 bytes, which is found after the upload.
 * @retval VELK_CANCELLED A segment was cancelled.
 * @retval VELK_CREDENTIALS_REFUSED Twitter refused the key, the token, a secret or the machine's clock.
 * @retval VELK_DUPLICATE_STATUS The user posted this text before.
 * @retval VELK_BUFFER_TOO_SMALL Twitter's identifier for the photo, or its state, has more than 1023 bytes.
 * @retval VELK_UNEXPECTED_REPLY Any other status; or INIT failed for any reason, such as no connection.
 * @retval VELK_TRANSFER_FAILED A later exchange failed. After the last one the tweet may exist.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory or randomness ran out.
 *
 * @snippet twitter.c StartTwitterUploadPhoto
 */
VELK_API int32_t StartTwitterUploadPhoto(FileUploader* uploader, const TwitterConsumer* consumer,
                                         const TwitterAccessToken* token,
                                         const TwitterUploadFile* file) VELK_NOEXCEPT;

/**
 * @}
 * @defgroup youtube YouTube
 *
 * Requests go to the YouTube Data API v3.
 * @{
 */

/**
 * @brief A video to publish, or an update of one. 7398 bytes.
 *
 * The calls rewrite title and description in place: each line feed, carriage return and tab becomes a
 * backslash and n, r or t, cut at the width of the field. Fill both fields again before you use a record for
 * another text.
 *
 * Texts go into the request between single quotes, and nothing else in them is escaped. An apostrophe ends a
 * text early. Write it as \\u0027, and a backslash as two: the sandbox reads both back as they were. Against
 * YouTube itself this was not tested.
 */
typedef struct YoutubeUploadInfo {
  char filePath[1024];    /**< The video file, UTF-8. */
  char title[300];        /**< The title; required. */
  char description[5000]; /**< The description; required. */
  char privacyStatus[25]; /**< "public", "private" or "unlisted"; required. */
  char categoryId[25];    /**< The number of a YouTube category as text, such as "22"; required. */
  char tags[1024];        /**< One tag per line, separated by a line feed; may be empty. */
} YoutubeUploadInfo;

/**
 * @brief Makes a handle for an upload to YouTube.
 *
 * Its states differ from those of the other services: pass it to the YouTube functions alone.
 *
 * @return A zeroed handle, which the caller owns until Uninit; null when memory runs out.
 *
 * @snippet youtube.c InitYoutubeFileUploder
 */
VELK_API FileUploader* InitYoutubeFileUploder(void) VELK_NOEXCEPT;

/**
 * @brief Frees a handle.
 *
 * A finished upload leaves the handle in the state "uploading": call CancelYoutubeUploadFile first, then
 * this. Never call it while a thread is inside an upload with the handle. #VELK_BUSY protects a handle from
 * the PUT on, and not while the session is opened.
 *
 * @param[in] uploader The handle.
 *
 * @retval VELK_OK The handle is freed, and the pointer is invalid.
 * @retval VELK_MISSING_ARGUMENT uploader is null.
 * @retval VELK_BUSY An upload runs or has finished, and was not cancelled since. Nothing is freed.
 *
 * @snippet youtube.c UninitYoutubeFileUploder
 */
VELK_API int32_t UninitYoutubeFileUploder(FileUploader* uploader) VELK_NOEXCEPT;

/**
 * @brief Uploads one video file in two exchanges.
 *
 * A resumable upload of the YouTube Data API v3: a request that describes the video and opens a session,
 * limited to 10 seconds, and one PUT of the whole file, without a limit. Nothing is retried.
 *
 * @param[in,out] uploader The handle. It follows the PUT; a cancel aborts the PUT.
 * @param[in] accessToken An OAuth 2.0 access token with the scope youtube.upload. A line break in it, such as
 *   the line end of a file that it was read from, gives #VELK_TRANSFER_FAILED.
 * @param[in,out] info The video. title and description are rewritten, see YoutubeUploadInfo.
 * @param[out] outVideoId A buffer of 256 bytes. The new video's identifier, NUL-terminated, cut after 255
 *   bytes.
 *
 * @retval VELK_OK The video exists. outVideoId is written; with every other code it is unchanged.
 * @retval VELK_MISSING_ARGUMENT accessToken or info is null; accessToken, description, title, privacyStatus
 *   or categoryId is empty; status 401 for the session; or, after the session was opened, uploader or
 *   outVideoId is null.
 * @retval VELK_FILE_NOT_OPENED The file cannot be opened for reading, or is no regular file.
 * @retval VELK_FORBIDDEN Status 403 for the session.
 * @retval VELK_UNEXPECTED_REPLY Another status for the session; status 400 for the PUT.
 * @retval VELK_CANCELLED The PUT was cancelled.
 * @retval VELK_TRANSFER_FAILED An exchange failed; status 503 for the PUT.
 * @retval VELK_NO_IDENTIFIER Status 200 or 302 for the PUT without an identifier, or status 201 or 308. The
 *   video may exist.
 * @retval VELK_NO_HANDLE libcurl gave no handle; another status for the PUT.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet youtube.c StartYoutubeUploadFile
 */
VELK_API int32_t StartYoutubeUploadFile(FileUploader* uploader, const char* accessToken,
                                        YoutubeUploadInfo* info, char* outVideoId) VELK_NOEXCEPT;

/**
 * @brief Reads how far an upload is, from any thread.
 *
 * The figures count the bytes of the file. They stay readable after the upload has ended, until the handle is
 * cancelled.
 *
 * @param[in] uploader The handle.
 * @param[out] outUploaded Bytes sent so far.
 * @param[out] outTotal Bytes to send.
 *
 * @retval VELK_OK Both figures are written.
 * @retval VELK_MISSING_ARGUMENT A pointer is null.
 * @retval VELK_NOT_UPLOADING The PUT has not begun, or a cancel was requested. Nothing is written.
 *
 * @snippet youtube.c GetYoutubeUploadFileProgress
 */
VELK_API int32_t GetYoutubeUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                              double* outTotal) VELK_NOEXCEPT;

/**
 * @brief Requests that the PUT with this handle stop. After a finished upload it prepares the handle for
 *   Uninit.
 *
 * Returns at once.
 *
 * @param[in,out] uploader The handle. Any thread may pass it.
 *
 * @retval VELK_OK The request is recorded.
 * @retval VELK_MISSING_ARGUMENT uploader is null.
 * @retval VELK_NOT_UPLOADING No PUT has begun with the handle since it was made or last cancelled.
 *
 * @snippet youtube.c CancelYoutubeUploadFile
 */
VELK_API int32_t CancelYoutubeUploadFile(FileUploader* uploader) VELK_NOEXCEPT;

/**
 * @brief Replaces the title, description, tags, category and privacy of a published video, in one request of
 *   at most 10 seconds.
 *
 * All five are replaced. Pass those that do not change, too. Pass no tags only to remove them.
 *
 * @param[in] accessToken An OAuth 2.0 access token with a scope that manages videos, such as youtube. The
 *   scope youtube.upload is not enough. A line break in it gives #VELK_TRANSFER_FAILED.
 * @param[in] videoId The video's identifier, as StartYoutubeUploadFile returned it.
 * @param[in,out] info The new description. filePath is not read; title and description are rewritten, see
 *   YoutubeUploadInfo.
 *
 * @retval VELK_OK The video is changed.
 * @retval VELK_MISSING_ARGUMENT A pointer is null; accessToken, videoId, description, title, privacyStatus or
 *   categoryId is empty; or status 401.
 * @retval VELK_FORBIDDEN Status 403.
 * @retval VELK_UNEXPECTED_REPLY Any other status.
 * @retval VELK_TRANSFER_FAILED The exchange failed.
 * @retval VELK_NO_HANDLE libcurl gave no handle.
 * @retval VELK_OUT_OF_MEMORY Memory ran out.
 *
 * @snippet youtube.c SetYoutubeUploadFileUpdateInfo
 */
VELK_API int32_t SetYoutubeUploadFileUpdateInfo(const char* accessToken, const char* videoId,
                                                YoutubeUploadInfo* info) VELK_NOEXCEPT;

/** @} */

/** @cond */

/*
 * The layout of the records in bytes: offset and width of each field, and the size of each record. Hosts in
 * other languages lay the records out by these figures. A C or C++ compiler checks them here, whatever its
 * packing options.
 */
#ifdef __cplusplus
#define VELK_PIN(name, condition) static_assert(condition, #name " is not where the library expects it")
#else
#define VELK_PIN(name, condition) typedef char VelkPinned_##name[(condition) ? 1 : -1]
#endif
#define VELK_FIELD(record, field, offset, width) \
  VELK_PIN(record##_##field, offsetof(record, field) == (offset) && sizeof(((record*)0)->field) == (width))
#define VELK_SIZE(record, size) VELK_PIN(record, sizeof(record) == (size))

VELK_FIELD(FileUploader, uploadedBytes, 0, 8);
VELK_FIELD(FileUploader, totalBytes, 8, 8);
VELK_FIELD(FileUploader, state, 16, 4);
VELK_FIELD(FileUploader, cancelRequested, 20, 4);
VELK_SIZE(FileUploader, 24);

VELK_FIELD(FacebookUploadInfo, updateKind, 0, 4);
VELK_FIELD(FacebookUploadInfo, targetId, 4, 260);
VELK_FIELD(FacebookUploadInfo, filePath, 264, 1024);
VELK_FIELD(FacebookUploadInfo, title, 1288, 260);
VELK_FIELD(FacebookUploadInfo, description, 1548, 50000);
VELK_FIELD(FacebookUploadInfo, privacy, 51548, 25);
VELK_FIELD(FacebookUploadInfo, link, 51573, 2048);
VELK_SIZE(FacebookUploadInfo, 53624);

VELK_FIELD(FacebookPage, id, 0, 260);
VELK_FIELD(FacebookPage, name, 260, 1024);
VELK_SIZE(FacebookPage, 1284);

VELK_FIELD(TwitterConsumer, consumerKey, 0, 1024);
VELK_FIELD(TwitterConsumer, consumerSecret, 1024, 1024);
VELK_SIZE(TwitterConsumer, 2048);

VELK_FIELD(TwitterAccessRequest, consumerKey, 0, 1024);
VELK_FIELD(TwitterAccessRequest, consumerSecret, 1024, 1024);
VELK_FIELD(TwitterAccessRequest, requestToken, 2048, 1024);
VELK_FIELD(TwitterAccessRequest, verifier, 3072, 1024);
VELK_SIZE(TwitterAccessRequest, 4096);

VELK_FIELD(TwitterAccessToken, oauthToken, 0, 1024);
VELK_FIELD(TwitterAccessToken, oauthTokenSecret, 1024, 1024);
VELK_FIELD(TwitterAccessToken, userId, 2048, 260);
VELK_FIELD(TwitterAccessToken, screenName, 2308, 260);
VELK_SIZE(TwitterAccessToken, 2568);

VELK_FIELD(TwitterUploadFile, fileName, 0, 1024);
VELK_FIELD(TwitterUploadFile, folderPath, 1024, 1024);
VELK_FIELD(TwitterUploadFile, statusText, 2048, 1024);
VELK_SIZE(TwitterUploadFile, 3072);

VELK_FIELD(YoutubeUploadInfo, filePath, 0, 1024);
VELK_FIELD(YoutubeUploadInfo, title, 1024, 300);
VELK_FIELD(YoutubeUploadInfo, description, 1324, 5000);
VELK_FIELD(YoutubeUploadInfo, privacyStatus, 6324, 25);
VELK_FIELD(YoutubeUploadInfo, categoryId, 6349, 25);
VELK_FIELD(YoutubeUploadInfo, tags, 6374, 1024);
VELK_SIZE(YoutubeUploadInfo, 7398);

#undef VELK_SIZE
#undef VELK_FIELD
#undef VELK_PIN
/** @endcond */

#ifdef __cplusplus
}
#endif

#endif
