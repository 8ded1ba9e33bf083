// YouTube's operations behind the exports.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "core/core.h"

namespace velk {

// ---- Handle --------------------------------------------------------------------------------------------

// The states of a handle that uploads to YouTube.
enum YoutubeState : uint32_t { kYoutubeIdle = 0, kYoutubeUploading = 2, kYoutubeCancelAsked = 4 };

// The CURLOPT_PROGRESSFUNCTION of YouTube's uploads; the client data is the FileUploader. It aborts the
// transfer without a handle, or when the handle is no longer uploading.
int YoutubeProgressCallback(void* clientData, double downloadTotal, double downloadNow, double uploadTotal,
                            double uploadNow) noexcept;

// ---- Metadata ------------------------------------------------------------------------------------------

// Rewrites line feeds, carriage returns and tabs as a backslash and a letter, in place, within capacity
// bytes. A text that grows beyond is cut: an escape that begins two bytes before the end fills the last byte,
// and the field then has no terminator. Answers 0; -1 for a null text, no capacity, or no memory.
int EscapeControlChars(char* text, int32_t capacity) noexcept;

// Turns tags, one per line, into the quoted members of a list: 'a','b'. No tags give an empty list.
std::string FormatTagsList(std::string_view tags);

// Composes the JSON text that describes a video: a new one, or one that has an identifier already. Escapes
// title and description in the record.
std::string ComposeVideoBody(YoutubeUploadInfo& info, std::string_view videoId = {});

// ---- Requests ------------------------------------------------------------------------------------------

// The header that names the user in every request to YouTube.
std::string BearerHeader(std::string_view accessToken);

// Whether a text is empty that every request describing a video needs.
bool LacksText(const char* accessToken, const YoutubeUploadInfo& info) noexcept;

// The code of a reply to a request that described a video.
int32_t FromDescriptionStatus(long status) noexcept;

// ---- Resumable upload ----------------------------------------------------------------------------------

// The value of the last "Location: " line in a reply that was collected with its headers. Without such a
// line, the first line from its tenth byte on, which is a status line's code and reason.
std::string FindLocationHeader(std::string_view text);

// Opens an upload session: describes the video and learns the address that takes its file. Answers a result
// code.
int32_t CreateResumableUpload(const char* accessToken, YoutubeUploadInfo* info, std::string& outUploadUrl,
                              const NativePath& path);

// Sends the whole file to a session's address and learns the video's identifier. Answers a result code.
int32_t UploadFileContent(FileUploader* uploader, const char* accessToken, const YoutubeUploadInfo* info,
                          const std::string& uploadUrl, char* outVideoId, const NativePath& path);

// ---- Categories ----------------------------------------------------------------------------------------

inline constexpr size_t kCategoryTitleRoom = 256;
inline constexpr size_t kCategoryTermRoom = 24;

// Asks YouTube for the title of a category, such as "Music" for "10"; "Gaming" becomes "Games". A title of 256
// bytes or more is cut. The identifier goes into the address as it is. On every code but VELK_OK outTitle is
// left alone.
//
// VELK_OK                 outTitle written
// VELK_MISSING_ARGUMENT   accessToken or categoryId null or empty
// VELK_NO_TITLE           status 200 without a title
// VELK_FORBIDDEN          status 403
// VELK_TRANSFER_FAILED    the exchange failed, or was answered 401
// VELK_NO_HANDLE          no HTTP handle could be made, or another status
// VELK_OUT_OF_MEMORY      a memory allocation failed
int32_t GetYoutubeCategoryTitle(const char* accessToken, const char* categoryId,
                                std::span<char, kCategoryTitleRoom> outTitle) noexcept;

// The term by which YouTube's older interface knows a category, as BuildAtomEntry takes it. Answers 0, or -1
// with outTerm left alone for an identifier that has none.
int YoutubeCategoryTermFromId(std::string_view idText, std::span<char, kCategoryTermRoom> outTerm) noexcept;

// ---- Browser upload ------------------------------------------------------------------------------------
//
// The older way to publish, of which each step feeds the next: BuildAtomEntry, RequestUploadToken,
// PostBrowserUploadForm. Besides the codes listed, the first, second and last answer VELK_OUT_OF_MEMORY.

inline constexpr size_t kBrowserVideoIdRoom = 101;

// Describes a video in an Atom entry. Nothing in it is escaped: markup in a text becomes markup of the entry.
//
//   outXml        out     the entry, without a terminator
//   inOutLength   in/out  outXml's room in bytes, which must be one more than the entry's length; afterwards
//                         the entry's length, or the room that is needed
//   category      in      a category's term; what begins at an ampersand is left out
//
// VELK_OK                 the entry and its length are written
// VELK_MISSING_ARGUMENT   a pointer is null; title, description, tags or category empty
// VELK_BUFFER_TOO_SMALL   the needed room is written to inOutLength, and nothing else
int32_t BuildAtomEntry(const YoutubeUploadInfo* info, char* outXml, int32_t* inOutLength,
                       const char* category) noexcept;

// Trades an entry for the address that takes the file and the token that goes with it, both terminated. The
// second argument is not read.
//
//   inOutUrlLength,    in/out  the room of outUrl and outToken in bytes; afterwards the texts' lengths
//   inOutTokenLength
//
// VELK_OK                 all four outputs written; on every other code none is
// VELK_MISSING_ARGUMENT   a pointer is null, or accessToken empty
// VELK_BUFFER_TOO_SMALL   a text and its terminator do not fit
// VELK_UNEXPECTED_REPLY   another status than 200, or a reply without address or token
// VELK_TRANSFER_FAILED    the exchange failed
// VELK_NO_HANDLE          no HTTP handle could be made
int32_t RequestUploadToken(const char* accessToken, const void* ignored, const char* atomEntry, char* outUrl,
                           int32_t* inOutUrlLength, char* outToken, int32_t* inOutTokenLength) noexcept;

// Reads address and token, the first "url" and the first "token" right below the root, out of an XML reply.
//
// VELK_OK                 both written
// VELK_MISSING_ARGUMENT   length is 0, or an output null
// VELK_UNEXPECTED_REPLY   an element is missing, or memory ran out; outUrl may be written
int32_t ParseUploadTokenReply(const char* text, size_t length, std::string* outUrl,
                              std::string* outToken) noexcept;

// Sends a file and its upload token as a form. It never goes through a proxy, has no time limit, and reports
// its connection and headers on the standard error stream. The handle is driven as by the resumable upload.
//
//   filePath     in   as fopen takes it: on Windows in the ANSI code page
//   outVideoId   out  room for kBrowserVideoIdRoom bytes: what follows the last "id=" of the address that was
//                     asked, cut at 100 bytes; empty when the address has none. Only VELK_OK writes it
//
// VELK_OK                 status 200 or 302
// VELK_MISSING_ARGUMENT   a pointer is null
// VELK_CANCELLED          cancelled through the handle
// VELK_TRANSFER_FAILED    the exchange failed, the file cannot be read, or status 503
// VELK_UNEXPECTED_REPLY   another status
// VELK_NO_HANDLE          no HTTP handle could be made
int32_t PostBrowserUploadForm(FileUploader* uploader, const char* accessToken, const char* filePath,
                              char* outVideoId, const char* uploadUrl, const char* uploadToken) noexcept;

}  // namespace velk
