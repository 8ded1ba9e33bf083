// The common fixture of the allocation tests: a sandbox that reports success for every request, and the
// exports as operations that can be repeated.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/host.h"
#include "support/service_fixture.h"
#include "torture/failures.h"

namespace velk::test {

struct Operation {
  const char* name;
  std::function<int32_t()> call;
  std::vector<int32_t> codes;  // results of a failed allocation that are allowed besides success
  bool isSigned = false;       // out of memory, liboauth ends the process
};

class AllocationTest : public ServiceTest {
 protected:
  AllocationTest();

  // Returns each export that allocates.
  std::vector<Operation> Exports();

  // Makes one allocation after another fail, until the operation completes. Returns the number of
  // allocations.
  int Torture(const Operation& operation, Allocator allocator);

  TempFile file{"clip.mp4", RandomBytes(3000, 1)};
  Host host{file.Path()};
};

}  // namespace velk::test
