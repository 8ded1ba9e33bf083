// Lets the system refuse the library something: the n-th allocation of a call, or randomness. On Linux the linker
// sends our sources' calls here; on Windows the imports of the DLL itself are replaced.
#pragma once

namespace velk::test {

enum class Allocator {
  kLibrary,  // operator new, malloc, calloc and realloc of our sources; in the DLL of all that is linked into it
  kCurl,     // whatever libcurl allocates through its memory hooks; on Linux only
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

// While it lives, the system's random generator gives nothing.
class NoRandomness {
 public:
  NoRandomness() noexcept;
  ~NoRandomness();
  NoRandomness(const NoRandomness&) = delete;
  NoRandomness& operator=(const NoRandomness&) = delete;
};

// Puts all hooks in place; once, before anything uses the library.
void InstallHooks();

}  // namespace velk::test
