// Codes of a later version, and libraries that cannot be used.
#include <fstream>
#include <iterator>

#include "binding_fixture.h"

namespace velk::test {
namespace {

using velk_upload::Error;
using velk_upload::Library;
using velk_upload::LibraryError;

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

// ---- Tokens ----

using BindingTokens = BindingTest;

TEST_F(BindingTokens, AreRememberedByEveryObject) {
  EXPECT_TRUE(library.facebook.CheckToken("app", "of two objects"));
  EXPECT_TRUE(Library().facebook.CheckToken("app", "of two objects"));
  EXPECT_EQ(sandbox.Requests().size(), 1U);
}

}  // namespace
}  // namespace velk::test
