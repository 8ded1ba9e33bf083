/// @file velk_upload.hpp
/// @brief Velk Upload for C++20: publishes to Facebook, Twitter and YouTube over the functions of
/// velk_upload.h.
///
/// @par Calls
/// Every call blocks on the caller's thread, and any thread may make any call. It throws Error when the
/// library reports a failure, and ValueError when a value cannot be sent as it is.
///
/// @par Strings
/// UTF-8. They arrive at the service unchanged: this header writes each as the library requires it. Against
/// YouTube itself this was not tested.
#pragma once

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "velk_upload.h"
#include "velk_upload_results.hpp"

namespace velk_upload {

/// A call that failed. With a code above zero it succeeded in part: see Partial.
class Error : public std::runtime_error {
 public:
  explicit Error(std::int32_t code) : Error(code, Find(code)) {}
  std::int32_t Code() const noexcept { return code_; }           ///< A VelkResult, or unknown.
  std::string_view Name() const noexcept { return text_.name; }  ///< Such as "VELK_TOKEN_REJECTED".
  std::string_view Meaning() const noexcept { return text_.meaning; }
  std::string_view Advice() const noexcept { return text_.advice; }  ///< What an application should do.
  /// True when something was published or found, but not as requested. A second try would publish it twice.
  bool Partial() const noexcept { return code_ > 0; }

 private:
  Error(std::int32_t code, const ResultText& text)
      : std::runtime_error(std::string(text.name) + " (" + std::to_string(code) +
                           "): " + std::string(text.meaning)),
        code_(code),
        text_(text) {}

  static const ResultText& Find(std::int32_t code) {
    static constexpr ResultText kUnknown{0, "VELK_UNKNOWN", "A failure that this binding does not know.",
                                         "Use a binding of the library's version."};
    const auto found = std::ranges::find(kResults, code, &ResultText::code);
    return found == std::ranges::end(kResults) ? kUnknown : *found;
  }

  std::int32_t code_;
  const ResultText& text_;
};

/// A value that does not fit as it is sent, or cannot be sent. Nothing was sent.
class ValueError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// The library is missing, or is not the one that this header requires. The message contains its path.
class LibraryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// How to follow an upload.
struct Options {
  /// Receives the bytes sent and the bytes to send, on a thread of this header's, and never after the call. A
  /// photo tweet counts each segment of 1 MiB by itself; Facebook's figures count the form too, and start
  /// again on its second host. An exception cancels the upload and leaves the call.
  std::function<void(std::uint64_t sent, std::uint64_t total)> progress = {};
  /// Cancels the upload: the call throws Error with VELK_CANCELLED. When everything was sent, it has no
  /// effect.
  std::stop_token stop = {};
};

namespace detail {

// ---- How strings are written into records ----

inline constexpr std::string_view kHex = "0123456789ABCDEF";

// For a URL, or a value of a form post.
inline std::string PercentEncoded(std::string_view text) {
  constexpr std::string_view kUnreserved =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (kUnreserved.find(c) != kUnreserved.npos)
      encoded += c;
    else
      encoded += {'%', kHex[byte >> 4], kHex[byte & 15]};
  }
  return encoded;
}

// The library takes "NULL" in a post for an absent value.
inline std::string PostText(std::string_view text) {
  return text == "NULL" ? "%4EULL" : PercentEncoded(text);
}

// YouTube's texts travel between single quotes. Without line ends, the library's own escaping changes
// nothing.
inline std::string YoutubeText(std::string_view text) {
  constexpr std::string_view kControls = "\n\r\t", kLetters = "nrt";
  std::string escaped;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\\')
      escaped += "\\\\";
    else if (const auto index = kControls.find(c); index != kControls.npos)
      escaped += {'\\', kLetters[index]};
    else if (c == '\'' || byte < 0x20)
      escaped += {'\\', 'u', '0', '0', kHex[byte >> 4], kHex[byte & 15]};
    else
      escaped += c;
  }
  return escaped;
}

using Encoding = std::string (*)(std::string_view);
inline std::string Plain(std::string_view text) { return std::string(text); }

