# Writes the C++ source that holds the files of the page.
# Usage: cmake -DOUTPUT=FILE -DFOLDER=FOLDER "-DNAMES=A;B" -P embed_page.cmake
set(arrays "")
set(rows "")
set(number 0)
foreach(name IN LISTS NAMES)
  file(READ ${FOLDER}/${name} hex HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\\\x\\1" escapes "${hex}")
  string(LENGTH "${hex}" digits)
  math(EXPR size "${digits} / 2")
  string(APPEND arrays "constexpr char kFile${number}[] = \"${escapes}\";\n")
  string(APPEND rows "    {\"${name}\", {kFile${number}, ${size}}},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUTPUT} "// Generated from sandbox/page.
#include \"kit/page.h\"

namespace velk::sandbox {
namespace {

${arrays}
constexpr PageFile kFiles[] = {
${rows}};

}  // namespace

std::span<const PageFile> PageFiles() { return kFiles; }

}  // namespace velk::sandbox
")
