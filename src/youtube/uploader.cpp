// The exported functions for the upload handle of YouTube, and its progress callback.
#include "youtube/youtube.h"

namespace velk {

int YoutubeProgressCallback(void* clientData, double, double, double uploadTotal, double uploadNow) noexcept {
  constexpr int kNoHandle = -1;
  constexpr int kNotUploading = -10;
  auto* uploader = static_cast<FileUploader*>(clientData);
  if (!uploader) return kNoHandle;
  if (Load(uploader->state) != kYoutubeUploading) return kNotUploading;
  Store(uploader->totalBytes, uploadTotal);
  Store(uploader->uploadedBytes, uploadNow);
  return 0;
}

}  // namespace velk

FileUploader* InitYoutubeFileUploder() noexcept { return velk::NewUploader(); }

int32_t UninitYoutubeFileUploder(FileUploader* uploader) noexcept {
  if (!uploader) return VELK_MISSING_ARGUMENT;
  if (velk::Load(uploader->state) == velk::kYoutubeUploading) return VELK_BUSY;
  velk::FreeUploader(uploader);
  return VELK_OK;
}

int32_t GetYoutubeUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                     double* outTotal) noexcept {
  if (!uploader || !outUploaded || !outTotal) return VELK_MISSING_ARGUMENT;
  if (velk::Load(uploader->state) != velk::kYoutubeUploading) return VELK_NOT_UPLOADING;
  *outUploaded = velk::Load(uploader->uploadedBytes);
  *outTotal = velk::Load(uploader->totalBytes);
  return VELK_OK;
}

int32_t CancelYoutubeUploadFile(FileUploader* uploader) noexcept {
  if (!uploader) return VELK_MISSING_ARGUMENT;
  if (velk::Load(uploader->state) != velk::kYoutubeUploading) return VELK_NOT_UPLOADING;
  velk::Store(uploader->state, uint32_t{velk::kYoutubeCancelAsked});
  return VELK_OK;
}
