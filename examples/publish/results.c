/* Result codes in plain words. */
#include <stdio.h>
#include <stdlib.h>

#include "publish.h"

static const Meaning kCommon[] = {
    {VELK_UNEXPECTED_REPLY, "The service gave an answer that was not expected; try again later."},
    {VELK_MISSING_ARGUMENT, "Something required is empty; check the options."},
    {VELK_TRANSFER_FAILED, "The transfer failed; check the network and the proxy, and try again."},
    {VELK_NO_IDENTIFIER,
     "The service named no identifier; look there whether it published, before trying again."},
    {VELK_TOKEN_REJECTED, "The access token was refused; sign in again."},
    {VELK_BUFFER_TOO_SMALL, "The answer is longer than this program can take."},
    {VELK_CANCELLED, "Cancelled."},
    {VELK_NO_HANDLE,
     "No HTTP request could be made, or the service gave an unknown status; try again later."},
    {VELK_OUT_OF_MEMORY, "Memory ran out; close other programs and try again."},
    {VELK_FILE_NOT_OPENED, "The file cannot be opened; check its path and your rights to read it."},
    {0, NULL},
};

static const char* Find(int32_t result, const Meaning* meanings) {
  for (; meanings->result != 0; ++meanings)
    if (meanings->result == result) return meanings->sentence;
  return NULL;
}

int ReportFailure(int32_t result, const Meaning* meanings) {
  const char* sentence = Find(result, meanings);
  if (!sentence) sentence = Find(result, kCommon);
  fprintf(stderr, "%s (result %ld)\n", sentence ? sentence : "The call failed.", (long)result);
  return EXIT_FAILURE;
}
