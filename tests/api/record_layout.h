/* Pins every field of every record: hosts in other languages lay the records out by hand. */
#include <assert.h>
#include <stddef.h>

#include "velk_upload.h"

#define FIELD(record, field, offset, width)                                                    \
  static_assert(offsetof(record, field) == (offset) && sizeof(((record*)0)->field) == (width), \
                #record "." #field)
#define SIZE(record, size) static_assert(sizeof(record) == (size), #record)

FIELD(FileUploader, uploadedBytes, 0, 8);
FIELD(FileUploader, totalBytes, 8, 8);
FIELD(FileUploader, state, 16, 4);
FIELD(FileUploader, cancelRequested, 20, 4);
SIZE(FileUploader, 24);

FIELD(FacebookUploadInfo, updateKind, 0, 4);
FIELD(FacebookUploadInfo, targetId, 4, 260);
FIELD(FacebookUploadInfo, filePath, 264, 1024);
FIELD(FacebookUploadInfo, title, 1288, 260);
FIELD(FacebookUploadInfo, description, 1548, 50000);
FIELD(FacebookUploadInfo, privacy, 51548, 25);
FIELD(FacebookUploadInfo, link, 51573, 2048);
SIZE(FacebookUploadInfo, 53624);

FIELD(FacebookPage, id, 0, 260);
FIELD(FacebookPage, name, 260, 1024);
SIZE(FacebookPage, 1284);

FIELD(TwitterConsumer, consumerKey, 0, 1024);
FIELD(TwitterConsumer, consumerSecret, 1024, 1024);
SIZE(TwitterConsumer, 2048);

FIELD(TwitterAccessRequest, consumerKey, 0, 1024);
FIELD(TwitterAccessRequest, consumerSecret, 1024, 1024);
FIELD(TwitterAccessRequest, requestToken, 2048, 1024);
FIELD(TwitterAccessRequest, verifier, 3072, 1024);
SIZE(TwitterAccessRequest, 4096);

FIELD(TwitterAccessToken, oauthToken, 0, 1024);
FIELD(TwitterAccessToken, oauthTokenSecret, 1024, 1024);
FIELD(TwitterAccessToken, userId, 2048, 260);
FIELD(TwitterAccessToken, screenName, 2308, 260);
SIZE(TwitterAccessToken, 2568);

FIELD(TwitterUploadFile, fileName, 0, 1024);
FIELD(TwitterUploadFile, folderPath, 1024, 1024);
FIELD(TwitterUploadFile, statusText, 2048, 1024);
SIZE(TwitterUploadFile, 3072);

FIELD(YoutubeUploadInfo, filePath, 0, 1024);
FIELD(YoutubeUploadInfo, title, 1024, 300);
FIELD(YoutubeUploadInfo, description, 1324, 5000);
FIELD(YoutubeUploadInfo, privacyStatus, 6324, 25);
FIELD(YoutubeUploadInfo, categoryId, 6349, 25);
FIELD(YoutubeUploadInfo, tags, 6374, 1024);
SIZE(YoutubeUploadInfo, 7398);
