// The tokenizer's work on bytes that need more than a plain step. Private to the tokenizer.
#pragma once

#include <cstdint>

#include "json/transitions.h"

namespace velk::tokenizer {

// Takes any byte by its transition: stores what there is to store, then enters the state or runs the action.
int TakeByte(JsonParser& parser, Transition transition, char byte) noexcept;

// Takes bytes up to the first error; `processed` may be null.
int TakeBytes(JsonParser& parser, const char* bytes, uint32_t length, uint32_t* processed) noexcept;

}  // namespace velk::tokenizer
