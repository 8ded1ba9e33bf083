#include <windows.h>

#include <aclapi.h>
#include <fcntl.h>
#include <io.h>
#include <sddl.h>
#include <shellapi.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <system_error>

#include "system.h"

namespace velk::publish {
namespace {

namespace fs = std::filesystem;

std::atomic<int> interrupts;

std::string Utf8(const wchar_t* text) {
  const std::u8string utf8 = fs::path(text).u8string();
  return {utf8.begin(), utf8.end()};
}

BOOL WINAPI CountInterrupt(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  ++interrupts;
  return TRUE;
}

[[noreturn]] void ThrowError(const std::string& what) {
  throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), what);
}

struct LocalMemory {
  void operator()(void* memory) const { ::LocalFree(memory); }
};
using Descriptor = std::unique_ptr<void, LocalMemory>;

// The user's security identifier.
class User {
 public:
  User() {
    HANDLE token = nullptr;
    DWORD size = 0;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) ThrowError("access token");
    const BOOL known =
        ::GetTokenInformation(token, TokenUser, memory_.data(), static_cast<DWORD>(memory_.size()), &size);
    ::CloseHandle(token);
    if (!known) ThrowError("user of the access token");
  }
  PSID Id() { return reinterpret_cast<TOKEN_USER*>(memory_.data())->User.Sid; }
  std::wstring Text() {
    wchar_t* text = nullptr;
    if (!::ConvertSidToStringSidW(Id(), &text)) ThrowError("user of the access token");
    const std::unique_ptr<wchar_t, LocalMemory> owned(text);
    return text;
  }

 private:
  alignas(TOKEN_USER) std::array<std::byte, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> memory_{};
};

// Whether an entry of an access list lets somebody read who is neither the user, the system nor an
// administrator.
bool OpensToOthers(const ACE_HEADER* entry, PSID user) {
  if (entry->AceType != ACCESS_ALLOWED_ACE_TYPE) return false;
  const auto* allowed = reinterpret_cast<const ACCESS_ALLOWED_ACE*>(entry);
  if ((allowed->Mask & (FILE_READ_DATA | GENERIC_READ | GENERIC_ALL)) == 0) return false;
  const PSID who = const_cast<DWORD*>(&allowed->SidStart);
  return !::EqualSid(who, user) && !::IsWellKnownSid(who, WinLocalSystemSid) &&
         !::IsWellKnownSid(who, WinBuiltinAdministratorsSid);
}

}  // namespace

std::vector<std::string> Arguments(int, char**) {
  // The code page belongs to the console, and would stay after the program.
  static const UINT before = ::GetConsoleOutputCP();
  if (before != 0 && ::SetConsoleOutputCP(CP_UTF8)) std::atexit([] { ::SetConsoleOutputCP(before); });
  // The narrow arguments have lost what the ANSI code page lacks, and the C run-time may have expanded "*" in
  // them.
  int count = 0;
  const std::unique_ptr<wchar_t*, LocalMemory> wide(::CommandLineToArgvW(::GetCommandLineW(), &count));
  std::vector<std::string> arguments;
  for (int index = 1; wide && index < count; ++index) arguments.push_back(Utf8(wide.get()[index]));
  return arguments;
}

std::optional<std::string> Variable(const char* name) {
  const wchar_t* value = ::_wgetenv(fs::path(name).c_str());
  return value ? std::optional<std::string>(Utf8(value)) : std::nullopt;
}

fs::path FromUtf8(std::string_view text) { return fs::path(std::u8string(text.begin(), text.end())); }

std::FILE* OpenToRead(const fs::path& path) { return ::_wfopen(path.c_str(), L"rb"); }

std::FILE* CreatePrivateFile(const fs::path& path) {
  const std::string failure = "cannot create " + Utf8(path.c_str());
  const std::wstring access = L"D:P(A;;FA;;;" + User().Text() + L")(A;;FA;;;SY)(A;;FA;;;BA)";
  SECURITY_ATTRIBUTES attributes{sizeof attributes, nullptr, FALSE};
  if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(access.c_str(), SDDL_REVISION_1,
                                                              &attributes.lpSecurityDescriptor, nullptr))
    ThrowError(failure);
  const Descriptor owned(attributes.lpSecurityDescriptor);
  const HANDLE file =
      ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, &attributes, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) ThrowError(failure);
  const int number = ::_open_osfhandle(reinterpret_cast<std::intptr_t>(file), _O_WRONLY | _O_BINARY);
  std::FILE* const stream = number < 0 ? nullptr : ::_fdopen(number, "wb");
  if (!stream) ThrowError(failure);
  return stream;
}

bool IsPrivate(const fs::path& path) {
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR memory = nullptr;
  std::wstring name = path.wstring();
  if (::GetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                              nullptr, &memory) != ERROR_SUCCESS)
    return false;
  const Descriptor owned(memory);
  if (!list) return false;  // open to everybody
  User user;
  for (DWORD index = 0; index < list->AceCount; ++index) {
    void* entry = nullptr;
    if (!::GetAce(list, index, &entry) || OpensToOthers(static_cast<ACE_HEADER*>(entry), user.Id()))
      return false;
  }
  return true;
}

bool ErrorIsTerminal() { return ::_isatty(::_fileno(stderr)) != 0; }

int ErrorWidth() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  const HANDLE console = ::GetStdHandle(STD_ERROR_HANDLE);
  return ::GetConsoleScreenBufferInfo(console, &info) ? info.srWindow.Right - info.srWindow.Left + 1 : 80;
}

bool InputIsTerminal() { return ::_isatty(::_fileno(stdin)) != 0; }

void CatchInterrupt() { ::SetConsoleCtrlHandler(CountInterrupt, TRUE); }

int Interrupts() { return interrupts; }

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

}  // namespace velk::publish
