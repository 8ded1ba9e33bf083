// One of several processes that sign requests simultaneously. It creates READY-FILE once the library is
// loaded, waits for SIGN-FILE to appear, and posts a tweet. Returns 0 when the tweet was posted. Usage:
// tweet_at_a_sign READY-FILE SIGN-FILE TEXT
#include <velk_upload.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

int main(int, char** arguments) {
  SetLibVelkUploadProxy(std::getenv("VELK_SANDBOX_PROXY"));
  std::ofstream(arguments[1]).put('.');
  while (!std::filesystem::exists(arguments[2])) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const TwitterConsumer consumer{"ck", "ck-secret"};
  const TwitterAccessToken token{"7-tk", "7-tk-secret", "7", "velk"};
  return PostTwitterComment(&consumer, &token, arguments[3], "") == VELK_OK ? 0 : 1;
}
