/* Signs a user in to Twitter, and tweets a photo. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <velk_upload.h>

static TwitterConsumer consumer = {"velk", "velk-secret"}; /* the key and the secret of your application */
static TwitterAccessToken user;

/* The results that an application can act on. The header lists all. */
static const char* NameOf(int32_t result) {
  static const struct {
    int32_t result;
    const char* name;
  } kNames[] = {{VELK_OK, "VELK_OK"},
                {VELK_UNEXPECTED_REPLY, "VELK_UNEXPECTED_REPLY"},
                {VELK_MISSING_ARGUMENT, "VELK_MISSING_ARGUMENT"},
                {VELK_TRANSFER_FAILED, "VELK_TRANSFER_FAILED"},
                {VELK_CREDENTIALS_REFUSED, "VELK_CREDENTIALS_REFUSED"},
                {VELK_DUPLICATE_STATUS, "VELK_DUPLICATE_STATUS"},
                {VELK_FILE_NOT_OPENED, "VELK_FILE_NOT_OPENED"}};
  for (size_t i = 0; i < sizeof kNames / sizeof *kNames; ++i)
    if (kNames[i].result == result) return kNames[i].name;
  return "another result";
}

static int32_t SignIn(void) {
  static TwitterAccessRequest request;
  char url[1076];
  int32_t size = sizeof url;
  const int32_t result = GetTwitterOauthUrl(consumer.consumerKey, consumer.consumerSecret, &size, url);
  if (result != VELK_OK) return result;
  printf("Open %s\nand type the PIN (the sandbox's is 1234567): ", url);
  fflush(stdout);
  memcpy(request.consumerKey, consumer.consumerKey, sizeof request.consumerKey);
  memcpy(request.consumerSecret, consumer.consumerSecret, sizeof request.consumerSecret);
  strcpy(request.requestToken, strstr(url, "oauth_token=") + strlen("oauth_token="));
  if (!fgets(request.verifier, sizeof request.verifier, stdin)) return VELK_MISSING_ARGUMENT;
  request.verifier[strcspn(request.verifier, "\r\n")] = '\0'; /* a line end would make the request fail */
  return GetTwitterAccessToken(&request, &user);
}

int main(void) {
  static const TwitterUploadFile photo = {"photo.jpg", "share/examples/media", "A gradient"};
  SetLibVelkUploadProxy(getenv("VELK_SANDBOX_PROXY"));
  int32_t result = SignIn(); /* the token does not expire: keep it, and sign in once */
  if (result == VELK_OK) {
    FileUploader* uploader = InitTwitterFileUploder();
    result = StartTwitterUploadPhoto(uploader, &consumer, &user, &photo);
    UninitTwitterFileUploder(uploader); /* the handle of a finished upload stays allocated */
  }
  printf("%s\n", NameOf(result));
  return result == VELK_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
