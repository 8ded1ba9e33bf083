/* A host of the packed library. It passes strings and a handle in and out, and needs no network. */
#include <stdio.h>
#include <string.h>
#include <velk_upload.h>

static int failures = 0;

static void Check(const char* what, int32_t result, int32_t expected) {
  if (result == expected) return;
  fprintf(stderr, "%s: %d instead of %d\n", what, (int)result, (int)expected);
  ++failures;
}

int main(void) {
  const char* setting = "http://127.0.0.1:9";
  char proxy[256] = "";
  int32_t size = sizeof proxy;
  char id[256] = "";
  FileUploader* uploader = InitYoutubeFileUploder();

  Check("an upload without a token", StartYoutubeUploadFile(uploader, "", NULL, id), VELK_MISSING_ARGUMENT);
  Check("a tweet without a consumer", PostTwitterComment(NULL, NULL, "text", ""), VELK_MISSING_ARGUMENT);
  Check("setting the proxy", SetLibVelkUploadProxy(setting), VELK_OK);
  Check("reading the proxy", GetLibVelkUploadProxy(proxy, &size), VELK_OK);
  Check("comparing the proxy", strcmp(proxy, setting), 0);
  size = 1;
  Check("a buffer of one byte", GetLibVelkUploadProxy(proxy, &size), VELK_BUFFER_TOO_SMALL);
  Check("freeing the handle", UninitYoutubeFileUploder(uploader), VELK_OK);

  printf("Velk Upload %s\n", VELK_UPLOAD_VERSION);
  return failures ? 1 : 0;
}
