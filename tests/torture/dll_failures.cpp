// The hooks of the Windows build. They replace the functions that may fail in the DLL's import table.
#include <windows.h>
// Needs the types that <windows.h> declares.
#include <bcrypt.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "torture/failures.h"

namespace velk::test {
namespace {

constexpr int kNever = -1;

std::atomic<int> countdown{kNever};
std::atomic<bool> happened{false};
std::atomic<bool> noRandomness{false};

bool Fails() noexcept {
  if (countdown.load() == kNever || countdown.fetch_sub(1) != 0) return false;
  happened = true;
  return true;
}

void* Malloc(size_t size) { return Fails() ? nullptr : std::malloc(size); }
void* Calloc(size_t count, size_t size) { return Fails() ? nullptr : std::calloc(count, size); }
void* Realloc(void* block, size_t size) { return Fails() ? nullptr : std::realloc(block, size); }
char* Strdup(const char* text) { return Fails() ? nullptr : _strdup(text); }
LONG WINAPI GenRandom(BCRYPT_ALG_HANDLE algorithm, unsigned char* bytes, ULONG size, ULONG flags) {
  return noRandomness ? -1 : BCryptGenRandom(algorithm, bytes, size, flags);
}

struct Hook {
  const char* name;
  void* function;
};

const Hook kHooks[] = {
    {"malloc", reinterpret_cast<void*>(&Malloc)},
    {"calloc", reinterpret_cast<void*>(&Calloc)},
    {"realloc", reinterpret_cast<void*>(&Realloc)},
    {"_strdup", reinterpret_cast<void*>(&Strdup)},
    {"BCryptGenRandom", reinterpret_cast<void*>(&GenRandom)},
};

template <typename Part>
Part* At(HMODULE module, DWORD offset) {
  return reinterpret_cast<Part*>(reinterpret_cast<char*>(module) + offset);
}

// Returns the slot in the module's import table that holds the address of a function. Null when the module
// does not import a function with that name.
ULONGLONG* FindImport(HMODULE module, const char* name) {
  const auto* const headers =
      At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
  const DWORD table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  for (auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(module, table); library->Name != 0; ++library) {
    const auto* symbol = At<IMAGE_THUNK_DATA>(module, library->OriginalFirstThunk);
    for (auto* slot = At<IMAGE_THUNK_DATA>(module, library->FirstThunk); symbol->u1.AddressOfData != 0;
         ++slot, ++symbol) {
      if (IMAGE_SNAP_BY_ORDINAL(symbol->u1.Ordinal)) continue;
      const auto* const import =
          At<IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(symbol->u1.AddressOfData));
      if (std::strcmp(import->Name, name) == 0) return &slot->u1.Function;
    }
  }
  return nullptr;
}

}  // namespace

FailingAllocation::FailingAllocation(Allocator, int index) noexcept {
  happened = false;
  countdown = index;
}

FailingAllocation::~FailingAllocation() { countdown = kNever; }

bool FailingAllocation::Happened() const noexcept { return happened; }

NoRandomness::NoRandomness() noexcept { noRandomness = true; }
NoRandomness::~NoRandomness() { noRandomness = false; }

void InstallHooks() {
  HMODULE const library = GetModuleHandleW(L"LibVelkUpload.dll");
  for (const Hook& hook : kHooks) {
    ULONGLONG* const slot = library ? FindImport(library, hook.name) : nullptr;
    DWORD before = 0;
    if (!slot || !VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before))
      throw std::runtime_error(std::string("the DLL does not import ") + hook.name);
    *slot = reinterpret_cast<ULONGLONG>(hook.function);
    VirtualProtect(slot, sizeof *slot, before, &before);
  }
}

}  // namespace velk::test
