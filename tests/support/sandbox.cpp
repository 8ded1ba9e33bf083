// Lets a test script the replies of the stand-in services and inspect the requests that they received.
#include "sandbox.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json.hpp>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <utility>

namespace velk::test {
namespace {

namespace fs = std::filesystem;
namespace json = boost::json;

std::string FromEnvironment(const char* name) {
  const char* const value = std::getenv(name);
  if (value) return value;
  throw std::runtime_error(std::string(name) + " is not set: run this program through the sandbox, as in " +
                           "\"velk-sandbox -- ./api_tests\"");
}

// The control URL transfers each byte as a code point from U+0000 to U+00FF.
std::string CodePoints(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) text += static_cast<char>(0xC0 | (byte >> 6));
    text += byte >= 0x80 ? static_cast<char>(0x80 | (byte & 0x3F)) : c;
  }
  return text;
}

std::string Bytes(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool pair = byte >= 0x80 && i + 1 < text.size();
    bytes += pair ? static_cast<char>((byte & 0x03) << 6 | (text[i + 1] & 0x3F)) : text[i];
    if (pair) ++i;
  }
  return bytes;
}

std::size_t Collect(const char* bytes, std::size_t, std::size_t count, void* to) {
  static_cast<std::string*>(to)->append(bytes, count);
  return count;
}

// Sends one request to the control URL. It bypasses any proxy that the environment configures.
std::string Exchange(const char* method, const std::string& url, std::string_view body) {
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
  std::string reply;
  long status = 0;
  curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
  curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, 60L);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, Collect);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply);
  if (std::string_view(method) == "POST") {
    curl_easy_setopt(curl.get(), CURLOPT_POST, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body.data());
  }
  const CURLcode result = curl_easy_perform(curl.get());
  curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
  if (result != CURLE_OK || status != 200) {
    throw std::runtime_error(std::string(method) + " " + url + ": " + curl_easy_strerror(result) +
                             ", status " + std::to_string(status) + " " + reply);
  }
  return reply;
}

std::string Text(const json::object& from, std::string_view name) {
  const json::value* const value = from.if_contains(name);
  return value ? std::string(value->as_string()) : std::string();
}

std::uint64_t Count(const json::object& from, std::string_view name) {
  const json::value* const value = from.if_contains(name);
  return value ? value->to_number<std::uint64_t>() : 0;
}

FormField FieldFrom(const json::object& from) {
  return {Text(from, "name"),    Text(from, "fileName"), Text(from, "contentType"),
          Text(from, "content"), Text(from, "sha256"),   Count(from, "size")};
}

Request RequestFrom(const json::object& from) {
  Request request{.id = from.at("id").to_number<int>(),
                  .scheme = Text(from, "scheme"),
                  .host = Text(from, "host"),
                  .method = Text(from, "method"),
                  .target = Text(from, "target"),
                  .head = Text(from, "rawHead"),
                  .body = Text(from, "body"),
                  .bodySize = Count(from, "bodySize"),
                  .bodyReceived = Count(from, "bodyReceived"),
                  .bodyComplete = from.at("bodyComplete").as_bool(),
                  .bodySha256 = Text(from, "bodySha256"),
                  .connectHead = Text(from, "connectHead"),
                  .connection = from.at("connection").to_number<int>(),
                  .connectionOpen = from.at("connectionOpen").as_bool(),
                  .scripted = from.at("scripted").as_bool(),
                  .status = from.at("status").to_number<int>()};
  for (const json::value& line : from.at("headers").as_array())
    request.headers.emplace_back(line.as_string());
  if (const json::value* const fields = from.if_contains("fields")) {
    for (const json::value& field : fields->as_array())
      request.fields.push_back(FieldFrom(field.as_object()));
  }
  return request;
}

json::object ToJson(const Script& script) {
  json::object text{{"host", script.host},
                    {"method", script.method},
                    {"path", script.path},
                    {"kept", script.kept},
                    {"times", script.times},
                    {"status", script.status},
                    {"reason", script.reason},
                    {"headers", json::value_from(script.headers)},
                    {"body", script.body},
                    {"passThrough", script.passThrough},
                    {"delayMs", script.delayMs},
                    {"answerEarly", script.answerEarly},
                    {"reset", script.reset},
                    {"readSlowly", script.readSlowly},
                    {"neverAnswer", script.neverAnswer},
                    {"noContentLength", script.noContentLength},
                    {"hangUp", script.hangUp}};
  if (script.cutAfter) text["cutAfter"] = *script.cutAfter;
  if (script.cutBodyAfter) text["cutBodyAfter"] = *script.cutBodyAfter;
  if (script.stopReadingAfter) text["stopReadingAfter"] = *script.stopReadingAfter;
  if (!script.certificateName.empty()) text["certificateName"] = script.certificateName;
  if (script.refuseConnect != 0) text["refuseConnect"] = script.refuseConnect;
  return text;
}

bool SameName(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return std::ranges::equal(a, b, {}, lower, lower);
}

