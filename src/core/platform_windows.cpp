#include <windows.h>
// These two need types from <windows.h>.
#include <bcrypt.h>
#include <io.h>

#include "core/platform.h"

namespace velk {

const char kPathSeparator = '\\';

NativePath WidenPath(std::string_view utf8) {
  const int length = static_cast<int>(utf8.size());
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0);
  NativePath path(static_cast<size_t>(units), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, path.data(), units);
  return path;
}

std::string NarrowPath(const NativePath& path) {
  const int units = static_cast<int>(path.size());
  const int length = WideCharToMultiByte(CP_ACP, 0, path.data(), units, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<size_t>(length), '\0');
  WideCharToMultiByte(CP_ACP, 0, path.data(), units, narrow.data(), length, nullptr, nullptr);
  return narrow;
}

std::FILE* OpenForReading(const NativePath& path) noexcept {
  std::FILE* const file = _wfopen(path.c_str(), L"rb");
  // A device name such as "NUL" or "nul.mp4" opens like a file, in any folder.
  if (!file || GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)))) == FILE_TYPE_DISK)
    return file;
  std::fclose(file);
  return nullptr;
}

int64_t MeasureFile(std::FILE* file) noexcept {
  if (_fseeki64(file, 0, SEEK_END) != 0) return -1;
  const int64_t size = _ftelli64(file);
  return _fseeki64(file, 0, SEEK_SET) == 0 ? size : -1;
}

void Wait(std::chrono::milliseconds duration) noexcept { Sleep(static_cast<DWORD>(duration.count())); }

bool FillWithRandomBytes(std::span<unsigned char> bytes) noexcept {
  return BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(bytes.size()),
                         BCRYPT_USE_SYSTEM_PREFERRED_RNG) == 0;
}

std::unique_lock<std::mutex> LockLiboauth() { return {}; }

}  // namespace velk
