// Publishing to Facebook.
#include <array>
#include <boost/json/array.hpp>
#include <memory>

#include "call.h"
#include "encoding.h"
#include "failure.h"
#include "meta.h"
#include "options.h"
#include "publish_files.h"
#include "record.h"
#include "secrets.h"

namespace velk::publish {
namespace {

constexpr std::size_t kValueCapacity = 1024;  // of a value that the library writes without a size
using Value = std::array<char, kValueCapacity>;

constexpr HandleFunctions kHandle{InitFacebookFileUploder, UninitFacebookFileUploder,
                                  GetFacebookUploadFileProgress, CancelFacebookUploadFile};

constexpr SecretSource kToken{"access token", "--token-file", "VELK_FACEBOOK_TOKEN", "facebook.token"};
constexpr SecretSource kAppSecret{"application's secret", "--secret-file", "VELK_FACEBOOK_SECRET",
                                  "facebook.secret"};
constexpr SecretSource kApp{"application's identifier", "--app", "VELK_FACEBOOK_APP", "facebook.app"};

const std::vector<std::string> kPrivacies{"EVERYONE", "ALL_FRIENDS", "FRIENDS_OF_FRIENDS", "SELF"};

// A token travels in a URL.
std::string Token(const Options& options) {
  return PercentEncoded(ReadSecret(options, options.tokenFile, kToken));
}

std::string App(const Options& options) {
  const std::string app = ReadPlain(options, options.app, kApp);
  if (app.empty())
    throw UsageError("no application's identifier: use --app, VELK_FACEBOOK_APP or \"facebook.app\"");
  return PercentEncoded(app);
}

// ---- Tokens, the user and the pages ----

void ReportLifetime(Outcome& outcome, std::uint32_t seconds) {
  if (seconds == 0) return;
  outcome.extra["expiresIn"] = seconds;
  outcome.remark = "The token lives for " + std::to_string(seconds / 86400) + " days.";
}

int ExchangeToken(const Options& options) {
  const std::string app = App(options), token = Token(options);
  const std::string secret = PercentEncoded(ReadSecret(options, options.appSecretFile, kAppSecret));
  Value exchanged{};
  std::uint32_t length = 0, lifetime = 0;
  Outcome outcome = Perform(CallKind::kFacebookRead, options, [&] {
    return ExangeFacebookAccessToken(app.c_str(), secret.c_str(), token.c_str(), exchanged.data(), &length,
                                     &lifetime);
  });
  if (outcome.result == VELK_OK && length == 0) {
    outcome.result = VELK_NO_IDENTIFIER;
    outcome.status = kRefused;
  }
  if (outcome.status == kDone) {
    outcome.output = exchanged.data();
    outcome.extra["token"] = exchanged.data();
    ReportLifetime(outcome, lifetime);
  }
  return ReportOne(CallKind::kFacebookRead, options, outcome);
}

int CheckToken(const Options& options) {
  const std::string app = App(options), token = Token(options);
  std::uint32_t valid = 0;
  Outcome outcome = Perform(CallKind::kFacebookRead, options, [&] {
    return CheckFacebookAccessTokenValid(app.c_str(), token.c_str(), &valid);
  });
  if (outcome.status == kDone) {
    outcome.extra["valid"] = valid != 0;
    outcome.output = valid ? "valid" : "not valid";
    if (!valid) {
      outcome.status = kCredentials;
      outcome.problem = "the token is not valid";
    }
  }
  return ReportOne(CallKind::kFacebookRead, options, outcome);
}

int ShowUser(const Options& options) {
  const std::string token = Token(options);
  Value name{}, email{};
  Outcome outcome = Perform(CallKind::kFacebookRead, options, [&] {
    std::int32_t nameSize = name.size(), emailSize = email.size();
    return GetFacebookUserNameEmail(token.c_str(), name.data(), &nameSize, email.data(), &emailSize);
  });
  if (outcome.status == kDone) {
    outcome.output = name.data();
    outcome.extra["user"] = name.data();
  }
  return ReportOne(CallKind::kFacebookRead, options, outcome);
}

int ListPages(const Options& options) {
  const std::string token = Token(options);
  FacebookPage* list = nullptr;
  std::int32_t count = 0;
  Outcome outcome = Perform(CallKind::kFacebookRead, options,
                            [&] { return GetFacebookUserPagesList(token.c_str(), &list, &count); });
  const auto release = [](FacebookPage* pages) { FreeFacebookUserPagesList(&pages); };
  const std::unique_ptr<FacebookPage, decltype(release)> pages(list, release);
  boost::json::array array;
  for (std::int32_t index = 0; pages && index < count; ++index) {
    const FacebookPage& page = pages.get()[index];
    outcome.output += (index > 0 ? "\n" : "") + std::string(page.id) + '\t' + page.name;
    array.push_back({{"id", page.id}, {"name", page.name}});
  }
  if (outcome.status == kDone) outcome.extra["pages"] = array;
  if (outcome.result == VELK_NO_PAGES) outcome.remark = "The user manages no page.";
  return ReportOne(CallKind::kFacebookRead, options, outcome);
}

// ---- Publishing ----

void SetTarget(FacebookUploadInfo& info, const Options& options) {
  if (!options.target) return;
  // The library publishes to the user's own node instead of one that is no number.
  if (options.target->empty() || options.target->front() < '1' || options.target->front() > '9')
    throw UsageError("--target: \"" + *options.target +
                     "\" is no identifier; it begins with a digit from 1 to 9");
  SetField(info.targetId, PercentEncoded(*options.target), "target");
}

const std::string& Required(const std::optional<std::string>& value, const char* option) {
  if (!value || value->empty()) throw UsageError(std::string(option) + " is required, and must not be empty");
  return *value;
}

std::string Privacy(const Options& options) { return options.privacy.value_or("SELF"); }

std::string VideoUrl(const std::string& id) {
  std::array<char, 2 * kValueCapacity> url{};
  std::int32_t size = url.size();
  return GetFacebookVideoUrl("", id.c_str(), url.data(), &size) == VELK_OK ? url.data() : "";
}

using StartFunction = std::int32_t(FileUploader*, const char*, const FacebookUploadInfo*, char*);

Outcome PublishFile(CallKind kind, StartFunction* start, FacebookUploadInfo info, const std::string& token,
                    const std::string& path, std::uint64_t size, const Options& options) {
  SetField(info.filePath, path, "path");
  Value id{};
  Call call{.kind = kind,
            .run = [&](FileUploader* uploader) { return start(uploader, token.c_str(), &info, id.data()); },
            .handle = &kHandle,
            .file = path,
            .fileSize = size};
  Outcome outcome = Perform(call, options);
  outcome.id = id.data();
  outcome.remark = "Published " + path + " to Facebook.";
  return outcome;
}

int PublishVideos(const Options& given) {
  Options options = given;
  AddMetadata(options, {{"privacy", kPrivacies}});
  FacebookUploadInfo info{};
  SetTarget(info, options);
  SetField(info.title, Required(options.title, "--title"), "title");
  SetField(info.description, Required(options.description, "--description"), "description");
  SetField(info.privacy, Privacy(options), "privacy");
  const std::string token = Token(options);
  return PublishFiles(CallKind::kFacebookVideo, options, [&](const std::string& path, std::uint64_t size) {
    Outcome outcome =
        PublishFile(CallKind::kFacebookVideo, StartFacebookUploadVideo, info, token, path, size, options);
    if (outcome.result == VELK_OK) outcome.url = VideoUrl(outcome.id);
    return outcome;
  });
}

int PublishPhotos(const Options& options) {
  FacebookUploadInfo info{};
  SetTarget(info, options);
  SetField(info.description, Required(options.message, "--message"), "message");
  SetField(info.privacy, Privacy(options), "privacy");
  const std::string token = Token(options);
  return PublishFiles(CallKind::kFacebookPhoto, options, [&](const std::string& path, std::uint64_t size) {
    return PublishFile(CallKind::kFacebookPhoto, StartFacebookUploadPhoto, info, token, path, size, options);
  });
}

int Post(const Options& options) {
  FacebookUploadInfo info{};
  SetTarget(info, options);
  SetField(info.description, PostText(options.message.value_or("")), "message");
  SetField(info.link, PostText(options.link.value_or("")), "link");
  if (*info.description == '\0' && *info.link == '\0') throw UsageError("--message or --link is required");
  SetField(info.privacy, Privacy(options), "privacy");
  const std::string token = Token(options);
  Value id{};
  Outcome outcome = Perform(CallKind::kFacebookPost, options,
                            [&] { return PostFacebookComment(token.c_str(), &info, id.data()); });
  outcome.id = id.data();
  outcome.remark = "Posted to Facebook.";
  return ReportOne(CallKind::kFacebookPost, options, outcome);
}

// ---- What was published ----

std::uint32_t UpdateKind(const Options& options) {
  if (options.description.has_value() == options.message.has_value() || (options.privacy && !options.message))
    throw UsageError("give either --description, or --message, or --privacy and --message");
  return options.description ? 2 : options.privacy ? 1 : 0;
}

int Update(const Options& options) {
  FacebookUploadInfo info{};
  info.updateKind = UpdateKind(options);
  const std::string& text = options.description ? *options.description : *options.message;
  SetField(info.description, PercentEncoded(text), "text");
  SetField(info.privacy, Privacy(options), "privacy");
  const std::string token = Token(options), id = PercentEncoded(options.id);
  Outcome outcome = Perform(
      CallKind::kFacebookUpdate, options,
      [&] { return SetFacebookUpdateInfo(token.c_str(), id.c_str(), &info); }, info.updateKind);
  outcome.id = options.id;
  outcome.remark = "Changed on Facebook.";
  if (outcome.result == VELK_PRIVACY_NOT_UPDATED)
    outcome.problem =
        "VELK_PRIVACY_NOT_UPDATED (1): nothing was changed. Check the identifier and the token.";
  return ReportOne(CallKind::kFacebookUpdate, options, outcome);
}

int ShowUrl(const Options& options) {
  const std::string kind = options.kind.value_or("");
  if (kind.empty()) throw UsageError("--kind is required");
  const auto get = kind == "photo"   ? GetFacebookPhotoUrl
                   : kind == "video" ? GetFacebookVideoUrl
                                     : GetFacebookVideoEmbedUrl;
  const std::string token = Token(options), id = PercentEncoded(options.id);
  std::array<char, 16384> url{};
  Outcome outcome = Perform(CallKind::kFacebookRead, options, [&] {
    std::int32_t size = url.size();
    return get(token.c_str(), id.c_str(), url.data(), &size);
  });
  outcome.url = outcome.output = url.data();
  outcome.id = options.id;
  if (outcome.status == kDone && outcome.url.empty()) {
    outcome.result = VELK_UNSUPPORTED_GET;
    outcome.status = kRefused;
  }
  return ReportOne(CallKind::kFacebookRead, options, outcome);
}

// ---- The options ----

void AddTokenOption(CLI::App& app, Options& options) { AddToken(app, options, kToken.variable); }

void AddAppOption(CLI::App& app, Options& options) {
  AddValue(app, "--app", options.app, "The application's identifier (environment: VELK_FACEBOOK_APP)")
      ->type_name("ID");
}

void AddExchangeOptions(CLI::App& app, Options& options) {
  AddTokenOption(app, options);
  AddAppOption(app, options);
  AddValue(app, "--secret-file", options.appSecretFile,
           "File with the application's secret, - for the standard input (environment: VELK_FACEBOOK_SECRET)")
      ->type_name("FILE");
}

void AddCheckOptions(CLI::App& app, Options& options) {
  AddTokenOption(app, options);
  AddAppOption(app, options);
}

void AddNodeOptions(CLI::App& app, Options& options) {
  AddTokenOption(app, options);
  AddValue(app, "--target", options.target, "The page to publish to (default: your own feed)")
      ->type_name("ID");
  AddChoice(app, "--privacy", options.privacy, kPrivacies, "Who can see it (default: SELF)");
}

void AddVideoOptions(CLI::App& app, Options& options) {
  AddNodeOptions(app, options);
  AddValue(app, "--title", options.title, "The title of the video, at most 259 bytes");
  AddValue(app, "--description", options.description, "The description of the video");
  AddValue(app, "--meta", options.meta, "File of JSON with title, description, privacy and target")
      ->type_name("FILE");
  AddFiles(app, options, "The videos");
}

void AddPhotoOptions(CLI::App& app, Options& options) {
  AddNodeOptions(app, options);
  AddValue(app, "--message", options.message, "The text of the photo");
  AddFiles(app, options, "The photos");
}

void AddPostOptions(CLI::App& app, Options& options) {
  AddNodeOptions(app, options);
  AddValue(app, "--message", options.message, "The text of the post");
  AddValue(app, "--link", options.link, "The link of the post")->type_name("URL");
}

void AddUpdateOptions(CLI::App& app, Options& options) {
  AddTokenOption(app, options);
  AddValue(app, "--message", options.message, "The new message");
  AddValue(app, "--description", options.description, "The new description of a video");
  AddChoice(app, "--privacy", options.privacy, kPrivacies,
            "With --message: who can see the photo of a story");
  AddValue(app, "ID", options.id, "What to change")->required()->type_name("");
}

void AddUrlOptions(CLI::App& app, Options& options) {
  AddTokenOption(app, options);
  AddChoice(app, "--kind", options.kind, {"photo", "video", "embed"},
            "The page of either, or the file of a video");
  AddValue(app, "ID", options.id, "The photo or video")->required()->type_name("");
}

constexpr Command kCommands[] = {
    {"facebook", "token", "Exchange an access token for a long-lived one",
     "velk-publish facebook token --app 1234 --secret-file secret --token-file short > long",
     AddExchangeOptions, ExchangeToken},
    {"facebook", "check", "Check whether an access token is valid",
     "velk-publish facebook check --app 1234 --token-file token", AddCheckOptions, CheckToken},
    {"facebook", "me", "Print the name of the token's user", "velk-publish facebook me --token-file token",
     AddTokenOption, ShowUser},
    {"facebook", "pages", "List the user's pages, with their categories",
     "velk-publish facebook pages --token-file token", AddTokenOption, ListPages},
    {"facebook", "video", "Upload videos",
     "velk-publish facebook video --token-file token --title Bars --description \"A test\" --target 104 "
     "clip.mp4",
     AddVideoOptions, PublishVideos},
    {"facebook", "photo", "Upload photos",
     "velk-publish facebook photo --token-file token --message \"A gradient\" --privacy EVERYONE a.jpg b.jpg",
     AddPhotoOptions, PublishPhotos},
    {"facebook", "post", "Post a text, a link or both",
     "velk-publish facebook post --token-file token --message Hello --link https://example.org",
     AddPostOptions, Post},
    {"facebook", "update", "Change what was published",
     "velk-publish facebook update --token-file token --message \"Hello again\" 100_200", AddUpdateOptions,
     Update},
    {"facebook", "url", "Print the URL of a photo or a video",
     "velk-publish facebook url --token-file token --kind photo 300", AddUrlOptions, ShowUrl},
};

}  // namespace

std::span<const Command> FacebookCommands() { return kCommands; }

}  // namespace velk::publish
