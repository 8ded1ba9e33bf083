/* Publishing to YouTube, and changing what was published. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "publish.h"

static const Meaning kMeanings[] = {
    {VELK_MISSING_ARGUMENT,
     "YouTube did not accept the access token, or something required is empty; sign in again."},
    {VELK_FORBIDDEN,
     "YouTube forbids this; check that the channel is the account's own and its quota not used up."},
    {VELK_UNEXPECTED_REPLY,
     "YouTube refused the request; check title, category, privacy, tags and, for an update, the video."},
    {0, NULL},
};

typedef struct YoutubeUpload {
  FileUploader* uploader;
  const char* token;
  YoutubeUploadInfo info;
  char videoId[256];
} YoutubeUpload;

static int32_t StartUpload(void* context) {
  YoutubeUpload* upload = context;
  return StartYoutubeUploadFile(upload->uploader, upload->token, &upload->info, upload->videoId);
}

/* Joins the tags into the record's one-per-line form. */
static bool SetTags(YoutubeUploadInfo* info, const Arguments* arguments) {
  size_t length = 0;
  int position = 0;
  const char* tag = NULL;
  while ((tag = NextOption(arguments, "--tag", &position)) != NULL) {
    const size_t begin = length > 0 ? length + 1 : 0;
    length = begin + strlen(tag);
    if (length >= sizeof info->tags)
      return fputs("The tags are too long: together 1023 bytes fit.\n", stderr), false;
    if (begin > 0) info->tags[begin - 1] = '\n';
    memcpy(info->tags + begin, tag, length - begin + 1);
  }
  return true;
}

static bool FillInfo(YoutubeUploadInfo* info, const Arguments* arguments) {
  return SetField(info->title, sizeof info->title, OptionOr(arguments, "--title", ""), "title") &&
         SetField(info->description, sizeof info->description, OptionOr(arguments, "--description", ""),
                  "description") &&
         SetField(info->privacyStatus, sizeof info->privacyStatus,
                  OptionOr(arguments, "--privacy", "private"), "privacy") &&
         SetField(info->categoryId, sizeof info->categoryId, OptionOr(arguments, "--category", "22"),
                  "category") &&
         SetTags(info, arguments);
}

static int PublishVideo(const Arguments* arguments, const char* file) {
  YoutubeUpload upload = {0};
  if (!SetField(upload.info.filePath, sizeof upload.info.filePath, file, "path") ||
      !FillInfo(&upload.info, arguments))
    return EXIT_FAILURE;
  upload.token = OptionOr(arguments, "--token", "");
  upload.uploader = InitYoutubeFileUploder();
  if (!upload.uploader) return ReportFailure(VELK_OUT_OF_MEMORY, kMeanings);

  const Upload run = {upload.uploader, StartUpload, &upload, GetYoutubeUploadFileProgress,
                      CancelYoutubeUploadFile};
  const int32_t result = RunUpload(&run);
  /* A finished upload leaves its handle busy; the cancel only releases it. */
  CancelYoutubeUploadFile(upload.uploader);
  UninitYoutubeFileUploder(upload.uploader);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  printf("Published to YouTube as video %s\n", upload.videoId);
  return EXIT_SUCCESS;
}

static int UpdateVideo(const Arguments* arguments, const char* operand) {
  (void)operand;
  YoutubeUploadInfo info = {0};
  const char* videoId = OptionOr(arguments, "--video", "");
  if (!FillInfo(&info, arguments)) return EXIT_FAILURE;
  const int32_t result = SetYoutubeUploadFileUpdateInfo(OptionOr(arguments, "--token", ""), videoId, &info);
  if (result != VELK_OK) return ReportFailure(result, kMeanings);
  printf("Updated YouTube video %s\n", videoId);
  return EXIT_SUCCESS;
}

static const Option kVideoOptions[] = {
    {"--token", "TOKEN", "an OAuth 2.0 access token", true},
    {"--title", "TEXT", "the video's title", true},
    {"--description", "TEXT", "the video's description", true},
    {"--privacy", "STATUS", "public, private or unlisted; private unless given", false},
    {"--category", "NUMBER", "the category; 22 (people and blogs) unless given", false},
    {"--tag", "TEXT", "a tag; may be given several times", false},
    {NULL, NULL, NULL, false},
};

/* An update replaces everything, so what a new video has by default must be said here. */
static const Option kUpdateOptions[] = {
    {"--token", "TOKEN", "an OAuth 2.0 access token", true},
    {"--video", "ID", "the video's identifier", true},
    {"--title", "TEXT", "the new title", true},
    {"--description", "TEXT", "the new description", true},
    {"--privacy", "STATUS", "public, private or unlisted", true},
    {"--category", "NUMBER", "the category", true},
    {"--tag", "TEXT", "a tag; may be given several times, and all others are removed", false},
    {NULL, NULL, NULL, false},
};

const Command kYoutubeCommands[] = {
    {"youtube", "FILE", "Uploads a video to YouTube", kVideoOptions, PublishVideo},
    {"youtube-update", NULL, "Replaces a YouTube video's title, description, privacy, category and tags",
     kUpdateOptions, UpdateVideo},
    {NULL, NULL, NULL, NULL, NULL},
};
