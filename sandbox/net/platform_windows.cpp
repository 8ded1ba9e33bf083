#include <boost/asio.hpp>  // before the headers of Windows, which would bring an older interface to sockets

#include <windows.h>

#include <shellapi.h>
#include <tlhelp32.h>

#include <boost/process/async.hpp>
#include <boost/process/child.hpp>
#include <boost/process/cmd.hpp>
#include <csignal>
#include <system_error>

#include "net/files.h"
#include "net/platform.h"

namespace velk::sandbox {
namespace {

namespace asio = boost::asio;
namespace process = boost::process;

void SetOption(Socket socket, int name, int value) {
  ::setsockopt(socket, SOL_SOCKET, name, reinterpret_cast<const char*>(&value), sizeof value);
}

struct Close {
  using pointer = HANDLE;
  void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, Close>;

std::wstring Wide(std::string_view utf8) { return FromUtf8(utf8).wstring(); }

// Returns 0 for a process that has no parent any more.
DWORD ParentOf(DWORD process) {
  const Handle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  for (BOOL found = ::Process32FirstW(snapshot.get(), &entry); found;
       found = ::Process32NextW(snapshot.get(), &entry)) {
    if (entry.th32ProcessID == process) return entry.th32ParentProcessID;
  }
  return 0;
}

ULONGLONG StartTime(HANDLE process) {
  FILETIME start{}, end{}, kernel{}, user{};
  ::GetProcessTimes(process, &start, &end, &kernel, &user);
  return ULARGE_INTEGER{{start.dwLowDateTime, start.dwHighDateTime}}.QuadPart;
}

// Quotes a word so that the command finds it in its arguments. A backslash is special only before a quote.
std::wstring Quoted(const std::wstring& word) {
  if (!word.empty() && word.find_first_of(L" \t\"") == std::wstring::npos) return word;
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : word) {
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, L'\\') + L'"';
}

std::wstring CommandLine(const std::vector<std::string>& words) {
  std::wstring line;
  for (const std::string& word : words) line += (line.empty() ? L"" : L" ") + Quoted(Wide(word));
  return line;
}

// A job whose processes end when its last handle is closed, which is at the latest when this process ends.
Handle MakeJob() {
  Handle job(::CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  if (job) {
    ::SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
  }
  return job;
}

}  // namespace

// SO_REUSEADDR would let two programs listen on one port here.
void ReserveAddress(Socket listener) { SetOption(listener, SO_EXCLUSIVEADDRUSE, 1); }

void NarrowWindow(Socket listener) { SetOption(listener, SO_RCVBUF, 4096); }

bool PeerHasGone(Socket connection) {
  WSAPOLLFD end{connection, POLLRDNORM, 0};
  return ::WSAPoll(&end, 1, 0) > 0 && (end.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

// Windows does not report it. On the loopback, what was sent has arrived.
std::size_t BytesInFlight(Socket) { return 0; }

std::vector<int> EndingSignals() { return {SIGINT, SIGTERM, SIGBREAK}; }

// The arguments of main() are in the system's code page.
std::vector<std::string> Arguments(int, char**) {
  int count = 0;
  wchar_t** const values = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(ToUtf8(values[i]));
  ::LocalFree(values);
  return arguments;
}

ParentWatch EndWithParent(asio::io_context& context, const std::function<void()>& end) {
  const DWORD parent = ParentOf(::GetCurrentProcessId());
  if (parent == 0) return nullptr;
  Handle handle(::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, parent));
  // A later process can have the number of a parent that has ended.
  if (!handle || StartTime(handle.get()) > StartTime(::GetCurrentProcess())) return nullptr;
  const auto watch = std::make_shared<asio::windows::object_handle>(context, handle.release());
  watch->async_wait([end](const boost::system::error_code& error) {
    if (!error) end();
  });
  return watch;
}

struct Command::Process {
  Handle job;
  process::child child;
};

Command::Command(asio::io_context& context, const std::vector<std::string>& words, const Variables& added,
                 const std::vector<std::string>& removed, const std::function<void(int status)>& exited) {
  for (const auto& [name, value] : added) ::SetEnvironmentVariableW(Wide(name).c_str(), Wide(value).c_str());
  for (const std::string& name : removed) ::SetEnvironmentVariableW(Wide(name).c_str(), nullptr);
  std::error_code error;
  process::child child(
      process::cmd = CommandLine(words), context, error,
      process::on_exit = [exited](int status, const std::error_code&) { exited(status); });
  if (error) throw std::system_error(error, words.front());
  Handle job = MakeJob();
  if (job) ::AssignProcessToJobObject(job.get(), child.native_handle());
  process_ = std::make_unique<Process>(Process{std::move(job), std::move(child)});
}

Command::~Command() = default;

void Command::Forward(int) {}

}  // namespace velk::sandbox
