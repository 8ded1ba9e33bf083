#include "kit/pieces.h"

namespace velk::sandbox {

Piece BodyPiece(std::shared_ptr<const Received> received) {
  const Content* const body = &received->body;
  return {std::move(received), body};
}

Piece NewPiece(Store& store, std::string_view bytes) {
  Content content(store, store.LargeContents());
  content.Append(bytes);
  content.Finish();
  return BodyPiece(std::make_shared<Received>(Received{std::move(content), {}}));
}

std::uint64_t SizeOf(const std::vector<Piece>& pieces) {
  std::uint64_t size = 0;
  for (const Piece& piece : pieces) size += piece.content->Size();
  return size;
}

Content Assemble(Store& store, const std::vector<Piece>& pieces) {
  Content whole(store, store.LargeContents());
  for (const Piece& piece : pieces) whole.Append(*piece.content);
  whole.Finish();
  return whole;
}

}  // namespace velk::sandbox
