// YouTube's operations behind the exports.
#pragma once

#include <string>
#include <string_view>

#include "core/core.h"

namespace velk {

// The states of a handle that uploads to YouTube.
enum YoutubeState : uint32_t { kYoutubeIdle = 0, kYoutubeUploading = 2, kYoutubeCancelAsked = 4 };

// The CURLOPT_PROGRESSFUNCTION of YouTube's uploads; the client data is the FileUploader. It aborts the
// transfer without a handle, or when the handle is no longer uploading.
int YoutubeProgressCallback(void* uploader, double downloadTotal, double downloadNow, double uploadTotal,
                            double uploadNow) noexcept;

// Rewrites line feeds, carriage returns and tabs as a backslash and a letter, in place, within capacity
// bytes. A text that grows beyond is cut: an escape that begins two bytes before the end fills the last byte,
// and the field then has no terminator. Answers 0; -1 for a null text, no capacity, or no memory.
int EscapeControlChars(char* text, int32_t capacity) noexcept;

// Turns tags, one per line, into the quoted members of a list: 'a','b'. No tags give an empty list.
std::string FormatTagsList(std::string_view tags);

// Composes the JSON text that describes a video. Escapes title and description in the record.
std::string ComposeVideoBody(YoutubeUploadInfo& info);

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

}  // namespace velk
