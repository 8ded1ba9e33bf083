// The tokenizer's slow path: actions that use the token buffer, the nesting stack or the callback. Private to
// the tokenizer.
#pragma once

#include <cstdint>

#include "json/transitions.h"

namespace velk::tokenizer {

// Applies the transition of a byte: stores what it stores, then enters its state or runs its action.
int TakeByte(JsonParser& parser, Transition transition, char byte) noexcept;

// Processes bytes up to the first error. `processed` may be null.
int TakeBytes(JsonParser& parser, const char* bytes, uint32_t length, uint32_t* processed) noexcept;

}  // namespace velk::tokenizer
