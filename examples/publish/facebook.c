/* Publishing to Facebook. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "publish.h"

/* The room that the library asks for wherever it takes no size. */
enum { kTextRoom = 1024 };

enum { kUsageError = 2 };

static const Meaning kMeanings[] = {
    {VELK_PRIVACY_NOT_UPDATED, "It is published, but its privacy could not be set; change it on Facebook."},
    {VELK_NO_PAGES, "This user manages no page."},
    {VELK_TEXT_NOT_UPDATED, "The text could not be changed; check the identifier and the token."},
    {VELK_MESSAGE_NOT_UPDATED, "The message could not be changed; check the identifier and the token."},
    {VELK_UNSUPPORTED_GET, "Facebook has no such address for this identifier; check it, and the token."},
    {VELK_UNEXPECTED_REPLY, "Facebook refused this; check the options and the application's permissions."},
    {VELK_TOKEN_REJECTED, "Facebook refused the access token, or asks for another try later."},
    {VELK_SERVER_ERROR, "Facebook's video host failed; try again later."},
    {0, NULL},
};

/* ---- Tokens, the user and the pages ---- */

static int TradeToken(const Arguments* arguments, const char* operand) {
  (void)operand;
  char token[kTextRoom] = "";
  uint32_t length = 0;
  uint32_t seconds = 0;
  const int32_t result =
      ExangeFacebookAccessToken(OptionOr(arguments, "--app", ""), OptionOr(arguments, "--secret", ""),
                                OptionOr(arguments, "--token", ""), token, &length, &seconds);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  if (length == 0) return ReportFailure(VELK_NO_IDENTIFIER, kMeanings);
  printf("%s\n", token);
  fprintf(stderr, "The token lives for %lu days.\n", (unsigned long)seconds / 86400);
  return EXIT_SUCCESS;
}

static int CheckToken(const Arguments* arguments, const char* operand) {
  (void)operand;
  uint32_t valid = 0;
  const int32_t result = CheckFacebookAccessTokenValid(OptionOr(arguments, "--app", ""),
                                                       OptionOr(arguments, "--token", ""), &valid);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  printf("The token is %s.\n", valid ? "valid" : "not valid");
  return valid ? EXIT_SUCCESS : EXIT_FAILURE;
}

static int TellUser(const Arguments* arguments, const char* operand) {
  (void)operand;
  char name[kTextRoom] = "";
  char email[kTextRoom] = "";
  int32_t nameSize = sizeof name;
  int32_t emailSize = sizeof email;
  const int32_t result =
      GetFacebookUserNameEmail(OptionOr(arguments, "--token", ""), name, &nameSize, email, &emailSize);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  printf("%s%s%s\n", name, *email ? " " : "", email);
  return EXIT_SUCCESS;
}

static int ListPages(const Arguments* arguments, const char* operand) {
  (void)operand;
  FacebookPage* pages = NULL;
  int32_t count = 0;
  const int32_t result = GetFacebookUserPagesList(OptionOr(arguments, "--token", ""), &pages, &count);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  /* The list names the pages' categories as well. */
  for (int32_t index = 0; index < count; ++index) printf("%-20s %s\n", pages[index].id, pages[index].name);
  FreeFacebookUserPagesList(&pages);
  return EXIT_SUCCESS;
}

/* ---- Publishing ---- */

typedef struct FacebookUpload {
  FileUploader* uploader;
  const char* token;
  FacebookUploadInfo info;
  char id[kTextRoom];
} FacebookUpload;

static bool FillInfo(FacebookUploadInfo* info, const Arguments* arguments, const char* textOption) {
  return SetField(info->targetId, sizeof info->targetId, OptionOr(arguments, "--target", ""), "target") &&
         SetField(info->title, sizeof info->title, OptionOr(arguments, "--title", ""), "title") &&
         SetField(info->description, sizeof info->description, OptionOr(arguments, textOption, ""), "text") &&
         SetField(info->privacy, sizeof info->privacy, OptionOr(arguments, "--privacy", "SELF"), "privacy") &&
         SetField(info->link, sizeof info->link, OptionOr(arguments, "--link", ""), "link");
}

