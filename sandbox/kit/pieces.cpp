#include "kit/pieces.h"

#include <algorithm>

#include "net/text.h"

namespace velk::sandbox {

Piece BodyPiece(std::shared_ptr<const Received> received) {
  const Content* const body = &received->body;
  return {std::move(received), body};
}

Piece KeptPiece(Store& store, const KeptContent& kept) {
  return BodyPiece(std::make_shared<Received>(Received{Content(store, kept), {}}));
}

Piece NewPiece(Store& store, std::string_view bytes) {
  Content content(store, store.LargeContents());
  content.Append(bytes);
  content.Finish();
  return BodyPiece(std::make_shared<Received>(Received{std::move(content), {}}));
}

std::pair<std::string, std::size_t> SplitPieceId(const std::string& id) {
  const std::size_t slash = std::min(id.rfind('/'), id.size());
  const auto number = ToNumber(std::string_view(id).substr(std::min(slash + 1, id.size())));
  return {id.substr(0, slash), static_cast<std::size_t>(number.value_or(0))};
}

const Piece* PieceAt(const std::vector<Piece>& pieces, std::size_t number) {
  return number < pieces.size() ? &pieces[number] : nullptr;
}

void Append(std::vector<Piece>& pieces, std::size_t number, const Piece& piece) {
  if (number == pieces.size()) pieces.push_back(piece);
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
