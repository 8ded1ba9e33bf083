// What every test of a service starts from: a clean sandbox, and the library's proxy pointed at it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/sandbox.h"
#include "velk_upload.h"

namespace velk::test {

class ServiceTest : public testing::Test {
 protected:
  ServiceTest() { SetLibVelkUploadProxy(sandbox.Proxy().c_str()); }
  ~ServiceTest() override { SetLibVelkUploadProxy(""); }

  Sandbox sandbox;
};

// A proxy address that refuses every connection.
constexpr const char* kRefusingProxy = "http://127.0.0.1:1";

// Fills a record's field; text that does not fit would be a mistake of the test.
template <size_t width>
void Fill(char (&field)[width], const std::string& text) {
  ASSERT_LE(text.size(), width);
  std::fill(std::begin(field), std::end(field), '\0');
  text.copy(field, width);
}

// Whether the file can be deleted now: on Windows an open file cannot.
inline bool Deletable(const TempFile& file) {
  const std::u8string path(reinterpret_cast<const char8_t*>(file.Path().c_str()));
  std::error_code failure;
  return std::filesystem::remove(std::filesystem::path(path), failure);
}

}  // namespace velk::test
