/* Publishing to Twitter. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "publish.h"
#include "system.h"

static const Meaning kMeanings[] = {
    {VELK_CREDENTIALS_REFUSED,
     "Twitter refused the credentials; check keys, secrets and the clock, and sign in again if need be."},
    {VELK_DUPLICATE_STATUS, "Twitter has this text already; change it."},
    {VELK_TOO_LARGE,
     "Too large: a text may have 420 bytes and a photo 5 MiB. Or Twitter could not be reached in time."},
    {VELK_UNEXPECTED_REPLY, "Twitter gave an answer that was not expected, or could not be reached."},
    {0, NULL},
};

/* ---- Signing in ---- */

/* Room for the longest address that Twitter can give. */
enum { kUrlRoom = 4096 };

/* Asks for the PIN unless it was given; false, with a word to the user, when there is none. */
static bool TakePin(char* pin, size_t width, const Arguments* arguments) {
  const char* given = OptionOr(arguments, "--pin", NULL);
  if (given) return SetField(pin, width, given, "PIN");
  fputs("PIN: ", stdout);
  fflush(stdout);
  if (!fgets(pin, (int)width, stdin)) return fputs("\nNo PIN was given.\n", stderr), false;
  pin[strcspn(pin, "\r\n")] = '\0';
  return true;
}

static int SignIn(const Arguments* arguments, const char* operand) {
  (void)operand;
  static const char kTokenName[] = "oauth_token=";
  TwitterAccessRequest request = {0};
  TwitterAccessToken token = {0};
  char url[kUrlRoom];
  int32_t urlSize = sizeof url;
  if (!SetField(request.consumerKey, sizeof request.consumerKey, OptionOr(arguments, "--consumer-key", ""),
                "consumer key") ||
      !SetField(request.consumerSecret, sizeof request.consumerSecret,
                OptionOr(arguments, "--consumer-secret", ""), "consumer secret"))
    return EXIT_FAILURE;
  int32_t result = GetTwitterOauthUrl(request.consumerKey, request.consumerSecret, &urlSize, url);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  printf("Open this address, allow the application, and note the PIN:\n%s\n", url);

  const char* requestToken = strstr(url, kTokenName) + strlen(kTokenName);
  if (!SetField(request.requestToken, sizeof request.requestToken, requestToken, "request token") ||
      !TakePin(request.verifier, sizeof request.verifier, arguments))
    return EXIT_FAILURE;
  result = GetTwitterAccessToken(&request, &token);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  printf("Signed in as %s. The other commands take these options:\n", token.screenName);
  printf("--token %s --token-secret %s --user-id %s --screen-name %s\n", token.oauthToken,
         token.oauthTokenSecret, token.userId, token.screenName);
  return EXIT_SUCCESS;
}

/* ---- Publishing ---- */

/* One row for each option that fills a field of a record. */
typedef struct FieldOption {
  const char* name;
  char* field;
  size_t width;
} FieldOption;

static bool FillCredentials(TwitterConsumer* consumer, TwitterAccessToken* token,
                            const Arguments* arguments) {
  const FieldOption options[] = {
      {"--consumer-key", consumer->consumerKey, sizeof consumer->consumerKey},
      {"--consumer-secret", consumer->consumerSecret, sizeof consumer->consumerSecret},
      {"--token", token->oauthToken, sizeof token->oauthToken},
      {"--token-secret", token->oauthTokenSecret, sizeof token->oauthTokenSecret},
      {"--user-id", token->userId, sizeof token->userId},
      {"--screen-name", token->screenName, sizeof token->screenName},
  };
  for (size_t index = 0; index < sizeof options / sizeof *options; ++index) {
    const FieldOption* option = &options[index];
    if (!SetField(option->field, option->width, OptionOr(arguments, option->name, ""), option->name))
      return false;
  }
  return true;
}

