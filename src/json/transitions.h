// The tokenizer's transition table: the effect of each byte class in each state. Private to the tokenizer.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "json/json.h"

namespace velk::tokenizer {

using enum JsonParserState;

// ---- Byte classes ----

enum CharClass : uint8_t {
  kSpace,
  kLineFeed,
  kTabReturn,
  kOpenBrace,
  kCloseBrace,
  kOpenBracket,
  kCloseBracket,
  kColon,
  kComma,
  kQuote,
  kBackslash,
  kSlash,
  kPlus,
  kMinus,
  kPoint,
  kZero,
  kOneToNine,
  kA,
  kB,
  kC,
  kD,
  kE,
  kF,
  kL,
  kN,
  kR,
  kS,
  kT,
  kU,
  kUpperABCDF,
  kUpperE,
  kOther,
  kStar,
  kHash,
  kClassCount,
  // Control bytes that are errors everywhere share the last column of the table.
  kUnclassed = kClassCount,
  kColumnCount,
};

constexpr std::array<std::string_view, kClassCount> kClassMembers = {
    " ", "\n", "\t\r", "{", "}", "[", "]", ":", ",", "\"", "\\", "/", "+",     "-", ".", "0", "123456789",
    "a", "b",  "c",    "d", "e", "f", "l", "n", "r", "s",  "t",  "u", "ABCDF", "E", "",  "*", "#"};

constexpr std::array<CharClass, 256> kClassOf = [] {
  std::array<CharClass, 256> classOf{};
  std::fill(classOf.begin(), classOf.begin() + 32, kUnclassed);
  std::fill(classOf.begin() + 32, classOf.end(), kOther);
  for (uint8_t index = 0; index < kClassCount; ++index) {
    for (char member : kClassMembers[index]) classOf[static_cast<uint8_t>(member)] = CharClass{index};
  }
  return classOf;
}();

class ClassSet {
 public:
  constexpr ClassSet(CharClass single) : bits_(uint64_t{1} << single) {}  // NOLINT: a class is a set of one
  constexpr ClassSet(std::initializer_list<CharClass> classes) {
    for (CharClass each : classes) bits_ |= uint64_t{1} << each;
  }
  constexpr bool Has(CharClass each) const { return (bits_ >> each & 1) != 0; }
  constexpr ClassSet Without(ClassSet others) const {
    ClassSet rest = *this;
    rest.bits_ &= ~others.bits_;
    return rest;
  }
  static constexpr ClassSet Every() {
    ClassSet every{};
    every.bits_ = (uint64_t{1} << kClassCount) - 1;
    return every;
  }

 private:
  uint64_t bits_ = 0;
};

constexpr ClassSet kWhite = {kSpace, kLineFeed, kTabReturn};
constexpr ClassSet kDigit = {kZero, kOneToNine};
constexpr ClassSet kExponentLetter = {kE, kUpperE};
constexpr ClassSet kHexDigit = {kZero, kOneToNine, kA, kB, kC, kD, kE, kF, kUpperABCDF, kUpperE};

// ---- Transitions ----

constexpr uint8_t kStateCount = 37;

// Numbered after the states, so that one comparison distinguishes an action from a state.
enum class Action : uint8_t {
  kUnexpectedByte = kStateCount,
  kUnknownByte,
  kKeySeparator,
  kSeparator,
  kArrayBegin,
  kArrayEnd,
  kObjectBegin,
  kObjectEnd,
  kCommentBegin,
  kYamlCommentBegin,
  kCommentEnd,
  kFalse,
  kTrue,
  kNull,
  kFloatByExponent,
  kFloatByPoint,
  kStringEnd,
  kIntegerByMinus,
  kIntegerByZero,
  kIntegerByDigit,
  kUnicode,
};

enum class StoreRule : uint8_t { kNothing, kByte, kDecodedEscape };

// The effect of a byte class in a state. It gives the next state or an action, and what to store in the
// buffer. It takes one byte, so a table row fits a cache line.
class Transition {
 public:
  constexpr Transition() = default;
  constexpr Transition(JsonParserState state, StoreRule what)
      : Transition(static_cast<uint8_t>(state), what) {}
  constexpr Transition(Action action, StoreRule what) : Transition(static_cast<uint8_t>(action), what) {}

