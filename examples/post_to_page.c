/* Lists the pages that the user manages on Facebook, and posts a link to one: post_to_page [PAGE] */
#include <stdio.h>
#include <stdlib.h>
#include <velk_upload.h>

/* The results that an application can act on. The header lists all. */
static const char* NameOf(int32_t result) {
  static const struct {
    int32_t result;
    const char* name;
  } kNames[] = {{VELK_OK, "VELK_OK"},
                {VELK_NO_PAGES, "VELK_NO_PAGES"},
                {VELK_UNEXPECTED_REPLY, "VELK_UNEXPECTED_REPLY"},
                {VELK_TRANSFER_FAILED, "VELK_TRANSFER_FAILED"},
                {VELK_NO_IDENTIFIER, "VELK_NO_IDENTIFIER"},
                {VELK_TOKEN_REJECTED, "VELK_TOKEN_REJECTED"}};
  for (size_t i = 0; i < sizeof kNames / sizeof *kNames; ++i)
    if (kNames[i].result == result) return kNames[i].name;
  return "another result";
}

int main(int argc, char** argv) {
  /* A post is sent as a form, so that its texts are percent-encoded. */
  static FacebookUploadInfo info = {
      .description = "Hello%20%26%20welcome", .privacy = "EVERYONE", .link = "https%3A%2F%2Fexample.org%2F"};
  FacebookPage* pages = NULL;
  int32_t count = 0;
  char postId[1024] = "";
  SetLibVelkUploadProxy(getenv("VELK_SANDBOX_PROXY"));
  int32_t result = GetFacebookUserPagesList("ACCESS-TOKEN", &pages, &count);
  /* The list also contains the categories of the pages, so that a user must choose. */
  for (int32_t i = 0; i < count; ++i) printf("%s %s\n", pages[i].id, pages[i].name);
  FreeFacebookUserPagesList(&pages);
  if (result == VELK_OK) {
    snprintf(info.targetId, sizeof info.targetId, "%s", argc > 1 ? argv[1] : "104000000000001");
    result = PostFacebookComment("ACCESS-TOKEN", &info, postId);
  }
  printf("%s %s\n", NameOf(result), postId);
  return result == VELK_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
