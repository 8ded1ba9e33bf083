// One HTTP exchange: what every request of the library shares, and what a service adds to it.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "core/connections.h"
#include "core/platform.h"
#include "core/response_buffer.h"
#include "core/upload_file.h"
#include "velk_upload.h"

namespace velk {

// What a few requests change in the common set-up.
struct TransferSetup {
  bool useProxy = true;
  bool setHostVerification = true;
  const Connections* connections = nullptr;  // of the call; without them the connection is the request's own
};

// Owns everything that a request makes and releases it whatever the exit. Running out of memory while a
// request is composed throws std::bad_alloc; any other refusal of libcurl is told by Perform.
class Transfer {
 public:
  using ProgressCallback = int (*)(void*, double, double, double, double) noexcept;

  explicit Transfer(TransferSetup setup = {});
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  // False when no handle could be made; nothing else may be called then.
  explicit operator bool() const noexcept { return curl_ != nullptr; }

  Transfer& Url(const std::string& url) { return Set(CURLOPT_URL, url.c_str()); }
  Transfer& ConnectTimeout(std::chrono::seconds limit) {
    return SetLong(CURLOPT_CONNECTTIMEOUT, limit.count());
  }
  Transfer& Timeout(std::chrono::seconds limit) { return SetLong(CURLOPT_TIMEOUT, limit.count()); }
  Transfer& Get() { return SetLong(CURLOPT_HTTPGET, 1); }
  Transfer& Post() { return SetLong(CURLOPT_POST, 1); }
  // Sends another verb than the one that the body implies.
  Transfer& Verb(const char* verb) { return Set(CURLOPT_CUSTOMREQUEST, verb); }
  // A line with a line break in it is refused.
  Transfer& Header(const std::string& line);
  Transfer& Progress(ProgressCallback callback, FileUploader* uploader);
  // Collects status lines and headers ahead of the body.
  Transfer& CollectHeaders() { return SetLong(CURLOPT_HEADER, 1); }
  // Lets libcurl report connections and headers on the standard error stream.
  Transfer& Verbose() { return SetLong(CURLOPT_VERBOSE, 1); }

  // Sends a text as the body of a POST.
  Transfer& Body(std::string body);
  // Sends an open file, from its position to its end, as the body of a PUT. The file must outlive Perform.
  Transfer& Put(const UploadFile& file);
  // Adds a part to a multipart form: a text, a block of bytes that must outlive Perform, or an open file as
  // part "file" under the given file name.
  Transfer& FormField(const char* name, std::string_view content);
  Transfer& FormBlock(const char* name, std::string_view bytes);
  Transfer& FormFile(const UploadFile& file, const std::string& fileName);
  // Adds part "file" from a path that libcurl opens itself, during Perform. It is a path as fopen takes it: on
  // Windows in the ANSI code page.
  Transfer& FormFileAt(const char* narrowPath);

  // Percent-encodes a text for a form-encoded body.
  std::string Escape(const std::string& text) const;

  // Sends the request, over a kept connection where there is one. When that dies before anything of a reply has come,
  // the request is sent once more over a fresh one.
  CURLcode Perform();

  // After Perform: the reply.
  long Status() const noexcept;
  std::string_view EffectiveUrl() const noexcept;
  const ResponseBuffer& Reply() const noexcept { return reply_; }
  ResponseBuffer& Reply() noexcept { return reply_; }
  // Whether the reply's body contains a text; the search ends at a NUL byte.
  bool Says(const char* text) const noexcept;

  // Gives up the handle and the reply without releasing them: both stay allocated until the process ends, while the
  // connection stays with the call. Only for the few answers that are documented to leave them behind; nothing else
  // may be called afterwards.
  void Abandon() noexcept;

 private:
  struct Cleanup {
    void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
    void operator()(curl_httppost* form) const noexcept { curl_formfree(form); }
    void operator()(char* text) const noexcept { curl_free(text); }
  };

  template <typename Value>
  Transfer& Set(CURLoption option, Value value) {
    return Note(curl_easy_setopt(curl_.get(), option, value));
  }
  Transfer& SetLong(CURLoption option, std::chrono::seconds::rep value) {
    return Set(option, static_cast<long>(value));
  }
  Transfer& Note(CURLcode outcome);
  bool KeptConnectionDied(CURLcode failure) const noexcept;
  template <typename... Options>
  Transfer& AddFormPart(Options... options);
  Transfer& AddFormText(CURLformoption contents, const char* name, std::string_view text);

  ResponseBuffer reply_;
  std::string body_;
  std::unique_ptr<curl_httppost, Cleanup> form_;
  curl_httppost* lastPart_ = nullptr;
  std::unique_ptr<curl_slist, Cleanup> headers_;
  std::unique_ptr<CURL, Cleanup> curl_;
  CURLcode refusal_ = CURLE_OK;
};

}  // namespace velk
