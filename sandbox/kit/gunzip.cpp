// The format: a head, the compressed bytes, and a trailer with their checksum and size.
#include "kit/gunzip.h"

#include <algorithm>
#include <array>

#include "net/head.h"

namespace velk::sandbox {
namespace {

namespace zlib = boost::beast::zlib;

constexpr std::size_t kFixedHead = 10;
constexpr std::size_t kLargestHead = 4096;
constexpr std::size_t kExpandedPiece = 64 * 1024;
constexpr int kHasChecksum = 2, kHasExtra = 4, kHasName = 8, kHasComment = 16;

// Of 32 bits, the least significant byte first.
std::uint32_t NumberAt(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  return number;
}

// The length of the head, whose flags state what follows its fixed part. 0 if it is not complete.
std::size_t HeadLength(std::string_view head) {
  if (head.size() < kFixedHead) return 0;
  if (!head.starts_with("\x1F\x8B\x08")) throw Malformed("the body is not compressed with gzip");
  const int flags = static_cast<unsigned char>(head[3]);
  std::size_t at = kFixedHead;
  if (flags & kHasExtra) {
    if (head.size() < at + 2) return 0;
    at += 2 + static_cast<unsigned char>(head[at]) + 256U * static_cast<unsigned char>(head[at + 1]);
  }
  for (const int text : {kHasName, kHasComment}) {
    if (!(flags & text)) continue;
    const std::size_t end = head.find('\0', at);
    if (end == std::string_view::npos) return 0;
    at = end + 1;
  }
  at += flags & kHasChecksum ? 2 : 0;
  return at <= head.size() ? at : 0;
}

}  // namespace

std::string Gunzip::Expand(std::string_view bytes) {
  if (!headRead_ && !SkipHead(bytes)) return {};
  std::string expanded = Inflate(bytes);
  if (inflated_) ReadTrailer(bytes);
  return expanded;
}

bool Gunzip::SkipHead(std::string_view& bytes) {
  const std::size_t before = head_.size();
  head_ += bytes.substr(0, kLargestHead);
  const std::size_t length = HeadLength(head_);
  if (length == 0 && head_.size() >= kLargestHead)
    throw Malformed("the head of the compressed body is too long");
  if (length == 0) return false;
  bytes.remove_prefix(length - before);
  headRead_ = true;
  return true;
}

std::string Gunzip::Inflate(std::string_view& bytes) {
  std::string expanded;
  std::array<char, kExpandedPiece> piece;
  while (!inflated_) {
    zlib::z_params params;
    params.next_in = bytes.data();
    params.avail_in = bytes.size();
    params.next_out = piece.data();
    params.avail_out = piece.size();
    boost::system::error_code error;
    stream_.write(params, zlib::Flush::sync, error);
    bytes.remove_prefix(bytes.size() - params.avail_in);
    expanded.append(piece.data(), piece.size() - params.avail_out);
    inflated_ = error == zlib::error::end_of_stream;
    if (error == zlib::error::need_buffers) break;
    if (error && !inflated_) throw Malformed("the compressed body is damaged");
    if (!inflated_ && bytes.empty() && params.avail_out > 0) break;
  }
  size_ += expanded.size();
  checksum_.process_bytes(expanded.data(), expanded.size());
  return expanded;
}

// The checksum and the size. A client that sends more after them sends no gzip.
void Gunzip::ReadTrailer(std::string_view bytes) {
  trailer_ += bytes;
  if (trailer_.size() < kTrailerSize) return;
  const bool fits =
      NumberAt(trailer_, 0) == checksum_.checksum() && NumberAt(trailer_, 4) == (size_ & 0xFFFFFFFF);
  if (trailer_.size() > kTrailerSize || !fits)
    throw Malformed("the compressed body does not fit what its end states");
}

}  // namespace velk::sandbox
