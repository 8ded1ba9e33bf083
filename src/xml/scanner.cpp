#include "xml/scanner.h"

namespace velk::xml {
namespace {

std::string_view TrimStart(std::string_view text) {
  const auto first = std::find_if_not(text.begin(), text.end(), IsSpace);
  return {first, text.end()};
}

// Whether the data of an XML declaration contains standalone="yes".
bool DeclaresStandalone(std::string_view data) {
  constexpr std::string_view kName = "standalone";
  const size_t found = data.find(kName);
  if (found == data.npos) return false;
  std::string_view rest = TrimStart(data.substr(found + kName.size()));
  if (!rest.starts_with('=')) return false;
  rest = TrimStart(rest.substr(1));
  return rest.starts_with("\"yes\"") || rest.starts_with("'yes'");
}

}  // namespace

bool Scanner::ReadQuoted(std::span<char>& value) {
  char* const opening = at++;
  char* const closing = Find(*opening);
  if (closing == end) return Fail(opening, {"missing ", {opening, 1}});
  value = {at, closing};
  at = closing + 1;
  return true;
}

bool Scanner::SkipComment() {
  const size_t close = Rest().find("-->", 4);
  if (close == std::string_view::npos) return Fail(at, {"unclosed <!--"});
  at += close + 3;
  return true;
}

bool Scanner::ReadInstruction() {
  const size_t close = Rest().find("?>", 2);
  if (close == std::string_view::npos) return Fail(at, {"unclosed <?"});
  const std::string_view body = Rest().substr(2, close - 2);
  at += close + 2;
  const auto targetEnd = std::find_if(body.begin(), body.end(), IsSpace);
  const std::string_view target(body.begin(), targetEnd);
  const std::string_view data = TrimStart({targetEnd, body.end()});
  if (target == "xml") {
    document_.standalone = DeclaresStandalone(data);
  } else {
    document_.instructions.push_back({target, data});
  }
  return true;
}

}  // namespace velk::xml
