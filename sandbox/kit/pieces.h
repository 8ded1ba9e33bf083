// The pieces of an upload that arrive in requests of their own.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kit/intake.h"

namespace velk::sandbox {

// A content that a request keeps in the store.
struct Piece {
  std::shared_ptr<const Received> owner;
  const Content* content = nullptr;
};

Piece BodyPiece(std::shared_ptr<const Received> received);
Piece KeptPiece(Store& store, const KeptContent& kept);
Piece NewPiece(Store& store, std::string_view bytes);

// The upload and the number of a piece, from its identifier UPLOAD/NUMBER.
std::pair<std::string, std::size_t> SplitPieceId(const std::string& id);
const Piece* PieceAt(const std::vector<Piece>& pieces, std::size_t number);  // null if there is none
// What follows a missing piece is of no use, and is dropped.
void Append(std::vector<Piece>& pieces, std::size_t number, const Piece& piece);

std::uint64_t SizeOf(const std::vector<Piece>& pieces);

// Copies all pieces, in order, into one content. Of pieces that were only counted, it knows the size alone.
Content Assemble(Store& store, const std::vector<Piece>& pieces);

}  // namespace velk::sandbox
