// Each kind of failure with its code and advice, and libraries that cannot be used.
#include <fstream>
#include <iterator>

#include "binding_fixture.h"

namespace velk::test {
namespace {

using velk_upload::Error;
using velk_upload::Library;
using velk_upload::LibraryError;

class BindingFailures : public BindingTest {};

TEST_F(BindingFailures, ThrowTheCodeWithItsAdvice) {
  struct Row {
    const char* name;
    std::vector<Script> scripts;
    std::function<void(Library& library)> call;
    std::int32_t code;
    const char* advice;  // how it begins
  };
  const TempFile large = TempFile::Sparse("large.png", 5'242'881);
  auto gone = Film(clip);
  gone.file = "no/such/file.mp4";
  const Row rows[] = {
      {"privacy after a photo",
       {{.path = "/104000000000001/photos", .passThrough = true}, {.method = "POST", .status = 400}},
       [&](Library& velk) { velk.facebook.UploadPhoto("token", Photo(picture)); },
       VELK_PRIVACY_NOT_UPDATED,
       "Tell the user to set the privacy"},
      {"description",
       {},
       [&](Library& velk) { velk.facebook.Update("token", "1", {.description = "a"}); },
       VELK_TEXT_NOT_UPDATED,
       "Try again."},
      {"message",
       {},
       [&](Library& velk) { velk.facebook.Update("token", "1", {.message = "a"}); },
       VELK_MESSAGE_NOT_UPDATED,
       "Check the object"},
      {"no such URL",
       {},
       [&](Library& velk) { velk.facebook.VideoEmbedUrl("token", "1"); },
       VELK_UNSUPPORTED_GET,
       "Check the identifier"},
      {"an unexpected reply",
       {{.status = 500}},
       [&](Library& velk) { velk.facebook.User("token"); },
       VELK_UNEXPECTED_REPLY,
       "A later try seldom helps."},
      {"an empty title",
       {},
       [&](Library& velk) { velk.youtube.Upload("token", {.file = clip.File()}); },
       VELK_MISSING_ARGUMENT,
       "Correct the call."},
      {"a broken connection",
       {{.reset = true}},
       [&](Library& velk) { velk.facebook.User("token"); },
       VELK_TRANSFER_FAILED,
       "Check network, proxy"},
      {"no identifier",
       {{.body = "{}"}},
       [&](Library& velk) { velk.facebook.Post("token", {.message = "a"}); },
       VELK_NO_IDENTIFIER,
       "It may be published"},
      {"no exchanged token",
       {{.body = "{}"}},
       [&](Library& velk) { velk.facebook.ExchangeToken("app", "secret", "token"); },
       VELK_NO_IDENTIFIER,
       "It may be published"},
      {"an expired token",
       {},
       [&](Library& velk) { velk.facebook.User("expired"); },
       VELK_TOKEN_REJECTED,
       "Sign in again."},
      {"a long list of pages",
       {{.body = "{\"data\":[]}", .bodySize = 11000}},
       [&](Library& velk) { velk.facebook.Pages("token"); },
       VELK_BUFFER_TOO_SMALL,
       "Use the size"},
      {"a forbidden upload",
       {},
       [&](Library& velk) { velk.youtube.Upload("forbidden", Film(clip)); },
       VELK_FORBIDDEN,
       "Check the account's permissions"},
      {"a wrong secret",
       {},
       [&](Library& velk) {
         velk.twitter.Tweet({"ck", "wrong"}, kUser, "a");
       },
       VELK_CREDENTIALS_REFUSED,
       "Sign in again."},
      {"a repeated tweet",
       {},
       [&](Library& velk) {
         velk.twitter.Tweet(kConsumer, kUser, "twice");
         velk.twitter.Tweet(kConsumer, kUser, "twice");
       },
       VELK_DUPLICATE_STATUS,
       "Change the text."},
      {"a photo that is too large",
       {},
       [&](Library& velk) {
         velk.twitter.UploadPhoto(kConsumer, kUser, {large.File(), "a"});
       },
       VELK_TOO_LARGE,
       "Shorten the text"},
      {"an error of the video host",
       {{.times = 0, .status = 500}},
       [&](Library& velk) { velk.facebook.UploadVideo("token", Video(clip)); },
       VELK_SERVER_ERROR,
       "Try again later."},
      {"another status of the PUT",
       {{.method = "PUT", .status = 418}},
       [&](Library& velk) { velk.youtube.Upload("token", Film(clip)); },
       VELK_NO_HANDLE,
       "Try again later."},
      {"no such file",
       {},
       [&](Library& velk) { velk.youtube.Upload("token", gone); },
       VELK_FILE_NOT_OPENED,
       "Check the path"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    sandbox.Reset();
    for (const Script& script : row.scripts) sandbox.Add(script);
    try {
      row.call(library);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const Error& error) {
      EXPECT_EQ(error.Code(), row.code) << error.what();
      EXPECT_TRUE(error.Advice().starts_with(row.advice)) << error.Advice();
      EXPECT_EQ(error.Partial(), row.code > 0);
      const std::string text(error.Name());
      EXPECT_TRUE(text.starts_with("VELK_") &&
                  std::string(error.what()).starts_with(text + " (" + std::to_string(row.code) + "): "))
          << error.what();
    }
  }
}

TEST(BindingResults, NameUnknownCodes) {
  const Error error(-99);
  EXPECT_EQ(error.Code(), -99);
  EXPECT_EQ(error.Name(), "VELK_UNKNOWN");
}

// ---- Libraries ----

#ifdef _WIN32
constexpr const char* kLibrary = "LibVelkUpload.dll";
constexpr const char* kOther = "C:\\windows\\system32\\kernel32.dll";
#else
constexpr const char* kLibrary = "libvelkupload.so.1";
constexpr const char* kOther = "/lib/x86_64-linux-gnu/libm.so.6";
#endif

void ExpectRefused(const std::string& path, const std::string& reason) {
  try {
    const Library library{std::filesystem::path(std::u8string(path.begin(), path.end()))};
    ADD_FAILURE() << path << " was loaded";
  } catch (const LibraryError& error) {
    const std::string message = error.what();
    EXPECT_NE(message.find(path), std::string::npos) << message;
    EXPECT_NE(message.find(reason), std::string::npos) << message;
  }
}

TEST(BindingLibrary, IsMissingOrAnother) {
  const TempFile text(kLibrary, "not a library, but longer than the head of one");
  ExpectRefused(text.Path(), "it is no library for this processor");
  ExpectRefused(kOther, "lacks the function InitFacebookFileUploder: it is another library");
  ExpectRefused(text.Path() + ".gone", ": ");
}

TEST(BindingLibrary, IsForAnotherProcessor) {
  std::ifstream file(velk_upload::detail::OwnFolder() / kLibrary, std::ios::binary);
  std::string content((std::istreambuf_iterator<char>(file)), {});
#ifdef _WIN32
  const std::size_t processor = static_cast<unsigned char>(content.at(0x3C)) + 4U;
#else
  const std::size_t processor = 18;
#endif
  content.at(processor) = '\x4C';
  const TempFile other(kLibrary, content);
  ExpectRefused(other.Path(), "it is no library for this processor");
}

TEST(BindingLibrary, IsLoadedByItsPath) {
  const Library library(velk_upload::detail::OwnFolder() / kLibrary);
  EXPECT_EQ(library.Proxy(), Library().Proxy());
}

}  // namespace
}  // namespace velk::test
