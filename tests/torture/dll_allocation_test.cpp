// Lets each allocation inside the DLL fail in turn, its libcurl's included: a prescribed code comes back.
#include "torture/fixture.h"

namespace velk::test {
namespace {

class DllAllocations : public AllocationTest {};

TEST_F(DllAllocations, FailOneByOne) {
  for (const Operation& operation : Exports()) {
    if (operation.isSigned) continue;
    const int failures = Torture(operation, Allocator::kCurl);
    EXPECT_GT(failures, 0) << operation.name;
    std::printf("%-32s %4d allocations\n", operation.name, failures);
  }
}

}  // namespace
}  // namespace velk::test
