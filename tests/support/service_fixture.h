// The common fixture of the service tests: a clean sandbox, which the library uses as its proxy.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/files.h"
#include "support/records.h"
#include "support/sandbox.h"
#include "velk_upload.h"

namespace velk::test {

class ServiceTest : public testing::Test {
 protected:
  ServiceTest() { SetLibVelkUploadProxy(sandbox.Proxy().c_str()); }
  ~ServiceTest() override { SetLibVelkUploadProxy(""); }

  Sandbox sandbox;
};

// A reply or fault, and the result that the call must return.
struct Outcome {
  const char* name;
  Script reply;
  int32_t result;
};

// Files that must be uploaded unchanged. A careless implementation would corrupt their names or contents.
struct Media {
  const char* name;
  std::string fileName;
  std::string content;
};
inline std::vector<Media> MediaToUpload() {
  return {{"empty", "empty.mp4", ""},
          {"Chinese name", "\xE6\x88\x91\xE7\x9A\x84 \xE8\xA7\x86\xE9\xA2\x91.mp4", "content"},
          {"all byte values", "bytes.bin", RandomBytes(100000, 1)},
          {"larger than any buffer", "large.bin", RandomBytes(3 * 1024 * 1024 + 1, 2)}};
}

// The URL of a proxy that refuses every connection.
constexpr const char* kRefusingProxy = "http://127.0.0.1:1";

// Starts an upload on another thread, cancels it through its handle once it reports progress, and returns the
// upload's result. `index` is the request to cancel. `total` receives the size that the handle reports.
inline int32_t CancelInMidTransfer(Sandbox& sandbox, size_t index, FileUploader* uploader,
                                   decltype(&GetYoutubeUploadFileProgress) progress,
                                   decltype(&CancelYoutubeUploadFile) cancel,
                                   const std::function<int32_t()>& start, double& total) {
  int32_t result = VELK_OK;
  std::thread upload([&] { result = start(); });
  EXPECT_TRUE(sandbox.WaitForBody(index, 1000));
  double uploaded = 0;
  while (progress(uploader, &uploaded, &total) == VELK_OK && uploaded <= 0)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(cancel(uploader), VELK_OK);
  upload.join();
  return result;
}

// Deletes the file and returns whether that succeeded. On Windows, an open file cannot be deleted.
inline bool Deletable(const TempFile& file) {
  std::error_code failure;
  return std::filesystem::remove(file.File(), failure);
}

}  // namespace velk::test
