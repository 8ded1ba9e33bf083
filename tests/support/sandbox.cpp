// Lets a test script the replies of the simulated services and inspect the requests that they received.
#include "sandbox.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <boost/json.hpp>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

#include "kit/byte_strings.h"
#include "kit/script_text.h"

namespace velk::test {
namespace {

namespace json = boost::json;

std::string FromEnvironment(const char* name) {
  const char* const value = std::getenv(name);
  if (value) return value;
  throw std::runtime_error(std::string(name) + " is not set: run this program through the sandbox, as in " +
                           "\"velk-sandbox -- ./wire_tests\"");
}

std::string FromBase64(std::string_view text) {
  std::string bytes(text.size() / 4 * 3, '\0');
  EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                  reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
  // The padding decodes to NUL bytes.
  bytes.resize(bytes.size() - static_cast<std::size_t>(std::ranges::count(text, '=')));
  return bytes;
}

std::size_t Collect(const char* bytes, std::size_t, std::size_t count, void* to) {
  static_cast<std::string*>(to)->append(bytes, count);
  return count;
}

// Returns a string's exact bytes. What is not UTF-8 is given in base64, in a member beside it.
std::string Text(const json::object& from, std::string_view name) {
  const json::value* const bytes = from.if_contains(std::string(name) + "Base64");
  if (bytes) return FromBase64(bytes->as_string());
  const json::value* const value = from.if_contains(name);
  return value ? std::string(value->as_string()) : std::string();
}

std::vector<std::string> Lines(const json::object& from, std::string_view name) {
  std::vector<std::string> lines;
  const json::value* const bytes = from.if_contains(std::string(name) + "Base64");
  for (const json::value& line : bytes ? bytes->as_array() : from.at(name).as_array())
    lines.push_back(bytes ? FromBase64(line.as_string()) : std::string(line.as_string()));
  return lines;
}

std::uint64_t Count(const json::object& from, std::string_view name) {
  const json::value* const value = from.if_contains(name);
  return value ? value->to_number<std::uint64_t>() : 0;
}

// Puts the exact bytes of strings in the place of their readable form.
json::value WithBytes(const json::value& value) {
  if (value.is_array()) {
    json::array array;
    for (const json::value& element : value.get_array()) array.push_back(WithBytes(element));
    return array;
  }
  if (!value.is_object()) return value;
  json::object object;
  for (const auto& [name, member] : value.get_object()) {
    if (member.is_string())
      object[name] = Text(value.get_object(), name);
    else
      object[name] = WithBytes(member);
  }
  return object;
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
  request.headers = Lines(from, "headers");
  if (const json::value* const fields = from.if_contains("fields")) {
    for (const json::value& field : fields->as_array())
      request.fields.push_back(FieldFrom(field.as_object()));
  }
  return request;
}

bool SameName(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return std::ranges::equal(a, b, {}, lower, lower);
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

Sandbox::Sandbox(std::string proxy, std::string control)
    : proxy_(std::move(proxy)), control_(std::move(control)) {}

bool Sandbox::IsBehindAnother() { return std::getenv("VELK_SANDBOX_FORWARDS") != nullptr; }

void Sandbox::Reset() { Call("POST", "/reset"); }

// Bypasses any proxy that the environment configures.
long Sandbox::Control(const char* method, std::string_view path, std::string_view body, std::string& reply) {
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
  const std::string url = control_ + std::string(path);
  reply.clear();
  curl_easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
  curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, 60L);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, Collect);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply);
  if (std::string_view(method) != "GET") {
    curl_easy_setopt(curl.get(), CURLOPT_POST, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, method);
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body.data());
  }
  const CURLcode result = curl_easy_perform(curl.get());
  if (result != CURLE_OK) {
    throw std::runtime_error(std::string(method) + " " + url + ": " + curl_easy_strerror(result));
  }
  long status = 0;
  curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
  return status;
}

std::string Sandbox::Send(const char* method, std::string_view path, std::string_view body) {
  std::string reply;
  if (const long status = Control(method, path, body, reply); status != 200) {
    throw std::runtime_error(std::string(method) + " " + std::string(path) + ": status " +
                             std::to_string(status) + " " + reply);
  }
  return reply;
}

json::value Sandbox::Call(const char* method, std::string_view path, std::string_view body) {
  return json::parse(Send(method, path, body));
}

int Sandbox::Add(const Script& script) {
  return Call("POST", "/scripts", json::serialize(sandbox::ToText(sandbox::WriteScript(script))))
      .at("id")
      .to_number<int>();
}

ScriptReport Sandbox::Report(int scriptId) {
  const json::value reports = Call("GET", "/scripts");
  for (const json::value& report : reports.as_array()) {
    if (report.at("id").to_number<int>() != scriptId) continue;
    ScriptReport found{scriptId, report.at("matched").to_number<int>(), {}};
    for (const json::value& fault : report.at("fired").as_array())
      found.fired.emplace_back(fault.as_string());
    for (const auto& [fault, count] : report.at("fireCounts").as_object())
      found.counts[fault] = count.to_number<int>();
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

json::object Sandbox::Newest() { return WithBytes(Call("GET", "/requests")).as_array().back().as_object(); }

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

std::string Sandbox::Certificate() { return Send("GET", "/ca.pem"); }

json::value Sandbox::State() { return WithBytes(Call("GET", "/state")); }

}  // namespace velk::test
