// Lets each allocation behind every export and internal operation fail in turn: a prescribed code comes back, and
// under the sanitizers nothing leaks or is touched after its end.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include "support/sandbox.h"
#include "torture/allocations.h"
#include "youtube/youtube.h"

namespace velk::test {
namespace {

struct Operation {
  const char* name;
  std::function<int32_t()> call;
  std::vector<int32_t> codes;  // what a failed allocation may answer, besides success
};

template <size_t width>
void Fill(char (&field)[width], const std::string& text) {
  std::fill(std::begin(field), std::end(field), '\0');
  text.copy(field, width - 1);
}

class Allocations : public testing::Test {
 protected:
  Allocations() {
    SetLibVelkUploadProxy(sandbox.Proxy().c_str());
    Fill(video.filePath, file.Path());
    Fill(video.title, "title");
    Fill(video.description, "description");
    Fill(video.privacyStatus, "private");
    Fill(video.categoryId, "22");
    Fill(video.tags, "one\ntwo");
  }
  ~Allocations() override { SetLibVelkUploadProxy(""); }

  std::vector<Operation> Operations();

  // Fails one allocation after the other, until the operation makes no more of them. Answers how many it made.
  int Torture(const Operation& operation, Allocator allocator) {
    for (int index = 0;; ++index) {
      const FailingAllocation failing(allocator, index);
      const int32_t result = operation.call();
      if (!failing.Happened()) {
        EXPECT_EQ(result, VELK_OK) << operation.name << " with memory enough";
        return index;
      }
      // libcurl goes on without some of what it could not allocate, and the service then refuses the request.
      const bool refused = allocator == Allocator::kCurl && result == VELK_UNEXPECTED_REPLY;
      EXPECT_TRUE(result == VELK_OK || refused || std::ranges::count(operation.codes, result) == 1)
          << operation.name << ", allocation " << index << ": " << result;
    }
  }

  Sandbox sandbox;
  TempFile file{"clip.mp4", RandomBytes(3000, 1)};
  YoutubeUploadInfo video{};
  FileUploader uploader{};
  char text[4096] = "";
};

std::vector<Operation> Allocations::Operations() {
  const std::vector<int32_t> transfer = {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY};
  const std::vector<int32_t> identified = {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY,
                                           VELK_NO_IDENTIFIER};
  return {
      {"InitYoutubeFileUploder",
       [] {
         FileUploader* made = InitYoutubeFileUploder();
         return made ? UninitYoutubeFileUploder(made) : VELK_OUT_OF_MEMORY;
       },
       {VELK_OUT_OF_MEMORY}},
      {"InitFacebookFileUploder",
       [] {
         FileUploader* made = InitFacebookFileUploder();
         return made ? UninitFacebookFileUploder(made) : VELK_OUT_OF_MEMORY;
       },
       {VELK_OUT_OF_MEMORY}},
      {"StartYoutubeUploadFile", [this] { return StartYoutubeUploadFile(&uploader, "token", &video, text); },
       identified},
  };
}

TEST_F(Allocations, OfTheLibraryFailOneByOne) {
  for (const Operation& operation : Operations()) {
    const int failures = Torture(operation, Allocator::kLibrary);
    EXPECT_GT(failures, 0) << operation.name;
    RecordProperty(operation.name, failures);
  }
}

TEST_F(Allocations, OfCurlFailOneByOne) {
  for (const Operation& operation : Operations()) {
    Torture(operation, Allocator::kCurl);
  }
}

}  // namespace
}  // namespace velk::test

int main(int argc, char** argv) {
  velk::test::HookCurlAllocations();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
