// A host application: filled records, buffers for every output, and every call that sends a request.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "support/records.h"

namespace velk::test {

struct Host {
  // Every upload sends this file.
  explicit Host(const std::string& filePath);

  std::string accessToken = "token";  // of Facebook and YouTube
  std::string objectId = "1_2";       // what a Facebook call reads or changes
  FileUploader uploader{};
  FacebookUploadInfo post{};
  YoutubeUploadInfo video{};
  TwitterConsumer consumer{"ck", "ck-secret"};
  TwitterAccessToken user{"7-tk", "7-tk-secret", "7", "velk"};
  TwitterAccessRequest signIn{"ck", "ck-secret", "request", "1234567"};
  TwitterUploadFile tweet{};

  // Outputs, with values that no call writes.
  char text[2048] = "untouched";  // a token, name, identifier or URL
  char email[1024] = "untouched";
  uint32_t length = 77;
  uint32_t lifetime = 88;
  uint32_t valid = 99;
  FacebookPage* pages = nullptr;
  int32_t pageCount = -7;
  TwitterAccessToken signedIn{};
};

struct Call {
  const char* name;  // of the export; an update is followed by what it changes
  int32_t (*run)(Host& host);
  bool isSigned = false;

  bool IsOf(std::string_view service) const {
    return std::string_view(name).find(service) != std::string_view::npos;
  }
};

std::span<const Call> Calls();
// Throws std::out_of_range for an unknown name.
const Call& CallNamed(std::string_view name);

}  // namespace velk::test
