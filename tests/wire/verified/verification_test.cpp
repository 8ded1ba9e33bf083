// The library built with certificate verification. It sends no request to a service without a trusted
// certificate.
#include <curl/curl.h>

#include <algorithm>
#include <cstdarg>
#include <optional>
#include <utility>

#include "support/host.h"
#include "support/service_fixture.h"
#include "twitter/twitter.h"

// The linker redirects the library's calls to the wrappers. An enumeration cannot be the last parameter
// before others.
extern "C" {
CURL* __real_curl_easy_init();
CURL* __wrap_curl_easy_init();
CURLcode __real_curl_easy_setopt(CURL* handle, int option, ...);
CURLcode __wrap_curl_easy_setopt(CURL* handle, int option, ...);
}

namespace velk::test {
namespace {

std::string trustedFile;  // trusted certificates; empty: the system's

// The most recent values of the verification options.
std::optional<long> verifyPeer;
std::optional<long> verifyHost;

class Verification : public ServiceTest {
 protected:
  ~Verification() override { trustedFile.clear(); }

  // Every call, and a request that a photo tweet sends for some replies only.
  std::vector<Call> RequestsOfAllKinds() {
    std::vector<Call> calls(Calls().begin(), Calls().end());
    calls.push_back({"TwitterMediaStatus", [](Host& sender) {
                       return twitter::TwitterMediaStatus(Connections(), &sender.consumer, &sender.user, "7");
                     }});
    return calls;
  }

  TempFile photo{"photo.png", Png("content")};
  Host host{photo.Path()};
};

TEST_F(Verification, IsEnabledForEveryRequest) {
  for (const Call& call : RequestsOfAllKinds()) {
    SCOPED_TRACE(call.name);
    verifyPeer.reset();
    verifyHost.reset();
    call.run(host);
    EXPECT_EQ(verifyPeer, 1);
    EXPECT_EQ(verifyHost, 2);
  }
}

#ifndef _WIN32  // Wine 8 does not verify chains: there, only the options above can be tested

TEST_F(Verification, RejectsAnUntrustedCertificate) {
  constexpr std::pair<std::string_view, int32_t> kOwnCodes[] = {
      {"SetFacebookUpdateInfo message", VELK_MESSAGE_NOT_UPDATED},
      {"SetFacebookUpdateInfo privacy and message", VELK_PRIVACY_NOT_UPDATED},
      {"SetFacebookUpdateInfo description", VELK_TEXT_NOT_UPDATED},
      {"StartTwitterUploadPhoto", VELK_UNEXPECTED_REPLY},
  };
  for (const Call& call : RequestsOfAllKinds()) {
    SCOPED_TRACE(call.name);
    const auto own = std::ranges::find(kOwnCodes, std::string_view(call.name),
                                       &std::pair<std::string_view, int32_t>::first);
    EXPECT_EQ(call.run(host), own == std::end(kOwnCodes) ? VELK_TRANSFER_FAILED : own->second);
    EXPECT_TRUE(sandbox.Requests().empty());
  }
}

TEST_F(Verification, AcceptsOnlyATrustedCertificate) {
  const TempFile authority("ca.pem", sandbox.Certificate());
  trustedFile = authority.Path();
  sandbox.Add(
      {.times = 0, .body = R"({"id":"1","link":"l","media_id_string":"7","processing_info":{"state":"x"}})"});
  EXPECT_EQ(CallNamed("GetFacebookPhotoUrl").run(host), VELK_OK);
  EXPECT_EQ(CallNamed("StartTwitterUploadPhoto").run(host), VELK_OK) << "including the status query";
  EXPECT_EQ(CallNamed("SetYoutubeUploadFileUpdateInfo").run(host), VELK_OK);
  EXPECT_EQ(sandbox.Requests().size(), 7U);

  sandbox.Reset();
  sandbox.Add({.certificateName = "graph.facebook.com"});
  EXPECT_EQ(CallNamed("GetFacebookPhotoUrl").run(host), VELK_TRANSFER_FAILED)
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

CURLcode __wrap_curl_easy_setopt(CURL* handle, int option, ...) {
  va_list arguments;
  va_start(arguments, option);
  CURLcode outcome = CURLE_OK;
  if (option < CURLOPTTYPE_OBJECTPOINT) {
    const long value = va_arg(arguments, long);
    if (option == CURLOPT_SSL_VERIFYPEER) velk::test::verifyPeer = value;
    if (option == CURLOPT_SSL_VERIFYHOST) velk::test::verifyHost = value;
    outcome = __real_curl_easy_setopt(handle, option, value);
  } else if (option < CURLOPTTYPE_OFF_T) {  // NOLINT(bugprone-branch-clone): the types differ
    outcome = __real_curl_easy_setopt(handle, option, va_arg(arguments, void*));
  } else {
    outcome = __real_curl_easy_setopt(handle, option, va_arg(arguments, curl_off_t));
  }
  va_end(arguments);
  return outcome;
}
