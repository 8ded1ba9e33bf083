// Opening, measuring and reading the file to upload.
#include "core/upload_file.h"

namespace velk {

UploadFile::UploadFile(const NativePath& path) noexcept : stream_(OpenForReading(path)) {
  if (!stream_) return;
  // libcurl asks for large blocks; a buffer in between would only copy them once more.
  std::setvbuf(stream_.get(), nullptr, _IONBF, 0);
  size_ = MeasureFile(stream_.get());
  if (size_ < 0) Close();
}

size_t FileReadCallback(char* destination, size_t itemSize, size_t itemCount, void* stream) noexcept {
  return std::fread(destination, itemSize, itemCount, static_cast<std::FILE*>(stream));
}

}  // namespace velk
