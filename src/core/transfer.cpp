#include "core/transfer.h"

#include <cstring>
#include <new>
#include <utility>

#include "core/proxy.h"

namespace velk {
namespace {

// The chunk size for reading files. Smaller and larger sizes measured slower.
constexpr long kUploadBufferSize = 128L * 1024;

// The build option VELK_VERIFY_PEER verifies certificates. Without it only their host name is compared, if
// the TLS library can do that separately. libcurl treats 1 like 2 for the host name.
constexpr long kVerifyPeer = VELK_VERIFY_PEER;
constexpr long kVerifyHost = VELK_VERIFY_PEER ? 2 : 1;

}  // namespace

Transfer::Transfer(TransferSetup setup)
    : curl_(curl_easy_init()), keepsConnection_(setup.connections != nullptr) {
  if (!curl_) return;
  Set(CURLOPT_USERAGENT, "libcurl-agent/1.0");
  Set(CURLOPT_WRITEFUNCTION, &ResponseBufferAppend);
  Set(CURLOPT_WRITEDATA, static_cast<void*>(&reply_));
  Set(CURLOPT_SSL_VERIFYPEER, kVerifyPeer);
  if (kVerifyPeer || setup.setHostVerification) Set(CURLOPT_SSL_VERIFYHOST, kVerifyHost);
  if (setup.useProxy && *ProxyAddress() != '\0') Set(CURLOPT_PROXY, ProxyAddress());
  // Some URLs come from replies. With libcurl's other protocols, such a URL could name a local file to
  // overwrite.
  Set(CURLOPT_PROTOCOLS_STR, "http,https");
  // The reply that opens an upload session is searched for "Location: ". HTTP/2 would deliver that name in
  // lower case.
  Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  // A handle serves one request, so there is hardly a TLS session to resume.
  Set(CURLOPT_SSL_SESSIONID_CACHE, 0L);
  if (setup.connections) KeepFirstError(setup.connections->Admit(curl_.get()));
  // Hosts call from several threads, where timeouts by signal are unsafe.
  Set(CURLOPT_NOSIGNAL, 1L);
}

Transfer& Transfer::KeepFirstError(CURLcode outcome) {
  if (outcome == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (refusal_ == CURLE_OK) refusal_ = outcome;
  return *this;
}

Transfer& Transfer::Header(const std::string& line) {
  // libcurl sends the line unchanged. A line break in a token would start another header or another request.
  if (line.find_first_of("\r\n") != std::string::npos) return KeepFirstError(CURLE_BAD_FUNCTION_ARGUMENT);
  curl_slist* longer = curl_slist_append(headers_.get(), line.c_str());
  if (!longer) throw std::bad_alloc();
  // curl_slist_append returns the same first node, or the new node if the list was empty.
  static_cast<void>(headers_.release());
  headers_.reset(longer);
  return *this;
}

Transfer& Transfer::Progress(ProgressCallback callback, FileUploader* uploader) {
  Set(CURLOPT_PROGRESSFUNCTION, callback);
  Set(CURLOPT_PROGRESSDATA, static_cast<void*>(uploader));
  return Set(CURLOPT_NOPROGRESS, 0L);
}

Transfer& Transfer::Body(std::string body) {
  body_ = std::move(body);
  return Set(CURLOPT_POSTFIELDS, body_.c_str());
}

Transfer& Transfer::Put(const UploadFile& file) {
  Set(CURLOPT_UPLOAD, 1L);
  Set(CURLOPT_PUT, 1L);
  Set(CURLOPT_UPLOAD_BUFFERSIZE, kUploadBufferSize);
  Set(CURLOPT_READFUNCTION, &FileReadCallback);
  Set(CURLOPT_READDATA, static_cast<void*>(file.Stream()));
  return Set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(file.Size()));
}

template <typename... Options>
Transfer& Transfer::AddFormPart(Options... options) {
  curl_httppost* first = form_.release();
  const CURLFORMcode outcome = curl_formadd(&first, &lastPart_, options..., CURLFORM_END);
  form_.reset(first);
  if (outcome == CURL_FORMADD_MEMORY) throw std::bad_alloc();
  return KeepFirstError(outcome == CURL_FORMADD_OK ? CURLE_OK : CURLE_BAD_FUNCTION_ARGUMENT);
}

Transfer& Transfer::AddFormText(CURLformoption contents, const char* name, std::string_view text) {
  // The string may lack a terminator and contain any byte, so the length is passed. For length 0, libcurl
  // looks for a terminator.
  return AddFormPart(CURLFORM_COPYNAME, name, contents, text.empty() ? "" : text.data(), CURLFORM_CONTENTLEN,
                     static_cast<curl_off_t>(text.size()));
}

Transfer& Transfer::FormField(const char* name, std::string_view content) {
  return AddFormText(CURLFORM_COPYCONTENTS, name, content);
}

Transfer& Transfer::FormBlock(const char* name, std::string_view bytes) {
  return AddFormText(CURLFORM_PTRCONTENTS, name, bytes);
}

Transfer& Transfer::FormFile(const UploadFile& file, const std::string& fileName) {
  Set(CURLOPT_UPLOAD_BUFFERSIZE, kUploadBufferSize);
  Set(CURLOPT_READFUNCTION, &FileReadCallback);
  // CURLFORM_CONTENTLEN is 64 bits wide on every platform; CURLFORM_CONTENTSLENGTH is a long.
  return AddFormPart(CURLFORM_COPYNAME, "file", CURLFORM_STREAM, static_cast<void*>(file.Stream()),
                     CURLFORM_CONTENTLEN, static_cast<curl_off_t>(file.Size()), CURLFORM_FILENAME,
                     fileName.c_str());
}

Transfer& Transfer::FormFileAt(const char* narrowPath) {
  Set(CURLOPT_UPLOAD_BUFFERSIZE, kUploadBufferSize);
  return AddFormPart(CURLFORM_COPYNAME, "file", CURLFORM_FILE, narrowPath);
}

std::string Transfer::Escape(const std::string& text) const {
  const std::unique_ptr<char, Cleanup> escaped(
      curl_easy_escape(curl_.get(), text.c_str(), static_cast<int>(text.size())));
  if (!escaped) throw std::bad_alloc();
  return escaped.get();
}

CURLcode Transfer::Perform() {
  if (headers_) Set(CURLOPT_HTTPHEADER, headers_.get());
  if (form_) Set(CURLOPT_HTTPPOST, form_.get());
  if (refusal_ != CURLE_OK) return refusal_;
  const CURLcode failure = curl_easy_perform(curl_.get());
  if (!KeptConnectionDied(failure)) return failure;
  Set(CURLOPT_FRESH_CONNECT, 1L);
  return curl_easy_perform(curl_.get());
}

// libcurl itself repeats a request if its connection dies while it waits for the reply. It does not if the
// connection dies while the request is being sent, such as a long segment.
bool Transfer::KeptConnectionDied(CURLcode failure) const noexcept {
  long opened = 0;
  long headerBytes = 0;
  curl_easy_getinfo(curl_.get(), CURLINFO_NUM_CONNECTS, &opened);
  curl_easy_getinfo(curl_.get(), CURLINFO_HEADER_SIZE, &headerBytes);
  return keepsConnection_ && failure == CURLE_SEND_ERROR && opened == 0 && headerBytes == 0;
}

long Transfer::Status() const noexcept {
  long status = 0;
  curl_easy_getinfo(curl_.get(), CURLINFO_RESPONSE_CODE, &status);
  return status;
}

std::string_view Transfer::EffectiveUrl() const noexcept {
  const char* url = nullptr;
  curl_easy_getinfo(curl_.get(), CURLINFO_EFFECTIVE_URL, &url);
  return url ? url : "";
}

bool Transfer::ReplyContains(const char* text) const noexcept {
  return std::strstr(reply_.Text(), text) != nullptr;
}

void Transfer::Abandon() noexcept {
  curl_easy_setopt(curl_.get(), CURLOPT_SHARE, nullptr);
  // The handle keeps a pointer to the reply, so a leak checker reports an abandoned request as one leak.
  curl_easy_setopt(curl_.get(), CURLOPT_PRIVATE, static_cast<void*>(reply_.data));
  static_cast<void>(curl_.release());
  reply_.data = nullptr;
  reply_.size = 0;
}

}  // namespace velk
