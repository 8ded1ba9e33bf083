#include "kit/secrets.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <functional>
#include <optional>
#include <system_error>

#include "kit/gunzip.h"
#include "kit/multipart.h"
#include "kit/secret_names.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

// A shorter value is likely to be a part of something else. It is replaced at its name alone.
constexpr std::size_t kShortestKnown = 8;
constexpr std::size_t kMostKnown = 500;  // so that one exchange cannot take a long time

std::string Replace(std::string_view text, std::string_view what) {
  std::string replaced;
  for (std::size_t at; (at = text.find(what)) != std::string_view::npos;) {
    replaced += text.substr(0, at);
    replaced += kHidden;
    text.remove_prefix(at + what.size());
  }
  return replaced += text;
}

// As JSON writes it, with its slashes escaped.
std::string WithEscapedSlashes(std::string_view value) {
  std::string escaped;
  for (const char c : value) escaped += c == '/' ? std::string("\\/") : std::string(1, c);
  return escaped;
}

void ForEachSecretMember(const json::value& value, const std::function<void(std::string_view)>& take) {
  if (value.is_array()) {
    for (const json::value& element : value.get_array()) ForEachSecretMember(element, take);
  }
  if (!value.is_object()) return;
  for (const auto& [name, member] : value.get_object()) {
    if (member.is_string() && IsSecretName(name)) take(member.get_string());
    ForEachSecretMember(member, take);
  }
}

// The part of a form field's name=value pair that follows the equals sign.
std::size_t ValueOfPair(std::string_view pair) { return std::min(pair.find('='), pair.size() - 1) + 1; }

Content CountedContent(Store& store, std::uint64_t size) {
  Content content(store, Large::kCountOnly);
  content.Count(size);
  return content;
}

// A full disk is no reason to break off what is only recorded.
Content NewContent(Store& store, std::string_view bytes) try {
  Content content(store, Large::kCountOnly);
  content.Append(bytes);
  content.Finish();
  return content;
} catch (const std::system_error&) {
  return CountedContent(store, bytes.size());
}

// What a body means. None for a coding that is not known here, and for what is too large once it is expanded.
std::optional<std::string> Expanded(const std::vector<std::string>& lines, std::string body) try {
  const std::string coding = HeaderOf(lines, "Content-Encoding");
  if (coding.empty() || SameName(coding, "identity")) return body;
  if (!SameName(coding, "gzip")) return std::nullopt;
  Gunzip gunzip;
  std::string expanded = gunzip.Expand(body);
  if (!gunzip.Complete() || expanded.size() > kLargestText) return std::nullopt;
  return expanded;
} catch (const BadRequest&) {
  return std::nullopt;
}

std::string MediaTypeOf(const std::vector<std::string>& lines) {
  const std::string type = HeaderOf(lines, "Content-Type");
  return Lower(Trim(std::string_view(type).substr(0, type.find(';'))));
}

// A malformed boundary is the service's business.
std::string BoundaryOf(const std::vector<std::string>& lines) try {
  return FormBoundary(HeaderOf(lines, "Content-Type")).value_or("");
} catch (const BadRequest&) {
  return {};
}

}  // namespace

// ---- Known values ----

void Secrets::Learn(std::string_view value) {
  if (known_.size() >= kMostKnown) return;
  const std::string decoded = PercentDecode(value, true);
  const std::string forms[] = {std::string(value), decoded, PercentEncode(decoded),
                               PercentEncode(PercentEncode(decoded)), WithEscapedSlashes(decoded)};
  for (const std::string& form : forms) {
    const bool isNew = std::ranges::find(known_, form) == known_.end();
    if (form.size() >= kShortestKnown && isNew) known_.push_back(form);
  }
  std::ranges::sort(known_, std::greater(), &std::string::size);
}

std::string Secrets::ByValue(std::string text) const {
  for (const std::string& value : known_) {
    if (text.find(value) != std::string::npos) text = Replace(text, value);
  }
  return text;
}

// ---- Named values ----

std::string Secrets::ByName(std::string_view text) {
  std::string shown;
  std::size_t copied = 0;
  while (const auto secret = FindSecret(text, copied)) {
    Learn(text.substr(secret->begin, secret->end - secret->begin));
    shown += text.substr(copied, secret->begin - copied);
    shown += kHidden;
    copied = secret->end;
  }
  return shown += text.substr(copied);
}

// Authorization: Bearer …
std::string Secrets::ByNameInLine(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || !IsSecretName(Trim(line.substr(0, colon)))) return ByName(line);
  ByName(line.substr(colon + 1));  // for the parameters of OAuth
  const std::string_view value = Trim(line.substr(colon + 1));
  const bool hasScheme = Lower(line.substr(0, colon)).ends_with("authorization");
  const std::size_t scheme = hasScheme ? value.find(' ') + 1 : 0;
  if (value.empty()) return std::string(line);
  Learn(Trim(value.substr(scheme)));
  return std::string(line.substr(0, colon)) + ": " + std::string(value.substr(0, scheme)) +
         std::string(kHidden);
}

