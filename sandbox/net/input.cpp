#include "net/input.h"

#include <algorithm>

namespace velk::sandbox {

// Returns the bytes that are not consumed yet, or else at most `most` new ones. Empty at the peer's end.
awaitable<std::string_view> Input::Peek(std::size_t most) {
  if (begin_ == end_) {
    begin_ = 0;
    end_ = co_await stream_.Read(std::span(buffer_).first(std::min(most, buffer_.size())));
  }
  co_return std::string_view(buffer_.data() + begin_, std::min(end_ - begin_, most));
}

awaitable<std::optional<Head>> Input::ReadHead() {
  HeadReader reader;
  while (!reader.Complete()) {
    const std::string_view piece = co_await Peek(16 * 1024);
    if (piece.empty() && !reader.Started()) co_return std::nullopt;
    if (piece.empty()) throw Malformed("the connection ended inside the head");
    if (!reader.Started()) headBegan_ = std::chrono::steady_clock::now();
    std::string_view rest = piece;
    reader.Read(rest);
    begin_ += piece.size() - rest.size();
  }
  co_return reader.Parse();
}

awaitable<std::string_view> Input::ReadContent(BodyDecoder& body, std::size_t most) {
  while (!body.Complete()) {
    const std::string_view piece = co_await Peek(most);
    if (piece.empty()) EndConnection();
    std::string_view rest = piece;
    const std::string_view content = body.Decode(rest);
    begin_ += piece.size() - rest.size();
    if (!content.empty()) co_return content;
  }
  co_return std::string_view();
}

}  // namespace velk::sandbox
