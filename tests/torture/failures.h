// Makes the system fail for the library: at the n-th allocation of a call, or whenever it needs random
// numbers. On Linux the linker redirects calls in our sources to the hooks. On Windows the hooks replace the
// DLL's imports.
#pragma once

namespace velk::test {

enum class Allocator {
  kLibrary,  // operator new, malloc, calloc and realloc in our sources; unused on Windows
  kCurl,     // libcurl's allocations; on Windows all allocations inside the DLL
};

// During its lifetime, the allocation with that index (from 0) fails.
class FailingAllocation {
 public:
  FailingAllocation(Allocator allocator, int index) noexcept;
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // Returns false when the call made fewer allocations.
  bool Happened() const noexcept;
};

// During its lifetime, the system's random number generator fails.
class NoRandomness {
 public:
  NoRandomness() noexcept;
  ~NoRandomness();
  NoRandomness(const NoRandomness&) = delete;
  NoRandomness& operator=(const NoRandomness&) = delete;
};

// Installs all hooks. Must be called once, before anything uses the library.
void InstallHooks();

}  // namespace velk::test