// A value as it goes to the library. It is never cut.
inline std::string Encoded(std::string_view value, const char* name, Encoding encode = Plain,
                           std::size_t longest = static_cast<std::size_t>(-1)) {
  if (value.find('\0') != value.npos) throw ValueError(std::string(name) + " contains a NUL");
  std::string encoded = encode(value);
  if (encoded.size() > longest)
    throw ValueError(std::string(name) + " is too long: " + std::to_string(encoded.size()) +
                     " bytes as it is sent, and at most " + std::to_string(longest) + " fit");
  return encoded;
}

template <std::size_t width>
void SetField(char (&field)[width], std::string_view value, const char* name, Encoding encode = Plain,
              std::size_t longest = width - 1) {
  const std::string encoded = Encoded(value, name, encode, longest);
  std::memcpy(field, encoded.c_str(), encoded.size() + 1);
}

inline std::string Utf8(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

inline void AppendUtf8(std::string& text, std::uint32_t c) {
  const auto tail = [c](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80)
    text += static_cast<char>(c);
  else if (c < 0x800)
    text += {static_cast<char>(0xC0 | c >> 6), tail(0)};
  else if (c < 0x10000)
    text += {static_cast<char>(0xE0 | c >> 12), tail(6), tail(0)};
  else
    text += {static_cast<char>(0xF0 | c >> 18), tail(12), tail(6), tail(0)};
}

// The library returns names and URLs with JSON's escapes, and ends them at a quote: its backslash is dropped.
// Half of a character is dropped, too.
inline std::string Unescaped(std::string_view text) {
  constexpr std::string_view kLetters = "bfnrt", kCharacters = "\b\f\n\r\t";
  std::string plain;
  std::uint32_t high = 0;  // the first half of a character above U+FFFF
  for (; !text.empty(); text.remove_prefix(1)) {
    const bool escaped = text.front() == '\\';
    if (escaped) text.remove_prefix(1);
    if (text.empty()) break;
    const std::uint32_t first = std::exchange(high, 0);
    std::uint32_t value = 0;
    if (escaped && text.front() == 'u' && text.size() > 4 &&
        std::from_chars(text.data() + 1, text.data() + 5, value, 16).ptr == text.data() + 5) {
      text.remove_prefix(4);
      if (value >> 10 == 0x36)
        high = 0x10000 + (value - 0xD800) * 0x400;
      else if (value >> 10 != 0x37)
        AppendUtf8(plain, value);
      else if (first != 0)
        AppendUtf8(plain, first + (value - 0xDC00));
    } else {
      const auto index = escaped ? kLetters.find(text.front()) : kLetters.npos;
      plain += index == kLetters.npos ? text.front() : kCharacters[index];
    }
  }
  return plain;
}

// After an unusual reply the library returns the punctuation around a value that is none, such as ":123,".
inline std::string Value(std::string_view text) {
  const bool none = text == ": " || text == "," || (text.starts_with(':') && text.ends_with(','));
  return none ? std::string() : Unescaped(text);
}

inline void Check(std::int32_t result) {
  if (result != VELK_OK) throw Error(result);
}

// ---- The library ----

#ifdef _WIN32
inline constexpr const char* kLibraryName = "LibVelkUpload.dll";

// The folder of the program or library that this header is compiled into.
inline std::filesystem::path OwnFolder() {
  HMODULE module = nullptr;
  std::wstring file(32768, L'\0');
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&OwnFolder), &module);
  file.resize(GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size())));
  return std::filesystem::path(file).parent_path();
}

inline void* Open(const std::filesystem::path& file, std::string& failure) {
  constexpr DWORD kSearch = LOAD_LIBRARY_SEARCH_DEFAULT_DIRS, kBeside = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR;
  const DWORD flags = file.has_parent_path() ? kSearch | kBeside : kSearch;
  void* const module = reinterpret_cast<void*>(LoadLibraryExW(file.c_str(), nullptr, flags));
  const DWORD error = GetLastError();
  if (!module)
    failure = error == ERROR_BAD_EXE_FORMAT ? "it is no library for this processor"
                                            : std::system_category().message(static_cast<int>(error));
  return module;
}

inline void* Address(void* module, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}
#else
inline constexpr const char* kLibraryName = "libvelkupload.so.1";

inline std::filesystem::path OwnFolder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&OwnFolder), &info) == 0 || !info.dli_fname) return {};
  return std::filesystem::absolute(info.dli_fname).parent_path();
}

