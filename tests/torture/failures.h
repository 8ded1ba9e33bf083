// Lets the n-th allocation of a call fail: the library's own, or libcurl's.
#pragma once

namespace velk::test {

enum class Allocator {
  kLibrary,  // operator new, malloc, calloc and realloc of our sources
  kCurl,     // whatever libcurl allocates through its memory hooks
};

// While it lives, the allocation of that index (from 0) fails.
class FailingAllocation {
 public:
  FailingAllocation(Allocator allocator, int index) noexcept;
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // False when the call made fewer allocations.
  bool Happened() const noexcept;
};

// Puts libcurl's hooks in place; once, before anything uses libcurl.
void HookCurlAllocations();

}  // namespace velk::test
