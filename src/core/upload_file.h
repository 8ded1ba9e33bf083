// An open file to upload, measured and positioned at its start.
#pragma once

#include <cstdio>
#include <memory>

#include "core/platform.h"

namespace velk {

class UploadFile {
 public:
  // Opens and measures the file. Check success with operator bool.
  explicit UploadFile(const NativePath& path) noexcept;

  explicit operator bool() const noexcept { return stream_ != nullptr; }
  int64_t Size() const noexcept { return size_; }
  std::FILE* Stream() const noexcept { return stream_.get(); }

  // Closes the file early, so that the host can delete it as soon as the transfer ends.
  void Close() noexcept { stream_.reset(); }

 private:
  struct Closer {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
  };

  std::unique_ptr<std::FILE, Closer> stream_;
  int64_t size_ = 0;
};

// The CURLOPT_READFUNCTION of every upload; `stream` is the open file. Returns the result of fread.
size_t FileReadCallback(char* destination, size_t itemSize, size_t itemCount, void* stream) noexcept;

}  // namespace velk