// Of a library for another processor, the system reports that there is no such file.
inline bool IsForThisProcessor(const std::filesystem::path& file) {
  const auto kind = [](const std::filesystem::path& binary) {
    std::string head(20, '\0');  // ends with the processor
    std::ifstream(binary, std::ios::binary).read(head.data(), static_cast<std::streamsize>(head.size()));
    return head.substr(0, 5) + head.substr(18);
  };
  return kind(file) == kind("/proc/self/exe");
}

inline void* Open(const std::filesystem::path& file, std::string& failure) {
  void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!module) failure = dlerror();
  if (!module && std::filesystem::exists(file) && !IsForThisProcessor(file))
    failure = "it is no library for this processor";
  return module;
}

inline void* Address(void* module, const char* name) { return dlsym(module, name); }
#endif

// The library stays loaded until the process exits, since some of its handles stay allocated too.
class Module {
 public:
  explicit Module(const std::filesystem::path& file) {
    const std::filesystem::path beside = OwnFolder() / kLibraryName;
    path_ = !file.empty()                     ? std::filesystem::absolute(file)
            : std::filesystem::exists(beside) ? beside
                                              : kLibraryName;
    std::string reason;
    module_ = Open(path_, reason);
    if (module_) return;
    const std::string searched =
        " is not in " + Utf8(beside.parent_path()) + ", and the system does not find it";
    throw LibraryError(
        "velk_upload: " + (path_.has_parent_path() ? "cannot load " + Utf8(path_) : kLibraryName + searched) +
        ": " + reason);
  }

  struct Export {
    void* address;
    template <typename Function>
    operator Function*() const {  // NOLINT(google-explicit-constructor)
      return reinterpret_cast<Function*>(address);
    }
  };
  Export Find(const char* name) const {
    void* const address = Address(module_, name);
    if (!address)
      throw LibraryError("velk_upload: " + Utf8(path_) + " lacks the function " + name +
                         ": it is another library, or an older version");
    return {address};
  }

 private:
  std::filesystem::path path_;
  void* module_ = nullptr;
};

// The functions of a handle. Twitter's have second names alone.
struct HandleFunctions {
  decltype(&::InitFacebookFileUploder) init;
  decltype(&::UninitFacebookFileUploder) uninit;
  decltype(&::GetFacebookUploadFileProgress) progress;
  decltype(&::CancelFacebookUploadFile) cancel;
  bool cancelFirst;  // a finished handle can be freed after a cancel
};

struct Functions {
  explicit Functions(const std::filesystem::path& file) : module(file) {}

  Module module;
  HandleFunctions formHandle{module.Find("InitFacebookFileUploder"), module.Find("UninitFacebookFileUploder"),
                             module.Find("GetFacebookUploadFileProgress"),
                             module.Find("CancelFacebookUploadFile"), false};
  HandleFunctions youtubeHandle{
      module.Find("InitYoutubeFileUploder"), module.Find("UninitYoutubeFileUploder"),
      module.Find("GetYoutubeUploadFileProgress"), module.Find("CancelYoutubeUploadFile"), true};
  decltype(&::SetLibVelkUploadProxy) setProxy = module.Find("SetLibVelkUploadProxy");
  decltype(&::GetLibVelkUploadProxy) getProxy = module.Find("GetLibVelkUploadProxy");
  decltype(&::ExangeFacebookAccessToken) exchangeToken = module.Find("ExangeFacebookAccessToken");
  decltype(&::CheckFacebookAccessTokenValid) checkToken = module.Find("CheckFacebookAccessTokenValid");
  decltype(&::GetFacebookUserNameEmail) user = module.Find("GetFacebookUserNameEmail");
  decltype(&::StartFacebookUploadVideo) facebookVideo = module.Find("StartFacebookUploadVideo");
  decltype(&::StartFacebookUploadPhoto) facebookPhoto = module.Find("StartFacebookUploadPhoto");
  decltype(&::PostFacebookComment) post = module.Find("PostFacebookComment");
  decltype(&::GetFacebookUserPagesList) pages = module.Find("GetFacebookUserPagesList");
  decltype(&::FreeFacebookUserPagesList) freePages = module.Find("FreeFacebookUserPagesList");
  decltype(&::SetFacebookUpdateInfo) facebookUpdate = module.Find("SetFacebookUpdateInfo");
  decltype(&::GetFacebookPhotoUrl) photoUrl = module.Find("GetFacebookPhotoUrl");
  decltype(&::GetFacebookVideoUrl) videoUrl = module.Find("GetFacebookVideoUrl");
  decltype(&::GetFacebookVideoEmbedUrl) videoEmbedUrl = module.Find("GetFacebookVideoEmbedUrl");
  decltype(&::GetTwitterOauthUrl) oauthUrl = module.Find("GetTwitterOauthUrl");
  decltype(&::GetTwitterAccessToken) accessToken = module.Find("GetTwitterAccessToken");
  decltype(&::PostTwitterComment) tweet = module.Find("PostTwitterComment");
  decltype(&::StartTwitterUploadPhoto) twitterPhoto = module.Find("StartTwitterUploadPhoto");
  decltype(&::StartYoutubeUploadFile) youtubeVideo = module.Find("StartYoutubeUploadFile");
  decltype(&::SetYoutubeUploadFileUpdateInfo) youtubeUpdate = module.Find("SetYoutubeUploadFileUpdateInfo");
};

