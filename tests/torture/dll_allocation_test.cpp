// Makes each allocation inside the DLL fail, including libcurl's, one at a time. The result must be one of
// the expected codes.
#include "torture/fixture.h"

namespace velk::test {
namespace {

class DllAllocationFailures : public AllocationTest {};

TEST_F(DllAllocationFailures, ReturnExpectedCodes) {
  for (const Operation& operation : Exports()) {
    if (operation.isSigned) continue;
    const int failures = Torture(operation, Allocator::kCurl);
    EXPECT_GT(failures, 0) << operation.name;
    std::printf("%-32s %4d allocations\n", operation.name, failures);
  }
}

}  // namespace
}  // namespace velk::test
