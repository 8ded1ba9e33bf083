// The exports as operations for the allocation tests.
#include "torture/fixture.h"

#include <algorithm>

namespace velk::test {
namespace {

constexpr const char* kReply =
    R"({"id": "1", "name": "n", "object_id": "2", "post_id": "3", "link": "l", "source": "s", "title": "t",)"
    R"( "media_id_string": "4"})";
constexpr const char* kTokens = "oauth_token=t&oauth_token_secret=s&user_id=7&screen_name=n";

}  // namespace

AllocationTest::AllocationTest() {
  Fill(video.filePath, path);
  Fill(video.title, "title");
  Fill(video.description, "description");
  Fill(video.privacyStatus, "private");
  Fill(video.categoryId, "22");
  Fill(video.tags, "one\ntwo");
  Fill(facebook.filePath, path);
  for (char* field : {facebook.title, facebook.description, facebook.privacy, facebook.link}) *field = 'x';
  const size_t name = path.find_last_of("/\\");
  Fill(photo.folderPath, path.substr(0, name));
  Fill(photo.fileName, path.substr(name + 1));
  Fill(photo.statusText, "text");
  // One reply that almost every request accepts as success. Only the session and token requests need their
  // own.
  sandbox.Add({.path = "/upload/youtube/v3/videos",
               .times = 0,
               .headers = {"Location: https://www.googleapis.com/put"},
               .body = kReply});
  sandbox.Add({.path = "/oauth/re*", .times = 0, .body = kTokens});
  sandbox.Add({.host = "api.twitter.com", .path = "/oauth/access_token", .times = 0, .body = kTokens});
  sandbox.Add({.path = "/action/GetUploadToken", .times = 0, .body = "<r><url>u</url><token>t</token></r>"});
  sandbox.Add({.times = 0, .body = kReply});
}

int AllocationTest::Torture(const Operation& operation, Allocator allocator) {
  for (int index = 0;; ++index) {
    const FailingAllocation failing(allocator, index);
    const int32_t result = operation.call();
    if (!failing.Happened()) {
      EXPECT_EQ(result, VELK_OK) << operation.name << " with enough memory";
      return index;
    }
    // libcurl continues without some data that it could not allocate. The service then rejects the request.
    const bool refused = allocator == Allocator::kCurl && result == VELK_UNEXPECTED_REPLY;
    EXPECT_TRUE(result == VELK_OK || refused || std::ranges::count(operation.codes, result) == 1)
        << operation.name << ", allocation " << index << ": " << result;
  }
}

std::vector<Operation> AllocationTest::Exports() {
  using Codes = std::vector<int32_t>;
  const Codes request = {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY};
  const Codes identified = {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY, VELK_NO_IDENTIFIER};
  const Codes signedRequest = {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY,
                               VELK_CREDENTIALS_REFUSED, VELK_NO_IDENTIFIER};
  const Codes updated = {VELK_PRIVACY_NOT_UPDATED, VELK_TEXT_NOT_UPDATED, VELK_MESSAGE_NOT_UPDATED};
  const auto freed = [](FileUploader* made, int32_t (*uninit)(FileUploader*)) {
    return made ? uninit(made) : VELK_OUT_OF_MEMORY;
  };
  const auto update = [this](uint32_t kind) {
    facebook.updateKind = kind;
    return SetFacebookUpdateInfo("token", "12", &facebook);
  };
  return {
      {"InitYoutube",
       [=] { return freed(InitYoutubeFileUploder(), UninitYoutubeFileUploder); },
       {VELK_OUT_OF_MEMORY}},
      {"InitFacebook",
       [=] { return freed(InitFacebookFileUploder(), UninitFacebookFileUploder); },
       {VELK_OUT_OF_MEMORY}},
      {"StartYoutubeUploadFile", [this] { return StartYoutubeUploadFile(&uploader, "token", &video, text); },
       identified},
      {"SetYoutubeUploadFileUpdateInfo",
       [this] { return SetYoutubeUploadFileUpdateInfo("token", "v", &video); }, request},
      {"ExangeFacebookAccessToken",
       [this] { return ExangeFacebookAccessToken("a", "s", "t", text, &number, &number); }, request},
      {"CheckFacebookAccessTokenValid", [this] { return CheckFacebookAccessTokenValid("a", "t", &number); },
       request},
      {"GetFacebookUserNameEmail",
       [this] { return GetFacebookUserNameEmail("t", text, &size, other, &size); }, request},
      {"StartFacebookUploadVideo",
       [this] { return StartFacebookUploadVideo(&uploader, "t", &facebook, text); }, identified},
      {"StartFacebookUploadPhoto",
       [this] { return StartFacebookUploadPhoto(&uploader, "t", &facebook, text); },
       {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY, VELK_PRIVACY_NOT_UPDATED}},
      {"PostFacebookComment", [this] { return PostFacebookComment("t", &facebook, text); }, identified},
      {"GetFacebookUserPagesList",
       [this] {
         FacebookPage* pages = nullptr;
         const int32_t result = GetFacebookUserPagesList("t", &pages, &size);
         FreeFacebookUserPagesList(&pages);
         return result;
       },
       {VELK_TRANSFER_FAILED, VELK_UNEXPECTED_REPLY}},
      {"SetFacebookUpdateInfo 0", [=] { return update(0); }, updated},
      {"SetFacebookUpdateInfo 1", [=] { return update(1); }, updated},
      {"SetFacebookUpdateInfo 2", [=] { return update(2); }, updated},
      {"GetFacebookPhotoUrl", [this] { return GetFacebookPhotoUrl("t", "12", text, nullptr); }, request},
      {"GetFacebookVideoEmbedUrl", [this] { return GetFacebookVideoEmbedUrl("t", "12", text, nullptr); },
       request},
      {"GetTwitterOauthUrl", [this] { return GetTwitterOauthUrl("c", "c-secret", nullptr, text); },
       signedRequest, true},
      {"GetTwitterAccessToken", [this] { return GetTwitterAccessToken(&access, &token); }, signedRequest,
       true},
      {"PostTwitterComment", [this] { return PostTwitterComment(&consumer, &token, "text", ""); },
       signedRequest, true},
      {"StartTwitterUploadPhoto",
       [this] { return StartTwitterUploadPhoto(&uploader, &consumer, &token, &photo); }, signedRequest, true},
  };
}

}  // namespace velk::test
