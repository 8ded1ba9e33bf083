// Lets a test prepare the stand-in services' replies and read back, byte by byte, what reached them.
#pragma once

#include <boost/json/value.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velk::test {

constexpr std::chrono::milliseconds kPatience{10000};  // how long to wait for what should come at once

// One field of a multipart form, as received.
struct FormField {
  std::string name;
  std::string fileName;     // the text between the quotes, nothing unescaped
  std::string contentType;  // empty when the part named none
  std::string content;      // empty for contents that the sandbox spooled (more than 256 KiB)
  std::string sha256;       // lower-case hexadecimal
  std::uint64_t size = 0;
};

// One request, as received. It is on record as soon as its head is in; its body may still be arriving.
struct Request {
  int id = 0;
  std::string scheme;  // "https" when it came through a tunnel
  std::string host;    // without the port
  std::string method;
  std::string target;                     // path and query, as on the wire
  std::string head;                       // request line, headers and the empty line, byte for byte
  std::vector<std::string> headers = {};  // lines in order, without their line ends
  std::string body;                       // empty when the sandbox spooled it (more than 256 KiB)
  std::uint64_t bodySize = 0;             // bytes of the complete body, once bodyComplete
  std::uint64_t bodyReceived = 0;         // bytes that have arrived so far
  bool bodyComplete = false;
  std::string bodySha256;
  std::vector<FormField> fields = {};
  std::string connectHead;  // the head of the CONNECT that opened the tunnel
  int connection = 0;       // the same for requests that came over one connection
  bool connectionOpen = false;
  bool scripted = false;
  int status = 0;  // the status answered; 0 while there is none, and when none was sent

  // What follows the colon of the first header of that name, blanks included (" text/plain"); names are
  // compared without regard to case. Empty when there is no such header.
  std::string Header(std::string_view name) const;
  std::string HeaderNames() const;  // names in order, each followed by a blank: "Host Accept "
  std::string Path() const;         // the target without its query
  std::string Query() const;        // what follows the '?', as on the wire
  const FormField* Field(std::string_view name) const;  // null when the form has no such field
};

// A reply, or a fault, for the next requests that match. Scripts are taken in the order in which they were
// added, among those that match. Every fault may be combined with a reply; see sandbox/kit/control.h.
struct Script {
  std::string host = {};    // empty: any
  std::string method = {};  // empty: any but CONNECT
  std::string path = {};    // without the query; a final '*' stands for any rest; empty: any
  bool kept = false;        // only over a connection that is kept from an earlier request
  int times = 1;            // 0: for every request from now on

  int status = 200;
  std::string reason = {};                // empty: the usual one
  std::vector<std::string> headers = {};  // "Name: value" lines; Content-Length is added when missing
  std::string body = {};
  bool passThrough = false;  // the service answers, and only the faults below come from the script

  int delayMs = 0;                             // wait before the reply
  bool answerEarly = false;                    // reply on the head alone, then swallow the body
  std::optional<std::uint64_t> cutAfter = {};  // send so many bytes of the reply, head included; then close
  std::optional<std::uint64_t> cutBodyAfter = {};  // send the head and so many bytes of the body; then close
  bool reset = false;                              // break off: at the cut, or instead of any reply
  std::optional<std::uint64_t> stopReadingAfter =
      {};                        // take so many bytes of the body; then stall, or break off
  std::uint64_t readSlowly = 0;  // body bytes per second; 0: as fast as they come
  bool neverAnswer = false;      // stall until the client goes away
  bool noContentLength = false;  // the reply's body ends with the connection
  bool hangUp = false;           // end the connection properly after the reply, without having announced it
  std::string certificateName = {};  // on CONNECT: present a certificate for this host name alone
  int refuseConnect = 0;             // answer the CONNECT itself with this status
};

// What a script did so far; fault names are spelled like the members of Script.
struct ScriptReport {
  int id = 0;
  int matched = 0;                 // requests that took this script
  std::vector<std::string> fired;  // faults that really happened, each once
};

// The running sandbox that started this test program. Constructing one forgets all requests, scripts and
// service state, so each test begins clean.
class Sandbox {
 public:
  Sandbox();  // throws std::runtime_error, with what to do about it, when no sandbox runs

  std::string Proxy() const { return proxy_; }  // "http://127.0.0.1:PORT", for SetLibVelkUploadProxy
  void Reset();

  int Add(const Script& script);  // its id
  ScriptReport Report(int scriptId);
  std::vector<std::string> FiredFaults(int scriptId) { return Report(scriptId).fired; }

  std::vector<Request> Requests();
  Request Only();  // the one recorded request; fails the test when there are fewer or more

  // Each polls until its condition holds and tells whether it did within the time.
  bool WaitFor(const std::function<bool(const std::vector<Request>&)>& condition,
               std::chrono::milliseconds limit = kPatience);
  bool WaitForRequest(std::string_view path, std::chrono::milliseconds limit = kPatience);
  bool WaitForBody(std::size_t requestIndex, std::uint64_t bytes,
                   std::chrono::milliseconds limit = kPatience);

  std::string Sha256(std::string_view bytes);  // lower-case hexadecimal
  std::string Certificate();                   // of the stand-in services, in PEM form
  boost::json::value State();  // one member per service: "youtube", ...; its texts are bytes as received

 private:
  boost::json::value Call(const char* method, std::string_view path, std::string_view body = {});

  std::string proxy_;
  std::string control_;
};

// A file of the given name in a folder of its own, both gone at the end of the scope.
class TempFile {
 public:
  TempFile(std::string_view utf8Name, std::string_view content);
  static TempFile Sparse(std::string_view utf8Name, std::uint64_t size);  // all bytes zero
  TempFile(TempFile&& other) noexcept;
  TempFile& operator=(TempFile&&) = delete;
  ~TempFile();

  std::string Path() const;  // UTF-8
  const std::filesystem::path& File() const { return path_; }

 private:
  std::filesystem::path path_;
};

// The same bytes for the same seed, on every platform.
std::string RandomBytes(std::size_t size, std::uint32_t seed);

}  // namespace velk::test
