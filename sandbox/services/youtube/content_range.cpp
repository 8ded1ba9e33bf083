#include "services/youtube/content_range.h"

#include <limits>

#include "net/text.h"

namespace velk::sandbox::youtube {

namespace {

constexpr std::uint64_t kLimit = std::numeric_limits<std::uint64_t>::max();  // a size must be a number, too

}  // namespace

std::optional<ContentRange> ParseContentRange(std::string_view value) {
  static constexpr std::string_view kUnit = "bytes ";
  const std::size_t slash = value.find('/');
  if (!SameName(value.substr(0, kUnit.size()), kUnit) || slash == std::string_view::npos) return std::nullopt;
  const std::string_view range = Trim(value.substr(kUnit.size(), slash - kUnit.size()));
  const std::string_view size = Trim(value.substr(slash + 1));
  ContentRange parsed;
  if (size != "*" && !(parsed.total = ToNumber(size))) return std::nullopt;
  if (range == "*") return parsed;
  parsed.first = ToNumber(range.substr(0, range.find('-')));
  parsed.last =
      range.find('-') == std::string_view::npos ? std::nullopt : ToNumber(range.substr(range.find('-') + 1));
  const bool ordered = parsed.first && parsed.last && *parsed.first <= *parsed.last && *parsed.last < kLimit;
  if (!ordered || (parsed.total && *parsed.last >= *parsed.total)) return std::nullopt;
  return parsed;
}

}  // namespace velk::sandbox::youtube
