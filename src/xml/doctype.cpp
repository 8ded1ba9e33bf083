// Reads a document type declaration, with the entities and attribute lists of its internal subset.
#include "xml/reader.h"

namespace velk::xml {
namespace {

constexpr std::string_view kTokenEnd = " \t\n>()|\"'";

class DoctypeReader {
 public:
  DoctypeReader(Document& document, Scanner& scan) : document_(document), scan_(scan) {}

  bool Read();

 private:
  bool ReadSubset();
  bool ReadEntity();
  bool ReadAttributeList();
  bool ReadAttribute(DeclaredTag& tag);
  bool ReadType(bool& cdata);
  bool ReadDefault(std::span<char>& value);
  void DecodeDefaults();

  std::span<char> ReadToken();
  bool SkipTo(std::string_view stops);
  bool Unclosed();
  bool Malformed();

  Document& document_;
  Scanner& scan_;
  size_t line_ = 1;      // of the document type declaration
  size_t listLine_ = 1;  // of the current attribute list
};

bool DoctypeReader::Read() {
  scan_.Mark();
  line_ = scan_.MarkedLine();
  scan_.at += std::string_view("<!DOCTYPE").size();
  if (!SkipTo("[>")) return false;
  if (*scan_.at == '[') {
    ++scan_.at;
    if (!ReadSubset() || !SkipTo(">")) return false;
  }
  ++scan_.at;
  scan_.Mark();
  if (const Entity* const circular = document_.entities.FindCycle()) {
    return document_.Fail(circular->line, {"circular entity declaration &", circular->name});
  }
  DecodeDefaults();
  return true;
}

// Ends after the closing bracket. Skips other content, such as a reference to a parameter entity.
bool DoctypeReader::ReadSubset() {
  for (;;) {
    const size_t found = scan_.Rest().find_first_of("<]");
    if (found == std::string_view::npos) return Unclosed();
    scan_.at += found;
    if (*scan_.at == ']') break;
    scan_.Mark();
    const std::string_view rest = scan_.Rest();
    const bool read = rest.starts_with("<!--")        ? scan_.SkipComment()
                      : rest.starts_with("<?")        ? scan_.ReadInstruction()
                      : rest.starts_with("<!ENTITY")  ? ReadEntity()
                      : rest.starts_with("<!ATTLIST") ? ReadAttributeList()
                                                      : SkipTo(">");
    if (!read) return false;
  }
  ++scan_.at;
  return true;
}

bool DoctypeReader::ReadEntity() {
  const size_t line = scan_.MarkedLine();
  scan_.at += std::string_view("<!ENTITY").size();
  scan_.SkipSpace();
  const std::span<char> name = ReadToken();
  scan_.SkipSpace();
  // Without a quote here, it is a parameter entity ("% name ...") or an external one ("name SYSTEM ...").
  if (!name.empty() && scan_.AtQuote()) {
    std::span<char> value;
    if (!scan_.ReadQuoted(value)) return false;
    scan_.Mark();
    document_.entities.Declare(View(name), value, line);
  }
  return SkipTo(">");
}

bool DoctypeReader::ReadAttributeList() {
  listLine_ = scan_.MarkedLine();
  scan_.at += std::string_view("<!ATTLIST").size();
  scan_.SkipSpace();
  const std::span<char> name = ReadToken();
  if (name.empty()) return Malformed();
  DeclaredTag& tag = document_.declaredTags[View(name)];
  for (scan_.SkipSpace(); !scan_.At('>'); scan_.SkipSpace()) {
    if (!ReadAttribute(tag)) return false;
  }
  return true;
}

// Only the first declaration of an attribute counts.
bool DoctypeReader::ReadAttribute(DeclaredTag& tag) {
  DeclaredAttribute attribute;
  const std::span<char> name = ReadToken();
  if (name.empty()) return Malformed();
  if (!ReadType(attribute.cdata) || !ReadDefault(attribute.written)) return false;
  scan_.Mark();
  attribute.name = Terminate(name);  // overwrites the separator between name and type
  const auto [added, isNew] = tag.attributes.try_emplace(attribute.name, attribute);
  if (isNew && attribute.written.data()) tag.defaults.push_back(&added->second);
  return true;
}

// A keyword, a list in parentheses, or NOTATION with such a list.
bool DoctypeReader::ReadType(bool& cdata) {
  scan_.SkipSpace();
  const std::string_view keyword = View(ReadToken());
  cdata = keyword == "CDATA";
  scan_.SkipSpace();
  if (!keyword.empty() && keyword != "NOTATION") return true;
  if (!scan_.At('(')) return Malformed();
  scan_.at = std::find_if(scan_.at, scan_.end, [](char c) { return c == ')' || c == '>'; });
  if (!scan_.At(')')) return Malformed();
  ++scan_.at;
  return true;
}

// Leaves `value` null if the declaration has no default value.
bool DoctypeReader::ReadDefault(std::span<char>& value) {
  scan_.SkipSpace();
  const std::string_view keyword = View(ReadToken());
  if (keyword == "#REQUIRED" || keyword == "#IMPLIED") return true;
  scan_.SkipSpace();
  if (!keyword.empty() && keyword != "#FIXED") return Malformed();
  if (!scan_.AtQuote()) return Malformed();
  return scan_.ReadQuoted(value);
}

// After the whole subset, since the values may refer to entities declared later.
void DoctypeReader::DecodeDefaults() {
  for (auto& [name, tag] : document_.declaredTags) {
    for (DeclaredAttribute* const attribute : tag.defaults)
      attribute->value = document_.entities.DecodeValue(attribute->written, !attribute->cdata);
  }
}

std::span<char> DoctypeReader::ReadToken() {
  char* const start = scan_.at;
  scan_.at += std::min(scan_.Rest().find_first_of(kTokenEnd), scan_.Rest().size());
  return {start, scan_.at};
}

// Moves to the next of these characters outside quotes.
bool DoctypeReader::SkipTo(std::string_view stops) {
  while (!scan_.AtEnd() && stops.find(*scan_.at) == std::string_view::npos) {
    const bool quote = scan_.AtQuote();
    const char c = *scan_.at++;
    if (!quote) continue;
    scan_.at = scan_.PositionOf(c);
    if (!scan_.AtEnd()) ++scan_.at;
  }
  return !scan_.AtEnd() || Unclosed();
}

bool DoctypeReader::Unclosed() { return document_.Fail(line_, {"unclosed <!DOCTYPE"}); }

bool DoctypeReader::Malformed() {
  if (scan_.AtEnd()) return document_.Fail(listLine_, {"unclosed <!ATTLIST"});
  return scan_.Fail(scan_.at, {"malformed <!ATTLIST"});
}

}  // namespace

bool ReadDoctype(Document& document, Scanner& scan) { return DoctypeReader(document, scan).Read(); }

}  // namespace velk::xml