// ---- Following an upload ----

// Polls a handle on a thread of its own, while the upload runs on the caller's.
class Watcher {
 public:
  Watcher(const HandleFunctions& functions, FileUploader* uploader, const Options& options)
      : functions_(functions), uploader_(uploader), options_(options) {
    if (options.progress || options.stop.stop_possible()) thread_ = std::thread([this] { Watch(); });
  }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;
  ~Watcher() { End(); }

  void End() {
    {
      const std::scoped_lock lock(mutex_);
      ended_ = true;
    }
    wake_.notify_one();
    if (thread_.joinable()) thread_.join();
  }

  void Rethrow() const {
    if (thrown_) std::rethrow_exception(thrown_);
  }

 private:
  void Watch() {
    constexpr std::chrono::milliseconds kPoll{20}, kRetry{1};
    std::unique_lock lock(mutex_);
    for (bool pending = false; !wake_.wait_for(lock, pending ? kRetry : kPoll, [this] { return ended_; });) {
      // YouTube takes a cancel only once its PUT has begun.
      pending = !cancelled_ && (thrown_ || options_.stop.stop_requested());
      if (pending) cancelled_ = functions_.cancel(uploader_) == VELK_OK;
      if (!pending && !cancelled_) Report();
    }
    if (!cancelled_) Report();
  }

  void Report() {
    double sent = 0, total = 0;
    if (!options_.progress || thrown_ || functions_.progress(uploader_, &sent, &total) != VELK_OK) return;
    if (total <= 0 || (sent == sent_ && total == total_)) return;
    sent_ = sent;
    total_ = total;
    try {
      options_.progress(static_cast<std::uint64_t>(sent), static_cast<std::uint64_t>(total));
    } catch (...) {
      thrown_ = std::current_exception();
    }
  }

  const HandleFunctions& functions_;
  FileUploader* const uploader_;
  const Options& options_;
  double sent_ = -1, total_ = -1;
  bool ended_ = false, cancelled_ = false;
  std::exception_ptr thrown_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::thread thread_;
};

// Runs an upload with a handle of its own. Uninit refuses a finished handle of Facebook or Twitter, which
// then stays allocated, as the library requires.
template <typename Start>
void Follow(const HandleFunctions& functions, const Options& options, const Start& start) {
  if (options.stop.stop_requested()) throw Error(VELK_CANCELLED);
  const auto release = [&functions](FileUploader* uploader) {
    if (functions.cancelFirst) functions.cancel(uploader);
    functions.uninit(uploader);
  };
  const std::unique_ptr<FileUploader, decltype(release)> uploader(functions.init(), release);
  if (!uploader) throw Error(VELK_OUT_OF_MEMORY);
  Watcher watcher(functions, uploader.get(), options);
  const std::int32_t result = start(uploader.get());
  watcher.End();
  watcher.Rethrow();
  Check(result);
}

// The valid tokens of the last minutes, since each check of one costs memory until the process exits.
class ValidTokens {
 public:
  // Of the process, as is the memory: a program may make several objects of the library.
  static ValidTokens& Shared() {
    static ValidTokens tokens;
    return tokens;
  }

  bool Contains(const std::string& token) {
    const std::scoped_lock lock(mutex_);
    std::erase_if(ends_, [now = Clock::now()](const auto& entry) { return entry.second <= now; });
    return ends_.contains(token);
  }

