// Parses a document in one pass, from markup to markup, and builds its tree.
#include <array>
#include <new>
#include <utility>

#include "xml/decoder.h"
#include "xml/doctype.h"
#include "xml/document.h"
#include "xml/encoding.h"
#include "xml/scanner.h"
#include "xml/tree_builder.h"

namespace velk {
namespace xml {
namespace {

// Defaults may add this many attributes, plus one for each byte of the document. Otherwise a short tag with
// many declared defaults, if repeated, would make memory grow with the product of both.
constexpr size_t kFreeDefaults = size_t{1} << 16;

constexpr std::string_view kMissingEnd = "missing >";
constexpr std::string_view kOutsideRoot = "markup outside of root element";

// A NUL also ends a name, since names are C strings in the tree.
constexpr auto kEndsName = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("\t\r\n =/>\0", 8)) table[static_cast<unsigned char>(c)] = true;
  return table;
}();

bool StartsName(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' || byte >= 0x80;
}

class Reader {
 public:
  explicit Reader(Document& document)
      : document_(document),
        scan_(document),
        decoder_(document.entities, document.grownValues),
        tree_(document),
        defaultsLeft_(kFreeDefaults + document.length) {}

  bool Read();

 private:
  bool ReadText();
  bool ReadMarkup();
  bool ReadCdata();
  bool ReadDoctype();
  bool ReadStartTag();
  bool ReadEndTag();
  bool CountAttributes(size_t& count);
  bool ReadAttributeValue(std::span<char>& value);
  bool ReadTagEnd();
  std::span<char> ReadName();
  AttributeArray MakeAttributes(std::string_view tag, char* from, size_t count);
  void AddDefaults(const DeclaredTag& tag, size_t& count, AttributeArray& attributes);