fs::path FromUtf8(std::string_view text) { return fs::path(std::u8string(text.begin(), text.end())); }

fs::path FreshFolder() {
  std::random_device random;
  for (;;) {
    fs::path folder = fs::temp_directory_path() / ("velk-test-" + std::to_string(random()));
    if (fs::create_directory(folder)) return folder;
  }
}

}  // namespace

std::string Request::Header(std::string_view name) const {
  for (const std::string& line : headers) {
    const std::size_t colon = line.find(':');
    if (SameName(std::string_view(line).substr(0, colon), name)) return line.substr(colon + 1);
  }
  return {};
}

std::string Request::HeaderNames() const {
  std::string names;
  for (const std::string& line : headers) names += line.substr(0, line.find(':')) + ' ';
  return names;
}

std::string Request::Path() const { return target.substr(0, target.find('?')); }

std::string Request::Query() const {
  const std::size_t mark = target.find('?');
  return mark == std::string::npos ? std::string() : target.substr(mark + 1);
}

const FormField* Request::Field(std::string_view name) const {
  const auto found = std::ranges::find(fields, name, &FormField::name);
  return found == fields.end() ? nullptr : &*found;
}

Sandbox::Sandbox()
    : proxy_(FromEnvironment("VELK_SANDBOX_PROXY")), control_(FromEnvironment("VELK_SANDBOX_CONTROL")) {
  Reset();
}

void Sandbox::Reset() { Call("POST", "/reset"); }

json::value Sandbox::Call(const char* method, std::string_view path, std::string_view body) {
  json::parse_options options;
  options.allow_invalid_utf8 = true;
  return json::parse(Bytes(Exchange(method, control_ + std::string(path), body)), {}, options);
}

int Sandbox::Add(const Script& script) {
  return Call("POST", "/scripts", CodePoints(json::serialize(ToJson(script)))).at("id").to_number<int>();
}

ScriptReport Sandbox::Report(int scriptId) {
  const json::value reports = Call("GET", "/scripts");
  for (const json::value& report : reports.as_array()) {
    if (report.at("id").to_number<int>() != scriptId) continue;
    ScriptReport found{scriptId, report.at("matched").to_number<int>(), {}};
    for (const json::value& fault : report.at("fired").as_array())
      found.fired.emplace_back(fault.as_string());
    return found;
  }
  throw std::runtime_error("no script " + std::to_string(scriptId));
}

std::vector<Request> Sandbox::Requests() {
  std::vector<Request> requests;
  const json::value recorded = Call("GET", "/requests");
  for (const json::value& request : recorded.as_array()) requests.push_back(RequestFrom(request.as_object()));
  return requests;
}

Request Sandbox::Only() {
  std::vector<Request> requests = Requests();
  EXPECT_EQ(requests.size(), 1u) << "exactly one request was expected to reach the services";
  return requests.empty() ? Request() : std::move(requests.front());
}

bool Sandbox::WaitFor(const std::function<bool(const std::vector<Request>&)>& condition,
                      std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    if (condition(Requests())) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

bool Sandbox::WaitForRequest(std::string_view path, std::chrono::milliseconds limit) {
  const auto begun = [path](const Request& request) { return request.Path() == path; };
  return WaitFor([&](const auto& requests) { return std::ranges::any_of(requests, begun); }, limit);
}

bool Sandbox::WaitForBody(std::size_t requestIndex, std::uint64_t bytes, std::chrono::milliseconds limit) {
  return WaitFor(
      [&](const auto& requests) {
        return requestIndex < requests.size() && requests[requestIndex].bodyReceived >= bytes;
      },
      limit);
}

std::string Sandbox::Sha256(std::string_view bytes) {
  return std::string(Call("POST", "/sha256", bytes).at("sha256").as_string());
}

std::string Sandbox::Certificate() { return Exchange("GET", control_ + "/ca.pem", {}); }

json::value Sandbox::State() { return Call("GET", "/state"); }

TempFile::TempFile(std::string_view utf8Name, std::string_view content)
    : path_(FreshFolder() / FromUtf8(utf8Name)) {
  std::ofstream file(path_, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + Path());
}

TempFile TempFile::Sparse(std::string_view utf8Name, std::uint64_t size) {
  TempFile file(utf8Name, "");
  fs::resize_file(file.path_, size);
  return file;
}

TempFile::TempFile(TempFile&& other) noexcept : path_(std::exchange(other.path_, {})) {}

TempFile::~TempFile() {
  std::error_code ignored;
  if (!path_.empty()) fs::remove_all(path_.parent_path(), ignored);
}

std::string TempFile::Path() const {
  const std::u8string text = path_.u8string();
  return {text.begin(), text.end()};
}

std::string RandomBytes(std::size_t size, std::uint32_t seed) {
  std::mt19937 generator(seed);
  std::string bytes(size, '\0');
  std::ranges::generate(bytes, [&] { return static_cast<char>(generator() & 0xFF); });
  return bytes;
}

}  // namespace velk::test
