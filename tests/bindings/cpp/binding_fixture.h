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

class BindingTest : public testing::Test {
 protected:
  BindingTest() { library.SetProxy(sandbox.Proxy()); }
  ~BindingTest() override { library.SetProxy(""); }

  // What a service has stored, such as "videos" of "youtube", in order.
  boost::json::array Stored(std::string_view service, std::string_view kind) {
    return sandbox.State().at(service).at(kind).as_array();
  }

  Sandbox sandbox;
  velk_upload::Library library;
};

}  // namespace velk::test
