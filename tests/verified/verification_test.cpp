// The library built with certificate verification. It sends no request to a service without a trusted
// certificate.
#include <curl/curl.h>

#include <cstdarg>
#include <fstream>
#include <optional>

#include "api/every_service_test.h"
#include "twitter/twitter.h"

// The linker redirects the library's calls to the wrappers.
extern "C" {
CURL* __real_curl_easy_init();
CURL* __wrap_curl_easy_init();
CURLcode __real_curl_easy_setopt(CURL* handle, CURLoption option, ...);
CURLcode __wrap_curl_easy_setopt(CURL* handle, CURLoption option, ...);
}

namespace velk::test {
namespace {

std::string trustedFile;  // trusted certificates; empty: the system's

// The most recent values of the verification options.
std::optional<long> verifyPeer;
std::optional<long> verifyHost;

struct Call {
  const char* name;
  int32_t refused;  // its result when the exchange fails
  std::function<int32_t()> run;
};

class Verification : public EveryServiceTest {
 protected:
  Verification() : EveryServiceTest("content") {
    for (char* field : {access.consumerKey, access.consumerSecret, access.requestToken, access.verifier})
      *field = 'x';
  }
  ~Verification() override { trustedFile.clear(); }

  const std::vector<Call> calls = {
      {"token exchange", VELK_TRANSFER_FAILED,
       [this] { return ExangeFacebookAccessToken("a", "s", "t", text, &number, &number); }},
      {"token check", VELK_TRANSFER_FAILED,
       [this] { return CheckFacebookAccessTokenValid("a", "t", &number); }},
      {"name", VELK_TRANSFER_FAILED,
       [this] { return GetFacebookUserNameEmail("t", text, nullptr, text, nullptr); }},
      {"pages", VELK_TRANSFER_FAILED, [this] { return GetFacebookUserPagesList("t", nullptr, &count); }},
      {"video", VELK_TRANSFER_FAILED,
       [this] { return StartFacebookUploadVideo(&uploader, "t", &post, text); }},
      {"photo", VELK_TRANSFER_FAILED,
       [this] { return StartFacebookUploadPhoto(&uploader, "t", &post, text); }},
      {"post", VELK_TRANSFER_FAILED, [this] { return PostFacebookComment("t", &post, text); }},
      {"message", VELK_MESSAGE_NOT_UPDATED, [this] { return Update(0, "104"); }},
      {"privacy", VELK_PRIVACY_NOT_UPDATED, [this] { return Update(1, "104"); }},
      {"description", VELK_TEXT_NOT_UPDATED, [this] { return Update(2, "104"); }},
      {"photo URL", VELK_TRANSFER_FAILED, [this] { return GetFacebookPhotoUrl("t", "104", text, nullptr); }},
      {"embed URL", VELK_TRANSFER_FAILED,
       [this] { return GetFacebookVideoEmbedUrl("t", "104", text, nullptr); }},
      {"sign-in", VELK_TRANSFER_FAILED,
       [this] { return GetTwitterOauthUrl("c", "c-secret", nullptr, text); }},
      {"access token", VELK_TRANSFER_FAILED, [this] { return GetTwitterAccessToken(&access, &token); }},
      {"tweet", VELK_TRANSFER_FAILED, [this] { return PostTwitterComment(&consumer, &token, "text", ""); }},
      {"photo tweet", VELK_UNEXPECTED_REPLY,
       [this] { return StartTwitterUploadPhoto(&uploader, &consumer, &token, &tweet); }},
      {"status query", VELK_TRANSFER_FAILED,
       [this] { return twitter::TwitterMediaStatus(Connections(), &consumer, &token, "7"); }},
      {"YouTube video", VELK_TRANSFER_FAILED,
       [this] { return StartYoutubeUploadFile(&uploader, "t", &video, text); }},
      {"YouTube update", VELK_TRANSFER_FAILED,
       [this] { return SetYoutubeUploadFileUpdateInfo("t", "v", &video); }},
  };

  TwitterAccessRequest access{};
  uint32_t number = 0;
  int32_t count = 0;
};

TEST_F(Verification, IsEnabledForEveryRequest) {
  for (const Call& call : calls) {
    SCOPED_TRACE(call.name);
    verifyPeer.reset();
    verifyHost.reset();
    call.run();
    EXPECT_EQ(verifyPeer, 1);
    EXPECT_EQ(verifyHost, 2);
  }
}

#ifndef _WIN32  // Wine 8 does not verify chains: there, only the options above can be tested

TEST_F(Verification, RejectsAnUntrustedCertificate) {
  for (const Call& call : calls) {
    SCOPED_TRACE(call.name);
    EXPECT_EQ(call.run(), call.refused);
    EXPECT_TRUE(sandbox.Requests().empty());
  }
}

TEST_F(Verification, AcceptsOnlyATrustedCertificate) {
  const TempFile authority("ca.pem", sandbox.Certificate());
  trustedFile = authority.Path();
  sandbox.Add(
      {.times = 0, .body = R"({"id":"1","link":"l","media_id_string":"7","processing_info":{"state":"x"}})"});
  EXPECT_EQ(GetFacebookPhotoUrl("t", "104", text, nullptr), VELK_OK);
  EXPECT_EQ(StartTwitterUploadPhoto(&uploader, &consumer, &token, &tweet), VELK_OK)
      << "including the status query";
  EXPECT_EQ(SetYoutubeUploadFileUpdateInfo("t", "v", &video), VELK_OK);
  EXPECT_EQ(sandbox.Requests().size(), 7U);

  sandbox.Reset();
  sandbox.Add({.certificateName = "graph.facebook.com"});
  EXPECT_EQ(GetFacebookPhotoUrl("t", "104", text, nullptr), VELK_TRANSFER_FAILED)
      << "matching name, but not trusted";
  EXPECT_TRUE(sandbox.Requests().empty());
}

#endif

}  // namespace
}  // namespace velk::test

CURL* __wrap_curl_easy_init() {
  CURL* const handle = __real_curl_easy_init();
  const std::string& trusted = velk::test::trustedFile;
  if (handle && !trusted.empty()) __real_curl_easy_setopt(handle, CURLOPT_CAINFO, trusted.c_str());
  return handle;
}

CURLcode __wrap_curl_easy_setopt(CURL* handle, CURLoption option, ...) {
  va_list arguments;
  va_start(arguments, option);
  CURLcode outcome = CURLE_OK;
  if (option < CURLOPTTYPE_OBJECTPOINT) {
    const long value = va_arg(arguments, long);
    if (option == CURLOPT_SSL_VERIFYPEER) velk::test::verifyPeer = value;
    if (option == CURLOPT_SSL_VERIFYHOST) velk::test::verifyHost = value;
    outcome = __real_curl_easy_setopt(handle, option, value);
  } else if (option < CURLOPTTYPE_OFF_T) {
    outcome = __real_curl_easy_setopt(handle, option, va_arg(arguments, void*));
  } else {
    outcome = __real_curl_easy_setopt(handle, option, va_arg(arguments, curl_off_t));
  }
  va_end(arguments);
  return outcome;
}
