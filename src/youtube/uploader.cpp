// The exported functions for the upload handle of YouTube, and its progress callback.
#include "youtube/youtube.h"

namespace velk::youtube {

int YoutubeProgressCallback(void* clientData, double, double, double uploadTotal, double uploadNow) noexcept {
  constexpr int kNoHandle = -1;
  constexpr int kNotUploading = -10;
  auto* uploader = static_cast<FileUploader*>(clientData);
  if (!uploader) return kNoHandle;
  if (AtomicLoad(uploader->state) != kYoutubeUploading) return kNotUploading;
  AtomicStore(uploader->totalBytes, uploadTotal);
  AtomicStore(uploader->uploadedBytes, uploadNow);
  return 0;
}

}  // namespace velk::youtube

using namespace velk;
using namespace velk::youtube;

FileUploader* InitYoutubeFileUploder() noexcept { return NewUploader(); }

int32_t UninitYoutubeFileUploder(FileUploader* uploader) noexcept {
  if (!uploader) return VELK_MISSING_ARGUMENT;
  if (AtomicLoad(uploader->state) == kYoutubeUploading) return VELK_BUSY;
  FreeUploader(uploader);
  return VELK_OK;
}

int32_t GetYoutubeUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                     double* outTotal) noexcept {
  if (!uploader || !outUploaded || !outTotal) return VELK_MISSING_ARGUMENT;
  if (AtomicLoad(uploader->state) != kYoutubeUploading) return VELK_NOT_UPLOADING;
  *outUploaded = AtomicLoad(uploader->uploadedBytes);
  *outTotal = AtomicLoad(uploader->totalBytes);
  return VELK_OK;
}

int32_t CancelYoutubeUploadFile(FileUploader* uploader) noexcept {
  if (!uploader) return VELK_MISSING_ARGUMENT;
  if (AtomicLoad(uploader->state) != kYoutubeUploading) return VELK_NOT_UPLOADING;
  AtomicStore(uploader->state, uint32_t{kYoutubeCancelRequested});
  return VELK_OK;
}