  void Add(const std::string& token) {
    const std::scoped_lock lock(mutex_);
    if (ends_.size() >= kMost) ends_.clear();
    ends_[token] = Clock::now() + kLifetime;
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::minutes kLifetime{5};
  static constexpr std::size_t kMost = 256;
  std::mutex mutex_;
  std::map<std::string, Clock::time_point> ends_;
};

inline constexpr std::size_t kValueCapacity = 1024;  // of a value that the library writes without a size
using Buffer = std::array<char, kValueCapacity>;

}  // namespace detail

// ---- Facebook ----

/// A video or a photo, whose form announces the whole path of the file to Facebook.
struct FacebookVideo {
  std::filesystem::path file = {};
  std::string title = {}, description = {};
  std::string privacy = {};  ///< "EVERYONE", "ALL_FRIENDS", "FRIENDS_OF_FRIENDS", "SELF" or empty.
  std::string target = {};   ///< The identifier of a page; empty for the user's own feed.
};

struct FacebookPhoto {
  std::filesystem::path file = {};
  std::string message = {};
  std::string privacy = {};  ///< As for a video, and required.
  std::string target = {};   ///< As for a video.
};

/// A message, a link or both.
struct FacebookPost {
  std::string message = {}, link = {};
  std::string privacy = {};  ///< As for a video.
  std::string target = {};   ///< As for a video.
};

/// What to change: a message, a message and the privacy of what its story is about, or a description.
struct FacebookChange {
  std::optional<std::string> message = {}, privacy = {}, description = {};
};

struct FacebookToken {
  std::string token;
  std::optional<std::chrono::seconds> lifetime;  ///< Empty when Facebook did not state it.
};

struct FacebookUser {
  std::string name, email;  ///< The e-mail address is never found: see GetFacebookUserNameEmail.
};

struct Page {
  std::string id, name;  ///< The name ends at its first escape.
};

class Facebook {
 public:
  explicit Facebook(const detail::Functions& library) : library_(library) {}

  FacebookToken ExchangeToken(std::string_view appId, std::string_view appSecret,
                              std::string_view token) const {
    detail::Buffer exchanged{};
    std::uint32_t length = 0, seconds = 0;
    detail::Check(library_.exchangeToken(Url(appId, "appId").c_str(), Url(appSecret, "appSecret").c_str(),
                                         Url(token, "token").c_str(), exchanged.data(), &length, &seconds));
    FacebookToken result{detail::Value(exchanged.data()), {}};
    if (result.token.empty()) throw Error(VELK_NO_IDENTIFIER);
    if (seconds > 0) result.lifetime = std::chrono::seconds(seconds);
    return result;
  }

  /// A valid token is remembered for five minutes, since each check of one costs memory until the process
  /// exits.
  bool CheckToken(std::string_view appId, std::string_view token) const {
    const std::string app = Url(appId, "appId"), checked = Url(token, "token");
    const std::string key = app + ' ' + checked;
    if (detail::ValidTokens::Shared().Contains(key)) return true;
    std::uint32_t valid = 0;
    detail::Check(library_.checkToken(app.c_str(), checked.c_str(), &valid));
    if (valid != 0) detail::ValidTokens::Shared().Add(key);
    return valid != 0;
  }

  FacebookUser User(std::string_view token) const {
    detail::Buffer name{}, email{};
    std::int32_t nameSize = name.size(), emailSize = email.size();
    detail::Check(
        library_.user(Url(token, "token").c_str(), name.data(), &nameSize, email.data(), &emailSize));
    return {detail::Value(name.data()), detail::Value(email.data())};
  }

  /// The pages that the user manages, which may be none. Their categories count as pages.
  std::vector<Page> Pages(std::string_view token) const {
    FacebookPage* list = nullptr;
    std::int32_t count = 0;
    const std::int32_t result = library_.pages(Url(token, "token").c_str(), &list, &count);
    const auto release = [this](FacebookPage* pages) { library_.freePages(&pages); };
    const std::unique_ptr<FacebookPage, decltype(release)> owner(list, release);
    if (result != VELK_NO_PAGES) detail::Check(result);
    std::vector<Page> pages;
    for (std::int32_t index = 0; list && index < count; ++index)
      pages.push_back({list[index].id, list[index].name});
    return pages;
  }