static int32_t StartVideo(void* context) {
  FacebookUpload* upload = context;
  return StartFacebookUploadVideo(upload->uploader, upload->token, &upload->info, upload->id);
}

static int32_t StartPhoto(void* context) {
  FacebookUpload* upload = context;
  return StartFacebookUploadPhoto(upload->uploader, upload->token, &upload->info, upload->id);
}

static int PublishFile(const Arguments* arguments, const char* file, const char* textOption,
                       int32_t (*start)(void*), const char* what) {
  FacebookUpload upload = {0};
  if (!SetField(upload.info.filePath, sizeof upload.info.filePath, file, "path") ||
      !FillInfo(&upload.info, arguments, textOption))
    return EXIT_FAILURE;
  upload.token = OptionOr(arguments, "--token", "");
  upload.uploader = InitFacebookFileUploder();
  if (!upload.uploader) return ReportFailure(VELK_OUT_OF_MEMORY, kMeanings);

  const Upload run = {upload.uploader, start, &upload, GetFacebookUploadFileProgress,
                      CancelFacebookUploadFile};
  const int32_t result = RunUpload(&run);
  /* The handle of an upload that ran to its end stays busy, and is left to the end of the program. */
  UninitFacebookFileUploder(upload.uploader);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  printf("Published to Facebook as %s %s\n", what, *upload.id ? upload.id : "without an identifier");
  return EXIT_SUCCESS;
}

static int PublishVideo(const Arguments* arguments, const char* file) {
  return PublishFile(arguments, file, "--description", StartVideo, "video");
}

static int PublishPhoto(const Arguments* arguments, const char* file) {
  return PublishFile(arguments, file, "--message", StartPhoto, "story");
}

static int Post(const Arguments* arguments, const char* operand) {
  (void)operand;
  FacebookUploadInfo info = {0};
  char postId[kTextRoom] = "";
  if (!FillInfo(&info, arguments, "--message")) return EXIT_FAILURE;
  const int32_t result = PostFacebookComment(OptionOr(arguments, "--token", ""), &info, postId);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  printf("Posted to Facebook as %s\n", postId);
  return EXIT_SUCCESS;
}

/* ---- What was published ---- */

static int Update(const Arguments* arguments, const char* objectId) {
  const bool describes = OptionOr(arguments, "--description", NULL) != NULL;
  const bool says = OptionOr(arguments, "--message", NULL) != NULL;
  const bool hides = OptionOr(arguments, "--privacy", NULL) != NULL;
  if (describes == says || (hides && !says)) {
    fputs("Give either --description, or --message, or --privacy and --message.\n", stderr);
    return kUsageError;
  }
  FacebookUploadInfo info = {0};
  if (!FillInfo(&info, arguments, describes ? "--description" : "--message")) return EXIT_FAILURE;
  info.updateKind = describes ? 2 : hides ? 1 : 0;
  const int32_t result = SetFacebookUpdateInfo(OptionOr(arguments, "--token", ""), objectId, &info);
  if (result == VELK_PRIVACY_NOT_UPDATED) {
    fputs("The privacy could not be changed; check the identifier, the token and the privacy.\n", stderr);
    return EXIT_FAILURE;
  }
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  printf("Changed %s\n", objectId);
  return EXIT_SUCCESS;
}

