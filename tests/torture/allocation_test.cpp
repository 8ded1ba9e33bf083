// Lets each allocation behind every export and internal operation fail in turn: a prescribed code comes back, and
// under the sanitizers nothing leaks or is touched after its end.
#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include "api/service_test.h"
#include "torture/allocations.h"
#include "xml/xml.h"
#include "youtube/youtube.h"

namespace velk::test {
namespace {

struct Operation {
  const char* name;
  std::function<int32_t()> call;
  std::vector<int32_t> codes;  // what a failed allocation may answer, besides success
};

constexpr const char* kReply =
    R"({"id": "1", "name": "n", "object_id": "2", "post_id": "3", "link": "l", "source": "s", "title": "t",)"
    R"( "media_id_string": "4"})";
constexpr const char* kTokens = "oauth_token=t&oauth_token_secret=s&user_id=7&screen_name=n";

class Allocations : public ServiceTest {
 protected:
  Allocations() {
    Fill(video.filePath, path);
    Fill(video.title, "title");
    Fill(video.description, "description");
    Fill(video.privacyStatus, "private");
    Fill(video.categoryId, "22");
    Fill(video.tags, "one\ntwo");
    Fill(facebook.filePath, path);
    for (char* field : {facebook.title, facebook.description, facebook.privacy, facebook.link}) *field = 'x';
    const size_t name = path.rfind('/');
    Fill(photo.folderPath, path.substr(0, name));
    Fill(photo.fileName, path.substr(name + 1));
    Fill(photo.statusText, "text");
    // What any request takes for a success; only the session and the token replies have a form of their own.
    sandbox.Add({.path = "/upload/youtube/v3/videos",
                 .times = 0,
                 .headers = {"Location: https://www.googleapis.com/put"},
                 .body = kReply});
    sandbox.Add({.path = "/oauth/re*", .times = 0, .body = kTokens});
    sandbox.Add({.host = "api.twitter.com", .path = "/oauth/access_token", .times = 0, .body = kTokens});
    sandbox.Add(
        {.path = "/action/GetUploadToken", .times = 0, .body = "<r><url>u</url><token>t</token></r>"});
    sandbox.Add({.times = 0, .body = kReply});
  }

  std::vector<Operation> Operations();

  // Fails one allocation after the other, until the operation makes no more of them. Answers how many it made.
  int Torture(const Operation& operation, Allocator allocator) {
    for (int index = 0;; ++index) {
      const FailingAllocation failing(allocator, index);
      const int32_t result = operation.call();
      if (!failing.Happened()) {
        EXPECT_EQ(result, VELK_OK) << operation.name << " with memory enough";
        return index;
      }
      // libcurl goes on without some of what it could not allocate, and the service then refuses the request.
      const bool refused = allocator == Allocator::kCurl && result == VELK_UNEXPECTED_REPLY;
      EXPECT_TRUE(result == VELK_OK || refused || std::ranges::count(operation.codes, result) == 1)
          << operation.name << ", allocation " << index << ": " << result;
    }
  }

