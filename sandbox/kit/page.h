// The files of the page that the control URL serves. The build puts them into the program.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "kit/reply.h"

namespace velk::sandbox {

struct PageFile {
  std::string_view name, content;
};
std::span<const PageFile> PageFiles();

// None: no file has the path. "/" is index.html.
std::optional<Reply> FindPage(std::string_view path);

}  // namespace velk::sandbox
