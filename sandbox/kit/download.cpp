#include "kit/download.h"

#include <algorithm>
#include <fstream>
#include <vector>

#include "kit/control_reply.h"
#include "kit/media_type.h"
#include "net/files.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kMedia = "/media/";
constexpr std::string_view kRequests = "/requests/";
constexpr std::size_t kPiece = 128 * 1024;

std::vector<std::string> Segments(std::string_view path) { return Split(path, '/'); }

Download FromContent(const Content& content, std::shared_ptr<const void> owner) {
  if (content.InMemory()) return {.bytes = content.Bytes(), .size = content.Size()};
  return {.file = FromUtf8(content.File()), .size = content.Size(), .owner = std::move(owner)};
}

std::optional<Download> FromStore(Store& store, std::string_view name) {
  Download download{.file = store.Find(name)};
  std::error_code failed;
  if (!download.file.empty()) download.size = fs::file_size(download.file, failed);
  if (download.file.empty() || failed) return std::nullopt;
  return download;
}

std::optional<Download> FromExchange(const Entry& entry, const std::vector<std::string>& segments) {
  const Progress progress = entry.Snapshot();
  const std::string& part = segments[2];
  if (part == "reply" && segments.size() == 3 && progress.reply.body)
    return FromContent(*progress.reply.body, progress.reply.body);
  if (!progress.received) return std::nullopt;
  if (part == "body" && segments.size() == 3) return FromContent(progress.received->body, progress.received);
  const std::vector<FormPart>& fields = progress.received->fields;
  const auto number = segments.size() == 4 ? ToNumber(segments[3]).value_or(fields.size()) : fields.size();
  if (part != "fields" || number >= fields.size()) return std::nullopt;
  return FromContent(fields[static_cast<std::size_t>(number)].content, progress.received);
}

// The file is open only for as long as a piece takes: an open one could not be removed on Windows.
std::string ReadPiece(const Download& download, std::uint64_t offset, std::size_t size) {
  if (download.file.empty()) return download.bytes.substr(static_cast<std::size_t>(offset), size);
  std::string piece(size, '\0');
  std::ifstream file(download.file, std::ios::binary);
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(piece.data(), static_cast<std::streamsize>(size));
  piece.resize(static_cast<std::size_t>(file.gcount()));
  return piece;
}

Reply HeadOf(std::string_view type, std::uint64_t size, const std::optional<ByteRange>& range) {
  Reply reply{.headers = {"Content-Type: " + std::string(type.empty() ? "application/octet-stream" : type),
                          "Accept-Ranges: bytes"}};
  const std::string total = std::to_string(size);
  if (!range) {
    reply.headers.push_back("Content-Length: " + total);
  } else if (range->first > range->last) {
    reply.status = 416;
    reply.headers.push_back("Content-Range: bytes */" + total);
  } else {
    reply.status = 206;
    reply.headers.push_back("Content-Length: " + std::to_string(range->last - range->first + 1));
    reply.headers.push_back("Content-Range: bytes " + std::to_string(range->first) + '-' +
                            std::to_string(range->last) + '/' + total);
  }
  return reply;
}

}  // namespace

bool NamesDownload(std::string_view path) {
  return path.starts_with(kMedia) || (path.starts_with(kRequests) && Segments(path).size() > 2);
}

std::optional<Download> FindDownload(World& world, std::string_view path) {
  if (path.starts_with(kMedia))
    return FromStore(world.store, PercentDecode(path.substr(kMedia.size()), false));
  const std::vector<std::string> segments = Segments(path);
  const auto entry = world.journal.Find(ToNumber(segments[1]).value_or(0));
  if (!entry) return std::nullopt;
  auto download = FromExchange(*entry, segments);
  // Of a large content, only size and hash can be known.
  const bool isKnown = download && (!download->file.empty() || download->bytes.size() == download->size);
  return isKnown ? download : std::nullopt;
}

std::optional<ByteRange> ParseRange(std::string_view header, std::uint64_t size) {
  static constexpr std::string_view kUnit = "bytes=";
  if (!header.starts_with(kUnit)) return std::nullopt;
  header.remove_prefix(kUnit.size());
  const std::size_t dash = header.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto first = ToNumber(header.substr(0, dash));
  const auto last = ToNumber(header.substr(dash + 1));
  constexpr ByteRange kNone{1, 0};
  if (dash == 0) {
    if (!last) return std::nullopt;
    return size == 0 || *last == 0 ? kNone : ByteRange{size - std::min(*last, size), size - 1};
  }
  if (!first || (!last && dash + 1 < header.size()) || (last && *last < *first)) return std::nullopt;
  if (*first >= size) return kNone;
  return ByteRange{*first, std::min(last.value_or(size - 1), size - 1)};
}

awaitable<void> ServeDownload(Stream& stream, const Download& download, const Head& head) {
  const auto range = ParseRange(head.Header("Range"), download.size);
  const Reply reply = Hardened(HeadOf(MediaType(ReadPiece(download, 0, 16)), download.size, range));
  const std::string text = SerializeHead(reply, false);
  co_await stream.Write(text);
  if (reply.status == 416) co_return;
  std::uint64_t offset = range ? range->first : 0;
  const std::uint64_t end = range ? range->last + 1 : download.size;
  while (offset < end) {
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(end - offset, kPiece));
    const std::string piece = ReadPiece(download, offset, size);
    if (piece.empty()) EndConnection();  // the file is gone
    co_await stream.Write(piece);
    offset += piece.size();
  }
}

}  // namespace velk::sandbox
