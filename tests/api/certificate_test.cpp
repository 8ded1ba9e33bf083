// What the default build makes of certificates: none is verified.
#include "api/service_test.h"

namespace velk::test {
namespace {

class Certificates : public ServiceTest {};

// Where the name in a certificate is compared at all, that is OpenSSL's doing: Schannel compares it only together with
// the chain.
TEST_F(Certificates, OfAnotherHostAreRefusedOnLinuxAlone) {
#ifdef _WIN32
  constexpr int32_t kResult = VELK_OK;
#else
  constexpr int32_t kResult = VELK_TRANSFER_FAILED;
#endif
  char url[1024] = "";
  const int script = sandbox.Add({.certificateName = "other.example"});
  sandbox.Add({.body = R"({"link":"l"})"});
  EXPECT_EQ(GetFacebookPhotoUrl("token", "1", url, nullptr), kResult);
  EXPECT_EQ(sandbox.FiredFaults(script), std::vector<std::string>{"certificateName"});
  EXPECT_EQ(sandbox.Requests().size(), kResult == VELK_OK ? 1U : 0U);
}

}  // namespace
}  // namespace velk::test
