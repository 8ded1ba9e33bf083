// The Content-Range header of a piece of an upload.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace velk::sandbox::youtube {

struct ContentRange {
  std::optional<std::uint64_t> first, last;  // none: a question what has arrived ("bytes */10")
  std::optional<std::uint64_t> total;        // none: not known yet ("bytes 0-9/*")
};

std::optional<ContentRange> ParseContentRange(std::string_view value);  // none if it is malformed

}  // namespace velk::sandbox::youtube