  Document& document_;
  Scanner scan_;
  Decoder decoder_;
  TreeBuilder tree_;
  bool hasDoctype_ = false;
  size_t startTags_ = 0;
  size_t defaultsLeft_;
};

bool Reader::Read() {
  for (;;) {
    if (!ReadText()) return false;
    if (scan_.AtEnd()) break;
    if (!ReadMarkup()) return false;
  }
  if (tree_.Inside()) return scan_.Fail(scan_.end, {"unclosed tag <", tree_.CurrentName(), ">"});
  return tree_.Started() || scan_.Fail(scan_.end, {"root tag missing"});
}

// Ends at the next '<', where the text is then terminated. Character data at the end of the input was cut
// off, so it is dropped.
bool Reader::ReadText() {
  if (!tree_.Inside()) {
    scan_.SkipSpace();
    if (scan_.AtEnd() || scan_.At('<')) return true;
    return scan_.Fail(scan_.at, {tree_.Started() ? kOutsideRoot : "root tag missing"});
  }
  const std::span<char> written(scan_.at, scan_.Find('<'));
  scan_.at += written.size();
  if (scan_.AtEnd() || written.empty()) return true;
  scan_.Mark();
  tree_.Append(written, decoder_.Text(written));
  return true;
}

bool Reader::ReadMarkup() {
  const std::string_view rest = scan_.Rest().substr(1);
  if (rest.starts_with('/')) return ReadEndTag();
  if (rest.starts_with('?')) return scan_.ReadInstruction();
  if (rest.starts_with("!--")) return scan_.SkipComment();
  if (rest.starts_with("![CDATA[")) return ReadCdata();
  if (rest.starts_with("!DOCTYPE")) return ReadDoctype();
  if (!rest.empty() && StartsName(rest.front())) return ReadStartTag();
  return scan_.Fail(scan_.at, {"unexpected <"});
}

bool Reader::ReadCdata() {
  if (!tree_.Inside()) return scan_.Fail(scan_.at, {kOutsideRoot});
  constexpr size_t kOpening = std::string_view("<![CDATA[").size();
  const size_t close = scan_.Rest().find("]]>", kOpening);
  if (close == std::string_view::npos) return scan_.Fail(scan_.at, {"unclosed <![CDATA["});
  const std::span<char> written(scan_.at + kOpening, scan_.at + close);
  scan_.at += close + 3;
  scan_.Mark();
  tree_.Append(written, {written.data(), written.size()});
  return true;
}

bool Reader::ReadDoctype() {
  if (tree_.Started() && !tree_.Inside()) return scan_.Fail(scan_.at, {kOutsideRoot});
  if (tree_.Started() || std::exchange(hasDoctype_, true)) return scan_.Fail(scan_.at, {"unexpected <"});
  if (!DoctypeReader(document_, scan_).Read()) return false;
  document_.defaults.Decode(decoder_);
  return true;
}

// Reads the whole tag once before overwriting any of it.
bool Reader::ReadStartTag() {
  if (tree_.Started() && !tree_.Inside()) return scan_.Fail(scan_.at, {kOutsideRoot});
  ++scan_.at;
  const std::span<char> name = ReadName();
  char* const behindName = scan_.at;
  size_t count = 0;
  if (!CountAttributes(count)) return false;
  const bool empty = scan_.At('/');
  if (empty) ++scan_.at;
  if (!ReadTagEnd()) return false;
  scan_.Mark();
  ++startTags_;
  AttributeArray attributes = MakeAttributes({name.data(), name.size()}, behindName, count);
  name.data()[name.size()] = '\0';
  tree_.Open(name.data(), std::move(attributes));
  if (empty) tree_.Close();
  return true;
}

bool Reader::ReadEndTag() {
  char* const start = scan_.at;
  scan_.at += 2;
  const std::span<char> name = ReadName();
  const std::string_view closed(name.data(), name.size());
  scan_.SkipSpace();
  if (!ReadTagEnd()) return false;
  if (!tree_.Inside() || closed != tree_.CurrentName()) {
    return scan_.Fail(start, {"unexpected closing tag </", closed, ">"});
  }
  tree_.Close();
  return true;
}

bool Reader::ReadTagEnd() {
  if (!scan_.At('>')) return scan_.Fail(scan_.at, {kMissingEnd});
  ++scan_.at;
  return true;
}

// Ends at the '/' or '>' after the attributes, or where one is missing.
bool Reader::CountAttributes(size_t& count) {
  for (;; ++count) {
    scan_.SkipSpace();
    if (ReadName().empty()) return true;
    std::span<char> value;
    if (!ReadAttributeValue(value)) return false;
  }
}

// Leaves `value` unchanged if the attribute has none.
bool Reader::ReadAttributeValue(std::span<char>& value) {
  scan_.SkipSpace();
  if (!scan_.At('=')) return true;
  ++scan_.at;
  scan_.SkipSpace();
  if (scan_.AtEnd() || !IsQuote(*scan_.at)) return scan_.Fail(scan_.at, {"missing \""});
  return scan_.ReadQuoted(value);
}

std::span<char> Reader::ReadName() {
  char* const start = scan_.at;
  while (!scan_.AtEnd() && !kEndsName[static_cast<unsigned char>(*scan_.at)]) ++scan_.at;
  return {start, scan_.at};
}

// Reads `count` attributes again from a tag that is known to be well-formed. Returns null if the element has
// none, not even defaults.
AttributeArray Reader::MakeAttributes(std::string_view tag, char* from, size_t count) {
  AttributeArray attributes;
  if (count > 0) attributes = std::make_unique_for_overwrite<const char*[]>(2 * count + 1);
  const DeclaredTag* const declaredTag = document_.defaults.Find(tag);
  char* const behindTag = std::exchange(scan_.at, from);
  for (size_t i = 0; i < count; ++i) {
    scan_.SkipSpace();
    const std::span<char> name = ReadName();
    std::span<char> value;
    ReadAttributeValue(value);
    DeclaredAttribute* const declared =
        declaredTag ? declaredTag->attributes.Find({name.data(), name.size()}) : nullptr;
    if (declared) declared->seenOn = startTags_;
    name.data()[name.size()] = '\0';
    attributes[2 * i] = name.data();
    attributes[2 * i + 1] = value.data() ? decoder_.Value(value, !(declared && declared->cdata)) : "";
  }
  scan_.at = behindTag;
  if (declaredTag) AddDefaults(*declaredTag, count, attributes);
  if (attributes) attributes[2 * count] = nullptr;
  return attributes;
}

void Reader::AddDefaults(const DeclaredTag& tag, size_t& count, AttributeArray& attributes) {
  const auto isMissing = [this](const DeclaredAttribute& declared) { return declared.seenOn != startTags_; };
  size_t missing = 0;
  for (auto* declared = tag.firstDefault; declared; declared = declared->nextOfTag)
    missing += isMissing(*declared) ? 1 : 0;
  if (missing == 0) return;
  if (missing > defaultsLeft_) throw std::bad_alloc();
  defaultsLeft_ -= missing;
  auto longer = std::make_unique_for_overwrite<const char*[]>(2 * (count + missing) + 1);
  const char** out = std::copy_n(attributes.get(), 2 * count, longer.get());
  for (auto* declared = tag.firstDefault; declared; declared = declared->nextOfTag) {
    if (!isMissing(*declared)) continue;
    *out++ = declared->name.data();
    *out++ = declared->value;
  }
  count += missing;
  attributes = std::move(longer);
}

void SetText(Document& document, char* buffer, size_t length) {
  std::span<char> text(buffer, length);
  switch (const Encoding encoding = DetectEncoding(text)) {
    case Encoding::kUnmarked:
      break;
    case Encoding::kUtf8:
      text = text.subspan(3);
      break;
    case Encoding::kUtf16Big:
    case Encoding::kUtf16Little: {
      Utf8Copy copy = ConvertUtf16(text.subspan(2), encoding == Encoding::kUtf16Big);
      document.converted = std::move(copy.bytes);
      text = {document.converted.get(), copy.length};
    }
  }
  document.buffer = document.converted ? document.converted.get() : buffer;
  document.length = document.converted ? text.size() : length;
  text = NormaliseLineEnds(text);
  document.start = text.data();
  document.end = text.data() + text.size();
}

}  // namespace
}  // namespace xml

XmlNode* XmlParseString(char* buffer, size_t length) noexcept {
  try {
    auto* const document = new xml::Document;
    XmlTree tree(document);
    xml::SetText(*document, buffer, length);
    xml::Reader(*document).Read();
    return tree.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace velk
