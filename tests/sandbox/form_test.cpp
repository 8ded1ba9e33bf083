// The limits of the sandbox's reader of forms, which no fuzzer reaches with short inputs.
#include <gtest/gtest.h>

#include <string>

#include "kit/journal.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kLargestPartHead = 64 * 1024;  // with the CRLF before it and the empty line after it

std::string FormWithPartHead(std::size_t size) {
  const std::string before = "\r\nX: ";
  return "--b" + before + std::string(size - before.size() - 4, 'x') + "\r\n\r\ncontent\r\n--b--";
}

bool Accepts(const std::string& form, std::size_t pieceSize) try {
  Store store({}, true);
  Head head;
  head.lines = {"Content-Type: multipart/form-data; boundary=b"};
  Intake intake(store, head);
  for (std::size_t at = 0; at < form.size(); at += pieceSize)
    intake.Append(std::string_view(form).substr(at, pieceSize));
  const auto received = intake.Finish();
  return received->fields.size() == 1 && received->fields.front().content.Bytes() == "content";
} catch (const BadRequest&) {
  return false;
}

TEST(SandboxForm, LimitsThePartHeadHoweverItArrives) {
  for (const std::size_t pieceSize : {1U, 1000U, 60'000U, 1'000'000U}) {
    EXPECT_TRUE(Accepts(FormWithPartHead(kLargestPartHead), pieceSize)) << pieceSize;
    EXPECT_FALSE(Accepts(FormWithPartHead(kLargestPartHead + 1), pieceSize)) << pieceSize;
  }
}

}  // namespace
}  // namespace velk::sandbox
