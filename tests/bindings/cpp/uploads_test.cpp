// Uploads: progress, cancelling, several at once, and what stays alive after them.
#include <atomic>
#include <future>

#include "binding_fixture.h"

namespace velk::test {
namespace {

using namespace std::chrono_literals;
using velk_upload::Error;
using velk_upload::Options;

class BindingUploads : public BindingTest {
 protected:
  const TempFile& File() const { return isLarge ? large : picture; }
  std::string UploadFilm(const Options& options) {
    return library.youtube.Upload("token", Film(File()), options);
  }
  std::string UploadVideo(const Options& options) {
    return library.facebook.UploadVideo("token", Video(File()), options);
  }
  std::string Tweet(const Options& options) {
    library.twitter.UploadPhoto(kConsumer, kUser, {.file = File().File(), .text = "look"}, options);
    return {};
  }

  // The three uploads with a handle.
  struct Service {
    const char* name;
    std::string (BindingUploads::*upload)(const Options& options);
    const char* first;   // the path of the first request
    const char* method;  // of the request that sends the file
  };
  static constexpr Service kServices[] = {
      {"YouTube", &BindingUploads::UploadFilm, "/upload/youtube/v3/videos", "PUT"},
      {"Facebook", &BindingUploads::UploadVideo, "/104000000000001/videos/uploaded", "POST"},
      {"Twitter", &BindingUploads::Tweet, "/1.1/media/upload.json", "POST"},
  };

  TempFile large{"large.png", Png(std::string(3'000'000, 'a'))};
  bool isLarge = false;

  static std::int32_t CodeOf(const std::function<void()>& call) {
    try {
      call();
      return VELK_OK;
    } catch (const Error& error) {
      return error.Code();
    }
  }
};

TEST_F(BindingUploads, ReportsRisingProgress) {
#ifdef _WIN32
  constexpr std::uint64_t kSize = 4'000'000;  // Wine's TLS is slow
#else
  constexpr std::uint64_t kSize = 20'000'000;
#endif
  const TempFile file = TempFile::Sparse("large.mp4", kSize);
  sandbox.Add({.method = "PUT", .passThrough = true, .readSlowly = 2 * kSize});
  std::vector<std::uint64_t> sent;
  const auto progress = [&](std::uint64_t bytes, std::uint64_t total) {
    EXPECT_EQ(total, kSize);
    sent.push_back(bytes);
  };
  library.youtube.Upload("token", Film(file), {.progress = progress});
  EXPECT_GT(sent.size(), 5U);
  EXPECT_TRUE(std::ranges::is_sorted(sent));
  EXPECT_EQ(sent.back(), kSize);
}

TEST_F(BindingUploads, CancelsBeforeAnythingIsSent) {
  std::stop_source source;
  source.request_stop();
  for (const Service& service : kServices) {
    SCOPED_TRACE(service.name);
    EXPECT_EQ(CodeOf([&] { (this->*service.upload)({.stop = source.get_token()}); }), VELK_CANCELLED);
  }
  EXPECT_TRUE(sandbox.Requests().empty());
}

// YouTube takes no cancel yet, and Twitter takes it but looks at it only later.
TEST_F(BindingUploads, CancelsDuringTheFirstRequest) {
  isLarge = true;
  for (const Service& service : kServices) {
    SCOPED_TRACE(service.name);
    sandbox.Reset();
    sandbox.Add({.method = "POST", .path = service.first, .passThrough = true, .delayMs = 200});
    sandbox.Add({.method = "PUT", .passThrough = true, .readSlowly = 1'000'000});
    std::stop_source source;
    auto upload = std::async(std::launch::async, [&] {
      return CodeOf([&] { (this->*service.upload)({.stop = source.get_token()}); });
    });
    EXPECT_TRUE(sandbox.WaitForRequest(service.first));
    source.request_stop();
    EXPECT_EQ(upload.get(), VELK_CANCELLED);
  }
  EXPECT_TRUE(Stored("youtube", "videos").empty());
}

TEST_F(BindingUploads, CancelsInTheMiddle) {
  isLarge = true;
  for (const Service& service : kServices) {
    SCOPED_TRACE(service.name);
    sandbox.Reset();
    sandbox.Add({.method = service.method, .times = 0, .passThrough = true, .readSlowly = 500'000});
    std::stop_source source;
    const auto progress = [&](std::uint64_t sent, std::uint64_t) {
      if (sent > 0) source.request_stop();
    };
    EXPECT_EQ(CodeOf([&] { (this->*service.upload)({.progress = progress, .stop = source.get_token()}); }),
              VELK_CANCELLED);
    EXPECT_TRUE(source.stop_requested());
  }
}

// The tweet cannot be cancelled, and neither can a finished upload.
TEST_F(BindingUploads, IgnoresALateCancel) {
  sandbox.Add({.path = "/1.1/statuses/update.json", .passThrough = true, .delayMs = 200});
  std::stop_source source;
  auto upload =
      std::async(std::launch::async, [&] { return CodeOf([&] { Tweet({.stop = source.get_token()}); }); });
  EXPECT_TRUE(sandbox.WaitForRequest("/1.1/statuses/update.json"));
  source.request_stop();
  EXPECT_EQ(upload.get(), VELK_OK);
  std::stop_source after;
  EXPECT_EQ(CodeOf([&] { UploadFilm({.stop = after.get_token()}); }), VELK_OK);
  after.request_stop();
}

TEST_F(BindingUploads, AnExceptionOfTheCallbackCancels) {
  sandbox.Add({.method = "PUT", .passThrough = true, .readSlowly = 500'000});
  isLarge = true;
  const auto progress = [](std::uint64_t, std::uint64_t) { throw std::logic_error("enough"); };
  EXPECT_THROW(UploadFilm({.progress = progress}), std::logic_error);
  EXPECT_TRUE(Stored("youtube", "videos").empty());
}

TEST_F(BindingUploads, KeepsNothingOfTheCaller) {
  for (const Service& service : kServices) {
    SCOPED_TRACE(service.name);
    auto object = std::make_shared<int>(1);
    const std::weak_ptr<int> alive = object;
    std::stop_source source;
    EXPECT_EQ(CodeOf([&, captured = std::move(object)]() mutable {
                (this->*service.upload)(
                    {.progress = [kept = std::move(captured)](auto, auto) {}, .stop = source.get_token()});
              }),
              VELK_OK);
    EXPECT_TRUE(alive.expired());
  }
}

TEST_F(BindingUploads, RunsEightAtOnce) {
  std::vector<std::future<std::string>> uploads;
  std::atomic<int> reports = 0;
  const auto progress = [&reports](auto, auto) { ++reports; };
  isLarge = true;
  for (int index = 0; index < 8; ++index)
    uploads.push_back(std::async(std::launch::async, [&, index]() -> std::string {
      if (index % 2 == 0) return UploadFilm({.progress = progress});
      if (index % 4 == 1) return UploadVideo({.progress = progress});
      library.twitter.UploadPhoto(kConsumer, kUser, {.file = File().File(), .text = std::to_string(index)},
                                  {.progress = progress});
      return {};
    }));
  for (auto& upload : uploads) upload.get();
  EXPECT_EQ(Stored("youtube", "videos").size(), 4U);
  EXPECT_EQ(Stored("facebook", "objects").size(), 2U);
  EXPECT_EQ(Stored("twitter", "tweets").size(), 2U);
  EXPECT_GE(reports, 8);
}

}  // namespace
}  // namespace velk::test
