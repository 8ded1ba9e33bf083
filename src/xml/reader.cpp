// Parses a document in one pass, from markup to markup, and builds its tree.
#include "xml/reader.h"

#include <array>
#include <iterator>
#include <new>
#include <utility>
#include <vector>

#include "xml/tree.h"

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
        tree_(document),
        defaultsLeft_(kFreeDefaults + document.length) {}

  bool Read();

 private:
  bool ReadText();
  bool ReadMarkup();
  bool ReadCdata();
  bool ReadDoctypeOnce();
  bool ReadEndTag();
  bool ReadStartTag();
  bool ReadAttributes();
  bool ReadTagEnd();
  std::span<char> ReadName();
  AttributeArray MakeAttributes(std::string_view tag);
  std::vector<const DeclaredAttribute*> MissingDefaults(const DeclaredTag& declared);

  // An attribute of the current start tag, as written.
  struct Attribute {
    std::span<char> name;
    std::span<char> value;  // null if it has none
  };

  Document& document_;
  Scanner scan_;
  TreeBuilder tree_;
  bool hasDoctype_ = false;
  std::vector<Attribute> attributes_;  // of the current start tag
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
  const std::span<char> written(scan_.at, scan_.PositionOf('<'));
  scan_.at += written.size();
  if (scan_.AtEnd() || written.empty()) return true;
  scan_.Mark();
  tree_.Append(written, document_.entities.DecodeText(written));
  return true;
}

// The '<' may already be overwritten.
bool Reader::ReadMarkup() {
  const std::string_view rest = scan_.Rest().substr(1);
  if (rest.starts_with('/')) return ReadEndTag();
  if (rest.starts_with('?')) return scan_.ReadInstruction();
  if (rest.starts_with("!--")) return scan_.SkipComment();
  if (rest.starts_with("![CDATA[")) return ReadCdata();
  if (rest.starts_with("!DOCTYPE")) return ReadDoctypeOnce();
  if (!rest.empty() && StartsName(rest.front())) return ReadStartTag();
  return scan_.Fail(scan_.at, {"unexpected <"});
}

bool Reader::ReadCdata() {
  if (!tree_.Inside()) return scan_.Fail(scan_.at, {kOutsideRoot});
  std::span<char> written;
  if (!scan_.ReadDelimited("<![CDATA[", "]]>", written)) return false;
  scan_.Mark();
  tree_.Append(written, View(written));
  return true;
}

bool Reader::ReadDoctypeOnce() {
  if (tree_.Started() && !tree_.Inside()) return scan_.Fail(scan_.at, {kOutsideRoot});
  if (tree_.Started() || std::exchange(hasDoctype_, true)) return scan_.Fail(scan_.at, {"unexpected <"});
  return ReadDoctype(document_, scan_);
}

bool Reader::ReadEndTag() {
  char* const start = scan_.at;
  scan_.at += 2;
  const std::string_view name = View(ReadName());
  scan_.SkipSpace();
  if (!ReadTagEnd()) return false;
  if (!tree_.Inside() || name != tree_.CurrentName()) {
    return scan_.Fail(start, {"unexpected closing tag </", name, ">"});
  }
  tree_.Close();
  return true;
}

// Overwrites nothing until the whole tag is known to be well-formed.
bool Reader::ReadStartTag() {
  if (tree_.Started() && !tree_.Inside()) return scan_.Fail(scan_.at, {kOutsideRoot});
  ++scan_.at;
  const std::span<char> name = ReadName();
  if (!ReadAttributes()) return false;
  const bool empty = scan_.At('/');
  if (empty) ++scan_.at;
  if (!ReadTagEnd()) return false;
  scan_.Mark();
  AttributeArray attributes = MakeAttributes(View(name));
  tree_.Open(Terminate(name), std::move(attributes));
  if (empty) tree_.Close();
  return true;
}

// Ends at the '/' or '>' after the attributes, or where one is missing.
bool Reader::ReadAttributes() {
  attributes_.clear();
  for (;;) {
    scan_.SkipSpace();
    Attribute attribute{.name = ReadName(), .value = {}};
    if (attribute.name.empty()) return true;
    scan_.SkipSpace();
    if (scan_.At('=')) {
      ++scan_.at;
      scan_.SkipSpace();
      if (!scan_.AtQuote()) return scan_.Fail(scan_.at, {"missing \""});
      if (!scan_.ReadQuoted(attribute.value)) return false;
    }
    attributes_.push_back(attribute);
  }
}

bool Reader::ReadTagEnd() {
  if (!scan_.At('>')) return scan_.Fail(scan_.at, {kMissingEnd});
  ++scan_.at;
  return true;
}

std::span<char> Reader::ReadName() {
  char* const start = scan_.at;
  while (!scan_.AtEnd() && !kEndsName[static_cast<unsigned char>(*scan_.at)]) ++scan_.at;
  return {start, scan_.at};
}

// Decodes the attributes of the current start tag. Returns null if it has none, not even defaults.
AttributeArray Reader::MakeAttributes(std::string_view tag) {
  const auto found = document_.declaredTags.find(tag);
  const DeclaredTag* const declared = found == document_.declaredTags.end() ? nullptr : &found->second;
  std::vector<const DeclaredAttribute*> missing;
  if (declared) missing = MissingDefaults(*declared);
  const size_t count = attributes_.size() + missing.size();
  if (count == 0) return nullptr;

  auto array = std::make_unique_for_overwrite<const char*[]>(2 * count + 1);
  const char** out = array.get();
  for (const auto& [name, value] : attributes_) {
    const bool collapseSpace = !declared || !declared->IsCdata(View(name));
    *out++ = Terminate(name).data();
    *out++ = value.data() ? document_.entities.DecodeValue(value, collapseSpace) : "";
  }
  for (const DeclaredAttribute* attribute : missing) {
    *out++ = attribute->name.data();
    *out++ = attribute->value;
  }
  *out = nullptr;
  return array;
}

// Returns the declared attributes with a default value that the current start tag does not have.
std::vector<const DeclaredAttribute*> Reader::MissingDefaults(const DeclaredTag& declared) {
  std::vector<std::string_view> given;
  for (const Attribute& attribute : attributes_) given.push_back(View(attribute.name));
  std::sort(given.begin(), given.end());
  std::vector<const DeclaredAttribute*> missing;
  std::copy_if(declared.defaults.begin(), declared.defaults.end(), std::back_inserter(missing),
               [&](auto* each) { return !std::binary_search(given.begin(), given.end(), each->name); });
  if (missing.size() > defaultsLeft_) throw std::bad_alloc();
  defaultsLeft_ -= missing.size();
  return missing;
}

}  // namespace
}  // namespace xml

XmlNode* XmlParseString(char* buffer, size_t length) noexcept {
  try {
    auto* const document = new xml::Document;
    XmlTree tree(document);
    document->SetText(buffer, length);
    xml::Reader(*document).Read();
    return tree.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace velk
