#include "xml/doctype.h"

namespace velk::xml {
namespace {

constexpr std::string_view kTokenEnd = " \t\n>()|\"'";

std::string_view View(std::span<char> text) { return {text.data(), text.size()}; }

}  // namespace

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
  if (const Entity* const circular = document_.entities.FindCircle()) {
    return document_.Fail(circular->line, {"circular entity declaration &", circular->name});
  }
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
  if (!name.empty() && !scan_.AtEnd() && IsQuote(*scan_.at)) {
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
  const std::span<char> tag = ReadToken();
  if (tag.empty()) return Malformed();
  DeclaredTag& declared = document_.defaults.DeclareTag(View(tag));
  for (scan_.SkipSpace(); !scan_.At('>'); scan_.SkipSpace()) {
    if (!ReadDeclaredAttribute(declared)) return false;
  }
  return true;
}

bool DoctypeReader::ReadDeclaredAttribute(DeclaredTag& tag) {
  DeclaredAttribute attribute;
  const std::span<char> name = ReadToken();
  if (name.empty()) return Malformed();
  if (!ReadAttributeType(attribute.cdata) || !ReadDefault(attribute)) return false;
  scan_.Mark();
  name.data()[name.size()] = '\0';  // overwrites the separator between name and type
  attribute.name = View(name);
  document_.defaults.Declare(tag, attribute);
  return true;
}

// A keyword, a list in parentheses, or NOTATION with such a list.
bool DoctypeReader::ReadAttributeType(bool& cdata) {
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

bool DoctypeReader::ReadDefault(DeclaredAttribute& attribute) {
  scan_.SkipSpace();
  const std::string_view keyword = View(ReadToken());
  if (keyword == "#REQUIRED" || keyword == "#IMPLIED") return true;
  scan_.SkipSpace();
  if (!keyword.empty() && keyword != "#FIXED") return Malformed();
  if (scan_.AtEnd() || !IsQuote(*scan_.at)) return Malformed();
  attribute.hasDefault = true;
  return scan_.ReadQuoted(attribute.written);
}

std::span<char> DoctypeReader::ReadToken() {
  char* const start = scan_.at;
  scan_.at += std::min(scan_.Rest().find_first_of(kTokenEnd), scan_.Rest().size());
  return {start, scan_.at};
}

// Moves to the next of these characters outside quotes.
bool DoctypeReader::SkipTo(std::string_view stops) {
  while (!scan_.AtEnd() && stops.find(*scan_.at) == std::string_view::npos) {
    const char c = *scan_.at++;
    if (!IsQuote(c)) continue;
    scan_.at = scan_.Find(c);
    if (!scan_.AtEnd()) ++scan_.at;
  }
  return !scan_.AtEnd() || Unclosed();
}

bool DoctypeReader::Unclosed() { return document_.Fail(line_, {"unclosed <!DOCTYPE"}); }

bool DoctypeReader::Malformed() {
  if (scan_.AtEnd()) return document_.Fail(listLine_, {"unclosed <!ATTLIST"});
  return scan_.Fail(scan_.at, {"malformed <!ATTLIST"});
}

}  // namespace velk::xml