  TempFile file{"clip.mp4", RandomBytes(3000, 1)};
  const std::string path = file.Path();
  const std::string formUrl = sandbox.Proxy() + "/form";
  YoutubeUploadInfo video{};
  FacebookUploadInfo facebook{};
  TwitterConsumer consumer{"c", "c-secret"};
  TwitterAccessToken token{"t", "t-secret", "7", "name"};
  TwitterAccessRequest access{"c", "c-secret", "r", "1"};
  TwitterUploadFile photo{};
  FileUploader uploader{};
  char text[8192] = "";
  char other[1024] = "";
  uint32_t number = 0;
  int32_t size = 0;
};

std::vector<Operation> Allocations::Operations() {
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
       signedRequest},
      {"GetTwitterAccessToken", [this] { return GetTwitterAccessToken(&access, &token); }, signedRequest},
      {"PostTwitterComment", [this] { return PostTwitterComment(&consumer, &token, "text", ""); },
       signedRequest},
      {"StartTwitterUploadPhoto",
       [this] { return StartTwitterUploadPhoto(&uploader, &consumer, &token, &photo); }, signedRequest},
      {"GetYoutubeCategoryTitle",
       [this] {
         return GetYoutubeCategoryTitle("t", "20",
                                        std::span<char, kCategoryTitleRoom>(text, kCategoryTitleRoom));
       },
       {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY, VELK_NO_TITLE}},
      {"BuildAtomEntry",
       [this] {
         size = sizeof text;
         return BuildAtomEntry(&video, text, &size, "News");
       },
       {VELK_OUT_OF_MEMORY}},
      {"RequestUploadToken",
       [this] {
         int32_t urlRoom = 1024;
         int32_t tokenRoom = 1024;
         return RequestUploadToken("t", nullptr, "<entry/>", text, &urlRoom, other, &tokenRoom);
       },
       {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY, VELK_UNEXPECTED_REPLY}},
      {"ParseUploadTokenReply",
       [] {
         constexpr std::string_view kXml = "<r><url>u</url><token>t</token></r>";
         std::string url, oneTimeToken;
         return ParseUploadTokenReply(kXml.data(), kXml.size(), &url, &oneTimeToken);
       },
       {VELK_UNEXPECTED_REPLY}},
      {"PostBrowserUploadForm",
       [this] { return PostBrowserUploadForm(&uploader, "t", path.c_str(), text, formUrl.c_str(), "token"); },
       request},
      {"EscapeControlChars",
       [this] {
         return EscapeControlChars(video.title, sizeof video.title) == 0 ? VELK_OK : VELK_OUT_OF_MEMORY;
       },
       {VELK_OUT_OF_MEMORY}},
      {"XmlParseString",
       [] {
         char document[] =
             "<!DOCTYPE r [<!ENTITY e 'xy'><!ATTLIST c k CDATA 'v'>]><r a='&e;'><c/>t&e;<?p q?><c/></r>";
         const XmlTree root(XmlParseString(document, sizeof document - 1));
         return root ? VELK_OK : VELK_OUT_OF_MEMORY;
       },
       {VELK_OUT_OF_MEMORY}},
  };
}

TEST_F(Allocations, OfTheLibraryFailOneByOne) {
  for (const Operation& operation : Operations()) {
    const int failures = Torture(operation, Allocator::kLibrary);
    EXPECT_GT(failures, 0) << operation.name;
    std::printf("%-32s %4d allocations\n", operation.name, failures);
  }
}

TEST_F(Allocations, OfCurlFailOneByOne) {
  for (const Operation& operation : Operations()) Torture(operation, Allocator::kCurl);
}

TEST_F(Allocations, OfAReplyThatStaysEmptyLeaveNothingToRead) {
  sandbox.Reset();
  sandbox.Add({.times = 0});
  const auto identity = [this](int32_t room) {
    return GetFacebookUserNameEmail("t", text, &room, other, &size);
  };
  const std::pair<int32_t, std::function<int32_t()>> rows[] = {
      {VELK_BUFFER_TOO_SMALL, [=] { return identity(1); }},  // which tells the e-mail's size
      {VELK_UNEXPECTED_REPLY, [=] { return identity(1); }},
      {VELK_BUFFER_TOO_SMALL, [=] { return identity(0); }},
      {VELK_OK, [this] { return GetFacebookPhotoUrl("t", "12", text, nullptr); }},
      {VELK_TRANSFER_FAILED, [this] { return GetFacebookVideoEmbedUrl("t", "12", text, nullptr); }},
  };
  for (const auto& [code, call] : rows) {
    const FailingAllocation failing(Allocator::kLibrary, 0);
    EXPECT_EQ(call(), code);
  }
  EXPECT_EQ(size, 1);
}

}  // namespace
}  // namespace velk::test

int main(int argc, char** argv) {
  velk::test::HookCurlAllocations();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
