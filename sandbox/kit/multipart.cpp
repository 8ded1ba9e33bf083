// Splits a multipart body into its parts while it arrives, so that a part can be larger than memory.
#include "kit/multipart.h"

#include <algorithm>

#include "net/head.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kMaxPartHeadSize = 64 * 1024;
constexpr std::size_t kMaxPadding = 1000;  // after a delimiter
constexpr std::size_t kMaxParts = 1000;    // a part needs more memory than its bytes in the request

// The value of a parameter such as name="photo", which follows the first semicolon of a header. A quoted
// value ends at the next quote, because clients send an inner quote as %22 and do not escape backslashes.
std::string HeaderParameter(std::string_view header, std::string_view name) {
  while (!header.empty()) {
    header.remove_prefix(std::min(header.find(';'), header.size() - 1) + 1);
    header = Trim(header);
    const std::size_t equals = std::min(header.find('='), header.size());
    const bool matches = SameName(Trim(header.substr(0, equals)), name);
    header.remove_prefix(std::min(equals + 1, header.size()));
    const bool quoted = header.starts_with('"');
    if (quoted) header.remove_prefix(1);
    const std::size_t end = std::min(header.find(quoted ? '"' : ';'), header.size());
    if (matches) return std::string(quoted ? header.substr(0, end) : Trim(header.substr(0, end)));
    header.remove_prefix(end);
  }
  return {};
}

std::string_view HeaderValue(std::string_view head, std::string_view lineEnd, std::string_view name) {
  while (!head.empty()) {
    const std::string_view line = head.substr(0, head.find(lineEnd));
    head.remove_prefix(std::min(line.size() + lineEnd.size(), head.size()));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) throw Malformed("a header of a part of the form has no colon");
    if (SameName(line.substr(0, colon), name)) return Trim(line.substr(colon + 1));
  }
  return {};
}

}  // namespace

std::optional<std::string> FormBoundary(std::string_view contentType) {
  static constexpr std::string_view kTypes[] = {"multipart/form-data", "multipart/related",
                                                "multipart/mixed"};
  const std::string type = Lower(Trim(contentType.substr(0, contentType.find(';'))));
  if (std::ranges::find(kTypes, type) == std::end(kTypes)) return std::nullopt;
  std::string boundary = HeaderParameter(contentType, "boundary");
  if (boundary.empty() || boundary.size() > 256)
    throw Malformed("the Content-Type of the form has no boundary, or one of more than 256 characters");
  return boundary;
}

std::string PartName(std::string_view headers) try {
  return HeaderParameter(HeaderValue(headers, "\r\n", "Content-Disposition"), "name");
} catch (const BadRequest&) {
  return {};
}

MultipartParser::MultipartParser(Store& store, const std::string& boundary)
    : store_(store), delimiter_("\n--" + boundary) {}

void MultipartParser::Feed(std::string_view bytes) {
  for (bool more = true; more;) {
    switch (state_) {
      case State::kContent:
        more = FeedContent(bytes);
        break;
      case State::kAfterDelimiter:
        more = FeedAfterDelimiter(bytes);
        break;
      case State::kHeaders:
        more = FeedHeaders(bytes);
        break;
      case State::kEnd:
        return;
    }
  }
}

// pending_ holds the last bytes of the input, because they can be the start of a delimiter. It is always
// shorter than a delimiter.
bool MultipartParser::FeedContent(std::string_view& bytes) {
  if (!pending_.empty()) {
    const std::size_t held = pending_.size();
    pending_ += bytes.substr(0, delimiter_.size());
    const std::size_t position = pending_.find(delimiter_);
    if (position != std::string::npos) {
      Emit(std::string_view(pending_).substr(0, position));
      bytes.remove_prefix(position + delimiter_.size() - held);
      HandleDelimiter();
      return true;
    }
    if (bytes.size() <= delimiter_.size()) {
      const std::size_t emitted = pending_.size() - std::min(pending_.size(), delimiter_.size() - 1);
      Emit(std::string_view(pending_).substr(0, emitted));
      pending_.erase(0, emitted);
      return false;
    }
    Emit(std::string_view(pending_).substr(0, held));
  }
  const std::size_t position = bytes.find(delimiter_);
  if (position != std::string_view::npos) {
    Emit(bytes.substr(0, position));
    bytes.remove_prefix(position + delimiter_.size());
    HandleDelimiter();
    return true;
  }
  const std::size_t emitted = bytes.size() - std::min(bytes.size(), delimiter_.size() - 1);
  Emit(bytes.substr(0, emitted));
  pending_ = bytes.substr(emitted);
  return false;
}

void MultipartParser::HandleDelimiter() {
  pending_.clear();
  state_ = State::kAfterDelimiter;
  if (!parts_.empty()) parts_.back().content.Finish();
}

// Blanks may follow a delimiter on its line.
bool MultipartParser::FeedAfterDelimiter(std::string_view& bytes) {
  while (!pending_.ends_with('\n') && pending_ != "--") {
    if (bytes.empty()) return false;
    pending_ += bytes.front();
    bytes.remove_prefix(1);
    if (pending_.size() > kMaxPadding) throw Malformed("a delimiter of the form has no line end");
  }
  if (pending_ == "--") {
    state_ = State::kEnd;
    pending_.clear();
    return true;
  }
  const std::string_view lineEnd = pending_.ends_with("\r\n") ? "\r\n" : "\n";
  if (!Trim(std::string_view(pending_).substr(0, pending_.size() - lineEnd.size())).empty())
    throw Malformed("text follows a delimiter of the form on its line");
  if (parts_.empty()) SetLineEnd(lineEnd);
  if (lineEnd != lineEnd_) throw Malformed("the lines of the form end in two ways");
  state_ = State::kHeaders;
  // The line end remains pending, because in a part without headers it is the first half of the empty line.
  pending_ = lineEnd_;
  return true;
}

void MultipartParser::SetLineEnd(std::string_view lineEnd) {
  delimiter_.replace(0, lineEnd_.size(), lineEnd);
  lineEnd_ = lineEnd;
}

bool MultipartParser::FeedHeaders(std::string_view& bytes) {
  const std::size_t oldSize = pending_.size();
  pending_ += bytes.substr(0, kMaxPartHeadSize);
  const std::string emptyLine = lineEnd_ + lineEnd_;
  const std::size_t end = pending_.find(emptyLine, oldSize - std::min(oldSize, emptyLine.size() - 1));
  if (end != std::string::npos) pending_.resize(end + emptyLine.size());
  if (pending_.size() > kMaxPartHeadSize) throw Malformed("the headers of a part have more than 64 KiB");
  if (end == std::string::npos) return false;
  bytes.remove_prefix(end + emptyLine.size() - oldSize);
  const std::string head = pending_.substr(lineEnd_.size(), end - std::min(end, lineEnd_.size()));
  pending_.clear();
  state_ = State::kContent;
  const std::string_view disposition = HeaderValue(head, lineEnd_, "Content-Disposition");
  if (parts_.size() == kMaxParts) throw Malformed("the form has more than 1000 parts");
  parts_.push_back({HeaderParameter(disposition, "name"), HeaderParameter(disposition, "filename"),
                    std::string(HeaderValue(head, lineEnd_, "Content-Type")),
                    Lower(HeaderValue(head, lineEnd_, "Content-Transfer-Encoding")),
                    Content(store_, store_.LargeContents())});
  return true;
}

void MultipartParser::Emit(std::string_view content) {
  if (!parts_.empty() && !content.empty()) parts_.back().content.Append(content);
}

}  // namespace velk::sandbox
