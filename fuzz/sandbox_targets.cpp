// Feeds each parser of the sandbox with hostile requests. What arrives in pieces must give the same result as
// what arrives at once.
#include "fuzz/sandbox_targets.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "fuzz/targets.h"
#include "kit/byte_strings.h"
#include "kit/intake.h"
#include "kit/request.h"
#include "kit/secret_names.h"
#include "kit/secrets.h"
#include "kit/service_reason.h"
#include "net/body.h"
#include "net/head.h"
#include "net/reply_head.h"
#include "net/text.h"
#include "services/facebook/fields.h"
#include "services/lenient_json.h"
#include "services/twitter/oauth_check.h"
#include "services/twitter/tweet_length.h"
#include "services/youtube/content_range.h"
#include "services/youtube/partial_response.h"

namespace velk::fuzz {
namespace {

using namespace sandbox;
namespace json = boost::json;

constexpr std::size_t kAtOnce = std::string_view::npos;

std::string_view TakePiece(std::string_view& input, std::size_t size) {
  const std::string_view piece = input.substr(0, size);
  input.remove_prefix(piece.size());
  return piece;
}

Store& TemporaryStore() {
  static Store store({}, true);
  return store;
}

struct HeadResult {
  Head head;
  bool complete = false;
  int refusal = 0;
  std::string_view left;
};

bool operator==(const HeadResult& a, const HeadResult& b) {
  const auto members = [](const HeadResult& result) {
    const Head& head = result.head;
    return std::tie(head.raw, head.method, head.host, head.target, head.lines, head.length, head.chunked,
                    head.expectsContinue, head.keepAlive, result.complete, result.refusal);
  };
  return members(a) == members(b) && (a.refusal != 0 || a.left == b.left);
}

HeadResult ReadHead(std::string_view input, std::size_t pieceSize) {
  HeadReader reader;
  HeadResult result;
  try {
    while (!input.empty() && !reader.Complete()) {
      std::string_view piece = input.substr(0, pieceSize);
      const std::size_t size = piece.size();
      reader.Read(piece);
      input.remove_prefix(size - piece.size());
    }
    result.left = input;
    result.complete = reader.Complete();
    if (result.complete) result.head = reader.Parse();
  } catch (const BadRequest& refused) {
    result.refusal = refused.status;
  }
  return result;
}

bool IsRefused(std::string_view head) try {
  ParseHead(std::string(head));
  return false;
} catch (const BadRequest&) {
  return true;
}

struct BodyResult {
  std::string content;
  bool complete = false;
  bool refused = false;
  std::size_t left = 0;
  bool operator==(const BodyResult&) const = default;
};

BodyResult DecodeBody(const Head& head, std::string_view input, std::size_t pieceSize) {
  BodyDecoder decoder(head);
  BodyResult result;
  try {
    while (!input.empty() && !decoder.Complete()) {
      std::string_view piece = TakePiece(input, pieceSize);
      while (!piece.empty() && !decoder.Complete()) {
        const std::size_t size = piece.size();
        result.content += decoder.Decode(piece);
        Demand(piece.size() < size);
      }
      result.left = input.size() + piece.size();
    }
    result.complete = decoder.Complete();
  } catch (const BadRequest&) {
    result.refused = true;
    result.left = 0;
  }
  return result;
}

Head ChunkedHead() {
  Head head;
  head.chunked = true;
  return head;
}

Head CountedHead(std::size_t length) {
  Head head;
  head.length = length;
  return head;
}

// None when the form is refused.
std::shared_ptr<const Received> ReadForm(const Head& head, std::string_view input,
                                         std::size_t pieceSize) try {
  Intake intake(TemporaryStore(), head);
  while (!input.empty()) intake.Append(TakePiece(input, pieceSize));
  return intake.Finish();
} catch (const BadRequest&) {
  return nullptr;
}

bool SameContent(const Content& a, const Content& b) {
  return a.Size() == b.Size() && a.Bytes() == b.Bytes() && a.Sha256() == b.Sha256();
}

bool SamePart(const FormPart& a, const FormPart& b) {
  return a.name == b.name && a.fileName == b.fileName && a.contentType == b.contentType &&
         SameContent(a.content, b.content);
}

std::shared_ptr<const Received> ReceivedBody(std::string_view bytes) {
  Content body(TemporaryStore(), Large::kCountOnly);
  body.Append(bytes);
  body.Finish();
  return std::make_shared<Received>(Received{std::move(body), {}});
}

std::string Encoded(const Pairs& pairs) {
  std::string text;
  for (const auto& [name, value] : pairs) text += PercentEncode(name) + '=' + PercentEncode(value) + '&';
  return text;
}

std::optional<json::value> ParseStrictly(std::string_view text, std::size_t depth) {
  boost::system::error_code error;
  json::parse_options options;
  options.max_depth = depth;
  json::value value = json::parse(json::string_view(text), error, {}, options);
  if (error) return std::nullopt;
  return value;
}

// Fractions can differ in their last digit, because the strict parser does not round exactly.
bool SameValue(const json::value& a, const json::value& b) {
  if (a.is_double()) return b.is_double();
  if (a.is_array() && b.is_array()) return std::ranges::equal(a.get_array(), b.get_array(), SameValue);
  if (!a.is_object() || !b.is_object()) return a == b;
  return a.get_object().size() == b.get_object().size() &&
         std::ranges::all_of(a.get_object(), [&](const json::key_value_pair& member) {
           const json::value* const other = b.get_object().if_contains(member.key());
           return other && SameValue(member.value(), *other);
         });
}

bool IsUtf8(std::string_view text) { return ToText(json::value(text)) == json::value(text); }

// Through the text of JSON and back.
json::object CarriedByText(const json::object& bytes) {
  const std::optional<json::value> text = ParseStrictly(json::serialize(ToText(bytes)), 4);
  Demand(text.has_value());
  return FromText(text->as_object());
}

std::string WithoutSecrets(std::string_view text) {
  std::string shown;
  std::size_t copied = 0;
  while (const auto secret = FindSecret(text, copied)) {
    Demand(copied <= secret->begin && secret->begin < secret->end && secret->end <= text.size());
    shown += std::string(text.substr(copied, secret->begin - copied)) + std::string(kHidden);
    copied = secret->end;
  }
  return shown += text.substr(copied);
}

}  // namespace

void SandboxHead(std::string_view input) {
  const HeadResult result = ReadHead(input, kAtOnce);
  Demand(result == ReadHead(input, 1));
  if (result.refusal != 0) return;
  const Head& head = result.head;
  if (!result.complete) {
    Demand(result.left.empty() && IsRefused(input));
    return;
  }
  Demand(head.raw + std::string(result.left) == input && !IsRefused(head.raw));
  std::string lines = "\r\n";
  for (const std::string& line : head.lines) lines += line + "\r\n";
  Demand(head.raw.ends_with(lines + "\r\n"));
  Demand(head.target == head.Path() || head.target == head.Path() + '?' + head.Query());
}

void SandboxBody(std::string_view input) {
  for (const Head& head : {ChunkedHead(), CountedHead(input.size() / 2), CountedHead(input.size() + 1)}) {
    const BodyResult result = DecodeBody(head, input, kAtOnce);
    Demand(result == DecodeBody(head, input, 1) && result == DecodeBody(head, input, 3));
    if (head.length) Demand(result.content == input.substr(0, *head.length) && !result.refused);
  }
}

// The first line of the input is the content type, and the rest is the body.
void SandboxForm(std::string_view input) {
  const std::size_t end = std::min(input.find('\n'), input.size());
  Head head;
  head.lines.push_back("Content-Type: " + std::string(input.substr(0, end)));
  input.remove_prefix(std::min(end + 1, input.size()));
  const auto whole = ReadForm(head, input, kAtOnce);
  for (const std::size_t pieceSize : {1U, 7U}) {
    const auto pieces = ReadForm(head, input, pieceSize);
    Demand(!whole == !pieces);
    if (!whole) continue;
    Demand(SameContent(whole->body, pieces->body) && whole->body.Size() == input.size());
    Demand(std::ranges::equal(whole->fields, pieces->fields, SamePart));
  }
}

// The input is the query, the form-encoded body and the Authorization header of one request.
void SandboxQuery(std::string_view input) {
  const Pairs pairs = ParsePairs(input);
  Demand(ParsePairs(Encoded(pairs)) == pairs);
  Demand(PercentDecode(PercentEncode(input), true) == input &&
         PercentDecode(input, false).size() <= input.size());

  Head head;
  head.method = "POST";
  head.host = "api.twitter.com";
  head.target = "/path?" + std::string(input);
  head.lines = {"Content-Type: application/x-www-form-urlencoded",
                "Authorization: OAuth " + std::string(input)};
  const ServiceRequest request(head, ReceivedBody(input));
  Demand(request.query == pairs && request.form == pairs);
  const OauthCheck check = CheckOauth(request, [](const std::string& key, std::string_view) { return key; });
  Demand(std::ranges::count(check.baseString, '&') == 2);
}

// What a strict parser accepts has the same value here. Only numbers beyond the range are refused, because
// the strict parser makes an infinity of them, which JSON cannot hold.
void SandboxJson(std::string_view input) {
  const std::optional<json::value> value = ParseLenientJson(input);
  const std::optional<json::value> strict = ParseStrictly(input, 32);
  const bool inRange = strict && ParseStrictly(json::serialize(*strict), 32);
  Demand(!inRange || (value && SameValue(*strict, *value)));
  if (!value || !IsUtf8(input)) return;
  const std::optional<json::value> again = ParseStrictly(json::serialize(*value), 64);
  Demand(again && SameValue(*value, *again));
}

// The first line of the input selects fields of the rest, which is JSON. Selecting them again changes
// nothing. The line is also read as what other short texts of a request are.
void SandboxFields(std::string_view input) {
  const std::string_view line = input.substr(0, input.find('\n'));
  const std::optional<json::value> document =
      ParseStrictly(input.substr(std::min(line.size() + 1, input.size())), 32);
  const auto selected = youtube::SelectFields(document.value_or(nullptr), line);
  Demand(!selected || youtube::SelectFields(*selected, line) == selected);
  const auto fields = facebook::ParseFields(line);
  Demand(!fields || !fields->empty());
  const auto range = youtube::ParseContentRange(line);
  Demand(!range || range->first.has_value() == range->last.has_value());
  Demand(!range || !range->first ||
         (*range->first <= *range->last && range->last < range->total.value_or(~0ULL)));
  Demand(twitter::TweetLength(line) <= 3 * line.size());
}

// Also reads the input as base64. What is accepted must be what an encoder produces.
void SandboxStrings(std::string_view input) {
  json::array list;
  for (std::string_view rest = input; !rest.empty();
       rest.remove_prefix(std::min<std::size_t>(1, rest.size())))
    list.emplace_back(TakePiece(rest, rest.find('\n')));
  const json::object bytes{{"string", input}, {"list", list}};
  Demand(CarriedByText(bytes) == bytes);
  try {
    const json::object decoded = FromText({{"stringBase64", input}});
    Demand(Base64(decoded.at("string").as_string()) == input);
  } catch (const std::invalid_argument&) {
  }
}

// A reply of a real service. What is hidden once has nothing left to hide.
void SandboxReply(std::string_view input) {
  const std::string shown = WithoutSecrets(input);
  Demand(WithoutSecrets(shown) == shown);
  const std::size_t end = std::min(input.find("\r\n\r\n"), input.size());
  const std::string raw(input.substr(0, end));
  const std::string body(input.substr(std::min(end + 4, input.size())));
  try {
    const ReplyHead head = ParseReplyHead(raw, "GET");
    Demand(head.raw == raw && head.lines == HeaderLines(raw));
    Demand(!head.chunked || (head.length == 0 && !head.endsWithConnection));
    Demand(!ServiceReason(head, body).empty());
    const auto content = Secrets(true).Hide(TemporaryStore(), head.lines, {body, body.size()});
    Demand(content->IsKnown() || body.size() > 60'000 || !head.Header("Content-Encoding").empty());
  } catch (const BadRequest&) {
  }
}

}  // namespace velk::fuzz