  constexpr bool IsAction() const { return (bits_ & kNextMask) >= kStateCount; }
  constexpr JsonParserState NextState() const { return static_cast<JsonParserState>(bits_ & kNextMask); }
  constexpr Action NextAction() const { return static_cast<Action>(bits_ & kNextMask); }
  constexpr StoreRule Stored() const { return static_cast<StoreRule>(bits_ >> kStoreShift); }

 private:
  static constexpr int kStoreShift = 6;
  static constexpr uint8_t kNextMask = (1 << kStoreShift) - 1;
  static_assert(static_cast<uint8_t>(Action::kUnicode) <= kNextMask);

  constexpr Transition(uint8_t next, StoreRule what)
      : bits_(static_cast<uint8_t>(next | static_cast<uint8_t>(what) << kStoreShift)) {}

  uint8_t bits_ = 0;
};

// Pairs not listed below are unexpected bytes.
class TransitionTable {
 public:
  constexpr TransitionTable() {
    for (auto& row : rows_) row.fill(Transition(Action::kUnexpectedByte, StoreRule::kNothing));
  }

  constexpr void On(std::initializer_list<JsonParserState> states, ClassSet classes, auto next,
                    StoreRule store = StoreRule::kNothing) {
    for (JsonParserState state : states) {
      for (uint8_t column = 0; column < kClassCount; ++column) {
        if (classes.Has(CharClass{column})) Cell(state, CharClass{column}) = Transition(next, store);
      }
    }
  }
  constexpr void RejectUnclassed() {
    for (auto& row : rows_) row[kUnclassed] = Transition(Action::kUnknownByte, StoreRule::kNothing);
  }
  constexpr const Transition& At(JsonParserState state, CharClass column) const {
    return rows_[static_cast<size_t>(state)][column];
  }

