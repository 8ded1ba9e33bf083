// What the tests of failing allocations share: a sandbox that takes every request for a success, and each export as
// an operation to torture.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "api/service_test.h"
#include "torture/failures.h"

namespace velk::test {

struct Operation {
  const char* name;
  std::function<int32_t()> call;
  std::vector<int32_t> codes;  // what a failed allocation may give, besides success
  bool isSigned = false;       // without memory liboauth ends the process
};

class AllocationTest : public ServiceTest {
 protected:
  AllocationTest();

  // Each export that allocates.
  std::vector<Operation> Exports();

  // Fails one allocation after the other, until the operation makes no more of them. Returns how many it made.
  int Torture(const Operation& operation, Allocator allocator);

  TempFile file{"clip.mp4", RandomBytes(3000, 1)};
  const std::string path = file.Path();
  YoutubeUploadInfo video{};
  FacebookUploadInfo facebook{};
  TwitterConsumer consumer{"c", "c-secret"};
  TwitterAccessToken token{"t", "t-secret", "7", "name"};
  TwitterAccessRequest access{"c", "c-secret", "r", "1"};
  TwitterUploadFile photo{};
  FileUploader uploader{};
  char text[8192] = "";
  char other[1024] = "";
  uint32_t number = 0;
  int32_t size = 0;
};

}  // namespace velk::test