  /// Returns the identifier of the video.
  std::string UploadVideo(std::string_view token, const FacebookVideo& video,
                          const Options& options = {}) const {
    const auto info = Describe(video.target, video.privacy);
    detail::SetField(info->description, video.description, "description");
    detail::SetField(info->filePath, detail::Utf8(video.file), "file");
    detail::SetField(info->title, video.title, "title");
    return Upload(library_.facebookVideo, token, *info, options);
  }

  /// Returns the identifier of the story about the photo; empty when Facebook names none.
  std::string UploadPhoto(std::string_view token, const FacebookPhoto& photo,
                          const Options& options = {}) const {
    const auto info = Describe(photo.target, photo.privacy);
    detail::SetField(info->description, photo.message, "message");
    detail::SetField(info->filePath, detail::Utf8(photo.file), "file");
    return Upload(library_.facebookPhoto, token, *info, options);
  }

  /// Returns the identifier of the post.
  std::string Post(std::string_view token, const FacebookPost& post) const {
    const auto info = Describe(post.target, post.privacy);
    detail::SetField(info->description, post.message, "message", detail::PostText);
    detail::SetField(info->link, post.link, "link", detail::PostText);
    detail::Buffer id{};
    detail::Check(library_.post(Url(token, "token").c_str(), info.get(), id.data()));
    return id.data();
  }

  void Update(std::string_view token, std::string_view id, const FacebookChange& change) const {
    if (change.message.has_value() == change.description.has_value() || (change.privacy && !change.message))
      throw ValueError("a change has either a message, or a message and a privacy, or a description");
    const std::string& text = change.message ? *change.message : *change.description;
    const auto info = Describe({}, change.privacy.value_or(""));
    detail::SetField(info->description, text, change.message ? "message" : "description",
                     detail::PercentEncoded);
    info->updateKind = change.description ? 2 : change.privacy ? 1 : 0;
    detail::Check(library_.facebookUpdate(Url(token, "token").c_str(), Url(id, "id").c_str(), info.get()));
  }

  /// The URL of the page that shows a photo; empty when it has none.
  std::string PhotoUrl(std::string_view token, std::string_view id) const {
    return FetchUrl(library_.photoUrl, token, id);
  }
  /// The URL of the page that shows a video. Nothing is sent.
  std::string VideoUrl(std::string_view id) const { return FetchUrl(library_.videoUrl, "", id); }
  /// The URL of a video's own file; empty when it has none.
  std::string VideoEmbedUrl(std::string_view token, std::string_view id) const {
    return FetchUrl(library_.videoEmbedUrl, token, id);
  }

 private:
  static std::string Url(std::string_view value, const char* name) {
    return detail::Encoded(value, name, detail::PercentEncoded);
  }

  static std::unique_ptr<FacebookUploadInfo> Describe(std::string_view target, std::string_view privacy) {
    auto info = std::make_unique<FacebookUploadInfo>();
    // The library publishes to the user's own feed instead of a node that is no number.
    if (!target.empty() && (target.front() < '1' || target.front() > '9'))
      throw ValueError("target is no identifier: it begins with a digit from 1 to 9");
    if (privacy.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_") != privacy.npos)
      throw ValueError("privacy has other characters than A to Z and _");
    detail::SetField(info->targetId, target, "target", detail::PercentEncoded);
    detail::SetField(info->privacy, privacy, "privacy");
    return info;
  }

  std::string Upload(decltype(&::StartFacebookUploadVideo) start, std::string_view token,
                     const FacebookUploadInfo& info, const Options& options) const {
    const std::string encoded = Url(token, "token");
    detail::Buffer id{};
    detail::Follow(library_.formHandle, options, [&](FileUploader* uploader) {
      return start(uploader, encoded.c_str(), &info, id.data());
    });
    return id.data();
  }

  std::string FetchUrl(decltype(&::GetFacebookPhotoUrl) fetch, std::string_view token,
                       std::string_view id) const {
    const std::string encoded = Url(token, "token"), object = Url(id, "id");
    std::string url(2 * detail::kValueCapacity, '\0');
    for (;;) {
      auto size = static_cast<std::int32_t>(url.size());
      const std::int32_t result = fetch(encoded.c_str(), object.c_str(), url.data(), &size);
      if (result == VELK_OK) return detail::Value(url.c_str());
      if (result != VELK_BUFFER_TOO_SMALL) throw Error(result);
      url.assign(static_cast<std::size_t>(size), '\0');
    }
  }

  const detail::Functions& library_;
};

// ---- Twitter ----

struct Consumer {
  std::string key, secret;  ///< The application's own.
};

/// The signed-in user. Keep it: it does not expire.
struct TwitterUser {
  std::string token, tokenSecret, id, screenName;
};

struct SignInPage {
  std::string url;           ///< Where the user allows the application, and sees a PIN.
  std::string requestToken;  ///< For FinishSignIn.
};

struct TwitterPhoto {
  std::filesystem::path file = {};  ///< At most 5 MiB.
  std::string text = {};            ///< At most 420 bytes; Twitter has a limit of its own.
};

class Twitter {
 public:
  explicit Twitter(const detail::Functions& library) : library_(library) {}

