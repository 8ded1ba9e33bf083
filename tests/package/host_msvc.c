/*
 * A host without a C run-time library, for a compiler in Visual C++ mode. main is the entry point of the
 * program, and its value is the exit code.
 */
#include <velk_upload.h>

#ifndef _MSC_VER
#error This host is for compilers in Visual C++ mode.
#endif

/* Static, since a large array in a function requires functions of the run-time library. */
static char proxy[256];

int main(void) {
  const char* setting = "http://127.0.0.1:9";
  int32_t size = sizeof proxy;
  int position = 0;
  FileUploader* uploader = InitTwitterFileUploder();

  if (!uploader) return 1;
  if (PostTwitterComment(0, 0, setting, setting) != VELK_MISSING_ARGUMENT) return 2;
  if (SetLibVelkUploadProxy(setting) != VELK_OK) return 3;
  if (GetLibVelkUploadProxy(proxy, &size) != VELK_OK) return 4;
  while (proxy[position] && proxy[position] == setting[position]) ++position;
  if (proxy[position] != setting[position]) return 5;
  if (UninitTwitterFileUploder(uploader) != VELK_OK) return 6;
  return 42;
}
