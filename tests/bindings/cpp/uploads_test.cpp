// Uploads: progress, several at once, and what stays alive after them.
#include <atomic>
#include <future>

#include "binding_fixture.h"

namespace velk::test {
namespace {

using velk_upload::Options;

class BindingUploads : public BindingTest {
 protected:
  void UploadFilm(const TempFile& file, const Options& options) {
    library.youtube.Upload("token", {.file = file.File(), .title = "Bars", .description = "A test"}, options);
  }
  void UploadVideo(const TempFile& file, const Options& options) {
    library.facebook.UploadVideo("token", {.file = file.File(), .title = "Bars", .description = "A test"},
                                 options);
  }
  void Tweet(const TempFile& file, const Options& options, const std::string& text = "look") {
    const velk_upload::TwitterUser user{"tk", "tk-secret", "7", "velk"};
    library.twitter.UploadPhoto({"ck", "ck-secret"}, user, {.file = file.File(), .text = text}, options);
  }

  TempFile picture{"photo.png", Png("not much of a picture")};
  TempFile large{"large.png", Png(std::string(3'000'000, 'a'))};
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
  UploadFilm(file, {.progress = progress});
  EXPECT_GT(sent.size(), 5U);
  EXPECT_TRUE(std::ranges::is_sorted(sent));
  EXPECT_EQ(sent.back(), kSize);
}

TEST_F(BindingUploads, AnExceptionOfTheCallbackCancels) {
  sandbox.Add({.method = "PUT", .passThrough = true, .readSlowly = 500'000});
  const auto progress = [](std::uint64_t, std::uint64_t) { throw std::logic_error("enough"); };
  EXPECT_THROW(UploadFilm(large, {.progress = progress}), std::logic_error);
  EXPECT_TRUE(Stored("youtube", "videos").empty());
}

TEST_F(BindingUploads, KeepsNothingOfTheCaller) {
  auto object = std::make_shared<int>(1);
  const std::weak_ptr<int> alive = object;
  std::stop_source source;
  {
    const Options options{.progress = [kept = std::move(object)](auto, auto) {}, .stop = source.get_token()};
    UploadFilm(picture, options);
    UploadVideo(picture, options);
    Tweet(picture, options);
  }
  EXPECT_TRUE(alive.expired());
}

TEST_F(BindingUploads, RunsEightAtOnce) {
  std::vector<std::future<void>> uploads;
  std::atomic<int> reports = 0;
  const Options options{.progress = [&reports](auto, auto) { ++reports; }};
  for (int index = 0; index < 8; ++index)
    uploads.push_back(std::async(std::launch::async, [&, index] {
      if (index % 2 == 0)
        UploadFilm(large, options);
      else if (index % 4 == 1)
        UploadVideo(large, options);
      else
        Tweet(large, options, std::to_string(index));
    }));
  for (auto& upload : uploads) upload.get();
  EXPECT_EQ(Stored("youtube", "videos").size(), 4U);
  EXPECT_EQ(Stored("facebook", "objects").size(), 2U);
  EXPECT_EQ(Stored("twitter", "tweets").size(), 2U);
  EXPECT_GE(reports, 8);
}

}  // namespace
}  // namespace velk::test
