#include "core/upload_file.h"

namespace velk {

UploadFile::UploadFile(const NativePath& path) noexcept : stream_(OpenForReading(path)) {
  if (!stream_) return;
  // libcurl reads large blocks; a stdio buffer would only add a copy.
  std::setvbuf(stream_.get(), nullptr, _IONBF, 0);
  size_ = MeasureFile(stream_.get());
  if (size_ < 0) Close();
}

size_t FileReadCallback(char* destination, size_t itemSize, size_t itemCount, void* stream) noexcept {
  return std::fread(destination, itemSize, itemCount, static_cast<std::FILE*>(stream));
}

}  // namespace velk
