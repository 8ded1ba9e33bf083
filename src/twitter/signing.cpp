// Signs with liboauth. Its functions exit the process if memory runs out, so none of them returns null.
#include "twitter/signing.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

// liboauth's header uses size_t without including a header that declares it.
#include <oauth.h>

#include "core/platform.h"

namespace velk::twitter {
namespace {

// The flags of oauth_serialize_url_sep.
enum JoinMode : int { kWithoutOauth = 1, kOnlyOauth = 2, kQuoted = 4 };

constexpr size_t kSignedPostArguments = 2;

// liboauth formats the consumer key and the token key in a 1024-byte buffer. Its Linux build truncates longer
// ones. Its Windows build leaves them unterminated, and then reads past the buffer. So keys are cut to fit.
constexpr size_t kLineLength = 1023;

std::string CutToLine(std::string_view name, std::string_view key) {
  return std::string(key.substr(0, kLineLength - name.size()));
}

// Bytes at or above this limit are discarded, so that every character is equally likely.
constexpr std::string_view kNonceCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr size_t kNonceByteLimit = 256 / kNonceCharacters.size() * kNonceCharacters.size();
constexpr size_t kNonceLength = 32;

std::string DrawNonce() {
  std::string nonce;
  while (nonce.size() < kNonceLength) {
    std::array<unsigned char, kNonceLength> bytes;
    if (!FillWithRandomBytes(bytes)) throw std::runtime_error("no randomness");
    for (const unsigned char byte : bytes) {
      const bool taken = byte < kNonceByteLimit && nonce.size() < kNonceLength;
      if (taken) nonce += kNonceCharacters[byte % kNonceCharacters.size()];
    }
  }
  return nonce;
}

const char* TextOrNull(const std::optional<std::string>& text) { return text ? text->c_str() : nullptr; }

// A request's parameters in liboauth's format: the base URL, then one name=value string for each.
class Arguments {
 public:
  explicit Arguments(const std::string& url) { count_ = oauth_split_url_parameters(url.c_str(), &texts_); }
  Arguments(Arguments&& other) noexcept
      : count_(std::exchange(other.count_, 0)), texts_(std::exchange(other.texts_, nullptr)) {}
  Arguments& operator=(Arguments&& other) noexcept {
    std::swap(count_, other.count_);
    std::swap(texts_, other.texts_);
    return *this;
  }
  ~Arguments() {
    if (texts_) oauth_free_array(&count_, &texts_);
  }

  void Add(const std::string& parameter) { oauth_add_param_to_array(&count_, &texts_, parameter.c_str()); }

  // liboauth would take the nonce from rand(). On Windows that repeats the same sequence on every new thread.
  void AddNonce() {
    char name[] = "oauth_nonce";
    if (!oauth_param_exists(texts_, count_, name)) Add("oauth_nonce=" + DrawNonce());
  }

  // Adds the protocol's own parameters, sorts all by their escaped form, and appends the signature.
  void Sign(bool hasPostArguments, const char* method, const OauthKeys& keys) {
    const std::string consumerKey = CutToLine("oauth_consumer_key=", keys.consumerKey);
    std::optional<std::string> tokenKey;
    if (keys.tokenKey) tokenKey = CutToLine("oauth_token=", *keys.tokenKey);
    // liboauth only checks this pointer for null; it does not write through it.
    char* unused = nullptr;
    oauth_sign_array2_process(&count_, &texts_, hasPostArguments ? &unused : nullptr, OA_HMAC, method,
                              consumerKey.c_str(), keys.consumerSecret.c_str(), TextOrNull(tokenKey),
                              TextOrNull(keys.tokenSecret));
  }

  std::string Join(int first, const char* separator, int mode) const {
    struct Free {
      void operator()(char* text) const noexcept { std::free(text); }
    };
    // The separator is only read, although its parameter is not const.
    const std::unique_ptr<char, Free> joined(
        oauth_serialize_url_sep(count_, first, texts_, const_cast<char*>(separator), mode));
    return joined.get();
  }

 private:
  int count_ = 0;
  char** texts_ = nullptr;
};

std::string Write(const Arguments& arguments, OauthForm form) {
  switch (form) {
    case OauthForm::kQuery:
      // The URL ends with its question mark even if no parameter follows.
      return arguments.Join(0, "&", kWithoutOauth) + arguments.Join(1, "&", kOnlyOauth);
    case OauthForm::kQuotedHeader:
      return arguments.Join(1, ", ", kOnlyOauth | kQuoted);
    case OauthForm::kBareHeader:
      return arguments.Join(1, ", ", kOnlyOauth);
  }
  return {};
}

}  // namespace

std::string SignRequest(const std::string& url, std::span<const std::string> postArguments,
                        const char* method, const OauthKeys& keys, OauthForm form) {
  const auto turn = LockLiboauth();
  Arguments arguments(url);
  if (!postArguments.empty() && !postArguments.front().empty()) {
    for (const std::string& parameter :
         postArguments.first(std::min(postArguments.size(), kSignedPostArguments)))
      arguments.Add(parameter);
  }
  arguments.AddNonce();
  arguments.Sign(!postArguments.empty(), method, keys);
  return Write(arguments, form);
}

}  // namespace velk::twitter
