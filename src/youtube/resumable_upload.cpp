// Publishes a video: opens an upload session that describes it, then sends the file in one PUT.
#include "json/json.h"
#include "youtube/youtube.h"

namespace velk::youtube {
namespace {

using namespace std::chrono_literals;

constexpr const char* kSessionUrl =
    "https://www.googleapis.com/upload/youtube/v3/videos?uploadType=resumable&part=snippet%2Cstatus";

constexpr size_t kVideoIdCapacity = 256;

constexpr StatusResult kPutResults[] = {
    {200, VELK_OK},
    {302, VELK_OK},
    {201, VELK_NO_IDENTIFIER},
    {308, VELK_NO_IDENTIFIER},
    {400, VELK_UNEXPECTED_REPLY},
    {503, VELK_TRANSFER_FAILED},
};

}  // namespace

std::string FindLocationHeader(std::string_view text) {
  constexpr std::string_view kName = "Location: ";
  const std::string_view searched = text.substr(0, text.find('\0'));
  const size_t line = searched.rfind(kName);
  // The value starts nine bytes after the anchor. The anchor is the second byte of the name, or the start of
  // the reply if the name is missing.
  const size_t anchor = line == std::string_view::npos ? 0 : line + 1;
  const size_t start = anchor + kName.size() - 1;
  const size_t end = std::min(searched.find_first_of("\r\n", anchor), searched.size());
  return start < end ? std::string(searched.substr(start, end - start)) : std::string();
}

int32_t CreateResumableUpload(const char* accessToken, YoutubeUploadInfo* info, std::string& outUploadUrl,
                              const NativePath& path) {
  if (!info || IsDescriptionIncomplete(accessToken, *info)) return VELK_MISSING_ARGUMENT;
  UploadFile file(path);
  if (!file) return VELK_FILE_NOT_OPENED;
  file.Close();

  Transfer session;
  if (!session) return VELK_NO_HANDLE;
  session.Url(kSessionUrl)
      .Timeout(10s)
      .Body(ComposeVideoBody(*info))
      .Post()
      .Header(BearerHeader(accessToken))
      .Header("Content-Type:  application/json; charset=UTF-8")
      .Header("X-Upload-Content-Length: " + std::to_string(file.Size()))
      .Header("X-Upload-Content-Type: application/octet-stream")
      .CollectHeaders();
  if (session.Perform() != CURLE_OK) return VELK_TRANSFER_FAILED;

  const int32_t result = FromDescriptionStatus(session.Status());
  if (result == VELK_OK) outUploadUrl = FindLocationHeader(session.Reply().Bytes());
  return result;
}

int32_t UploadFileContent(FileUploader* uploader, const char* accessToken, const YoutubeUploadInfo* info,
                          const std::string& uploadUrl, char* outVideoId, const NativePath& path) {
  if (!accessToken || !uploader || !info || !outVideoId) return VELK_MISSING_ARGUMENT;
  Transfer upload;
  if (!upload) return VELK_NO_HANDLE;
  UploadFile file(path);
  if (!file) return VELK_FILE_NOT_OPENED;

  upload.Url(uploadUrl)
      .Progress(&YoutubeProgressCallback, uploader)
      .Put(file)
      .Header(BearerHeader(accessToken))
      .Header("Content-Type: application/octet-stream")
      .Header("Content-Length: " + std::to_string(file.Size()));
  AtomicStore(uploader->state, uint32_t{kYoutubeUploading});
  const CURLcode failure = upload.Perform();
  file.Close();
  if (failure != CURLE_OK) return FromTransfer(failure);

  const int32_t result = FromStatus(upload.Status(), kPutResults, VELK_NO_HANDLE);
  if (result != VELK_OK) return result;
  const bool found = JsonGetStringValue(upload.Reply().Bytes(), "id", {outVideoId, kVideoIdCapacity}) == 0;
  return found ? VELK_OK : VELK_NO_IDENTIFIER;
}

}  // namespace velk::youtube

using namespace velk;
using namespace velk::youtube;

int32_t StartYoutubeUploadFile(FileUploader* uploader, const char* accessToken, YoutubeUploadInfo* info,
                               char* outVideoId) noexcept {
  return Guarded([&]() -> int32_t {
    const NativePath path = info ? WidenPath(Field(info->filePath)) : NativePath();
    if (!accessToken) return VELK_MISSING_ARGUMENT;
    std::string uploadUrl;
    const int32_t created = CreateResumableUpload(accessToken, info, uploadUrl, path);
    if (created < 0) return created;
    return UploadFileContent(uploader, accessToken, info, uploadUrl, outVideoId, path);
  });
}
