// Requests that the library does not send, to a simulated service. They go over plain HTTP, through the
// sandbox's proxy.
#pragma once

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/sandbox.h"

namespace velk::test {

struct HttpRequest {
  std::string method = "GET";
  std::string url;  // "graph.facebook.com/me", or with another scheme than http
  std::vector<std::string> headers = {};
  std::string body = {};
  bool mayFail = false;
};

struct HttpReply {
  CURLcode result = CURLE_OK;
  long status = 0;
  std::string head, body;

  // Null for a body that is no JSON.
  boost::json::value Json() const {
    boost::system::error_code error;
    boost::json::value value = boost::json::parse(body, error);
    return error ? boost::json::value(nullptr) : value;
  }
  // The value at a JSON pointer, as text. Empty if there is none.
  std::string At(std::string_view pointer) const {
    boost::system::error_code error;
    const boost::json::value document = Json();
    const boost::json::value* const value = document.find_pointer(pointer, error);
    if (!value) return {};
    return value->is_string() ? std::string(value->get_string()) : boost::json::serialize(*value);
  }
};

inline HttpReply Send(const Sandbox& sandbox, const HttpRequest& request) {
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
  const auto collect = +[](char* bytes, std::size_t, std::size_t count, void* to) {
    static_cast<std::string*>(to)->append(bytes, count);
    return count;
  };
  curl_slist* lines = curl_slist_append(nullptr, "Expect:");
  for (const std::string& line : request.headers) lines = curl_slist_append(lines, line.c_str());
  const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(lines, curl_slist_free_all);
  HttpReply reply;
  const bool hasScheme = request.url.find("://") != std::string::npos;
  curl_easy_setopt(curl.get(), CURLOPT_URL, ((hasScheme ? "" : "http://") + request.url).c_str());
  curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYPEER, 0L);
  curl_easy_setopt(curl.get(), CURLOPT_PROXY, sandbox.Proxy().c_str());
  curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(curl.get(), CURLOPT_PATH_AS_IS, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, 30L);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, collect);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply.body);
  curl_easy_setopt(curl.get(), CURLOPT_HEADERFUNCTION, collect);
  curl_easy_setopt(curl.get(), CURLOPT_HEADERDATA, &reply.head);
  if (!request.body.empty() || request.method == "POST" || request.method == "PUT") {
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, request.body.data());
  }
  if (request.method == "HEAD") curl_easy_setopt(curl.get(), CURLOPT_NOBODY, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_CUSTOMREQUEST, request.method.c_str());
  reply.result = curl_easy_perform(curl.get());
  EXPECT_TRUE(reply.result == CURLE_OK || request.mayFail) << request.method << ' ' << request.url;
  curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &reply.status);
  return reply;
}

// A multipart body. Each part is its head, an empty line and its content.
inline std::string Multipart(const std::vector<std::string>& parts, std::string_view lineEnd = "\r\n") {
  const std::string end(lineEnd);
  std::string body;
  for (const std::string& part : parts) body += "--b" + end + part + end;
  return body + "--b--" + end;
}

inline std::string FormPart(std::string_view name, std::string_view content, std::string_view fileName = "") {
  std::string head = "Content-Disposition: form-data; name=\"" + std::string(name) + '"';
  if (!fileName.empty()) head += "; filename=\"" + std::string(fileName) + '"';
  return head + "\r\n\r\n" + std::string(content);
}

}  // namespace velk::test
