#include "net/input.h"

#include <algorithm>

namespace velk::sandbox {
namespace {

constexpr std::size_t kHeadPiece = 16 * 1024;
constexpr char kHandshakeRecord = 0x16;  // the first byte of TLS

}  // namespace

// Returns the bytes that are not consumed yet, or else at most `most` new ones. Empty at the peer's end.
awaitable<std::string_view> Input::Peek(std::size_t most) {
  if (begin_ == end_) {
    begin_ = 0;
    end_ = co_await stream_.Read(std::span(buffer_).first(std::min(most, buffer_.size())));
  }
  co_return std::string_view(buffer_.data() + begin_, std::min(end_ - begin_, most));
}

awaitable<std::string> Input::TakeTlsStart() {
  const std::string_view start = co_await Peek(kHeadPiece);
  if (!start.starts_with(kHandshakeRecord)) co_return std::string();
  begin_ += start.size();
  co_return std::string(start);
}

awaitable<bool> Input::ReadHead(HeadReader& reader) {
  while (!reader.Complete()) {
    const std::string_view piece = co_await Peek(kHeadPiece);
    if (piece.empty()) co_return false;
    if (!reader.Started()) headBegan_ = std::chrono::steady_clock::now();
    std::string_view rest = piece;
    reader.Read(rest);
    begin_ += piece.size() - rest.size();
  }
  co_return true;
}

awaitable<std::optional<Head>> Input::ReadHead() {
  HeadReader reader;
  if (co_await ReadHead(reader)) co_return reader.Parse();
  if (reader.Started()) throw Malformed("the connection ended inside the head");
  co_return std::nullopt;
}

awaitable<std::string_view> Input::ReadSome(std::size_t most) {
  const std::string_view piece = co_await Peek(most);
  begin_ += piece.size();
  co_return piece;
}

awaitable<Framed> Input::ReadFramed(BodyDecoder& body, std::size_t most) {
  const std::string_view piece = co_await Peek(most);
  std::string_view rest = piece;
  const std::string_view content = body.Decode(rest);
  const std::string_view raw = piece.substr(0, piece.size() - rest.size());
  begin_ += raw.size();
  co_return Framed{raw, content};
}

awaitable<std::string_view> Input::ReadContent(BodyDecoder& body, std::size_t most) {
  while (!body.Complete()) {
    const Framed piece = co_await ReadFramed(body, most);
    if (piece.raw.empty()) EndConnection();
    if (!piece.content.empty()) co_return piece.content;
  }
  co_return std::string_view();
}

}  // namespace velk::sandbox
