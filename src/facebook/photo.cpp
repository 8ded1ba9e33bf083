// Uploads a photo and sets its privacy.
#include "facebook/facebook.h"
#include "json/json.h"

namespace velk::facebook {
namespace {

using namespace std::chrono_literals;

bool IsPhotoIncomplete(const char* accessToken, const FacebookUploadInfo& info) noexcept {
  return *accessToken == '\0' || *info.filePath == '\0' || *info.description == '\0' || *info.privacy == '\0';
}

int32_t SendPhoto(Transfer& upload, FileUploader* uploader, const char* accessToken,
                  const FacebookUploadInfo& info, const NativePath& path, UploadFile& file) {
  upload.Url(Concat({kGraphApi, TargetNode(info), "/photos?access_token=", accessToken}))
      .ConnectTimeout(5s)
      .Post()
      .Progress(&UploadProgressCallback, uploader)
      .FormField("message", Field(info.description))
      .FormFile(file, NarrowPath(path));
  const CURLcode failure = upload.Perform();
  file.Close();
  return GraphResult(upload, failure);
}

}  // namespace
}  // namespace velk::facebook

using namespace velk;
using namespace velk::facebook;

int32_t StartFacebookUploadPhoto(FileUploader* uploader, const char* accessToken,
                                 const FacebookUploadInfo* info, char* outPostId) noexcept {
  if (!uploader || !accessToken || !info || !outPostId) return VELK_MISSING_ARGUMENT;
  if (IsPhotoIncomplete(accessToken, *info)) return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    const NativePath path = WidenPath(Field(info->filePath));
    UploadFile file(path);
    if (!file) return VELK_FILE_NOT_OPENED;
    const Connections connections;
    Transfer upload({.connections = &connections});
    if (!upload) return VELK_NO_HANDLE;
    const int32_t result = SendPhoto(upload, uploader, accessToken, *info, path, file);
    if (result != VELK_OK) return result;

    const std::string_view reply = upload.Reply().Bytes();
    char photoId[kValueCapacity] = "";
    const bool identified = JsonGetStringValue(reply, "id", photoId) == 0;
    if (identified && UpdatePrivacy(connections, accessToken, *info, photoId) != VELK_OK) {
      // The photo is published. Only the upload's handle and reply stay allocated.
      upload.Abandon();
      return VELK_PRIVACY_NOT_UPDATED;
    }
    // Without a story identifier in the reply, the host's buffer is unchanged.
    JsonGetStringValue(reply, "post_id", {outPostId, kValueCapacity});
    return VELK_OK;
  });
}
