// Every signature has a nonce of its own, even on threads and in processes that start simultaneously.
#include <boost/process/args.hpp>
#include <boost/process/child.hpp>
#include <fstream>
#include <regex>
#include <set>

#include "support/twitter_fixture.h"

namespace velk::test {
namespace {

namespace fs = std::filesystem;

constexpr int kSignatures = 8;

class TwitterNonces : public TwitterTest {
 protected:
  void Tweet(int number) {
    const std::string text = "tweet " + std::to_string(number);
    EXPECT_EQ(PostTwitterComment(&consumer, &token, text.c_str(), ""), VELK_OK);
  }

  void ExpectAllDifferent() {
    std::set<std::string> nonces;
    for (const Request& request : sandbox.Requests()) {
      const std::string header = request.Header("Authorization");
      std::smatch found;
      ASSERT_TRUE(std::regex_search(header, found, std::regex("oauth_nonce=\"([A-Za-z0-9]{32})\"")))
          << header;
      nonces.insert(found[1]);
    }
    EXPECT_EQ(nonces.size(), size_t{kSignatures});
    ExpectVerified(kSignatures);
  }
};

TEST_F(TwitterNonces, DifferOnSuccessiveThreads) {
  for (int number = 0; number < kSignatures; ++number) std::thread([=, this] { Tweet(number); }).join();
  ExpectAllDifferent();
}

TEST_F(TwitterNonces, DifferInConcurrentProcesses) {
  const TempFile anchor("anchor", "");
  const fs::path folder = anchor.File().parent_path();
  const auto ready = [&](int number) { return folder / ("ready-" + std::to_string(number)); };
  std::vector<boost::process::child> processes;
  for (int number = 0; number < kSignatures; ++number) {
    processes.emplace_back(VELK_TWEET_AT_A_SIGN, ready(number).string(), (folder / "sign").string(),
                           "tweet " + std::to_string(number));
  }
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  for (int number = 0; number < kSignatures && std::chrono::steady_clock::now() < end;)
    fs::exists(ready(number)) ? void(++number) : std::this_thread::sleep_for(std::chrono::milliseconds(1));
  std::ofstream(folder / "sign").put('.');
  for (boost::process::child& process : processes) {
    process.wait();
    EXPECT_EQ(process.exit_code(), 0);
  }
  ExpectAllDifferent();
}

}  // namespace
}  // namespace velk::test