// A name can be encoded, and a value can contain what ends it elsewhere.
std::string Secrets::ByNameInForm(std::string_view body) {
  std::string shown;
  while (!body.empty()) {
    std::string_view pair = body.substr(0, body.find('&'));
    body.remove_prefix(std::min(pair.size() + 1, body.size()));
    const std::size_t value = pair.empty() ? 0 : ValueOfPair(pair);
    const std::string name = PercentDecode(pair.substr(0, pair.find('=')), true);
    if (value < pair.size() && IsSecretName(name)) {
      Learn(pair.substr(value));
      shown += std::string(pair.substr(0, value)) + std::string(kHidden);
    } else {
      shown += ByName(pair);
    }
    if (!body.empty()) shown += '&';
  }
  return shown;
}

// The parts are between delimiters. The name of a part is in its head, before the first empty line.
std::string Secrets::ByNameInParts(std::string_view body, const std::string& boundary) {
  const std::string delimiter = "--" + boundary;
  std::string shown;
  while (!body.empty()) {
    const std::string_view part = body.substr(0, body.find(delimiter, delimiter.size()));
    body.remove_prefix(part.size());
    const std::size_t content = part.find("\r\n\r\n");
    const std::size_t head = part.find("\r\n") + 2;  // after the delimiter
    const bool isSecret = content != std::string_view::npos && content >= head &&
                          IsSecretName(PartName(part.substr(head, content - head)));
    if (!isSecret) {
      shown += ByName(part);
      continue;
    }
    std::string_view value = part.substr(content + 4);
    value = value.substr(0, value.rfind("\r\n"));
    Learn(value);
    shown += std::string(part.substr(0, content + 4)) + std::string(kHidden) + "\r\n";
  }
  return shown;
}

std::string Secrets::ByNameInBody(const std::vector<std::string>& lines, const std::string& body) {
  const std::string boundary = BoundaryOf(lines);
  if (!boundary.empty()) return ByNameInParts(body, boundary);
  if (MediaTypeOf(lines) == "application/x-www-form-urlencoded") return ByNameInForm(body);
  boost::system::error_code error;
  const json::value document = json::parse(json::string_view(body), error);
  if (!error) ForEachSecretMember(document, [this](std::string_view value) { Learn(value); });
  return ByName(body);
}

// ---- What is recorded ----

std::string Secrets::Hide(const std::string& text) { return areHidden_ ? ByValue(ByName(text)) : text; }

std::string Secrets::HideHead(std::string_view raw) {
  if (!areHidden_) return std::string(raw);
  std::string shown;
  bool isFirst = true;
  while (!raw.empty()) {
    const std::string_view line = raw.substr(0, raw.find("\r\n"));
    const bool hasEnd = line.size() < raw.size();
    raw.remove_prefix(std::min(line.size() + 2, raw.size()));
    shown += (isFirst ? ByName(line) : ByNameInLine(line)) + (hasEnd ? "\r\n" : "");
    isFirst = false;
  }
  return ByValue(shown);
}

Head Secrets::Hide(Head head) {
  if (!areHidden_) return head;
  head.raw = HideHead(head.raw);
  head.target = Hide(head.target);
  for (std::string& line : head.lines) line = ByValue(ByNameInLine(line));
  return head;
}

std::string Secrets::HideBody(const std::vector<std::string>& lines, const std::string& body) {
  const std::string shown = ByNameInBody(lines, body);
  return ByValue(shown);
}

FormPart Secrets::HidePart(Store& store, const FormPart& part) {
  const auto named = [&](Content content) {
    return FormPart{part.name, part.fileName, part.contentType, part.encoding, std::move(content)};
  };
  if (!part.content.IsKnown()) return named(CountedContent(store, part.content.Size()));
  const std::string value = part.content.Load();
  if (!IsSecretName(part.name) || value.empty()) return named(NewContent(store, Hide(value)));
  Learn(value);
  return named(NewContent(store, kHidden));
}

std::shared_ptr<const Received> Secrets::Hide(Store& store, const Head& head,
                                              std::shared_ptr<const Received> received) {
  if (!areHidden_) return received;
  std::vector<FormPart> fields;
  for (const FormPart& part : received->fields) fields.push_back(HidePart(store, part));
  const auto text = received->body.IsKnown() ? Expanded(head.lines, received->body.Load()) : std::nullopt;
  Content body =
      text ? NewContent(store, HideBody(head.lines, *text)) : CountedContent(store, received->body.Size());
  return std::make_shared<Received>(Received{std::move(body), std::move(fields)});
}

std::shared_ptr<const Content> Secrets::Hide(Store& store, const std::vector<std::string>& lines,
                                             const BodyText& body) {
  if (body.bytes.size() != body.size) return std::make_shared<Content>(CountedContent(store, body.size));
  const auto text = Expanded(lines, body.bytes);
  if (!areHidden_) return std::make_shared<Content>(NewContent(store, text.value_or(body.bytes)));
  return std::make_shared<Content>(text ? NewContent(store, HideBody(lines, *text))
                                        : CountedContent(store, body.size));
}

}  // namespace velk::sandbox
