#include <stdio.h>
#include <stdlib.h>
#include <velk_upload.h>

/* The results that an application can act on. The header lists all. */
static const char* NameOf(int32_t result) {
  if (result == VELK_OK) return "VELK_OK";
  if (result == VELK_UNEXPECTED_REPLY) return "VELK_UNEXPECTED_REPLY"; /* a value was refused */
  if (result == VELK_MISSING_ARGUMENT) return "VELK_MISSING_ARGUMENT"; /* the token has expired */
  if (result == VELK_TRANSFER_FAILED) return "VELK_TRANSFER_FAILED";   /* the network or the proxy */
  if (result == VELK_FILE_NOT_OPENED) return "VELK_FILE_NOT_OPENED";
  return "another result";
}

int main(void) {
  static YoutubeUploadInfo info = {
      "share/examples/media/clip.mp4", "Bars", "A test", "private", "22", "bars"};
  char videoId[256] = "";
  SetLibVelkUploadProxy(getenv("VELK_SANDBOX_PROXY")); /* set inside the sandbox; otherwise no proxy */
  FileUploader* uploader = InitYoutubeFileUploder();
  int32_t result = StartYoutubeUploadFile(uploader, "ACCESS TOKEN", &info, videoId);
  printf("%s %s\n", NameOf(result), videoId);
  CancelYoutubeUploadFile(uploader); /* a finished upload keeps its handle until it is cancelled */
  UninitYoutubeFileUploder(uploader);
  return result == VELK_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
