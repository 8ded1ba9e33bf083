#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sddl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <system_error>

#include "net/files.h"

namespace velk::sandbox {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void ThrowError(const std::string& what) {
  throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), what);
}

// The user's security identifier, in its string form.
std::wstring UserId() {
  HANDLE token = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) ThrowError("access token");
  alignas(TOKEN_USER) std::array<std::byte, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user{};
  DWORD size = 0;
  wchar_t* text = nullptr;
  const BOOL known =
      ::GetTokenInformation(token, TokenUser, user.data(), static_cast<DWORD>(user.size()), &size) &&
      ::ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid, &text);
  ::CloseHandle(token);
  if (!known) ThrowError("user of the access token");
  const std::unique_ptr<wchar_t, decltype(&::LocalFree)> owned(text, ::LocalFree);
  return text;
}

// Access for the user, the system and the administrators. What is created inside a folder inherits it.
class PrivateAccess {
 public:
  PrivateAccess() {
    const std::wstring access = L"D:P(A;OICI;FA;;;" + UserId() + L")(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";
    if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(access.c_str(), SDDL_REVISION_1,
                                                                &attributes_.lpSecurityDescriptor, nullptr)) {
      ThrowError("access list");
    }
  }
  ~PrivateAccess() { ::LocalFree(attributes_.lpSecurityDescriptor); }
  PrivateAccess(const PrivateAccess&) = delete;
  PrivateAccess& operator=(const PrivateAccess&) = delete;

  SECURITY_ATTRIBUTES* Get() { return &attributes_; }

 private:
  SECURITY_ATTRIBUTES attributes_{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
};

}  // namespace

fs::path FromUtf8(std::string_view text) { return fs::path(std::u8string(text.begin(), text.end())); }

std::string ToUtf8(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

void CreatePrivateFolder(const fs::path& path) {
  if (path.has_parent_path() && !fs::exists(path.parent_path())) CreatePrivateFolder(path.parent_path());
  PrivateAccess access;
  if (::CreateDirectoryW(path.c_str(), access.Get())) return;
  const DWORD error = ::GetLastError();
  if (fs::is_directory(path)) return;
  ::SetLastError(error);
  ThrowError("cannot create the folder " + ToUtf8(path));
}

std::FILE* CreatePrivateFile(const fs::path& path) {
  PrivateAccess access;
  std::error_code ignored;
  fs::remove(path, ignored);  // the access list of an existing file would stay
  const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                    access.Get(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) ThrowError("cannot create " + ToUtf8(path));
  const int number = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(file), _O_WRONLY | _O_BINARY);
  if (number < 0) {
    ::CloseHandle(file);
    ThrowError("cannot create " + ToUtf8(path));
  }
  std::FILE* const stream = ::_fdopen(number, "wb");
  if (!stream) {
    ::_close(number);
    ThrowError("cannot create " + ToUtf8(path));
  }
  return stream;
}

}  // namespace velk::sandbox
