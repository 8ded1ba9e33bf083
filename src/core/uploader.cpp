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
  if (AtomicLoad(uploader->cancelRequested) != 0) {
    AtomicStore(uploader->state, kIdle);
    return kAbort;
  }
  AtomicStore(uploader->totalBytes, uploadTotal);
  AtomicStore(uploader->state, kReported);
  AtomicStore(uploader->uploadedBytes, uploadNow);
  return 0;
}

}  // namespace velk

// Each function below is also exported under its Twitter name.

FileUploader* InitFacebookFileUploder() noexcept { return velk::NewUploader(); }

int32_t GetFacebookUploadFileProgress(const FileUploader* uploader, double* outUploaded,
                                      double* outTotal) noexcept {
  if (!uploader || !outUploaded || !outTotal) return VELK_MISSING_ARGUMENT;
  if (velk::AtomicLoad(uploader->state) == velk::kIdle) return VELK_UNEXPECTED_REPLY;
  *outUploaded = velk::AtomicLoad(uploader->uploadedBytes);
  *outTotal = velk::AtomicLoad(uploader->totalBytes);
  return VELK_OK;
}

int32_t CancelFacebookUploadFile(FileUploader* uploader) noexcept {
  if (!uploader) return VELK_MISSING_ARGUMENT;
  velk::AtomicStore(uploader->cancelRequested, uint32_t{1});
  return VELK_OK;
}

int32_t UninitFacebookFileUploder(FileUploader* uploader) noexcept {
  if (!uploader) return VELK_MISSING_ARGUMENT;
  if (velk::AtomicLoad(uploader->state) != velk::kIdle) return VELK_BUSY;
  velk::FreeUploader(uploader);
  return VELK_OK;
}
