// One short example for each function of the Twitter group. The tests compile them.
#include <stdio.h>
#include <string.h>
#include <velk_upload.h>

void BeginSignIn(void);
void EndSignIn(const char* requestToken, const char* pin);
void Tweet(const TwitterConsumer* consumer, const TwitterAccessToken* token);
void TweetPhoto(const TwitterConsumer* consumer, const TwitterAccessToken* token);

void BeginSignIn(void) {
  //! [GetTwitterOauthUrl]
  char url[1076] = "";
  int32_t size = sizeof url;
  if (GetTwitterOauthUrl("CONSUMER KEY", "CONSUMER SECRET", &size, url) == VELK_OK) {
    const char* requestToken = strstr(url, "oauth_token=") + strlen("oauth_token=");
    printf("open %s, and keep %s for the second step\n", url, requestToken);
  }
  //! [GetTwitterOauthUrl]
}

void EndSignIn(const char* requestToken, const char* pin) {
  //! [GetTwitterAccessToken]
  TwitterAccessRequest request = {"CONSUMER KEY", "CONSUMER SECRET", "", ""};
  TwitterAccessToken token = {"", "", "", ""};
  strncpy(request.requestToken, requestToken, sizeof request.requestToken - 1);
  strncpy(request.verifier, pin, sizeof request.verifier - 1);
  if (GetTwitterAccessToken(&request, &token) == VELK_OK) printf("signed in as %s\n", token.screenName);
  //! [GetTwitterAccessToken]
}

void Tweet(const TwitterConsumer* consumer, const TwitterAccessToken* token) {
  //! [PostTwitterComment]
  int32_t result = PostTwitterComment(consumer, token, "Hello & good morning", "");
  if (result == VELK_DUPLICATE_STATUS) puts("tweeted before");
  //! [PostTwitterComment]
}

void TweetPhoto(const TwitterConsumer* consumer, const TwitterAccessToken* token) {
  //! [StartTwitterUploadPhoto]
  TwitterUploadFile photo = {"photo.jpg", "C:\\Users\\me\\Pictures", "A gradient"};
  FileUploader* uploader = InitTwitterFileUploder();
  int32_t result = StartTwitterUploadPhoto(uploader, consumer, token, &photo);
  printf("result %d\n", (int)result);
  UninitTwitterFileUploder(uploader);
  //! [StartTwitterUploadPhoto]
}
