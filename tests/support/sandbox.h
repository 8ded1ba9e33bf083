// Lets a test script the replies of the simulated services and inspect the requests that they received.
#pragma once

#include <boost/json/fwd.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/script_members.h"

namespace velk::test {

constexpr std::chrono::milliseconds kPatience{10000};  // limit for waits that should end immediately

// One field of a multipart form, as received.
struct FormField {
  std::string name;
  std::string fileName;     // the characters between the quotes, not unescaped
  std::string contentType;  // empty when the part has none
  std::string content;      // empty when the sandbox stored it in a file (more than 64 KiB)
  std::string sha256;       // lower-case hexadecimal
  std::uint64_t size = 0;
};

// One request, as received. It is recorded once its head is complete; its body may still be arriving.
struct Request {
  int id = 0;
  std::string scheme;  // "https" when received through a tunnel
  std::string host;    // without the port
  std::string method;
  std::string target;                     // path and query, as on the wire
  std::string head;                       // request line, headers and the empty line, byte for byte
  std::vector<std::string> headers = {};  // lines in order, without line endings
  std::string body;                       // empty when the sandbox stored it in a file (more than 64 KiB)
  std::uint64_t bodySize = 0;             // size of the complete body; 0 until bodyComplete
  std::uint64_t bodyReceived = 0;         // bytes received so far
  bool bodyComplete = false;
  std::string bodySha256;
  std::vector<FormField> fields = {};
  std::string connectHead;  // head of the CONNECT request that opened the tunnel
  int connection = 0;       // equal for requests on the same connection
  bool connectionOpen = false;
  bool scripted = false;
  int status = 0;  // status of the reply; 0 while there is none, or when none was sent

  // Returns everything after the colon of the first header with that name, including spaces (" text/plain").
  // Names are not case-sensitive. Empty when there is no such header.
  std::string Header(std::string_view name) const;
  std::string HeaderNames() const;  // names in order, each followed by a space: "Host Accept "
  std::string Path() const;         // target without its query
  std::string Query() const;        // everything after the '?', as on the wire
  const FormField* Field(std::string_view name) const;  // null when the form has no such field
};

// A reply or a fault for the next requests that match. Matching scripts apply in the order in which they were
// added. The sandbox describes each member where it reads them.
using Script = sandbox::ScriptText;

// What a script has done so far. Faults are named like the members of Script.
struct ScriptReport {
  int id = 0;
  int matched = 0;                         // requests to which this script applied
  std::vector<std::string> fired;          // faults that took effect, each listed once
  std::map<std::string, int> counts = {};  // how often each did
};

// The running sandbox that started this test program. The constructor discards all requests, scripts and
// service state, so that each test starts clean.
class Sandbox {
 public:
  Sandbox();  // throws std::runtime_error with instructions when no sandbox is running
  Sandbox(std::string proxy, std::string control);  // another running one, which keeps what it has

  // Whether the proxy is another sandbox, which forwards to this one: CONNECT ends there.
  static bool IsBehindAnother();

  std::string Proxy() const { return proxy_; }  // "http://127.0.0.1:PORT", for SetLibVelkUploadProxy
  void Reset();

  int Add(const Script& script);  // returns the script's id
  ScriptReport Report(int scriptId);
  std::vector<std::string> FiredFaults(int scriptId) { return Report(scriptId).fired; }

  std::vector<Request> Requests();
  boost::json::object Newest();  // the newest exchange, with every member that the journal has of it
  Request Only();                // the only recorded request; fails the test unless there is exactly one

  // Each polls until its condition holds. Returns false when the limit expires first.
  bool WaitFor(const std::function<bool(const std::vector<Request>&)>& condition,
               std::chrono::milliseconds limit = kPatience);
  bool WaitForRequest(std::string_view path, std::chrono::milliseconds limit = kPatience);
  bool WaitForBody(std::size_t requestIndex, std::uint64_t bytes,
                   std::chrono::milliseconds limit = kPatience);

  // Sends a request to the control URL. Returns its status, and stores the reply.
  long Control(const char* method, std::string_view path, std::string_view body, std::string& reply);
  std::string Certificate();   // of the authority, in PEM format
  boost::json::value State();  // one member per service, such as "youtube"; strings may hold any bytes

 private:
  std::string Send(const char* method, std::string_view path, std::string_view body = {});  // throws
  boost::json::value Call(const char* method, std::string_view path, std::string_view body = {});

  std::string proxy_;
  std::string control_;
};

}  // namespace velk::test
