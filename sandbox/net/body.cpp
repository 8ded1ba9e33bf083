// Takes the framing off a request's body, counted or chunked, piece by piece.
#include "net/body.h"

#include <algorithm>
#include <charconv>

#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kLongestLine = 4096;

}  // namespace

BodyReader::BodyReader(Input& input, const Head& head)
    : input_(input), chunked_(head.chunked), complete_(!head.HasBody()), left_(head.length.value_or(0)) {}

std::string_view BodyReader::Next(std::size_t most) {
  if (chunked_ && left_ == 0 && !complete_) StartChunk();
  if (complete_) return {};
  const std::string_view piece =
      input_.Peek(static_cast<std::size_t>(std::min<std::uint64_t>(most, chunked_ ? most : left_)));
  if (piece.empty()) throw ConnectionGone();
  const std::string_view content =
      piece.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(left_, piece.size())));
  input_.Consume(content.size());
  left_ -= content.size();
  complete_ = !chunked_ && left_ == 0;
  return content;
}

std::string BodyReader::Line() {
  std::string line;
  while (!line.ends_with("\r\n")) {
    const std::string_view piece = input_.Peek(kLongestLine);
    if (piece.empty()) throw ConnectionGone();
    const std::size_t taken = std::min(piece.find('\n'), piece.size() - 1) + 1;
    line += piece.substr(0, taken);
    input_.Consume(taken);
    if (line.size() > kLongestLine || (line.ends_with('\n') && !line.ends_with("\r\n"))) throw BadRequest();
  }
  line.resize(line.size() - 2);
  return line;
}

void BodyReader::StartChunk() {
  if (insideChunks_ && !Line().empty()) throw BadRequest();  // a chunk's data ends with a line end
  insideChunks_ = true;
  const std::string line = Line();
  const std::string_view size = Trim(std::string_view(line).substr(0, line.find(';')));
  const char* const end = size.data() + size.size();
  const auto [stop, error] = std::from_chars(size.data(), end, left_, 16);
  if (error != std::errc() || stop != end) throw BadRequest();
  if (left_ > 0) return;
  while (!Line().empty()) {  // trailers carry nothing that a service here reads
  }
  complete_ = true;
}

}  // namespace velk::sandbox
