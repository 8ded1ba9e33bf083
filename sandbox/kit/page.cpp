#include "kit/page.h"

#include <algorithm>

namespace velk::sandbox {
namespace {

std::string TypeOf(std::string_view name) {
  static constexpr struct {
    std::string_view suffix, type;
  } kTypes[] = {
      {".html", "text/html; charset=utf-8"},
      {".css", "text/css; charset=utf-8"},
      {".js", "text/javascript; charset=utf-8"},
      {".svg", "image/svg+xml"},
  };
  const auto found =
      std::ranges::find_if(kTypes, [&](const auto& row) { return name.ends_with(row.suffix); });
  return std::string(found == std::end(kTypes) ? "text/plain; charset=utf-8" : found->type);
}

}  // namespace

std::optional<Reply> FindPage(std::string_view path) {
  const std::string_view name =
      path == "/" ? "index.html" : path.substr(std::min<std::size_t>(1, path.size()));
  const auto file = std::ranges::find(PageFiles(), name, &PageFile::name);
  if (file == PageFiles().end()) return std::nullopt;
  return Reply{.headers = {"Content-Type: " + TypeOf(name)}, .body = std::string(file->content)};
}

}  // namespace velk::sandbox
