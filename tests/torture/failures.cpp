// The hooks of the Linux build. They replace every allocator of the test program; a countdown selects the
// allocation that fails.
#include "torture/failures.h"

#include <curl/curl.h>
#include <sys/random.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

// The linker redirects calls in our sources to the wrappers. The wrappers call the real functions.
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_realloc(void* block, size_t size);
ssize_t __real_getrandom(void* bytes, size_t size, unsigned flags);
ssize_t __wrap_getrandom(void* bytes, size_t size, unsigned flags);
}

namespace velk::test {
namespace {

constexpr int kNever = -1;

std::atomic<int> libraryCountdown{kNever};
std::atomic<int> curlCountdown{kNever};
std::atomic<bool> happened{false};
std::atomic<bool> noRandomness{false};

// Counts one allocation. Returns true when it is the one that must fail.
bool Fails(std::atomic<int>& countdown) noexcept {
  if (countdown.load() == kNever || countdown.fetch_sub(1) != 0) return false;
  happened = true;
  return true;
}

bool LibraryFails() noexcept { return Fails(libraryCountdown); }

void* CurlMalloc(size_t size) { return Fails(curlCountdown) ? nullptr : __real_malloc(size); }
void* CurlCalloc(size_t count, size_t size) {
  return Fails(curlCountdown) ? nullptr : __real_calloc(count, size);
}
void* CurlRealloc(void* block, size_t size) {
  return Fails(curlCountdown) ? nullptr : __real_realloc(block, size);
}
char* CurlStrdup(const char* text) { return Fails(curlCountdown) ? nullptr : ::strdup(text); }

}  // namespace

FailingAllocation::FailingAllocation(Allocator allocator, int index) noexcept {
  happened = false;
  (allocator == Allocator::kLibrary ? libraryCountdown : curlCountdown) = index;
}

FailingAllocation::~FailingAllocation() {
  libraryCountdown = kNever;
  curlCountdown = kNever;
}

bool FailingAllocation::Happened() const noexcept { return happened; }

NoRandomness::NoRandomness() noexcept { noRandomness = true; }
NoRandomness::~NoRandomness() { noRandomness = false; }

void InstallHooks() {
  curl_global_init_mem(CURL_GLOBAL_ALL, CurlMalloc, std::free, CurlRealloc, CurlStrdup, CurlCalloc);
}

}  // namespace velk::test

using velk::test::LibraryFails;

void* __wrap_malloc(size_t size) { return LibraryFails() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(size_t count, size_t size) {
  return LibraryFails() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* block, size_t size) {
  return LibraryFails() ? nullptr : __real_realloc(block, size);
}

ssize_t __wrap_getrandom(void* bytes, size_t size, unsigned flags) {
  if (!velk::test::noRandomness) return __real_getrandom(bytes, size, flags);
  errno = ENOSYS;
  return -1;
}

void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return LibraryFails() ? nullptr : __real_malloc(size);
}
void* operator new(size_t size) {
  if (void* block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
void* operator new[](size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete[](void* block, size_t) noexcept { std::free(block); }
