// Uploads a video to the server that its size requires.
#include "facebook/facebook.h"
#include "json/json.h"

namespace velk::facebook {
namespace {

using namespace std::chrono_literals;

// Where a video can be sent. Only one of the servers explains its status 500.
struct VideoRoute {
  std::string_view host;
  bool explainsServerError;
};

constexpr VideoRoute kSmallFileRoute{kGraphApi, false};
constexpr VideoRoute kLargeFileRoute{kGraphVideo, true};

constexpr int32_t kLargeFileMebibytes = 50;

bool IsVideoIncomplete(const char* accessToken, const FacebookUploadInfo& info) noexcept {
  return *accessToken == '\0' || *info.filePath == '\0' || *info.title == '\0' || *info.description == '\0';
}

int32_t ReadVideoId(const ResponseBuffer& reply, char* outVideoId) noexcept {
  const bool found = JsonGetStringValue(reply.Bytes(), "id", {outVideoId, kValueCapacity}) == 0;
  return found ? VELK_OK : VELK_NO_IDENTIFIER;
}

int32_t VideoResult(const VideoRoute& route, const Transfer& upload, CURLcode failure,
                    char* outVideoId) noexcept {
  // The server may have accepted the video and replied before the connection broke.
  if (failure == CURLE_RECV_ERROR) return ReadVideoId(upload.Reply(), outVideoId);
  const int32_t result = GraphResult(upload, failure);
  if (result == VELK_OK) return ReadVideoId(upload.Reply(), outVideoId);
  if (failure != CURLE_OK || upload.Status() != 500 || !route.explainsServerError) return result;
  const bool retry =
      upload.ReplyContains("An unexpected error has occurred. Please retry your request later.");
  return retry ? VELK_TOKEN_REJECTED : VELK_SERVER_ERROR;
}

// Uploads the whole file on one route. If memory runs out, only this route fails, not the whole call.
int32_t UploadVideo(const VideoRoute& route, FileUploader* uploader, const char* accessToken,
                    const FacebookUploadInfo& info, char* outVideoId, const NativePath& path) noexcept {
  return Guarded([&]() -> int32_t {
    if (IsVideoIncomplete(accessToken, info)) return VELK_MISSING_ARGUMENT;
    UploadFile file(path);
    if (!file) return VELK_FILE_NOT_OPENED;
    Transfer upload;
    if (!upload) return VELK_NO_HANDLE;
    upload
        .Url(Concat({route.host, TargetNode(info), "/videos/uploaded?privacy={'value':'", Field(info.privacy),
                     "'}&access_token=", accessToken}))
        .ConnectTimeout(5s)
        .Post()
        .Progress(&UploadProgressCallback, uploader)
        .FormField("title", Field(info.title))
        .FormField("description", Field(info.description))
        .FormFile(file, NarrowPath(path));
    const CURLcode failure = upload.Perform();
    file.Close();
    return VideoResult(route, upload, failure, outVideoId);
  });
}

// The route depends on whole mebibytes, truncated to 32 bits.
int32_t Mebibytes(int64_t size) noexcept { return static_cast<int32_t>(size / 1024 / 1024); }

}  // namespace
}  // namespace velk::facebook

using namespace velk;
using namespace velk::facebook;

int32_t StartFacebookUploadVideo(FileUploader* uploader, const char* accessToken,
                                 const FacebookUploadInfo* info, char* outVideoId) noexcept {
  if (!uploader || !accessToken || !info || !outVideoId) return VELK_MISSING_ARGUMENT;
  if (IsVideoIncomplete(accessToken, *info)) return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    const NativePath path = WidenPath(Field(info->filePath));
    UploadFile file(path);
    if (!file) return VELK_FILE_NOT_OPENED;
    file.Close();

    const auto uploadOn = [&](const VideoRoute& route) {
      return UploadVideo(route, uploader, accessToken, *info, outVideoId, path);
    };
    // A small file gets a second attempt after any failure. A cancel stays set in the handle, so it also ends
    // the second upload.
    if (Mebibytes(file.Size()) < kLargeFileMebibytes && uploadOn(kSmallFileRoute) == VELK_OK) return VELK_OK;
    return uploadOn(kLargeFileRoute);
  });
}
