#include "net/body.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kLongestLine = 4096;

std::uint64_t ChunkSize(std::string_view line) {
  const std::string_view digits = Trim(line.substr(0, line.find(';')));
  const char* const end = digits.data() + digits.size();
  std::uint64_t size = 0;
  const auto [stop, error] = std::from_chars(digits.data(), end, size, 16);
  if (error != std::errc() || stop != end) throw Malformed("the size of a chunk is not a hexadecimal number");
  return size;
}

}  // namespace

BodyDecoder::BodyDecoder(bool chunked, std::uint64_t length)
    : chunked_(chunked),
      place_(chunked      ? Place::kChunkSize
             : length > 0 ? Place::kContent
                          : Place::kEnd),
      left_(length) {}

std::string_view BodyDecoder::Decode(std::string_view& input) {
  while (!input.empty() && place_ != Place::kEnd) {
    if (place_ == Place::kContent) return DecodeContent(input);
    if (CompleteLine(input)) EndLine();
  }
  return {};
}

std::string_view BodyDecoder::DecodeContent(std::string_view& input) {
  const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left_, input.size()));
  const std::string_view content = input.substr(0, size);
  input.remove_prefix(size);
  left_ -= size;
  if (left_ == 0) place_ = chunked_ ? Place::kAfterChunk : Place::kEnd;
  return content;
}

bool BodyDecoder::CompleteLine(std::string_view& input) {
  const std::size_t taken = std::min(input.find('\n'), input.size() - 1) + 1;
  line_ += input.substr(0, taken);
  input.remove_prefix(taken);
  if (line_.size() > kLongestLine || (line_.ends_with('\n') && !line_.ends_with("\r\n")))
    throw Malformed("a line of the chunked encoding is too long, or does not end with CR and LF");
  return line_.ends_with('\n');
}

void BodyDecoder::EndLine() {
  const std::string line = std::exchange(line_, {});
  const std::string_view text = std::string_view(line).substr(0, line.size() - 2);
  if (place_ == Place::kChunkSize) {
    left_ = ChunkSize(text);
    place_ = left_ > 0 ? Place::kContent : Place::kTrailers;
  } else if (place_ == Place::kAfterChunk) {
    if (!text.empty()) throw Malformed("a chunk is longer than its size");
    place_ = Place::kChunkSize;
  } else if (text.empty()) {  // trailers carry nothing that a service here reads
    place_ = Place::kEnd;
  }
}

}  // namespace velk::sandbox
