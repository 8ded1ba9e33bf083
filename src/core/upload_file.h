// A file on its way to a service: open, measured, at its start.
#pragma once

#include <cstdio>
#include <memory>

#include "core/platform.h"

namespace velk {

class UploadFile {
 public:
  // Opens and measures the file; test the result with operator bool.
  explicit UploadFile(const NativePath& path) noexcept;

  explicit operator bool() const noexcept { return stream_ != nullptr; }
  int64_t Size() const noexcept { return size_; }
  std::FILE* Stream() const noexcept { return stream_.get(); }

  // Closes the file ahead of the object's end, so that the host may delete it as soon as its transfer is
  // over.
  void Close() noexcept { stream_.reset(); }

 private:
  struct Closer {
    void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
  };

  std::unique_ptr<std::FILE, Closer> stream_;
  int64_t size_ = 0;
};

// The CURLOPT_READFUNCTION of every upload; the stream is the open file. Answers what fread answers.
size_t FileReadCallback(char* destination, size_t itemSize, size_t itemCount, void* stream) noexcept;

}  // namespace velk
