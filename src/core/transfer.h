// One HTTP exchange: the options common to all requests, and those that a service adds.
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

// Options in which a few requests differ from the default.
struct TransferSetup {
  bool useProxy = true;
  bool setHostVerification = true;
  const Connections* connections = nullptr;  // null: the transfer has its own connection
};

// Owns and releases everything that a request allocates. The functions that compose a request throw
// std::bad_alloc if memory runs out. After any other error of theirs, Perform sends nothing and returns the
// first.
class Transfer {
 public:
  using ProgressCallback = int (*)(void*, double, double, double, double) noexcept;

  explicit Transfer(TransferSetup setup = {});
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  // False if libcurl returned no handle. No other member may be called then.
  explicit operator bool() const noexcept { return curl_ != nullptr; }

  Transfer& Url(const std::string& url) { return Set(CURLOPT_URL, url.c_str()); }
  Transfer& ConnectTimeout(std::chrono::seconds limit) {
    return SetLong(CURLOPT_CONNECTTIMEOUT, limit.count());
  }
  Transfer& Timeout(std::chrono::seconds limit) { return SetLong(CURLOPT_TIMEOUT, limit.count()); }
  Transfer& Get() { return SetLong(CURLOPT_HTTPGET, 1); }
  Transfer& Post() { return SetLong(CURLOPT_POST, 1); }
  // Overrides the method that the other options imply.
  Transfer& Verb(const char* verb) { return Set(CURLOPT_CUSTOMREQUEST, verb); }
  // A line that contains a line break is an error.
  Transfer& Header(const std::string& line);
  Transfer& Progress(ProgressCallback callback, FileUploader* uploader);
  // Puts the status lines and headers into the reply, before the body.
  Transfer& CollectHeaders() { return SetLong(CURLOPT_HEADER, 1); }
  // Makes libcurl log connections and headers to standard error.
  Transfer& Verbose() { return SetLong(CURLOPT_VERBOSE, 1); }

  Transfer& Body(std::string body);
  // Sends a file as the body of a PUT. It must be positioned at its start and outlive Perform.
  Transfer& Put(const UploadFile& file);
  // Add a part to a multipart form. It is a copied string, a block of bytes, or the open file as part "file"
  // with the given file name. The block and the file must outlive Perform.
  Transfer& FormField(const char* name, std::string_view content);
  Transfer& FormBlock(const char* name, std::string_view bytes);
  Transfer& FormFile(const UploadFile& file, const std::string& fileName);
  // Adds part "file" from a path that libcurl opens during Perform. The path is passed to fopen, so on
  // Windows it is in the ANSI code page.
  Transfer& FormFileAt(const char* narrowPath);

  // Percent-encodes a string for a form-encoded body.
  std::string Escape(const std::string& text) const;

  // Sends the request, on a kept connection if there is one. If that connection dies before the first
  // complete line of the reply arrives, sends the request once more on a new one. Only a transfer with
  // Connections does so. A time limit applies to each of the two.
  CURLcode Perform();

  // The reply; valid after Perform.
  long Status() const noexcept;
  std::string_view EffectiveUrl() const noexcept;
  const ResponseBuffer& Reply() const noexcept { return reply_; }
  ResponseBuffer& Reply() noexcept { return reply_; }
  // Whether the body contains the string. The search stops at the first NUL.
  bool ReplyContains(const char* text) const noexcept;

  // Gives up the handle and the reply without releasing them. Both stay allocated until the process exits;
  // the connection stays with the call. Use it only where the public header documents the leak. No other
  // member may be called afterwards.
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
    return KeepFirstError(curl_easy_setopt(curl_.get(), option, value));
  }
  Transfer& SetLong(CURLoption option, std::chrono::seconds::rep value) {
    return Set(option, static_cast<long>(value));
  }
  Transfer& KeepFirstError(CURLcode outcome);
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
  bool keepsConnection_;
};

}  // namespace velk
