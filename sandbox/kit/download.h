// Contents that a browser shows: media of the store, and the bodies of exchanges.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kit/world.h"
#include "net/head.h"
#include "net/stream.h"

namespace velk::sandbox {

// The bytes that a path names: in memory, or in a file of the store.
struct Download {
  std::string bytes = {};
  std::filesystem::path file = {};
  std::uint64_t size = 0;
  std::shared_ptr<const void> owner = {};  // keeps the file
};

// Whether a path names a content, such as /media/NAME, /requests/ID/body, /requests/ID/fields/NUMBER and
// /requests/ID/reply.
bool NamesDownload(std::string_view path);
std::optional<Download> FindDownload(World& world, std::string_view path);

// First and last byte of a range. None: the header requests no range that is known.
struct ByteRange {
  std::uint64_t first, last;
};
// A range that the content does not have is one whose first byte is after its last.
std::optional<ByteRange> ParseRange(std::string_view header, std::uint64_t size);

awaitable<void> ServeDownload(Stream& stream, const Download& download, const Head& head);

}  // namespace velk::sandbox