  SignInPage SignIn(const Consumer& consumer) const {
    constexpr std::string_view kName = "oauth_token=";
    std::array<char, 2 * detail::kValueCapacity> url{};
    const std::string key = detail::Encoded(consumer.key, "key", detail::Plain, kLongestKey);
    detail::Check(library_.oauthUrl(key.c_str(), detail::Encoded(consumer.secret, "secret").c_str(), nullptr,
                                    url.data()));
    const std::string_view page = url.data();
    return {std::string(page), std::string(page.substr(page.find(kName) + kName.size()))};
  }

  /// The PIN may have blanks and a line end around it.
  TwitterUser FinishSignIn(const Consumer& consumer, std::string_view requestToken,
                           std::string_view pin) const {
    constexpr std::string_view kBlanks = " \t\r\n";
    // In parentheses, since windows.h may define a macro of this name.
    pin.remove_prefix((std::min)(pin.find_first_not_of(kBlanks), pin.size()));
    pin = pin.substr(0, pin.find_last_not_of(kBlanks) + 1);
    TwitterAccessRequest request{};
    detail::SetField(request.consumerKey, consumer.key, "key", detail::Plain, kLongestKey);
    detail::SetField(request.consumerSecret, consumer.secret, "secret");
    detail::SetField(request.requestToken, requestToken, "requestToken");
    detail::SetField(request.verifier, pin, "pin", detail::PercentEncoded);
    TwitterAccessToken user{};
    detail::Check(library_.accessToken(&request, &user));
    // A reply without all fields counts as a success.
    if (!*user.oauthToken || !*user.oauthTokenSecret || !*user.userId || !*user.screenName)
      throw Error(VELK_NO_IDENTIFIER);
    return {user.oauthToken, user.oauthTokenSecret, user.userId, user.screenName};
  }

  /// Posts a text of at most 420 bytes, with the media of these identifiers.
  void Tweet(const Consumer& consumer, const TwitterUser& user, std::string_view text,
             const std::vector<std::string>& mediaIds = {}) const {
    const Credentials credentials(consumer, user);
    std::string media;
    for (const std::string& id : mediaIds) media += (media.empty() ? "" : ",") + id;
    detail::Check(library_.tweet(&credentials.consumer, &credentials.token, Text(text).c_str(),
                                 detail::Encoded(media, "mediaIds").c_str()));
  }

  /// Uploads a photo and posts a tweet that shows it.
  void UploadPhoto(const Consumer& consumer, const TwitterUser& user, const TwitterPhoto& photo,
                   const Options& options = {}) const {
    const Credentials credentials(consumer, user);
    const std::string path = detail::Utf8(photo.file), name = detail::Utf8(photo.file.filename());
    const std::string folder = path.substr(0, path.size() - name.size());
    TwitterUploadFile file{};
    detail::SetField(file.fileName, name, "file");
    // The library joins both with a separator.
    detail::SetField(file.folderPath, folder.empty() ? "." : folder.substr(0, folder.size() - 1), "file");
    detail::SetField(file.statusText, Text(photo.text), "text");
    detail::Follow(library_.formHandle, options, [&](FileUploader* uploader) {
      return library_.twitterPhoto(uploader, &credentials.consumer, &credentials.token, &file);
    });
  }

 private:
  // The library uses that many bytes of each, and Twitter refuses what is longer as unknown.
  static constexpr std::size_t kLongestKey = 1004, kLongestToken = 1011;

