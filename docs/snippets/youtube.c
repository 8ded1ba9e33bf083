// One short example for each function of the YouTube group. The tests compile them.
#include <stdio.h>
#include <string.h>
#include <velk_upload.h>

void MakeHandle(void);
void FreeHandle(FileUploader* uploader);
void UploadVideo(const char* token);
void ShowProgress(FileUploader* uploader);
void OnCancelButton(FileUploader* uploader);
void ChangeVideo(const char* token, const char* videoId);

void MakeHandle(void) {
  //! [InitYoutubeFileUploder]
  FileUploader* uploader = InitYoutubeFileUploder();
  if (!uploader) puts("out of memory");
  //! [InitYoutubeFileUploder]
  FreeHandle(uploader);
}

void FreeHandle(FileUploader* uploader) {
  //! [UninitYoutubeFileUploder]
  CancelYoutubeUploadFile(uploader); /* a finished upload keeps its handle until it is cancelled */
  UninitYoutubeFileUploder(uploader);
  //! [UninitYoutubeFileUploder]
}

void UploadVideo(const char* token) {
  //! [StartYoutubeUploadFile]
  static YoutubeUploadInfo info = {"clip.mp4", "A title", "What it shows", "private", "22", "one\ntwo"};
  char videoId[256] = "";
  FileUploader* uploader = InitYoutubeFileUploder();
  int32_t result = StartYoutubeUploadFile(uploader, token, &info, videoId);
  printf("result %d, video %s\n", (int)result, videoId);
  CancelYoutubeUploadFile(uploader);
  UninitYoutubeFileUploder(uploader);
  //! [StartYoutubeUploadFile]
}

void ShowProgress(FileUploader* uploader) {
  //! [GetYoutubeUploadFileProgress]
  double sent = 0;
  double total = 0;
  if (GetYoutubeUploadFileProgress(uploader, &sent, &total) == VELK_OK && total > 0)
    printf("%.0f %%\n", 100 * sent / total);
  //! [GetYoutubeUploadFileProgress]
}

void OnCancelButton(FileUploader* uploader) {
  //! [CancelYoutubeUploadFile]
  if (CancelYoutubeUploadFile(uploader) == VELK_NOT_UPLOADING) {
    /* The PUT has not begun. Try again in a moment. */
  }
  //! [CancelYoutubeUploadFile]
}

void ChangeVideo(const char* token, const char* videoId) {
  //! [SetYoutubeUploadFileUpdateInfo]
  static YoutubeUploadInfo info = {"", "A better title", "What it shows", "public", "22", "one"};
  if (SetYoutubeUploadFileUpdateInfo(token, videoId, &info) == VELK_FORBIDDEN) puts("not your video");
  //! [SetYoutubeUploadFileUpdateInfo]
}