static int PublishTweet(const Arguments* arguments, const char* operand) {
  (void)operand;
  TwitterConsumer consumer;
  TwitterAccessToken token;
  if (!FillCredentials(&consumer, &token, arguments)) return EXIT_FAILURE;
  const int32_t result = PostTwitterComment(&consumer, &token, OptionOr(arguments, "--text", ""), "");
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  puts("Published on Twitter");
  return EXIT_SUCCESS;
}

typedef struct PhotoUpload {
  FileUploader* uploader;
  TwitterConsumer consumer;
  TwitterAccessToken token;
  TwitterUploadFile file;
} PhotoUpload;

static int32_t StartUpload(void* context) {
  PhotoUpload* upload = context;
  return StartTwitterUploadPhoto(upload->uploader, &upload->consumer, &upload->token, &upload->file);
}

/* The library takes a file's folder and name apart. */
static bool SetPath(TwitterUploadFile* file, const char* path) {
  size_t nameAt = strlen(path);
  while (nameAt > 0 && !strchr(kPathSeparators, path[nameAt - 1])) --nameAt;
  if (!SetField(file->fileName, sizeof file->fileName, path + nameAt, "file name") ||
      !SetField(file->folderPath, sizeof file->folderPath, nameAt > 0 ? path : ".", "path"))
    return false;
  if (nameAt > 0) file->folderPath[nameAt - 1] = '\0';
  return true;
}

static int PublishPhoto(const Arguments* arguments, const char* path) {
  PhotoUpload upload = {0};
  if (!FillCredentials(&upload.consumer, &upload.token, arguments) || !SetPath(&upload.file, path) ||
      !SetField(upload.file.statusText, sizeof upload.file.statusText, OptionOr(arguments, "--text", ""),
                "text"))
    return EXIT_FAILURE;
  upload.uploader = InitTwitterFileUploder();
  if (!upload.uploader) return ReportFailure(VELK_OUT_OF_MEMORY, kMeanings);

  const Upload run = {upload.uploader, StartUpload, &upload, GetTwitterUploadFileProgress,
                      CancelTwitterUploadFile};
  const int32_t result = RunUpload(&run);
  /* A handle that followed a whole upload cannot be freed; the program's end does it. */
  UninitTwitterFileUploder(upload.uploader);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  puts("Published on Twitter with its photo");
  return EXIT_SUCCESS;
}

/* ---- The commands ---- */

static const Option kSignInOptions[] = {
    {"--consumer-key", "KEY", "the application's key", true},
    {"--consumer-secret", "SECRET", "the application's secret", true},
    {"--pin", "PIN", "the PIN, when it is known beforehand; asked for unless given", false},
    {NULL, NULL, NULL, false},
};

static const Option kTweetOptions[] = {
    {"--consumer-key", "KEY", "the application's key", true},
    {"--consumer-secret", "SECRET", "the application's secret", true},
    {"--token", "TOKEN", "the user's token", true},
    {"--token-secret", "SECRET", "the token's secret", true},
    {"--user-id", "ID", "the user's number; not needed here", false},
    {"--screen-name", "NAME", "the user's name; not needed here", false},
    {"--text", "TEXT", "the tweet, at most 420 bytes", true},
    {NULL, NULL, NULL, false},
};

static const Option kPhotoOptions[] = {
    {"--consumer-key", "KEY", "the application's key", true},
    {"--consumer-secret", "SECRET", "the application's secret", true},
    {"--token", "TOKEN", "the user's token", true},
    {"--token-secret", "SECRET", "the token's secret", true},
    {"--user-id", "ID", "the user's number", true},
    {"--screen-name", "NAME", "the user's name", true},
    {"--text", "TEXT", "the tweet, at most 420 bytes", true},
    {NULL, NULL, NULL, false},
};

const Command kTwitterCommands[] = {
    {"twitter sign-in", NULL, "Signs a user in to Twitter", kSignInOptions, SignIn},
    {"twitter tweet", NULL, "Posts a tweet", kTweetOptions, PublishTweet},
    {"twitter photo", "FILE", "Posts a tweet with a photo", kPhotoOptions, PublishPhoto},
    {NULL, NULL, NULL, NULL, NULL},
};
