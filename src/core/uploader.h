// Access to the upload handle, and the progress callback for Facebook and Twitter.
#pragma once

#include <atomic>

#include "velk_upload.h"

namespace velk {

// The host's threads share the fields of a handle with the uploading thread. They are plain memory, so each
// access is a relaxed atomic one. It compiles to a plain load or store without being a data race.
template <typename Value>
Value AtomicLoad(const Value& field) noexcept {
  return std::atomic_ref<Value>(const_cast<Value&>(field)).load(std::memory_order_relaxed);
}

template <typename Value>
void AtomicStore(Value& field, Value value) noexcept {
  std::atomic_ref<Value>(field).store(value, std::memory_order_relaxed);
}

// Returns a zeroed handle, or null if memory runs out.
FileUploader* NewUploader() noexcept;

void FreeUploader(FileUploader* uploader) noexcept;

// The CURLOPT_PROGRESSFUNCTION of uploads to Facebook and Twitter; `clientData` is the FileUploader. Aborts
// the transfer if the handle is null or its cancellation was requested.
int UploadProgressCallback(void* clientData, double downloadTotal, double downloadNow, double uploadTotal,
                           double uploadNow) noexcept;

}  // namespace velk
