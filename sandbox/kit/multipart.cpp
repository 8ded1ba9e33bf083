// Splits a multipart form into its fields while it arrives, whatever the size of their contents.
#include "kit/multipart.h"

#include <algorithm>

#include "net/head.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kLongestPartHead = 64 * 1024;

// The value of a parameter such as name="photo" behind a header's first semicolon. A quoted value ends with
// the next quote: senders write a quote inside it as %22 and leave backslashes alone.
std::string Parameter(std::string_view header, std::string_view name) {
  while (!header.empty()) {
    header.remove_prefix(std::min(header.find(';'), header.size() - 1) + 1);
    header = Trim(header);
    const std::size_t equals = std::min(header.find('='), header.size());
    const bool wanted = SameName(Trim(header.substr(0, equals)), name);
    header.remove_prefix(std::min(equals + 1, header.size()));
    const bool quoted = header.starts_with('"');
    if (quoted) header.remove_prefix(1);
    const std::size_t end = std::min(header.find(quoted ? '"' : ';'), header.size());
    if (wanted) return std::string(quoted ? header.substr(0, end) : Trim(header.substr(0, end)));
    header.remove_prefix(end);
  }
  return {};
}

std::string_view HeaderValue(std::string_view head, std::string_view name) {
  while (!head.empty()) {
    const std::string_view line = head.substr(0, head.find("\r\n"));
    head.remove_prefix(std::min(line.size() + 2, head.size()));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) throw BadRequest();
    if (SameName(line.substr(0, colon), name)) return Trim(line.substr(colon + 1));
  }
  return {};
}

}  // namespace

std::optional<std::string> FormBoundary(std::string_view contentType) {
  if (!SameName(Trim(contentType.substr(0, contentType.find(';'))), "multipart/form-data"))
    return std::nullopt;
  std::string boundary = Parameter(contentType, "boundary");
  if (boundary.empty() || boundary.size() > 256) throw BadRequest();
  return boundary;
}

MultipartParser::MultipartParser(Store& store, const std::string& boundary)
    : store_(store), delimiter_("\r\n--" + boundary) {}

void MultipartParser::Feed(std::string_view bytes) {
  for (bool more = true; more;) {
    switch (place_) {
      case Place::kContent:
        more = FeedContent(bytes);
        break;
      case Place::kBehindDelimiter:
        more = FeedBehindDelimiter(bytes);
        break;
      case Place::kHeaders:
        more = FeedHeaders(bytes);
        break;
      case Place::kEnd:
        return;
    }
  }
}

// pending_ holds the last bytes seen, fewer than a delimiter's, which may be the start of one.
bool MultipartParser::FeedContent(std::string_view& bytes) {
  if (!pending_.empty()) {
    const std::size_t held = pending_.size();
    pending_ += bytes.substr(0, delimiter_.size());
    const std::size_t at = pending_.find(delimiter_);
    if (at != std::string::npos) {
      Emit(std::string_view(pending_).substr(0, at));
      bytes.remove_prefix(at + delimiter_.size() - held);
      EnterBehindDelimiter();
      return true;
    }
    if (bytes.size() <= delimiter_.size()) {
      const std::size_t judged = pending_.size() - std::min(pending_.size(), delimiter_.size() - 1);
      Emit(std::string_view(pending_).substr(0, judged));
      pending_.erase(0, judged);
      return false;
    }
    Emit(std::string_view(pending_).substr(0, held));
  }
  const std::size_t at = bytes.find(delimiter_);
  if (at != std::string_view::npos) {
    Emit(bytes.substr(0, at));
    bytes.remove_prefix(at + delimiter_.size());
    EnterBehindDelimiter();
    return true;
  }
  const std::size_t judged = bytes.size() - std::min(bytes.size(), delimiter_.size() - 1);
  Emit(bytes.substr(0, judged));
  pending_ = bytes.substr(judged);
  return false;
}

void MultipartParser::EnterBehindDelimiter() {
  pending_.clear();
  place_ = Place::kBehindDelimiter;
  if (!parts_.empty()) parts_.back().content.Finish();
}

bool MultipartParser::FeedBehindDelimiter(std::string_view& bytes) {
  const std::size_t taken = std::min<std::size_t>(2 - pending_.size(), bytes.size());
  pending_ += bytes.substr(0, taken);
  bytes.remove_prefix(taken);
  if (pending_.size() < 2) return false;
  if (pending_ != "\r\n" && pending_ != "--") throw BadRequest();
  place_ = pending_ == "--" ? Place::kEnd : Place::kHeaders;
  // A part may have no header at all, so its head's empty line can follow at once.
  if (place_ == Place::kEnd) pending_.clear();
  return true;
}

bool MultipartParser::FeedHeaders(std::string_view& bytes) {
  const std::size_t before = pending_.size();
  pending_ += bytes.substr(0, kLongestPartHead);
  const std::size_t end = pending_.find("\r\n\r\n", before < 3 ? 0 : before - 3);
  if (end == std::string::npos) {
    if (pending_.size() > kLongestPartHead) throw BadRequest();
    bytes = {};
    return false;
  }
  bytes.remove_prefix(end + 4 - before);
  const std::string head = pending_.substr(2, end < 2 ? 0 : end - 2);
  pending_.clear();
  place_ = Place::kContent;
  const std::string_view disposition = HeaderValue(head, "Content-Disposition");
  parts_.push_back({Parameter(disposition, "name"), Parameter(disposition, "filename"),
                    std::string(HeaderValue(head, "Content-Type")), Content(store_, store_.LargeContents())});
  return true;
}

void MultipartParser::Emit(std::string_view content) {
  if (!parts_.empty() && !content.empty()) parts_.back().content.Append(content);
}

}  // namespace velk::sandbox