 private:
  constexpr Transition& Cell(JsonParserState state, CharClass column) {
    return rows_[static_cast<size_t>(state)][column];
  }
  // The row size is a power of two, so a lookup needs only a shift.
  std::array<std::array<Transition, std::bit_ceil(size_t{kColumnCount})>, kStateCount> rows_{};
};

constexpr void AddStructure(TransitionTable& table) {
  for (JsonParserState state :
       {kStart, kAfterValue, kObjectStart, kNextKey, kAfterKey, kValue, kArrayStart}) {
    table.On({state}, kWhite, state);
  }
  table.On({kAfterZero, kInInteger, kInFraction, kInExponent}, kWhite, kAfterValue);

  table.On({kStart, kValue, kArrayStart}, kOpenBrace, Action::kObjectBegin);
  table.On({kStart, kValue, kArrayStart}, kOpenBracket, Action::kArrayBegin);
  table.On({kObjectStart}, kCloseBrace, Action::kObjectEnd);
  table.On({kArrayStart}, kCloseBracket, Action::kArrayEnd);
  table.On({kAfterValue, kAfterZero, kInInteger, kInFraction, kInExponent}, kComma, Action::kSeparator);
  table.On({kAfterValue, kAfterZero, kInInteger, kInFraction, kInExponent}, kCloseBrace, Action::kObjectEnd);
  table.On({kAfterValue, kAfterZero, kInInteger, kInFraction, kInExponent}, kCloseBracket, Action::kArrayEnd);
  table.On({kAfterKey}, kColon, Action::kKeySeparator);
}

constexpr void AddStrings(TransitionTable& table) {
  table.On({kObjectStart, kNextKey, kValue, kArrayStart}, kQuote, kInString);

  table.On({kInString}, ClassSet::Every().Without({kQuote, kBackslash, kLineFeed, kTabReturn}), kInString,
           StoreRule::kByte);
  table.On({kInString}, kQuote, Action::kStringEnd);
  table.On({kInString}, kBackslash, kEscape);

  table.On({kEscape}, {kQuote, kBackslash, kSlash, kB, kF, kN, kR, kT}, kInString, StoreRule::kDecodedEscape);
  table.On({kEscape, kSurrogateEscape}, kU, kHex1);
  table.On({kHex1}, kHexDigit, kHex2, StoreRule::kByte);
  table.On({kHex2}, kHexDigit, kHex3, StoreRule::kByte);
  table.On({kHex3}, kHexDigit, kHex4, StoreRule::kByte);
  table.On({kHex4}, kHexDigit, Action::kUnicode, StoreRule::kByte);
  table.On({kAfterHighSurrogate}, kBackslash, kSurrogateEscape);
}

constexpr void AddNumbers(TransitionTable& table) {
  table.On({kValue, kArrayStart}, kMinus, Action::kIntegerByMinus, StoreRule::kByte);
  table.On({kValue, kArrayStart}, kZero, Action::kIntegerByZero, StoreRule::kByte);
  table.On({kValue, kArrayStart}, kOneToNine, Action::kIntegerByDigit, StoreRule::kByte);
  table.On({kAfterMinus}, kZero, kAfterZero, StoreRule::kByte);
  table.On({kAfterMinus}, kOneToNine, kInInteger, StoreRule::kByte);
  table.On({kInInteger}, kDigit, kInInteger, StoreRule::kByte);

  table.On({kAfterZero, kInInteger}, kPoint, Action::kFloatByPoint, StoreRule::kByte);
  table.On({kAfterPoint, kInFraction}, kDigit, kInFraction, StoreRule::kByte);

  // A single zero takes no exponent.
  table.On({kInInteger}, kExponentLetter, Action::kFloatByExponent, StoreRule::kByte);
  table.On({kInFraction}, kExponentLetter, kAfterExponent, StoreRule::kByte);
  table.On({kAfterExponent}, {kPlus, kMinus}, kAfterExponentSign, StoreRule::kByte);
  table.On({kAfterExponent, kAfterExponentSign, kInExponent}, kDigit, kInExponent, StoreRule::kByte);
}

constexpr void AddLiterals(TransitionTable& table) {
  table.On({kValue, kArrayStart}, kT, kAfterT);
  table.On({kAfterT}, kR, kAfterTr);
  table.On({kAfterTr}, kU, kAfterTru);
  table.On({kAfterTru}, kE, Action::kTrue);

  table.On({kValue, kArrayStart}, kF, kAfterF);
  table.On({kAfterF}, kA, kAfterFa);
  table.On({kAfterFa}, kL, kAfterFal);
  table.On({kAfterFal}, kS, kAfterFals);
  table.On({kAfterFals}, kE, Action::kFalse);

  table.On({kValue, kArrayStart}, kN, kAfterN);
  table.On({kAfterN}, kU, kAfterNu);
  table.On({kAfterNu}, kL, kAfterNul);
  table.On({kAfterNul}, kL, Action::kNull);
}

constexpr void AddComments(TransitionTable& table) {
  // A comment may interrupt a number in its integer or fraction digits, but not in its exponent.
  const auto interruptible = {kStart, kAfterValue, kObjectStart, kNextKey,   kAfterKey,
                              kValue, kArrayStart, kAfterZero,   kInInteger, kInFraction};
  table.On(interruptible, kSlash, Action::kCommentBegin);
  table.On(interruptible, kHash, Action::kYamlCommentBegin);

  table.On({kAfterSlash}, kStar, kInComment);
  table.On({kInComment, kCommentStar}, ClassSet::Every(), kInComment);
  table.On({kInComment, kCommentStar}, kStar, kCommentStar);
  table.On({kCommentStar}, kSlash, Action::kCommentEnd);

  table.On({kInYamlComment}, ClassSet::Every(), kInYamlComment);
  table.On({kInYamlComment}, kLineFeed, Action::kCommentEnd);
}

constexpr TransitionTable kTransitions = [] {
  TransitionTable table;
  AddStructure(table);
  AddStrings(table);
  AddNumbers(table);
  AddLiterals(table);
  AddComments(table);
  table.RejectUnclassed();
  return table;
}();

constexpr Transition TransitionFor(JsonParserState state, char byte) {
  return kTransitions.At(state, kClassOf[static_cast<uint8_t>(byte)]);
}

}  // namespace velk::tokenizer
