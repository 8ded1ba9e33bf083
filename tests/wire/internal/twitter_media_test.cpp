// The steps of a photo upload where no exported call exposes them: missing arguments, and the status query.
#include "support/service_fixture.h"
#include "twitter/twitter.h"

namespace velk::twitter {
namespace {

using test::Script;

class TwitterMedia : public test::ServiceTest {
 protected:
  const Connections connections;
  char mediaId[kMediaIdCapacity] = "9";
  int32_t capacity = kMediaIdCapacity;
  int32_t processing = 0;
  FileUploader uploader{};
  TwitterConsumer consumer{"ck", "ck-secret"};
  TwitterAccessToken token{"7-tk", "7-tk-secret", "7", "velk"};
  test::TempFile file{"photo.png", "content"};
  NativePath path = WidenPath(file.Path());
};

TEST_F(TwitterMedia, RejectsMissingArguments) {
  const NativePath none;
  const int32_t results[] = {
      TwitterMediaInit(connections, nullptr, &capacity, "a", path, "png"),
      TwitterMediaInit(connections, mediaId, &capacity, "a", none, "png"),
      TwitterMediaAppendFile(connections, nullptr, &uploader, "a", path),
      TwitterMediaAppendFile(connections, mediaId, nullptr, "a", path),
      TwitterMediaAppendFile(connections, mediaId, &uploader, nullptr, path),
      TwitterMediaAppendFile(connections, mediaId, &uploader, "a", none),
      TwitterMediaAppend(connections, mediaId, nullptr, "a", "x", 1, "0"),
      TwitterMediaAppend(connections, mediaId, &uploader, nullptr, "x", 1, "0"),
      TwitterMediaAppend(connections, mediaId, &uploader, "a", nullptr, 1, "0"),
      TwitterMediaAppend(connections, mediaId, &uploader, "a", "x", 1, nullptr),
      TwitterMediaFinalize(connections, nullptr, &capacity, "a", &processing),
      TwitterMediaFinalize(connections, mediaId, &capacity, nullptr, &processing),
      TwitterMediaStatus(connections, nullptr, &token, mediaId),
      TwitterMediaStatus(connections, &consumer, nullptr, mediaId),
      TwitterMediaStatus(connections, &consumer, &token, nullptr),
  };
  for (const int32_t& result : results) EXPECT_EQ(result, VELK_MISSING_ARGUMENT) << &result - results;
  EXPECT_TRUE(sandbox.Requests().empty());
}

TEST_F(TwitterMedia, ChecksTheFileInEachStep) {
  const NativePath absent = WidenPath(file.Path() + "x");
  const auto large = test::TempFile::Sparse("large.png", 5'242'881);
  EXPECT_EQ(TwitterMediaInit(connections, mediaId, &capacity, "a", absent, "png"), VELK_FILE_NOT_OPENED);
  EXPECT_EQ(TwitterMediaAppendFile(connections, mediaId, &uploader, "a", absent), VELK_FILE_NOT_OPENED);
  EXPECT_EQ(TwitterMediaAppendFile(connections, mediaId, &uploader, "a", WidenPath(large.Path())),
            VELK_TOO_LARGE);
  EXPECT_TRUE(sandbox.Requests().empty());
}

TEST_F(TwitterMedia, AnnouncesPngWithoutAnExtension) {
  for (const auto& [extension, type] :
       {std::pair<const char*, const char*>(nullptr, "image/png"), {"", "image/"}}) {
    sandbox.Reset();
    sandbox.Add({.body = R"({"media_id_string":"12"})"});
    EXPECT_EQ(TwitterMediaInit(connections, mediaId, &capacity, "a", path, extension), VELK_OK);
    EXPECT_EQ(sandbox.Only().Field("media_type")->content, type);
    EXPECT_STREQ(mediaId, "12");
  }
}

TEST_F(TwitterMedia, LeavesABufferThatIsTooSmallUnchanged) {
  for (const bool finalizes : {false, true}) {
    sandbox.Add({.body = R"({"media_id_string":"1234","state":"1234"})"});
    capacity = 4;
    EXPECT_EQ(finalizes ? TwitterMediaFinalize(connections, mediaId, &capacity, "a", &processing)
                        : TwitterMediaInit(connections, mediaId, &capacity, "a", path, "png"),
              VELK_BUFFER_TOO_SMALL);
    EXPECT_EQ(capacity, 5);
    EXPECT_EQ(processing, 0);
    EXPECT_STREQ(mediaId, "9");
  }
}

TEST_F(TwitterMedia, MapsEveryStatusReplyToItsCode) {
  const std::string longest(1023, 's');
  const auto state = [](const std::string& text) { return R"({"state":")" + text + "\"}"; };
  const std::pair<Script, int32_t> rows[] = {
      {{.body = state("failed")}, VELK_OK},
      {{.status = 201, .body = state(longest)}, VELK_OK},
      {{.body = state(longest + "s")}, VELK_BUFFER_TOO_SMALL},
      {{.status = 202}, VELK_UNEXPECTED_REPLY},
      {{.status = 401, .body = "Could not authenticate you"}, VELK_CREDENTIALS_REFUSED},
      {{.times = 2, .reset = true}, VELK_TRANSFER_FAILED},  // on the reused connection and on a new one
  };
  for (const auto& [script, result] : rows) {
    sandbox.Add(script);
    EXPECT_EQ(TwitterMediaStatus(connections, &consumer, &token, mediaId), result)
        << script.status << script.body;
  }
}

}  // namespace
}  // namespace velk::twitter
