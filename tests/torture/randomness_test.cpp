// Without random numbers, a signed call fails and sends nothing. Also contains main(), which installs the
// hooks.
#include "torture/fixture.h"

namespace velk::test {
namespace {

class Randomness : public AllocationTest {};

TEST_F(Randomness, IsRequiredForEverySignature) {
  const NoRandomness none;
  for (const Operation& operation : Exports()) {
    if (!operation.isSigned) continue;
    sandbox.Reset();
    EXPECT_EQ(operation.call(), VELK_OUT_OF_MEMORY) << operation.name;
    EXPECT_TRUE(sandbox.Requests().empty()) << operation.name;
  }
}

}  // namespace
}  // namespace velk::test

int main(int argc, char** argv) {
  velk::test::InstallHooks();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
