// The XML reader: the tree and error of each document, links between nodes, ownership, and hostile documents.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "xml/document.h"
#include "xml/xml.h"

namespace velk {
namespace {

using std::string_view_literals::operator""sv;

// A document and its tree. The document is in a heap block of its exact size, so that a sanitizer detects any
// access past its end.
struct Parsed {
  explicit Parsed(std::string_view document)
      : buffer(std::make_unique<char[]>(document.size())),
        tree((document.copy(buffer.get(), document.size()), XmlParseString(buffer.get(), document.size()))) {}

  std::unique_ptr<char[]> buffer;
  XmlTree tree;
};

// Checks the links between the children of a node against their document order.
void CheckLinks(const XmlNode& node) {
  std::map<std::string_view, const XmlNode*> lastOfName;
  const XmlNode* lastNew = nullptr;
  for (const XmlNode* child = node.child; child; child = child->ordered) {
    EXPECT_EQ(child->parent, &node);
    const XmlNode*& last = lastOfName[child->name];
    if (last) {
      EXPECT_EQ(last->next, child);
      EXPECT_EQ(child->sibling, nullptr);
    } else {
      EXPECT_EQ(XmlChild(&node, child->name), child);
      if (lastNew) {
        EXPECT_EQ(lastNew->sibling, child);
      }
      lastNew = child;
    }
    last = child;
  }
  for (const auto& [name, last] : lastOfName) EXPECT_EQ(last->next, nullptr) << name;
  if (lastNew) {
    EXPECT_EQ(lastNew->sibling, nullptr);
  }
}

// Returns name[attribute=value|...]'text'@offset{children}, without the parts that are empty or 0.
std::string Describe(const XmlNode& node) {
  CheckLinks(node);
  std::string out = node.name;
  for (const char* const* pair = node.attributes; *pair; pair += 2) {
    out += (pair == node.attributes ? "[" : "|") + std::string(pair[0]) + "=" + pair[1];
  }
  if (*node.attributes) out += "]";
  if (*node.text) out += "'" + std::string(node.text) + "'";
  if (node.offset > 0) out += "@" + std::to_string(node.offset);
  for (const XmlNode* child = node.child; child; child = child->ordered) {
    out += (child == node.child ? "{" : " ") + Describe(*child);
  }
  return out + (node.child ? "}" : "");
}

struct DocumentRow {
  std::string_view document;
  std::string_view tree;
  std::string_view error = "";  // after "[error near line "
};

void CheckRows(const std::vector<DocumentRow>& rows) {
  for (const DocumentRow& row : rows) {
    SCOPED_TRACE(row.document);
    const Parsed parsed(row.document);
    ASSERT_NE(parsed.tree, nullptr);
    EXPECT_EQ(Describe(*parsed.tree), row.tree);
    EXPECT_EQ(XmlError(parsed.tree.get()),
              row.error.empty() ? "" : "[error near line " + std::string(row.error));
  }
}

TEST(XmlReader, BuildsElements) {
  CheckRows({
      {"<a/>", "a"},
      {"<a></a>", "a"},
      {"<a />\n", "a"},
      {"<?xml version='1.0'?>\n<!-- c --><a>x</a><!-- d --><?p?>\n", "a'x'"},
      {"<a><b>x</b></a>", "a{b'x'}"},
      {"<a>one<b/>two<c>three</c>four</a>", "a'onetwofour'{b@3 c'three'@6}"},
      {"<a>&amp;<b/>&#xE9;<b/></a>", "a'&\u00E9'{b@1 b@3}"},  // offsets count decoded bytes
      {"<a><b/><c/><b/><d/><c/><b/><b/></a>", "a{b c b d c b b}"},
      {"<a><b><b><a/></b></b><b/></a>", "a{b{b{a}} b}"},
      {"<a><A/><b/><a/></a>", "a{A b a}"},
      {"<_x:y-1.z><\u00E9/></_x:y-1.z>", "_x:y-1.z{\u00E9}"},
      {"<a>x<!-- <b> -- & -->y<!----><?p <c> ?>z</a>", "a'xyz'"},
      {"<a><![CDATA[<b>&amp;]]]]>]]<![CDATA[]]>></a>", "a'<b>&amp;]]]]>'"},
      {"<a>x<![CDATA[y]]><![CDATA[z]]></a>", "a'xyz'"},
      {"<a> \n\tx > y </a>", "a' \n\tx > y '"},
      {"<a>x\0y</a>"sv, "a'x'"},  // a NUL hides the text after it, and does no harm
  });
}

TEST(XmlReader, LinksManyNamesUnderOneParent) {
  std::string document = "<r>";
  std::string tree = "r{";
  for (int i = 0; i < 300; ++i) {
    const std::string name = "n" + std::to_string(i * i % 97);  // many names repeat
    document += "<" + name + "/>";
    tree += (i > 0 ? " " : "") + name;
  }
  CheckRows({{document + "</r>", tree + "}"}});
}

TEST(XmlReader, ReadsAttributes) {
  CheckRows({
      {"<a b=\"1\" c='2'/>", "a[b=1|c=2]"},
      {"<a b = \"1\"\n\tc\n=\n'2' />", "a[b=1|c=2]"},
      {"<a b=\"1\"c=\"2\"></a>", "a[b=1|c=2]"},
      {"<a b c=\"\" d/>", "a[b=|c=|d=]"},
      {"<a b=\"'/>\" c='\"'/>", "a[b='/>|c=\"]"},
      {"<a b=\"&lt;&#65;&quot;\"/>", "a[b=<A\"]"},
      {"<a b=\"  x \n\t y  \"/>", "a[b=x y]"},
      {"<a b=\" \n \"/>", "a[b=]"},
      {"<a b=\"1\" b=\"2\"/>", "a[b=1|b=2]"},
      {"<a><b x=\"1\"/>t<b y=\"2\"/></a>", "a't'{b[x=1] b[y=2]@1}"},
  });
}

TEST(XmlReader, DecodesReferences) {
  CheckRows({
      {"<a>a&amp;b</a>", "a'a&b'"},
      {"<a>&lt;&gt;&quot;&apos;&amp;</a>", "a'<>\"'&'"},
      {"<a>&amp;lt;&#38;lt;</a>", "a'&lt;&lt;'"},  // decoded text is not decoded again
      {"<a>&#65;&#x42;&#x63;&#0067;</a>", "a'ABcC'"},
      {"<a>&#x7F;&#x80;&#x7FF;&#x800;&#xFFFD;&#x10000;&#x10FFFF;</a>",
       "a'\x7F\u0080\u07FF\u0800\uFFFD\U00010000\U0010FFFF'"},
      {"<a>&#0;&#x110000;&#xD800;&#xDFFF;&#99999999999;</a>",
       "a'&#0;&#x110000;&#xD800;&#xDFFF;&#99999999999;'"},
      {"<a>&#;&#x;&#x4G;&#-1;&#+1;&# 1;&#X41;&#65</a>", "a'&#;&#x;&#x4G;&#-1;&#+1;&# 1;&#X41;&#65'"},
      {"<a>&;&no;& &amp &&amp;&LT;</a>", "a'&;&no;& &amp &&&LT;'"},
  });
}

TEST(XmlReader, ExpandsDeclaredEntities) {
  CheckRows({
      {"<!DOCTYPE a [<!ENTITY e \"v\">]><a>&e;&e;</a>", "a'vv'"},
      {"<!DOCTYPE a [<!ENTITY e 'it is \"<b>\" &lt;'>]><a x='&e;'>&e;!<c/></a>",
       "a[x=it is \"<b>\" <]'it is \"<b>\" <!'{c@14}"},
      {"<!DOCTYPE a [<!ENTITY e '1&f;2'><!ENTITY f '[&g;&g;]'><!ENTITY g 'x'>]><a>&e;&g;&f;&e;</a>",
       "a'1[xx]2x[xx]1[xx]2'"},
      // Numeric references are replaced where an entity is declared, other references where it is used.
      {"<!DOCTYPE a [<!ENTITY e '&#38;#60;&#x26;amp;'>]><a>&e;</a>", "a'<&'"},
      {"<!DOCTYPE a [<!ENTITY e 'first'><!ENTITY e 'second'><!ENTITY lt 'x'>]><a>&e;&lt;</a>", "a'first<'"},
      {"<!DOCTYPE a [<!ENTITY % p 'v'> %p; <!ENTITY s SYSTEM 'f'><!ENTITY t PUBLIC 'p' 'u' NDATA n>]>"
       "<a>&p;&s;&t;</a>",
       "a'&p;&s;&t;'"},
      {"<!DOCTYPE a [<!ENTITY e '&unknown;&'><!ENTITY><!ENTITY x>]><a>&e;&x;</a>", "a'&unknown;&&x;'"},
      {"<!DOCTYPE a [<!ENTITY #0 'v'>]><a>&#0;</a>", "a'&#0;'"},  // a numeric reference, though invalid
      {"<!DOCTYPE a [<!-- <!ENTITY e '1'> ] --><?p ]> ?><!ELEMENT a (b|c)><!NOTATION n SYSTEM ']>'>"
       "<!ENTITY e '2'>] ><a>&e;</a>",
       "a'2'"},
      {"<!DOCTYPE a SYSTEM 'x>[' ><a/>", "a"},
      {"<!DOCTYPE a PUBLIC \"p\" \"q\" [ ] ><a/>", "a"},
  });
}

TEST(XmlReader, AppliesDeclaredAttributes) {
  CheckRows({
      {"<!DOCTYPE a [<!ATTLIST a x CDATA '1' y CDATA \"2\">]><a/>", "a[x=1|y=2]"},
      {"<!DOCTYPE a [<!ATTLIST a x CDATA '1' y CDATA '2' z CDATA '3'>]><a y='own' w='0'/>",
       "a[y=own|w=0|x=1|z=3]"},
      {"<!DOCTYPE a [<!ATTLIST a p CDATA #IMPLIED q ID #REQUIRED r CDATA #FIXED 'f' s (u | v) 'u'\n"
       "t NOTATION (m|n) 'n' k(u|v)'v'>]><a/>",
       "a[r=f|s=u|t=n|k=v]"},
      {"<!DOCTYPE a [<!ATTLIST a c CDATA #IMPLIED n NMTOKENS #IMPLIED>]><a c=' x \n y ' n=' x \n y '/>",
       "a[c= x \n y |n=x y]"},
      {"<!DOCTYPE a [<!ATTLIST a c CDATA ' x  y ' n NMTOKENS ' x  y '>]><a/>", "a[c= x  y |n=x y]"},
      {"<!DOCTYPE a [<!ATTLIST a x CDATA '&e;'><!ENTITY e 'longer than written'>]><a/>",
       "a[x=longer than written]"},
      {"<!DOCTYPE a [<!ATTLIST a x CDATA '1'><!ATTLIST a x NMTOKEN '2' y CDATA '3'>]><a/>", "a[x=1|y=3]"},
      {"<!DOCTYPE a [<!ATTLIST b x CDATA '1'><!ATTLIST c>]><a><b/><b x='2'/><c/></a>", "a{b[x=1] b[x=2] c}"},
  });
}

TEST(XmlReader, ReportsErrorsWithTheirLines) {
  CheckRows({
      {"", "", "1]: root tag missing"},
      {"\ntext<a/>", "", "2]: root tag missing"},
      {"<!-- c -->\n<?p?>", "", "2]: root tag missing"},
      {"<a>x</a>\n\n text", "a'x'", "3]: markup outside of root element"},
      {"<a/><![CDATA[]]>", "a", "1]: markup outside of root element"},
      {"<![CDATA[]]><a/>", "", "1]: markup outside of root element"},
      {"<a/><!DOCTYPE a>", "a", "1]: markup outside of root element"},
      {"<a>\n<b x=\"1>\n</b></a>", "a'\n'", "2]: missing \""},
      {"<a>\n<b\nx='1\"\n/></a>", "a'\n'", "3]: missing '"},
      {"<a x=1/>", "", "1]: missing \""},
      {"<!DOCTYPE a [\n<!ENTITY e 'v>]><a/>", "", "2]: missing '"},
      {"<!DOCTYPE a [<!ATTLIST a x CDATA\n\"v>]><a/>", "", "2]: missing \""},
      {"<a>\n<b", "a'\n'", "2]: missing >"},
      {"<a>\n<b\n/ >", "a'\n'", "3]: missing >"},
      {"<a\0>"sv, "", "1]: missing >"},
      {"<a></a", "a", "1]: missing >"},
      {"<a>\n<!-- x\n--", "a'\n'", "2]: unclosed <!--"},
      {"<!-->", "", "1]: unclosed <!--"},
      {"<!DOCTYPE a [<!--]><a/>", "", "1]: unclosed <!--"},
      {"<a>\n<![CDATA[\n]]", "a'\n'", "2]: unclosed <![CDATA["},
      {"\n<!DOCTYPE a\n", "", "2]: unclosed <!DOCTYPE"},
      {"<!DOCTYPE a 'x><a/>", "", "1]: unclosed <!DOCTYPE"},
      {"\n<!DOCTYPE a [\n<!ENTITY e 'v'>\n", "", "2]: unclosed <!DOCTYPE"},
      {"\n<?p\n?", "", "2]: unclosed <?"},
      {"<!DOCTYPE a [\n<?p]><a/>", "", "2]: unclosed <?"},
      {"<a>\n< b/></a>", "a'\n'", "2]: unexpected <"},
      {"<a><!x></a>", "a", "1]: unexpected <"},
      {"<a><!DOCTYPE a></a>", "a", "1]: unexpected <"},
      {"<!DOCTYPE a>\n<!DOCTYPE a><a/>", "", "2]: unexpected <"},
      {"<a>\nx<b>\ny", "a'\nx'{b@2}", "3]: unclosed tag <b>"},
      {"<a>\n</b\n></a>", "a'\n'", "2]: unexpected closing tag </b>"},
      {"<a></A>", "a", "1]: unexpected closing tag </A>"},
      {"<a><b></a></b>", "a{b}", "1]: unexpected closing tag </a>"},
      {"<!DOCTYPE a [<!ENTITY e '&e;'>]><a/>", "", "1]: circular entity declaration &e"},
      {"<!DOCTYPE a [<!ENTITY z '&x;'>\n<!ENTITY x '-&y;'>\n<!ENTITY w '&x;'>\n<!ENTITY y '&lt;&#38;x;'>\n"
       "<!ENTITY v '&w;'>]><a/>",
       "", "4]: circular entity declaration &y"},
      {"<!DOCTYPE a [\n<!ATTLIST a x CDATA\n", "", "2]: unclosed <!ATTLIST"},
      {"<!DOCTYPE a [<!ATTLIST a x CDATA '1'", "", "1]: unclosed <!ATTLIST"},
      {"<!DOCTYPE a [<!ATTLIST a x (u|v", "", "1]: unclosed <!ATTLIST"},
      {"<!DOCTYPE a [<!ATTLIST>]><a/>", "", "1]: malformed <!ATTLIST"},
      {"<!DOCTYPE a [<!ATTLIST a 'x'>]><a/>", "", "1]: malformed <!ATTLIST"},
      {"<!DOCTYPE a [<!ATTLIST a\nx>]><a/>", "", "2]: malformed <!ATTLIST"},
      {"<!DOCTYPE a [<!ATTLIST a x CDATA>]><a/>", "", "1]: malformed <!ATTLIST"},
      {"<!DOCTYPE a [<!ATTLIST a x CDATA #OTHER '1'>]><a/>", "", "1]: malformed <!ATTLIST"},
      {"<!DOCTYPE a [<!ATTLIST a x NOTATION '1'>]><a/>", "", "1]: malformed <!ATTLIST"},
      {"<!DOCTYPE a [<!ATTLIST a x (u>)]><a/>", "", "1]: malformed <!ATTLIST"},
  });
}

// Line numbers refer to the original document, although reading joins and overwrites some lines.
TEST(XmlReader, ReportsTheOriginalLineAfterRewrittenText) {
  CheckRows({
      {"<a\n\n x=' 1 \n\n 2 '\n y\n=\n'\n'>\n&#65;\n&lt;\n</b>", "a[x=1 2|y=]'\nA\n<\n'",
       "12]: unexpected closing tag </b>"},
      {"<!DOCTYPE a [<!ATTLIST a\nx\nCDATA\n'&e;\n'>\n<!ENTITY\ne\n'&#65;\n'>\n]>\n<a>\r\n\r\r\n<",
       "a[x=A\n\n]'\n\n\n'", "14]: unexpected <"},
  });
}

TEST(XmlReader, TruncatesErrorMessages) {
  const std::string name(200, 'n');
  const Parsed parsed("<a></" + name + ">");
  const std::string error = XmlError(parsed.tree.get());
  EXPECT_EQ(error.size(), 127u);
  EXPECT_EQ(error, ("[error near line 1]: unexpected closing tag </" + name).substr(0, 127));
}

TEST(XmlReader, ConvertsEncodingsAndLineEndings) {
  CheckRows({
      {"\xEF\xBB\xBF<a>\u00E9</a>", "a'\u00E9'"},
      {"\xEF\xBB\xBF", "", "1]: root tag missing"},
      {"<a>x\r\ny\rz\r\r\n\n</a>\r", "a'x\ny\nz\n\n\n'"},
      {"<a b='\r\n1'\r/>", "a[b=1]"},
      {"\xFE\xFF\0<\0a\0>\0\r\0\n\x20\xAC\0<\0/\0a\0>"sv, "a'\n\u20AC'"},
      {"\xFF\xFE<\0a\0>\0\x3D\xD8\x00\xDE\xE9\0<\0/\0a\0>\0"sv, "a'\U0001F600\u00E9'"},
      {"\xFF\xFE<\0a\0>\0\x00\xDC\x3D\xD8x\0\x3D\xD8<\0/\0a\0>\0"sv, "a'\uFFFD\uFFFDx\uFFFD'"},
      {"\xFF\xFE<\0a\0/\0>\0\x3D"sv, "a"},
      {"\xFE\xFF\0<\0a\0>\xD8\x3D"sv, "a", "1]: unclosed tag <a>"},
      {"\xFF\xFE", "", "1]: root tag missing"},
      {"\xFE", "", "1]: root tag missing"},
  });
}

TEST(XmlReader, ReturnsAnEmptyTreeForNoInput) {
  const XmlTree tree(XmlParseString(nullptr, 0));
  ASSERT_NE(tree, nullptr);
  EXPECT_STREQ(tree->name, "");
  EXPECT_STREQ(tree->text, "");
  EXPECT_EQ(tree->attributes[0], nullptr);
  EXPECT_STREQ(XmlError(nullptr), "");
  XmlFree(nullptr);
}

TEST(XmlReader, FindsChildrenByName) {
  const Parsed parsed("<r><t>T</t><url>first</url><url>second</url></r>");
  const XmlNode* const url = XmlChild(parsed.tree.get(), "url");
  ASSERT_NE(url, nullptr);
  EXPECT_STREQ(url->text, "first");
  ASSERT_NE(url->next, nullptr);
  EXPECT_STREQ(url->next->text, "second");
  EXPECT_EQ(XmlError(url->next), XmlError(parsed.tree.get()));
  for (const char* name : {"URL", "ur", "urls", "", "r"})
    EXPECT_EQ(XmlChild(parsed.tree.get(), name), nullptr) << name;
  EXPECT_EQ(XmlChild(url, "url"), nullptr);
  EXPECT_EQ(XmlChild(nullptr, "url"), nullptr);
  EXPECT_EQ(XmlChild(url, nullptr), nullptr);
}

TEST(XmlReader, KeepsStringsInTheDocumentUnlessTheyGrow) {
  const Parsed parsed(
      "<!DOCTYPE r [<!ENTITY e 'longer'>]><r><a>x&lt;</a><b>x<c/>y</b><d>&e;</d><f x='&e;'/></r>");
  const auto inPlace = [&](const char* text) {
    return text >= parsed.buffer.get() && text < parsed.buffer.get() + 100;
  };
  const std::map<std::string, short> expected = {
      {"a", short{0}}, {"b", kXmlTextAllocated}, {"d", kXmlTextAllocated}, {"f", kXmlAttributesAllocated}};
  for (const auto& [name, flags] : expected) {
    const XmlNode* const node = XmlChild(parsed.tree.get(), name.c_str());
    ASSERT_NE(node, nullptr) << name;
    EXPECT_EQ(node->flags, flags) << name;
    EXPECT_TRUE(inPlace(node->name)) << name;
    EXPECT_EQ(inPlace(node->text), name == "a") << name;
  }
}

TEST(XmlReader, FreesPartOfATree) {
  struct Case {
    const char* from;  // path of names to the element to free
    const char* remaining;
  };
  for (const Case& row : {Case{"b", "r"},
                          {"c", "r{b'x'}"},
                          {"d", "r{b'x' c{e f'12'{g@1} e} b[y=1]}"},
                          {"c/f", "r{b'x' c{e} b[y=1] d c}"}}) {
    SCOPED_TRACE(row.from);
    const Parsed parsed("<r><b>x</b><c><e/><f>1<g/>2</f><e/></c><b y='1'/><d/><c/></r>");
    XmlNode* node = parsed.tree.get();
    for (const char* step = row.from; *step; ++step) {
      if (*step != '/') node = XmlChild(node, std::string(step, 1).c_str());
    }
    XmlFree(node);
    EXPECT_EQ(Describe(*parsed.tree), row.remaining);
  }
}

TEST(XmlReader, ReadsInstructionsAndStandalone) {
  struct Case {
    std::string_view document;
    bool standalone;
    std::string_view instructions;
  };
  for (const Case& row :
       {Case{"<?xml version='1.0' standalone='yes'?><a/>", true, ""},
        {"<?xml standalone = \"yes\"?><a/>", true, ""},
        {"<?xml standalone='no'?><a/>", false, ""},
        {"<?xml standalone?><a/>", false, ""},
        {"<?p?><!DOCTYPE a [<?q  x = 1 ?>]><a><?r\ns?>t<?xml-x standalone='yes'?></a><?u v?>", false,
         "(p:)(q:x = 1 )(r:s)(xml-x:standalone='yes')(u:v)"}}) {
    SCOPED_TRACE(row.document);
    const Parsed parsed(row.document);
    const auto& root = static_cast<const xml::Document&>(*parsed.tree);
    EXPECT_EQ(root.standalone, row.standalone);
    std::string instructions;
    for (const xml::Instruction& one : root.instructions) {
      instructions += "(" + std::string(one.target) + ":" + std::string(one.data) + ")";
    }
    EXPECT_EQ(instructions, row.instructions);
  }
}

std::string Repeat(size_t count, std::string_view piece) {
  std::string out;
  for (size_t i = 0; i < count; ++i) out += piece;
  return out;
}

// Repeats the piece. Each '@' becomes the index of the repetition.
std::string Numbered(size_t count, std::string_view piece) {
  std::string out;
  for (size_t i = 0; i < count; ++i) {
    for (const char c : piece) c == '@' ? void(out += std::to_string(i)) : void(out += c);
  }
  return out;
}

TEST(XmlReader, ReadsEveryPrefixOfADocumentSafely) {
  const std::string document =
      "\xEF\xBB\xBF<?xml version='1.0' standalone='yes'?>\r\n<!DOCTYPE r SYSTEM 'd' [<!ELEMENT r ANY>"
      "<!ENTITY e '&#60;&f;&lt;'><!ENTITY f \"ff\"><!ENTITY % p 'v'>%p;<!-- c --><?i d?>"
      "<!ATTLIST r a CDATA #FIXED 'x&e;' b (u|v) #IMPLIED c NOTATION (n) 'n' d ID #REQUIRED>]>"
      "<r b = ' 1  2 ' v><!-- - -- --><k>&amp;&#x20AC;&e;</k>t<![CDATA[ ]] ]]>&no;<k/><l m='&f;'>\r</l ></r> "
      "<?z?>\n";
  std::string wide = "\xFF\xFE";
  for (const char c : document.substr(3)) wide += {c, '\0'};
  for (const std::string& whole : {document, wide}) {
    for (size_t size = 0; size <= whole.size(); ++size) {
      const Parsed parsed(std::string_view(whole).substr(0, size));
      ASSERT_NE(parsed.tree, nullptr) << size;
      Describe(*parsed.tree);
    }
    EXPECT_STREQ(XmlError(Parsed(whole).tree.get()), "");
  }
}

TEST(XmlReader, LimitsExpansion) {
  const std::string kilobyte = "<!DOCTYPE r [<!ENTITY e '" + std::string(1024, 'x') + "'>]>";
  const Parsed full(kilobyte + "<r>" + Repeat(1024, "&e;") + "</r>");
  ASSERT_NE(full.tree, nullptr);
  EXPECT_EQ(std::strlen(full.tree->text), size_t{1} << 20);

  std::string laughs = "<!DOCTYPE r [<!ENTITY e0 'ha'>";
  std::string silence = "<!DOCTYPE r [<!ENTITY e0 ''>";
  for (int i = 1; i < 200; ++i) {
    const std::string declaration =
        "<!ENTITY e" + std::to_string(i) + " '" + Repeat(10, "&e" + std::to_string(i - 1) + ";") + "'>";
    laughs += declaration;
    silence += declaration;
  }
  EXPECT_EQ(Parsed(kilobyte + "<r>" + Repeat(1025, "&e;") + "</r>").tree, nullptr);
  EXPECT_EQ(Parsed(kilobyte + "<r>" + Repeat(1025, "<a b='&e;'/>") + "</r>").tree, nullptr);
  EXPECT_EQ(Parsed(laughs + "]><r>&e199;</r>").tree, nullptr);
  EXPECT_EQ(Parsed(laughs + "<!ATTLIST r a CDATA '&e199;'>]><r/>").tree, nullptr);
  CheckRows({{laughs + "]><r>&e2;</r>", "r'" + Repeat(100, "ha") + "'"},
             {silence + "]><r>&e199;.&e198;</r>", "r'.'"}});

  // Predefined entities only shrink a document, so that any number of them is allowed.
  EXPECT_NE(Parsed("<r>" + Repeat(kilobyte.size() * 1024, "&lt;") + "</r>").tree, nullptr);

  const std::string defaults = "<!DOCTYPE r [<!ATTLIST a" + Numbered(2000, " a@ CDATA ''") + ">]><r>";
  EXPECT_NE(Parsed(defaults + Repeat(40, "<a/>") + "</r>").tree, nullptr);
  EXPECT_EQ(Parsed(defaults + Repeat(400, "<a/>") + "</r>").tree, nullptr);
}

// Runs the work on a small stack. Recursion over any of the documents below would overflow it.
void OnSmallStack(std::function<void()> work) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, size_t{256} << 10), 0);
  pthread_t thread;
  const auto run = [](void* context) -> void* {
    (*static_cast<std::function<void()>*>(context))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

// If the work on one of these documents were not linear in its size, the test would run far too long.
TEST(XmlReader, ReadsHostileDocumentsOnASmallStack) {
  constexpr size_t kMany = 100'000;
  const std::string subset = "<!DOCTYPE r [";
  const std::string longName(1 << 20, 'n');
  struct Case {
    const char* name;
    std::string document;
    bool wellFormed = true;
  };
  const std::vector<Case> cases = {
      {"nesting", Repeat(kMany, "<a>") + Repeat(kMany, "</a>")},
      {"open nesting", Repeat(kMany, "<a>"), false},
      {"siblings", "<r>" + Repeat(300'000, "<a/>") + "</r>"},
      {"siblings with many names", "<r>" + Numbered(kMany, "<a@/><b@/><a@/>") + "</r>"},
      {"attributes", "<r" + Numbered(kMany, " a@='v'") + "/>"},
      {"text in pieces", "<r>" + Repeat(kMany, "t<a/>&#65;<!-- --><![CDATA[x]]>") + "</r>"},
      {"entities", subset + Numbered(kMany, "<!ENTITY e@ 'v'>") + "]><r>" + Numbered(kMany, "&e@;") + "</r>"},
      {"attribute lists", subset + Numbered(kMany, "<!ATTLIST a@ x CDATA 'v'>") + "]><r/>"},
      {"attributes without a default", subset + "<!ATTLIST a" + Numbered(kMany, " a@ CDATA #IMPLIED") +
                                           ">]><r>" + Repeat(kMany, "<a/>") + "</r>"},
      {"attributes declared and given", subset + "<!ATTLIST r" + Numbered(kMany, " a@ CDATA 'v'") + ">]><r" +
                                            Numbered(kMany, " a@='w'") + "/>"},
      {"attributes of an element with a long name", "<" + longName + Repeat(kMany, " a=''") + "/>"},
      {"attributes declared for an element with a long name",
       subset + "<!ATTLIST " + longName + Numbered(kMany, " a@ CDATA 'v'") + ">]><" + longName +
           Numbered(kMany, " a@='w'") + "/>"},
      {"instructions", "<r>" + Repeat(kMany, "<?p d?>") + "</r>"},
      {"ampersands", "<r>" + Repeat(kMany, "&&a &#") + "</r>"},
      {"dashes", "<r><!--" + Repeat(kMany, "->"), false},
      {"line feeds", Repeat(kMany, "<a\n>\n") + "</b>", false},
  };
  for (const Case& row : cases) {
    OnSmallStack([&row] {
      const Parsed parsed(row.document);
      ASSERT_NE(parsed.tree, nullptr) << row.name;
      const std::string error = XmlError(parsed.tree.get());
      EXPECT_EQ(error.empty(), row.wellFormed) << row.name << ": " << error;
    });
  }
}

TEST(XmlReader, ExpandsALongChainOfEntities) {
  constexpr size_t kLength = 100'000;
  std::string subset = "<!DOCTYPE r [<!ENTITY e0 'v'>";
  for (size_t i = 1; i < kLength; ++i) {
    subset += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
  }
  const std::string last = std::to_string(kLength - 1);
  OnSmallStack([&] {
    const Parsed parsed(subset + "]><r>" + Repeat(kLength, "&e" + last + ";") + "</r>");
    ASSERT_NE(parsed.tree, nullptr);
    EXPECT_EQ(std::string(parsed.tree->text), std::string(kLength, 'v'));
    const Parsed circular(subset + "<!ENTITY x '&e" + last + ";&x;'>]><r/>");
    EXPECT_STREQ(XmlError(circular.tree.get()), "[error near line 1]: circular entity declaration &x");
  });
}

}  // namespace
}  // namespace velk
