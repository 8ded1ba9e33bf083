// The common fixture of the tests of the C++ binding: a clean sandbox, which the library uses as its proxy.
#pragma once

#include <gtest/gtest.h>

#include <boost/json.hpp>
#include <string>
#include <string_view>

#include "support/files.h"
#include "support/sandbox.h"
#include "velk_upload.hpp"

namespace velk::test {

inline const velk_upload::Consumer kConsumer{"ck", "ck-secret"};
inline const velk_upload::TwitterUser kUser{"7-tk", "7-tk-secret", "7", "velk"};
constexpr const char* kPage = "104000000000001";

// A member of something stored; what is no string, as JSON.
inline std::string Text(const boost::json::value& object, std::string_view member) {
  const boost::json::value& value = object.at(member);
  return value.is_string() ? std::string(value.as_string()) : boost::json::serialize(value);
}

class BindingTest : public testing::Test {
 protected:
  BindingTest() { library.SetProxy(sandbox.Proxy()); }
  ~BindingTest() override { library.SetProxy(""); }

  // What a service has stored, such as "videos" of "youtube", in order.
  boost::json::array Stored(std::string_view service, std::string_view kind) {
    return sandbox.State().at(service).at(kind).as_array();
  }

  velk_upload::FacebookVideo Video(const TempFile& file) const {
    return {
        .file = file.File(), .title = "Bars", .description = "A test", .privacy = "SELF", .target = kPage};
  }
  velk_upload::FacebookPhoto Photo(const TempFile& file) const {
    return {.file = file.File(), .message = "A gradient", .privacy = "SELF", .target = kPage};
  }
  velk_upload::YoutubeVideo Film(const TempFile& file) const {
    return {.file = file.File(), .title = "Bars", .description = "A test", .tags = {"bars", "test"}};
  }

  Sandbox sandbox;
  velk_upload::Library library;
  TempFile picture{"photo.png", Png("not much of a picture")};
  TempFile clip{"clip.mp4", "not much of a video"};
};

}  // namespace velk::test
