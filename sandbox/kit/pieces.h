// The pieces of an upload that arrive in requests of their own.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "kit/intake.h"

namespace velk::sandbox {

// A content that a request keeps in the store.
struct Piece {
  std::shared_ptr<const Received> owner;
  const Content* content = nullptr;
};

Piece BodyPiece(std::shared_ptr<const Received> received);
Piece NewPiece(Store& store, std::string_view bytes);

std::uint64_t SizeOf(const std::vector<Piece>& pieces);

// Copies all pieces, in order, into one content. Of pieces that were only counted, it knows the size alone.
Content Assemble(Store& store, const std::vector<Piece>& pieces);

}  // namespace velk::sandbox
