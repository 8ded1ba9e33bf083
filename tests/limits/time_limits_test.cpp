// The time limits of each request. These tests wait until a limit is over, so all calls of a test run at
// once.
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <chrono>
#include <span>
#include <thread>

#include "support/host.h"
#include "support/service_fixture.h"
#include "youtube/youtube.h"

namespace velk::test {
namespace {

using std::chrono::seconds;

constexpr seconds kNone{0};
constexpr seconds kBeyond{32};  // more than any limit

struct Limit {
  const char* call;
  seconds limit;  // kNone: the call waits for the late reply
};

// No export makes these requests.
constexpr Call kLegacyCalls[] = {
    {"RequestUploadToken",
     [](Host& host) {
       char token[1024];
       int32_t urlSize = sizeof host.text;
       int32_t tokenSize = sizeof token;
       return youtube::RequestUploadToken("token", nullptr, "<entry/>", host.text, &urlSize, token,
                                          &tokenSize);
     }},
    {"GetYoutubeCategoryTitle",
     [](Host&) {
       char title[youtube::kCategoryTitleCapacity];
       return youtube::GetYoutubeCategoryTitle("token", "1", title);
     }},
};

class TimeLimits : public ServiceTest {
 protected:
  void Expect(std::span<const Limit> limits) {
    std::vector<std::thread> threads;
    for (const Limit& row : limits) threads.emplace_back([this, &row] { ExpectOne(row); });
    for (std::thread& thread : threads) thread.join();
  }

  void ExpectOne(const Limit& row) {
    const auto legacy = std::ranges::find(kLegacyCalls, std::string_view(row.call), &Call::name);
    Host host(file.Path());
    // The lookup before a change of privacy has no limit. Here it gets its reply at once.
    if (std::string_view(row.call).ends_with("privacy and message")) host.objectId = "1_3";
    const auto began = std::chrono::steady_clock::now();
    const int32_t result =
        legacy != std::end(kLegacyCalls) ? legacy->run(host) : CallNamed(row.call).run(host);
    const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - began;
    EXPECT_EQ(result == VELK_OK, row.limit == kNone) << row.call << ": " << result;
    const seconds expected = row.limit == kNone ? kBeyond : row.limit;
    EXPECT_GE(waited.count(), static_cast<double>(expected.count()) - 0.5) << row.call;
    EXPECT_LE(waited.count(), static_cast<double>(expected.count()) + 5) << row.call;
  }

  TempFile file{"photo.png", Png("content")};
};

TEST_F(TimeLimits, EndATunnelThatNeverOpens) {
  constexpr Limit kLimits[] = {
      {"ExangeFacebookAccessToken", seconds(10)},
      {"CheckFacebookAccessTokenValid", seconds(10)},
      {"GetFacebookUserNameEmail", seconds(5)},
      {"GetFacebookUserPagesList", seconds(10)},
      {"StartFacebookUploadVideo", seconds(10)},  // five seconds for each of two hosts
      {"StartFacebookUploadPhoto", seconds(5)},
      {"PostFacebookComment", seconds(10)},
      {"GetFacebookPhotoUrl", seconds(5)},
      {"GetFacebookVideoEmbedUrl", seconds(5)},
      {"SetFacebookUpdateInfo message", seconds(10)},
      {"SetFacebookUpdateInfo privacy and message", seconds(5)},
      {"SetFacebookUpdateInfo description", seconds(10)},
      {"GetTwitterOauthUrl", seconds(10)},
      {"GetTwitterAccessToken", seconds(10)},
      {"PostTwitterComment", seconds(5)},
      {"StartYoutubeUploadFile", seconds(10)},
      {"SetYoutubeUploadFileUpdateInfo", seconds(10)},
      {"GetYoutubeCategoryTitle", seconds(10)},
  };
  sandbox.Add({.method = "CONNECT", .times = 0, .neverAnswer = true});
  Expect(kLimits);
}

TEST_F(TimeLimits, EndTheWaitForALateReply) {
  constexpr Limit kLimits[] = {
      {"ExangeFacebookAccessToken", seconds(10)},
      {"CheckFacebookAccessTokenValid", seconds(10)},
      {"GetFacebookUserNameEmail", kNone},
      {"GetFacebookUserPagesList", seconds(10)},
      {"StartFacebookUploadVideo", kNone},
      {"StartFacebookUploadPhoto", kNone},
      {"PostFacebookComment", seconds(30)},
      {"GetFacebookPhotoUrl", kNone},
      {"GetFacebookVideoEmbedUrl", kNone},
      {"SetFacebookUpdateInfo message", seconds(30)},
      {"SetFacebookUpdateInfo privacy and message", seconds(30)},
      {"SetFacebookUpdateInfo description", seconds(30)},
      {"GetTwitterOauthUrl", seconds(10)},
      {"GetTwitterAccessToken", seconds(10)},
      {"PostTwitterComment", kNone},
      {"StartYoutubeUploadFile", seconds(10)},
      {"SetYoutubeUploadFileUpdateInfo", seconds(10)},
      {"RequestUploadToken", seconds(10)},
      {"GetYoutubeCategoryTitle", seconds(10)},
  };
  constexpr int kDelayMs = static_cast<int>(std::chrono::milliseconds(kBeyond).count());
  sandbox.Add({.method = "GET", .path = "/1_3", .body = R"({"object_id":"22"})"});
  // Without an identifier, the photo's call does not send the request that sets the privacy.
  sandbox.Add({.path = "/104000000000001/photos", .body = "{}", .delayMs = kDelayMs});
  sandbox.Add({.times = 0, .body = R"({"id":"1"})", .delayMs = kDelayMs});
  Expect(kLimits);
}

TEST_F(TimeLimits, EndAPhotoTweetAtEachStep) {
  struct Row {
    const char* step;
    int opened;  // the connections before that of this step
    int32_t result;
  };
  constexpr Row kRows[] = {
      {"INIT", 0, VELK_UNEXPECTED_REPLY},
      {"APPEND", 1, VELK_TOO_LARGE},
      {"FINALIZE", 2, VELK_TOO_LARGE},
      {"tweet", 3, VELK_TRANSFER_FAILED},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.step);
    sandbox.Reset();
    // No connection is reused, so that each step opens its own.
    sandbox.Add({.times = 0, .passThrough = true, .hangUp = true});
    if (row.opened > 0) sandbox.Add({.method = "CONNECT", .times = row.opened, .passThrough = true});
    sandbox.Add({.method = "CONNECT", .neverAnswer = true});
    Host host(file.Path());
    EXPECT_EQ(CallNamed("StartTwitterUploadPhoto").run(host), row.result);
    ASSERT_TRUE(sandbox.WaitFor([this](const auto&) { return sandbox.Newest().at("ended").as_bool(); }));
    const double waited = sandbox.Newest().at("duration").to_number<double>();  // for the tunnel alone
    EXPECT_GE(waited, 4500);
    EXPECT_LE(waited, 10000);
  }
}

}  // namespace
}  // namespace velk::test
