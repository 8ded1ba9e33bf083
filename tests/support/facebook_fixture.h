// The common fixture of the Facebook tests: a filled record, a small file and a handle.
#pragma once

#include <iterator>
#include <string>
#include <vector>

#include "support/service_fixture.h"

namespace velk::test {

constexpr const char* kRejectedToken =
    R"({"error":{"message":"Error validating access token: Session has expired","type":"OAuthException"}})";

inline std::string Repeat(char c, size_t count) { return std::string(count, c); }

class FacebookTest : public ServiceTest {
 protected:
  FacebookTest() {
    Fill(info.targetId, "104000000000001");
    Fill(info.filePath, file.Path());
    Fill(info.title, "a");
    Fill(info.description, "about a");
    Fill(info.privacy, "SELF");
    Fill(text, kUntouched);
  }
  ~FacebookTest() override {
    uploader->state = 0;  // a completed upload leaves its handle busy
    EXPECT_EQ(UninitFacebookFileUploder(uploader), VELK_OK);
  }

  // Returns the requests that reached the services, each as "METHOD host/path". The body of a small form
  // follows after a space.
  std::vector<std::string> Arrived() {
    std::vector<std::string> lines;
    for (const Request& request : sandbox.Requests()) {
      const bool form = request.fields.empty() && !request.body.empty();
      lines.push_back(request.method + ' ' + request.host + request.Path() +
                      (form ? ' ' + request.body : ""));
    }
    return lines;
  }

  TempFile file{"clip.mp4", "not much of a video"};
  FileUploader* uploader = InitFacebookFileUploder();
  FacebookUploadInfo info{};
  char text[1025] = "";  // a call's output buffer of 1024 bytes, and one byte after it
};

}  // namespace velk::test
