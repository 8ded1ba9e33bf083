// The upload handle as the library touches it, and its progress callback for Facebook and Twitter.
#pragma once

#include <atomic>

#include "velk_upload.h"

namespace velk {

// A handle's fields are plain memory that the host's threads share with the uploading one. Each access of
// ours is relaxed: it compiles to the plain load or store, without being a data race.
template <typename Value>
Value Load(const Value& field) noexcept {
  return std::atomic_ref<Value>(const_cast<Value&>(field)).load(std::memory_order_relaxed);
}

template <typename Value>
void Store(Value& field, Value value) noexcept {
  std::atomic_ref<Value>(field).store(value, std::memory_order_relaxed);
}

// A zeroed handle, or null without memory.
FileUploader* NewUploader() noexcept;

void FreeUploader(FileUploader* uploader) noexcept;

// The CURLOPT_PROGRESSFUNCTION of the uploads to Facebook and Twitter; the client data is the FileUploader.
// Without a handle, or when a cancel was asked, it aborts the transfer.
int UploadProgressCallback(void* clientData, double downloadTotal, double downloadNow, double uploadTotal,
                           double uploadNow) noexcept;

}  // namespace velk
