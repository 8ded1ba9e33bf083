#include "kit/match.h"

#include <algorithm>
#include <memory>

#include "kit/request.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::string_view kAbsent = "(absent)";

class Comparison {
 public:
  void Compare(std::string_view member, const std::string& expected, const std::string& received) {
    if (!expected.empty() && !FitsPattern(expected, received))
      differences_.push_back({std::string(member), expected, received});
  }

  // Each expected pair must be among the received ones. A difference shows the first of that name.
  void Compare(std::string_view member, const Pairs& expected, const Pairs& received,
               bool (*sameName)(std::string_view, std::string_view)) {
    for (const auto& pair : expected) {
      const std::string &name = pair.first, &pattern = pair.second;
      const auto fits = [&](const auto& given) {
        return sameName(given.first, name) && FitsPattern(pattern, given.second);
      };
      if (std::ranges::any_of(received, fits)) continue;
      const auto first =
          std::ranges::find_if(received, [&](const auto& given) { return sameName(given.first, name); });
      differences_.push_back({std::string(member) + '.' + name, pattern,
                              first == received.end() ? std::string(kAbsent) : first->second});
    }
  }

  std::vector<Difference> Take() { return std::move(differences_); }

 private:
  std::vector<Difference> differences_;
};

// Of a list of hosts, the pattern that fits. All of them if none does.
std::string PatternFor(const std::string& host, const std::string& patterns) {
  for (const std::string& pattern : Split(patterns, ',')) {
    if (FitsPattern(pattern, host)) return pattern;
  }
  return patterns;
}

bool Equal(std::string_view a, std::string_view b) { return a == b; }

Pairs HeaderPairs(const Head& head) {
  Pairs pairs;
  for (const std::string_view line : head.lines) {
    const std::size_t colon = line.find(':');
    pairs.emplace_back(line.substr(0, colon), Trim(line.substr(colon + 1)));
  }
  return pairs;
}

// Of a large form, the fields alone are stored.
std::string BodyText(const Received& received) {
  if (received.body.IsKnown()) return received.body.Beginning(kLargestText);
  std::string text;
  for (const FormPart& part : received.fields) {
    if (text.size() < kLargestText) text += part.content.Beginning(kLargestText - text.size()) + '\n';
  }
  return text;
}

}  // namespace

// Goes back to the last '*' and lets it take one byte more.
bool FitsPattern(std::string_view pattern, std::string_view text) {
  std::size_t star = std::string_view::npos, taken = 0, at = 0, i = 0;
  while (i < text.size()) {
    if (at < pattern.size() && pattern[at] == '*') {
      star = at++;
      taken = i;
    } else if (at < pattern.size() && pattern[at] == text[i]) {
      ++at;
      ++i;
    } else if (star != std::string_view::npos) {
      at = star + 1;
      i = ++taken;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

bool NeedsBody(const ScriptText& wanted) { return !wanted.withBody.empty() || !wanted.withForm.empty(); }

// A tunnel is opened by the client's own machinery, so only a description that names CONNECT fits one.
std::vector<Difference> Differences(const ScriptText& wanted, const Head& head, const Received* received) {
  Comparison comparison;
  comparison.Compare("host", PatternFor(head.host, wanted.host), head.host);
  const bool isConnect = head.method == "CONNECT";
  comparison.Compare("method", wanted.method.empty() && isConnect ? "any but CONNECT" : wanted.method,
                     head.method);
  if (!isConnect) comparison.Compare("path", wanted.path, head.Path());
  if (!wanted.withQuery.empty())
    comparison.Compare("withQuery", wanted.withQuery, ParsePairs(head.Query()), Equal);
  if (!wanted.withHeaders.empty())
    comparison.Compare("withHeaders", wanted.withHeaders, HeaderPairs(head), SameName);
  if (!received || !NeedsBody(wanted)) return comparison.Take();
  if (!wanted.withForm.empty()) {
    const std::shared_ptr<const Received> borrowed(std::shared_ptr<void>(), received);
    comparison.Compare("withForm", wanted.withForm, ServiceRequest(head, borrowed).form, Equal);
  }
  if (!wanted.withBody.empty())
    comparison.Compare("withBody", '*' + wanted.withBody + '*', BodyText(*received));
  return comparison.Take();
}

}  // namespace velk::sandbox
