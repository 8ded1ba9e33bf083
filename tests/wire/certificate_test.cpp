// How the default build treats certificates: it verifies no chain, and compares the host name on Linux only.
#include "support/service_fixture.h"

namespace velk::test {
namespace {

class Certificates : public ServiceTest {};

// OpenSSL can compare the name in a certificate by itself. Schannel compares it only together with the chain.
TEST_F(Certificates, ForAnotherHostAreRejectedOnLinuxOnly) {
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