  struct Credentials {
    Credentials(const Consumer& application, const TwitterUser& user) {
      detail::SetField(consumer.consumerKey, application.key, "key", detail::Plain, kLongestKey);
      detail::SetField(consumer.consumerSecret, application.secret, "secret");
      detail::SetField(token.oauthToken, user.token, "token", detail::Plain, kLongestToken);
      detail::SetField(token.oauthTokenSecret, user.tokenSecret, "tokenSecret");
      detail::SetField(token.userId, user.id, "id");
      detail::SetField(token.screenName, user.screenName, "screenName");
    }
    TwitterConsumer consumer{};
    TwitterAccessToken token{};
  };

  // Twitter would see a text that is too long only after its photo.
  static std::string Text(std::string_view text) { return detail::Encoded(text, "text", detail::Plain, 420); }

  const detail::Functions& library_;
};

// ---- YouTube ----

struct YoutubeVideo {
  std::filesystem::path file = {};           ///< Not used by an update.
  std::string title = {}, description = {};  ///< Required.
  std::string privacy = "private";           ///< Or "public" or "unlisted".
  std::string category = "22";               ///< The number of a category; 22 is people.
  std::vector<std::string> tags = {};
};

class Youtube {
 public:
  explicit Youtube(const detail::Functions& library) : library_(library) {}

  /// Returns the identifier of the video.
  std::string Upload(std::string_view token, const YoutubeVideo& video, const Options& options = {}) const {
    YoutubeUploadInfo info = Describe(video);
    detail::SetField(info.filePath, detail::Utf8(video.file), "file");
    const std::string checked = detail::Encoded(token, "token");
    std::array<char, 256> id{};
    detail::Follow(library_.youtubeHandle, options, [&](FileUploader* uploader) {
      return library_.youtubeVideo(uploader, checked.c_str(), &info, id.data());
    });
    return id.data();
  }

  /// Replaces title, description, privacy, category and tags: also pass what does not change.
  void Update(std::string_view token, std::string_view id, const YoutubeVideo& video) const {
    YoutubeUploadInfo info = Describe(video);
    detail::Check(
        library_.youtubeUpdate(detail::Encoded(token, "token").c_str(), Text(id, "id").c_str(), &info));
  }

 private:
  // The library rewrites a record, so that each call has its own.
  static YoutubeUploadInfo Describe(const YoutubeVideo& video) {
    std::string tags;
    for (const std::string& tag : video.tags) {
      if (tag.empty() || tag.find('\n') != tag.npos) throw ValueError("a tag is empty or has a line end");
      tags += (tags.empty() ? "" : "\n") + Text(tag, "tags");
    }
    YoutubeUploadInfo info{};
    detail::SetField(info.title, video.title, "title", detail::YoutubeText);
    detail::SetField(info.description, video.description, "description", detail::YoutubeText);
    detail::SetField(info.privacyStatus, video.privacy, "privacy", detail::YoutubeText);
    detail::SetField(info.categoryId, video.category, "category", detail::YoutubeText);
    detail::SetField(info.tags, tags, "tags");
    return info;
  }

  static std::string Text(std::string_view text, const char* name) {
    return detail::Encoded(text, name, detail::YoutubeText);
  }

  const detail::Functions& library_;
};

// ---- The library ----

/// The loaded library. It is thread-safe, and stays loaded until the process exits.
class Library {
 public:
  /// Loads the library: the given file, or else the one beside the program, or else what the system finds.
  explicit Library(const std::filesystem::path& file = {}) : functions_(file) {}
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// Sends all later requests of the process through a proxy; empty removes it. Set it before the first
  /// request.
  void SetProxy(std::string_view url) {
    functions_.setProxy(detail::Encoded(url, "proxy", detail::Plain, kProxyCapacity - 1).c_str());
  }
  std::string Proxy() const {
    std::array<char, kProxyCapacity> url{};
    const std::int32_t size = kProxyCapacity;
    detail::Check(functions_.getProxy(url.data(), &size));
    return url.data();
  }

 private:
  static constexpr std::int32_t kProxyCapacity = 256;
  detail::Functions functions_;

 public:
  Facebook facebook{functions_};
  Twitter twitter{functions_};
  Youtube youtube{functions_};
};

}  // namespace velk_upload
