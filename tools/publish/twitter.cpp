// Publishing to Twitter.
#include <array>
#include <cstdio>

#include "call.h"
#include "encoding.h"
#include "failure.h"
#include "files.h"
#include "options.h"
#include "publish_files.h"
#include "record.h"
#include "secrets.h"
#include "settings.h"
#include "system.h"

namespace velk::publish {
namespace {

constexpr std::size_t kUrlCapacity = 4096;
constexpr std::size_t kLongestBytes = 420;  // of a tweet, for the library
constexpr std::size_t kLongestTweet = 280;  // for Twitter
constexpr std::uint64_t kLargestPhoto = 5'242'880;

constexpr HandleFunctions kHandle{InitTwitterFileUploder, UninitTwitterFileUploder,
                                  GetTwitterUploadFileProgress, CancelTwitterUploadFile};

constexpr SecretSource kConsumerKey{"consumer key", "--consumer-key", "VELK_TWITTER_CONSUMER_KEY",
                                    "twitter.consumer-key"};
constexpr SecretSource kConsumerSecret{"consumer secret", "--consumer-secret-file",
                                       "VELK_TWITTER_CONSUMER_SECRET", "twitter.consumer-secret"};
constexpr SecretSource kToken{"access token", "--token-file", "VELK_TWITTER_TOKEN", "twitter.token"};
constexpr SecretSource kTokenSecret{"token's secret", "--token-secret-file", "VELK_TWITTER_TOKEN_SECRET",
                                    "twitter.token-secret"};
constexpr SecretSource kUserId{"user's number", "--user-id", "VELK_TWITTER_USER_ID", "twitter.user-id"};
constexpr SecretSource kScreenName{"user's name", "--screen-name", "VELK_TWITTER_SCREEN_NAME",
                                   "twitter.screen-name"};

std::string RequiredPlain(const Options& options, const std::string& argument, const SecretSource& source) {
  std::string value = ReadPlain(options, argument, source);
  if (value.empty())
    throw UsageError(std::string("no ") + source.what + ": use " + source.option + ", " + source.variable +
                     " or \"" + source.setting + "\" in a configuration file");
  return value;
}

TwitterConsumer ReadConsumer(const Options& options) {
  TwitterConsumer consumer{};
  SetField(consumer.consumerKey, RequiredPlain(options, options.consumerKey, kConsumerKey), "consumer key");
  SetField(consumer.consumerSecret, ReadSecret(options, options.consumerSecretFile, kConsumerSecret),
           "consumer secret");
  return consumer;
}

TwitterAccessToken ReadUser(const Options& options) {
  TwitterAccessToken token{};
  SetField(token.oauthToken, ReadSecret(options, options.tokenFile, kToken), "access token");
  SetField(token.oauthTokenSecret, ReadSecret(options, options.tokenSecretFile, kTokenSecret),
           "token's secret");
  SetField(token.userId, RequiredPlain(options, options.userId, kUserId), "user's number");
  SetField(token.screenName, RequiredPlain(options, options.screenName, kScreenName), "user's name");
  return token;
}

// ---- Signing in ----

std::string ReadPin() {
  if (InputIsTerminal()) {
    std::fputs("PIN: ", stderr);
    std::fflush(stderr);
  }
  const std::string pin = ReadInputLine();
  if (pin.empty()) throw UsageError("no PIN came from the standard input");
  return PercentEncoded(pin);
}

TwitterAccessRequest ReadRequest(const TwitterConsumer& consumer, const std::string& url) {
  constexpr std::string_view kName = "oauth_token=";
  TwitterAccessRequest request{};
  SetField(request.consumerKey, consumer.consumerKey, "consumer key");
  SetField(request.consumerSecret, consumer.consumerSecret, "consumer secret");
  SetField(request.requestToken, url.substr(url.find(kName) + kName.size()), "request token");
  std::fprintf(stderr, "Open this URL, allow the application, and type the PIN:\n%s\n", url.c_str());
  SetField(request.verifier, ReadPin(), "PIN");
  return request;
}

void SaveUser(SavedSettings& file, const TwitterConsumer& consumer, const TwitterAccessToken& token) {
  file.Save("twitter", {{"consumer-key", consumer.consumerKey},
                        {"consumer-secret", consumer.consumerSecret},
                        {"token", token.oauthToken},
                        {"token-secret", token.oauthTokenSecret},
                        {"user-id", token.userId},
                        {"screen-name", token.screenName}});
}

int SignIn(const Options& options) {
  const TwitterConsumer consumer = ReadConsumer(options);
  if (options.save.empty()) throw UsageError("--save: the name of the file is empty");
  SavedSettings file(options.save);  // before the PIN is used, which works once
  std::array<char, kUrlCapacity> url{};
  Outcome outcome = Perform(CallKind::kTwitterSignIn, options, [&] {
    std::int32_t size = url.size();
    return GetTwitterOauthUrl(consumer.consumerKey, consumer.consumerSecret, &size, url.data());
  });
  if (outcome.status != kDone) return ReportOne(CallKind::kTwitterSignIn, options, outcome);

  const TwitterAccessRequest request = ReadRequest(consumer, url.data());
  TwitterAccessToken token{};
  outcome =
      Perform(CallKind::kTwitterSignIn, options, [&] { return GetTwitterAccessToken(&request, &token); });
  if (outcome.status == kDone) {
    SaveUser(file, consumer, token);
    outcome.id = token.userId;
    outcome.output = token.screenName;
    outcome.extra["screenName"] = token.screenName;
    outcome.extra["saved"] = options.save;
    outcome.remark = "Signed in. The credentials are in " + options.save + ": use it with --config.";
  }
  return ReportOne(CallKind::kTwitterSignIn, options, outcome);
}

// ---- Publishing ----

// Twitter looks at the text after the photo, which would then be uploaded in vain.
const std::string& CheckedText(const Options& options) {
  if (!options.text || options.text->empty()) throw UsageError("--text is required, and must not be empty");
  const std::string& text = *options.text;
  if (text.size() > kLongestBytes)
    throw UsageError("the tweet is too long: " + std::to_string(text.size()) +
                     " bytes, and at most 420 can be sent");
  if (const std::size_t length = LeastTweetLength(text); length > kLongestTweet)
    throw UsageError("the tweet is too long: it counts at least " + std::to_string(length) +
                     ", and Twitter takes at most 280");
  return text;
}

int Tweet(const Options& options) {
  const std::string& text = CheckedText(options);
  const TwitterConsumer consumer = ReadConsumer(options);
  const TwitterAccessToken token = ReadUser(options);
  Outcome outcome = Perform(CallKind::kTwitterTweet, options,
                            [&] { return PostTwitterComment(&consumer, &token, text.c_str(), ""); });
  outcome.remark = "Published on Twitter.";
  return ReportOne(CallKind::kTwitterTweet, options, outcome);
}

// The library takes the folder and the name apart, and joins them again.
void SetPath(TwitterUploadFile& file, const std::string& path) {
  const std::string name = FileName(path);
  const std::string folder = path.substr(0, path.size() - name.size());
  SetField(file.fileName, name, "file name");
  SetField(file.folderPath, folder.empty() ? "." : folder.substr(0, folder.size() - 1), "path");
}

Outcome TooLarge(const std::string& path, std::uint64_t size) {
  Outcome outcome;
  outcome.file = path;
  outcome.result = VELK_TOO_LARGE;
  outcome.status = kFile;
  outcome.problem = path + ": has " + std::to_string(size) + " bytes, and Twitter takes at most 5242880";
  return outcome;
}

int PublishPhotos(const Options& options) {
  const std::string& text = CheckedText(options);
  if (options.files.size() > 1)
    throw UsageError("one photo: Twitter refuses a second tweet with the same text");
  const TwitterConsumer consumer = ReadConsumer(options);
  const TwitterAccessToken token = ReadUser(options);
  return PublishFiles(CallKind::kTwitterPhoto, options, [&](const std::string& path, std::uint64_t size) {
    if (size > kLargestPhoto) return TooLarge(path, size);
    TwitterUploadFile file{};
    SetPath(file, path);
    SetField(file.statusText, text, "text");
    Outcome outcome = Perform({.kind = CallKind::kTwitterPhoto,
                               .run =
                                   [&](FileUploader* uploader) {
                                     return StartTwitterUploadPhoto(uploader, &consumer, &token, &file);
                                   },
                               .handle = &kHandle,
                               .file = path,
                               .fileSize = size,
                               .inSegments = true},
                              options);
    outcome.remark = "Published " + path + " on Twitter.";
    return outcome;
  });
}

// ---- The options ----

void AddConsumer(CLI::App& app, Options& options) {
  AddValue(app, "--consumer-key", options.consumerKey,
           "The application's key (environment: VELK_TWITTER_CONSUMER_KEY)")
      ->type_name("KEY");
  AddValue(app, "--consumer-secret-file", options.consumerSecretFile,
           "File with the application's secret, - for the standard input (environment: "
           "VELK_TWITTER_CONSUMER_SECRET)")
      ->type_name("FILE");
}

void AddSignInOptions(CLI::App& app, Options& options) {
  AddConsumer(app, options);
  AddValue(app, "--save", options.save,
           "File for the credentials, which only you can read; --config takes it")
      ->required()
      ->type_name("FILE");
}

void AddTweetOptions(CLI::App& app, Options& options) {
  AddConsumer(app, options);
  AddToken(app, options, kToken.variable);
  AddValue(app, "--token-secret-file", options.tokenSecretFile,
           "File with the token's secret, - for the standard input (environment: VELK_TWITTER_TOKEN_SECRET)")
      ->type_name("FILE");
  AddValue(app, "--user-id", options.userId, "The user's number (environment: VELK_TWITTER_USER_ID)")
      ->type_name("ID");
  AddValue(app, "--screen-name", options.screenName,
           "The user's name (environment: VELK_TWITTER_SCREEN_NAME)")
      ->type_name("NAME");
  AddValue(app, "--text", options.text, "The tweet: 280 characters as Twitter counts them, and 420 bytes");
}

void AddPhotoOptions(CLI::App& app, Options& options) {
  AddTweetOptions(app, options);
  AddFiles(app, options, "The photo, at most 5 MiB");
}

constexpr Command kCommands[] = {
    {"twitter", "sign-in", "Sign a user in, and save the credentials",
     "velk-publish twitter sign-in --consumer-key KEY --consumer-secret-file secret --save velk.conf",
     AddSignInOptions, SignIn},
    {"twitter", "tweet", "Post a tweet",
     "velk-publish twitter tweet --config velk.conf --text \"Hello & good morning\"", AddTweetOptions, Tweet},
    {"twitter", "photo", "Post a tweet with a photo",
     "velk-publish twitter photo --config velk.conf --text \"A gradient\" photo.jpg", AddPhotoOptions,
     PublishPhotos},
};

}  // namespace

std::span<const Command> TwitterCommands() { return kCommands; }

}  // namespace velk::publish
