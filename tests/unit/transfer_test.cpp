// When a transfer sends its request a second time.
#include "core/transfer.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <vector>

// The linker redirects the library's calls to these functions, so nothing is sent. An enumeration cannot be
// the last parameter before others.
extern "C" {
CURLcode __wrap_curl_easy_perform(CURL* handle);
CURLcode __wrap_curl_easy_getinfo(CURL* handle, int info, ...);
}

namespace velk {
namespace {

// What libcurl reports after an attempt.
struct Attempt {
  CURLcode outcome;
  long openedConnections;
  long headerBytes;
};

std::vector<Attempt> coming;
Attempt lastAttempt{};

TEST(Transfer, RepeatsOnlyWhatWasNotSentOverAKeptConnection) {
  const Attempt died{CURLE_SEND_ERROR, 0, 0};
  const Attempt accepted{CURLE_OK, 1, 100};
  struct Row {
    const char* name;
    bool keepsConnection;
    std::vector<Attempt> attempts;  // as many as a transfer could make
    CURLcode reported;
    size_t notMade;
  };
  const Row rows[] = {
      {"kept connection", true, {died, accepted}, CURLE_OK, 0},
      {"both attempts fail", true, {died, died, accepted}, CURLE_SEND_ERROR, 1},
      {"no connections of the call", false, {died, accepted}, CURLE_SEND_ERROR, 1},
      {"new connection", true, {{CURLE_SEND_ERROR, 1, 0}, accepted}, CURLE_SEND_ERROR, 1},
      {"reply started", true, {{CURLE_SEND_ERROR, 0, 17}, accepted}, CURLE_SEND_ERROR, 1},
      {"sent", true, {{CURLE_RECV_ERROR, 0, 0}, accepted}, CURLE_RECV_ERROR, 1},
      {"success", true, {{CURLE_OK, 0, 100}, accepted}, CURLE_OK, 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Connections connections;
    coming = row.attempts;
    Transfer transfer({.connections = row.keepsConnection ? &connections : nullptr});
    EXPECT_EQ(transfer.Url("https://h/").Perform(), row.reported);
    EXPECT_EQ(coming.size(), row.notMade);
  }
}

}  // namespace
}  // namespace velk

CURLcode __wrap_curl_easy_perform(CURL*) {
  velk::lastAttempt = velk::coming.at(0);
  velk::coming.erase(velk::coming.begin());
  return velk::lastAttempt.outcome;
}

CURLcode __wrap_curl_easy_getinfo(CURL*, int info, ...) {
  va_list arguments;
  va_start(arguments, info);
  *va_arg(arguments, long*) =
      info == CURLINFO_NUM_CONNECTS ? velk::lastAttempt.openedConnections : velk::lastAttempt.headerBytes;
  va_end(arguments);
  return CURLE_OK;
}