static int PrintUrl(const Arguments* arguments, const char* objectId) {
  static const struct {
    const char* kind;
    int32_t (*get)(const char* token, const char* id, char* outUrl, int32_t* inOutSize);
  } kKinds[] = {
      {"photo", GetFacebookPhotoUrl}, {"video", GetFacebookVideoUrl}, {"embed", GetFacebookVideoEmbedUrl}};
  const char* kind = OptionOr(arguments, "--kind", "");
  char url[8192] = "";
  int32_t size = sizeof url;
  for (size_t index = 0; index < sizeof kKinds / sizeof *kKinds; ++index) {
    if (strcmp(kKinds[index].kind, kind) != 0) continue;
    const int32_t result = kKinds[index].get(OptionOr(arguments, "--token", ""), objectId, url, &size);
    if (result != VELK_OK) return ReportFailure(result, kMeanings);
    if (*url == '\0') return ReportFailure(VELK_UNSUPPORTED_GET, kMeanings);
    printf("%s\n", url);
    return EXIT_SUCCESS;
  }
  fputs("--kind is photo, video or embed.\n", stderr);
  return kUsageError;
}

/* ---- The commands ---- */

#define TOKEN_OPTION \
  { "--token", "TOKEN", "the user's or page's access token", true }
#define TARGET_OPTION \
  { "--target", "ID", "the page to publish to; the user's own feed unless given", false }
#define PRIVACY_OPTION \
  { "--privacy", "VALUE", "EVERYONE, ALL_FRIENDS or SELF; SELF unless given", false }
#define END_OF_OPTIONS \
  { NULL, NULL, NULL, false }

static const Option kTradeOptions[] = {
    {"--app", "ID", "the application's client identifier", true},
    {"--secret", "TEXT", "the application's client secret", true},
    {"--token", "TOKEN", "the token to trade", true},
    END_OF_OPTIONS,
};

static const Option kCheckOptions[] = {
    {"--app", "ID", "the application's client identifier", true},
    TOKEN_OPTION,
    END_OF_OPTIONS,
};

static const Option kTokenOptions[] = {TOKEN_OPTION, END_OF_OPTIONS};

static const Option kVideoOptions[] = {
    TOKEN_OPTION,
    {"--title", "TEXT", "the video's title", true},
    {"--description", "TEXT", "the video's description", true},
    TARGET_OPTION,
    PRIVACY_OPTION,
    END_OF_OPTIONS,
};

static const Option kPhotoOptions[] = {
    TOKEN_OPTION,   {"--message", "TEXT", "the photo's message", true}, TARGET_OPTION, PRIVACY_OPTION,
    END_OF_OPTIONS,
};

static const Option kPostOptions[] = {
    TOKEN_OPTION,
    {"--message", "TEXT", "the post's text, percent-encoded", false},
    {"--link", "URL", "the post's link, percent-encoded", false},
    TARGET_OPTION,
    PRIVACY_OPTION,
    END_OF_OPTIONS,
};

static const Option kUpdateOptions[] = {
    TOKEN_OPTION,
    {"--message", "TEXT", "the new message, percent-encoded", false},
    {"--description", "TEXT", "a video's new description, percent-encoded", false},
    {"--privacy", "VALUE", "beside --message: the new privacy of a story's photo", false},
    END_OF_OPTIONS,
};

static const Option kUrlOptions[] = {
    TOKEN_OPTION,
    {"--kind", "KIND", "photo, video (its page) or embed (a video's file)", true},
    END_OF_OPTIONS,
};

const Command kFacebookCommands[] = {
    {"facebook token", NULL, "Trades an access token for a long-lived one", kTradeOptions, TradeToken},
    {"facebook check", NULL, "Tells whether an access token is valid", kCheckOptions, CheckToken},
    {"facebook me", NULL, "Tells whose access token it is", kTokenOptions, TellUser},
    {"facebook pages", NULL, "Lists the user's pages, with their categories", kTokenOptions, ListPages},
    {"facebook video", "FILE", "Uploads a video to Facebook", kVideoOptions, PublishVideo},
    {"facebook photo", "FILE", "Uploads a photo to Facebook", kPhotoOptions, PublishPhoto},
    {"facebook post", NULL, "Posts a text or a link to Facebook", kPostOptions, Post},
    {"facebook update", "ID", "Changes something published on Facebook", kUpdateOptions, Update},
    {"facebook url", "ID", "Prints the address of a photo or a video on Facebook", kUrlOptions, PrintUrl},
    {NULL, NULL, NULL, NULL, NULL},
};
