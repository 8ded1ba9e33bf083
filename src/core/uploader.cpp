#include "core/uploader.h"

#include <new>

namespace velk {
namespace {

constexpr uint32_t kIdle = 0;
constexpr uint32_t kReported = 1;
constexpr int kAbort = -1;

}  // namespace

FileUploader* NewUploader() noexcept { return new (std::nothrow) FileUploader{}; }

void FreeUploader(FileUploader* uploader) noexcept { delete uploader; }

int UploadProgressCallback(void* clientData, double, double, double uploadTotal, double uploadNow) noexcept {
  auto* uploader = static_cast<FileUploader*>(clientData);
  if (!uploader) return kAbort;
  if (Load(uploader->cancelRequested) != 0) {
    Store(uploader->state, kIdle);
    return kAbort;
  }
  Store(uploader->totalBytes, uploadTotal);
  Store(uploader->state, kReported);
  Store(uploader->uploadedBytes, uploadNow);
  return 0;
}

}  // namespace velk

// Each function below is also exported under its Twitter name.

FileUploader* InitFacebookFileUploder() noexcept { return velk::NewUploader(); }

int32_t GetFacebookUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                      double* outTotal) noexcept {
  if (!uploader || !outUploaded || !outTotal) return VELK_MISSING_ARGUMENT;
  if (velk::Load(uploader->state) == velk::kIdle) return VELK_UNEXPECTED_REPLY;
  *outUploaded = velk::Load(uploader->uploadedBytes);
  *outTotal = velk::Load(uploader->totalBytes);
  return VELK_OK;
}

int32_t CancelFacebookUploadFile(FileUploader* uploader) noexcept {
  if (!uploader) return VELK_MISSING_ARGUMENT;
  velk::Store(uploader->cancelRequested, uint32_t{1});
  return VELK_OK;
}

int32_t UninitFacebookFileUploder(FileUploader* uploader) noexcept {
  if (!uploader) return VELK_MISSING_ARGUMENT;
  if (velk::Load(uploader->state) != velk::kIdle) return VELK_BUSY;
  velk::FreeUploader(uploader);
  return VELK_OK;
}
