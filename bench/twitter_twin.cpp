// Sends the requests of a photo tweet with libcurl alone, as the curl command line would. This is the
// baseline for the library's own time. The media id and the signature are constants, so the sandbox's replies
// must be scripted.
//
// Usage: twitter_twin PROXY FILE
//
// Prints the total time of the requests in seconds.
#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr size_t kSegmentLength = 1'048'576;
constexpr const char* kUploadUrl = "https://upload.twitter.com/1.1/media/upload.json";
constexpr const char* kTweetUrl = "https://api.twitter.com/1.1/statuses/update.json";
constexpr const char* kAuthorization =
    "Authorization: OAuth oauth_consumer_key=\"ck\", oauth_nonce=\"0123456789abcdefghijk\", "
    "oauth_signature_method=\"HMAC-SHA1\", oauth_timestamp=\"1318622958\", oauth_token=\"7-tk\", "
    "oauth_version=\"1.0\", oauth_signature=\"hCtSmYh%2BiHYCEqBWrE7C7hYmtUk%3D\"";

struct Free {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  void operator()(curl_mime* form) const { curl_mime_free(form); }
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  void operator()(std::FILE* file) const { std::fclose(file); }
};
template <typename Resource>
using Owned = std::unique_ptr<Resource, Free>;

using Fields = std::vector<std::pair<const char*, std::string_view>>;

size_t Discard(char*, size_t, size_t count, void*) { return count; }

// One request on its own connection.
class Request {
 public:
  Request(const char* url, const char* proxy) : curl_(curl_easy_init()) {
    curl_easy_setopt(curl_.get(), CURLOPT_URL, url);
    curl_easy_setopt(curl_.get(), CURLOPT_PROXY, proxy);
    curl_easy_setopt(curl_.get(), CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl_.get(), CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(curl_.get(), CURLOPT_WRITEFUNCTION, &Discard);
    headers_.reset(curl_slist_append(nullptr, kAuthorization));
    curl_easy_setopt(curl_.get(), CURLOPT_HTTPHEADER, headers_.get());
  }

  bool SendForm(const Fields& fields) {
    const Owned<curl_mime> form(curl_mime_init(curl_.get()));
    for (const auto& [name, content] : fields) {
      curl_mimepart* const part = curl_mime_addpart(form.get());
      curl_mime_name(part, name);
      curl_mime_data(part, content.data(), content.size());
    }
    curl_easy_setopt(curl_.get(), CURLOPT_MIMEPOST, form.get());
    return Succeeds();
  }

  bool SendBody(const char* body) {
    curl_easy_setopt(curl_.get(), CURLOPT_POSTFIELDS, body);
    return Succeeds();
  }

 private:
  bool Succeeds() {
    long status = 0;
    const bool performed = curl_easy_perform(curl_.get()) == CURLE_OK;
    curl_easy_getinfo(curl_.get(), CURLINFO_RESPONSE_CODE, &status);
    return performed && status / 100 == 2;
  }

  Owned<curl_slist> headers_;
  Owned<CURL> curl_;
};

bool SendSegments(const char* proxy, std::FILE* file) {
  std::vector<char> segment(kSegmentLength);
  for (int index = 0;; ++index) {
    const size_t length = std::fread(segment.data(), 1, segment.size(), file);
    if (length == 0) return true;
    const std::string indexText = std::to_string(index);
    const Fields fields{{"command", "APPEND"},
                        {"media_id", "710511363345354753"},
                        {"segment_index", indexText},
                        {"media", {segment.data(), length}}};
    if (!Request(kUploadUrl, proxy).SendForm(fields)) return false;
  }
}

bool Publish(const char* proxy, std::FILE* file, const std::string& size) {
  return Request(kUploadUrl, proxy)
             .SendForm({{"command", "INIT"},
                        {"media_type", "image/jpg"},
                        {"total_bytes", size},
                        {"media_category", "tweet_image"}}) &&
         SendSegments(proxy, file) &&
         Request(kUploadUrl, proxy).SendForm({{"command", "FINALIZE"}, {"media_id", "710511363345354753"}}) &&
         Request(kTweetUrl, proxy).SendBody("media_ids=710511363345354753&status=text");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const auto began = std::chrono::steady_clock::now();
  const Owned<std::FILE> file(std::fopen(argv[2], "rb"));
  if (!file) return 1;
  std::fseek(file.get(), 0, SEEK_END);
  const std::string size = std::to_string(std::ftell(file.get()));
  std::rewind(file.get());
  const bool published = Publish(argv[1], file.get(), size);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - began;
  std::printf("%.6f\n", taken.count());
  return published ? 0 : 1;
}
