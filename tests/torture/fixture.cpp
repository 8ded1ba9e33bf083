// The exports as operations for the allocation tests.
#include "torture/fixture.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace velk::test {
namespace {

constexpr const char* kReply =
    R"({"id": "1", "name": "n", "object_id": "2", "post_id": "3", "link": "l", "source": "s", "title": "t",)"
    R"( "media_id_string": "4"})";
constexpr const char* kTokens = "oauth_token=t&oauth_token_secret=s&user_id=7&screen_name=n";

}  // namespace

AllocationTest::AllocationTest() {
  Fill(host.post.link, "http://l/");
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
  const Codes usual = {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY};
  const Codes identified = {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY, VELK_NO_IDENTIFIER};
  const Codes signedRequest = {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY,
                               VELK_CREDENTIALS_REFUSED, VELK_NO_IDENTIFIER};
  const std::map<std::string_view, Codes> others = {
      {"StartYoutubeUploadFile", identified},
      {"StartFacebookUploadVideo", identified},
      {"StartFacebookUploadPhoto",
       {VELK_TRANSFER_FAILED, VELK_NO_HANDLE, VELK_OUT_OF_MEMORY, VELK_PRIVACY_NOT_UPDATED}},
      {"PostFacebookComment", identified},
      {"GetFacebookUserPagesList", {VELK_TRANSFER_FAILED, VELK_UNEXPECTED_REPLY}},
      {"SetFacebookUpdateInfo message", {VELK_MESSAGE_NOT_UPDATED}},
      {"SetFacebookUpdateInfo privacy and message", {VELK_PRIVACY_NOT_UPDATED, VELK_TEXT_NOT_UPDATED}},
      {"SetFacebookUpdateInfo description", {VELK_TEXT_NOT_UPDATED}},
  };
  const auto released = [](FileUploader* made, int32_t (*uninit)(FileUploader*)) {
    return made ? uninit(made) : VELK_OUT_OF_MEMORY;
  };
  std::vector<Operation> operations = {
      {"InitYoutubeFileUploder",
       [=] { return released(InitYoutubeFileUploder(), UninitYoutubeFileUploder); },
       {VELK_OUT_OF_MEMORY}},
      {"InitFacebookFileUploder",
       [=] { return released(InitFacebookFileUploder(), UninitFacebookFileUploder); },
       {VELK_OUT_OF_MEMORY}},
  };
  for (const Call& call : Calls()) {
    const auto found = others.find(call.name);
    const auto run = [this, &call] {
      const int32_t result = call.run(host);
      FreeFacebookUserPagesList(&host.pages);
      return result;
    };
    operations.push_back({call.name, run,
                          found != others.end() ? found->second
                          : call.isSigned       ? signedRequest
                                                : usual,
                          call.isSigned});
  }
  return operations;
}

}  // namespace velk::test
