// The implementation of the exported YouTube functions, the categories and the legacy upload.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "core/core.h"

namespace velk::youtube {

// ---- Handle --------------------------------------------------------------------------------------------

enum YoutubeState : uint32_t { kYoutubeIdle = 0, kYoutubeUploading = 2, kYoutubeCancelRequested = 4 };

// The CURLOPT_PROGRESSFUNCTION of YouTube uploads; `clientData` is the FileUploader. Aborts the transfer if
// the handle is null or not in the uploading state.
int YoutubeProgressCallback(void* clientData, double downloadTotal, double downloadNow, double uploadTotal,
                            double uploadNow) noexcept;

// ---- Metadata ------------------------------------------------------------------------------------------

// Replaces each line feed, carriage return and tab with a backslash and a letter, in place, within `capacity`
// bytes. A longer result is cut. An escape that starts two bytes before the end fills the last byte, and
// leaves the text without a terminator. Returns 0. Returns -1, with the text unchanged, if `text` is null,
// `capacity` is less than 1 or memory runs out.
int EscapeControlChars(char* text, int32_t capacity) noexcept;

// Converts tags, one per line, to the quoted members of a list: 'a','b'. Without tags the result is empty.
std::string FormatTagsList(std::string_view tags);

// Composes the JSON description of a video: a new one, or a published one if videoId is not empty. Escapes
// the title and the description in the record.
std::string ComposeVideoBody(YoutubeUploadInfo& info, std::string_view videoId = {});

// ---- Requests ------------------------------------------------------------------------------------------

std::string BearerHeader(std::string_view accessToken);

// Whether a string is empty that every request with a video's description requires.
bool IsDescriptionIncomplete(const char* accessToken, const YoutubeUploadInfo& info) noexcept;

// The result code of a reply to a request with a video's description.
int32_t FromDescriptionStatus(long status) noexcept;

// ---- Resumable upload ----------------------------------------------------------------------------------

// Finds the upload URL in a reply collected with its headers. Returns the rest of the line after the last
// "Location: " before any NUL, in headers or body. Without one, returns the first line from its tenth byte
// on: the code and reason of a status line.
std::string FindLocationHeader(std::string_view text);

// Opens an upload session: sends the video's description and gets the URL for its file. Returns a result
// code. On failure outUploadUrl is unchanged.
int32_t CreateResumableUpload(const char* accessToken, YoutubeUploadInfo* info, std::string& outUploadUrl,
                              const NativePath& path);

// Sends the whole file to the URL of a session and gets the video's identifier. Returns a result code. On
// failure outVideoId is unchanged.
int32_t UploadFileContent(FileUploader* uploader, const char* accessToken, const YoutubeUploadInfo* info,
                          const std::string& uploadUrl, char* outVideoId, const NativePath& path);

// ---- Categories ----------------------------------------------------------------------------------------

inline constexpr size_t kCategoryTitleCapacity = 256;
inline constexpr size_t kCategoryTermCapacity = 24;

// Gets the title of a category from YouTube, such as "Music" for "10". "Gaming" becomes "Games". A title of
// 256 bytes or more is cut. The identifier is put into the URL unescaped. Unless the result is VELK_OK,
// outTitle is unchanged.
//
// VELK_OK                 outTitle written
// VELK_MISSING_ARGUMENT   accessToken or categoryId null or empty
// VELK_NO_TITLE           status 200 without a title
// VELK_FORBIDDEN          status 403
// VELK_TRANSFER_FAILED    the exchange failed, or status 401
// VELK_NO_HANDLE          no HTTP handle could be created, or another status
// VELK_OUT_OF_MEMORY      a memory allocation failed
int32_t GetYoutubeCategoryTitle(const char* accessToken, const char* categoryId,
                                std::span<char, kCategoryTitleCapacity> outTitle) noexcept;

// Gets the term of a category in the legacy upload, for BuildAtomEntry. Returns 0. Returns -1, with outTerm
// unchanged, if the identifier has no term.
int YoutubeCategoryTermFromId(std::string_view idText,
                              std::span<char, kCategoryTermCapacity> outTerm) noexcept;

// ---- Browser upload ------------------------------------------------------------------------------------
//
// The legacy upload. Its steps are BuildAtomEntry, RequestUploadToken and PostBrowserUploadForm; each uses
// the output of the previous one. These three also return VELK_OUT_OF_MEMORY.

inline constexpr size_t kBrowserVideoIdCapacity = 101;

// Describes a video in an Atom entry. Nothing is escaped: markup in a string becomes markup of the entry.
//
//   outXml        out     the entry, without a terminator
//   inOutLength   in/out  outXml's size in bytes, at least one more than the entry's length. Receives the
//                         entry's length, or the required size
//   category      in      a category's term; the first ampersand and what follows it are omitted
//
// VELK_OK                 the entry and its length are written
// VELK_MISSING_ARGUMENT   a pointer is null; title, description, tags or category empty
// VELK_BUFFER_TOO_SMALL   only the required size is written, to inOutLength
int32_t BuildAtomEntry(const YoutubeUploadInfo* info, char* outXml, int32_t* inOutLength,
                       const char* category) noexcept;

// Exchanges an entry for the URL that accepts the file, and for its token. Both are terminated. `ignored` is
// not read.
//
//   inOutUrlLength,    in/out  the sizes of outUrl and outToken in bytes; receive the strings' lengths
//   inOutTokenLength
//
// VELK_OK                 all four outputs written; otherwise none is
// VELK_MISSING_ARGUMENT   a pointer is null, or accessToken empty
// VELK_BUFFER_TOO_SMALL   a string and its terminator do not fit
// VELK_UNEXPECTED_REPLY   another status than 200, or a reply without URL or token
// VELK_TRANSFER_FAILED    the exchange failed
// VELK_NO_HANDLE          no HTTP handle could be created
int32_t RequestUploadToken(const char* accessToken, const void* ignored, const char* atomEntry, char* outUrl,
                           int32_t* inOutUrlLength, char* outToken, int32_t* inOutTokenLength) noexcept;

// Reads two elements directly under the root of an XML reply: the first "url" and the first "token".
//
// VELK_OK                 both written
// VELK_MISSING_ARGUMENT   length is 0, or an output null
// VELK_UNEXPECTED_REPLY   an element is missing, or memory ran out; outUrl may be written
int32_t ParseUploadTokenReply(const char* text, size_t length, std::string* outUrl,
                              std::string* outToken) noexcept;

// Posts a file and its upload token as a form. It ignores the library's proxy setting, but libcurl may use a
// proxy from the environment. It sets no time limit, and logs its connection and headers to standard error.
// It uses the handle like the resumable upload.
//
//   filePath     in   as passed to fopen, so on Windows in the ANSI code page
//   outVideoId   out  kBrowserVideoIdCapacity bytes: the text after the last "id=" of the requested URL. It
//                     is cut at 100 bytes, and empty if the URL has none. Written only with VELK_OK
//
// VELK_OK                 status 200 or 302
// VELK_MISSING_ARGUMENT   a pointer is null
// VELK_CANCELLED          cancelled through the handle
// VELK_TRANSFER_FAILED    the exchange failed, the file cannot be read, or status 503
// VELK_UNEXPECTED_REPLY   another status
// VELK_NO_HANDLE          no HTTP handle could be created
int32_t PostBrowserUploadForm(FileUploader* uploader, const char* accessToken, const char* filePath,
                              char* outVideoId, const char* uploadUrl, const char* uploadToken) noexcept;

}  // namespace velk::youtube
