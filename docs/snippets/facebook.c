// One short example for each function of the Facebook group. The tests compile them.
#include <stdio.h>
#include <string.h>
#include <velk_upload.h>

void MakeHandle(void);
void ShowProgress(FileUploader* uploader);
void OnCancelButton(FileUploader* uploader);
void FreeHandle(FileUploader* uploader);
void ExchangeToken(const char* shortLived);
void CheckToken(const char* token);
void ShowName(const char* token);
void UploadVideo(const char* token);
void UploadPhoto(const char* token);
void Post(const char* token);
void ListPages(const char* token);
void ChangeMessage(const char* token, const char* postId);
void ShowPhotoUrl(const char* token, const char* photoId);
void ShowVideoUrl(const char* token, const char* videoId);
void ShowEmbedUrl(const char* token, const char* videoId);

void MakeHandle(void) {
  //! [InitFacebookFileUploder]
  FileUploader* uploader = InitFacebookFileUploder();
  if (!uploader) puts("out of memory");
  //! [InitFacebookFileUploder]
  FreeHandle(uploader);
}

void ShowProgress(FileUploader* uploader) {
  //! [GetFacebookUploadFileProgress]
  double sent = 0;
  double total = 0;
  if (GetFacebookUploadFileProgress(uploader, &sent, &total) == VELK_OK && total > 0)
    printf("%.0f %%\n", 100 * sent / total);
  //! [GetFacebookUploadFileProgress]
}

void OnCancelButton(FileUploader* uploader) {
  //! [CancelFacebookUploadFile]
  CancelFacebookUploadFile(uploader); /* the thread that uploads then gets VELK_CANCELLED */
  //! [CancelFacebookUploadFile]
}

void FreeHandle(FileUploader* uploader) {
  //! [UninitFacebookFileUploder]
  if (UninitFacebookFileUploder(uploader) == VELK_BUSY) {
    /* The upload has run. Its handle stays allocated: 24 bytes. */
  }
  //! [UninitFacebookFileUploder]
}

void ExchangeToken(const char* shortLived) {
  //! [ExangeFacebookAccessToken]
  char token[1024] = "";
  uint32_t length = 0;
  uint32_t seconds = 0;
  if (ExangeFacebookAccessToken("APP ID", "APP SECRET", shortLived, token, &length, &seconds) == VELK_OK &&
      length > 0 && !strpbrk(token, ":,"))
    printf("a token of %u bytes, valid for %u seconds\n", (unsigned)length, (unsigned)seconds);
  //! [ExangeFacebookAccessToken]
}

void CheckToken(const char* token) {
  //! [CheckFacebookAccessTokenValid]
  uint32_t valid = 0;
  if (CheckFacebookAccessTokenValid("APP ID", token, &valid) == VELK_OK && !valid) puts("sign in again");
  //! [CheckFacebookAccessTokenValid]
}

void ShowName(const char* token) {
  //! [GetFacebookUserNameEmail]
  char name[1024] = "";
  char email[1024] = "";
  int32_t nameSize = sizeof name;
  int32_t emailSize = sizeof email;
  if (GetFacebookUserNameEmail(token, name, &nameSize, email, &emailSize) == VELK_OK) printf("%s\n", name);
  //! [GetFacebookUserNameEmail]
}

void UploadVideo(const char* token) {
  //! [StartFacebookUploadVideo]
  static FacebookUploadInfo info; /* more than 50 KB: not on a small stack */
  strcpy(info.filePath, "clip.mp4");
  strcpy(info.title, "A title");
  strcpy(info.description, "What it shows");
  strcpy(info.privacy, "SELF");
  char videoId[1024] = "";
  FileUploader* uploader = InitFacebookFileUploder();
  int32_t result = StartFacebookUploadVideo(uploader, token, &info, videoId);
  printf("result %d, video %s\n", (int)result, videoId);
  UninitFacebookFileUploder(uploader);
  //! [StartFacebookUploadVideo]
}

void UploadPhoto(const char* token) {
  //! [StartFacebookUploadPhoto]
  static FacebookUploadInfo info;
  strcpy(info.targetId, "104000000000001"); /* a page; empty for the user */
  strcpy(info.filePath, "photo.jpg");
  strcpy(info.description, "The message");
  strcpy(info.privacy, "EVERYONE");
  char postId[1024] = "";
  FileUploader* uploader = InitFacebookFileUploder();
  int32_t result = StartFacebookUploadPhoto(uploader, token, &info, postId);
  if (result == VELK_PRIVACY_NOT_UPDATED) puts("published, but check who can see it");
  UninitFacebookFileUploder(uploader);
  //! [StartFacebookUploadPhoto]
}

void Post(const char* token) {
  //! [PostFacebookComment]
  static FacebookUploadInfo info;
  strcpy(info.description, "Hello%20everyone"); /* percent-encoded, as the form is sent as it is */
  strcpy(info.link, "https://example.org/");
  strcpy(info.privacy, "EVERYONE");
  char postId[1024] = "";
  if (PostFacebookComment(token, &info, postId) == VELK_OK) printf("post %s\n", postId);
  //! [PostFacebookComment]
}

void ListPages(const char* token) {
  //! [GetFacebookUserPagesList]
  FacebookPage* pages = NULL;
  int32_t count = 0;
  if (GetFacebookUserPagesList(token, &pages, &count) == VELK_OK)
    for (int32_t i = 0; i < count; ++i) printf("%s  %s\n", pages[i].id, pages[i].name);
  FreeFacebookUserPagesList(&pages);
  //! [GetFacebookUserPagesList]
}

void ChangeMessage(const char* token, const char* postId) {
  //! [SetFacebookUpdateInfo]
  static FacebookUploadInfo info;
  info.updateKind = 0; /* the message */
  strcpy(info.description, "A%20new%20message");
  if (SetFacebookUpdateInfo(token, postId, &info) == VELK_MESSAGE_NOT_UPDATED) puts("not changed");
  //! [SetFacebookUpdateInfo]
}

void ShowPhotoUrl(const char* token, const char* photoId) {
  //! [GetFacebookPhotoUrl]
  char url[4096] = "";
  int32_t size = sizeof url;
  if (GetFacebookPhotoUrl(token, photoId, url, &size) == VELK_OK && strncmp(url, "http", 4) == 0) puts(url);
  //! [GetFacebookPhotoUrl]
}

void ShowVideoUrl(const char* token, const char* videoId) {
  //! [GetFacebookVideoUrl]
  char url[2048] = ""; /* must hold a string: it is cleared first */
  int32_t size = sizeof url;
  if (GetFacebookVideoUrl(token, videoId, url, &size) == VELK_OK) puts(url);
  //! [GetFacebookVideoUrl]
}

void ShowEmbedUrl(const char* token, const char* videoId) {
  //! [GetFacebookVideoEmbedUrl]
  char url[4096] = "";
  int32_t size = sizeof url;
  int32_t result = GetFacebookVideoEmbedUrl(token, videoId, url, &size);
  if (result == VELK_OK && strncmp(url, "http", 4) == 0) puts(url);
  if (result == VELK_UNSUPPORTED_GET) puts("no such video, or no permission");
  //! [GetFacebookVideoEmbedUrl]
}
