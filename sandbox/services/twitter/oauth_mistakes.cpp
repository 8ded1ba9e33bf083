#include "services/twitter/oauth_mistakes.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

namespace velk::sandbox {
namespace {

constexpr std::size_t kLargestBase = 64 * 1024;  // a longer base string is not worth the time of the search
constexpr std::size_t kShown = 40;               // bytes of the first difference

// What a client signs: the parts of the base string, and the key.
struct Signing {
  const ServiceRequest& request;
  const OauthCheck& check;
  std::string method, url;
  Pairs parameters;
  std::string (*encode)(std::string_view) = PercentEncode;
  bool sorted = true;
  std::string key = {};
};

bool IsOauth(const Pairs::value_type& pair) { return pair.first.starts_with("oauth_"); }

void Remove(Signing& signing, const Pairs& removed) {
  std::erase_if(signing.parameters, [&](const auto& pair) {
    return !IsOauth(pair) && std::ranges::find(removed, pair) != removed.end();
  });
}

void RemoveNamed(Signing& signing, std::string_view name) {
  std::erase_if(signing.parameters, [&](const auto& pair) { return pair.first == name; });
}

// As a form, in which a space is a plus sign.
std::string EncodeAsForm(std::string_view text) {
  std::string encoded = PercentEncode(text);
  for (std::size_t at; (at = encoded.find("%20")) != std::string::npos;) encoded.replace(at, 3, "+");
  return encoded;
}

std::string EncodeInLowerCase(std::string_view text) {
  std::string encoded = PercentEncode(text);
  for (std::size_t at = encoded.find('%'); at != std::string::npos; at = encoded.find('%', at + 3))
    encoded.replace(at + 1, 2, Lower(std::string_view(encoded).substr(at + 1, 2)));
  return encoded;
}

// As JavaScript's encodeURIComponent.
std::string EncodeAsScript(std::string_view text) {
  static constexpr std::string_view kUnchanged = "!'()*";
  std::string encoded;
  for (const char c : text)
    encoded += kUnchanged.find(c) == kUnchanged.npos ? PercentEncode({&c, 1}) : std::string(1, c);
  return encoded;
}

std::string EncodeTwice(std::string_view text) { return PercentEncode(PercentEncode(text)); }
std::string EncodeNothing(std::string_view text) { return std::string(text); }

struct Mistake {
  const char* name;
  void (*make)(Signing& signing);
};

constexpr Mistake kMethods[] = {
    {"the method GET", [](Signing& s) { s.method = "GET"; }},
    {"the method POST", [](Signing& s) { s.method = "POST"; }},
    {"the method in lower case", [](Signing& s) { s.method = Lower(s.method); }},
};

constexpr Mistake kUrls[] = {
    {"the URL with http", [](Signing& s) { s.url.replace(0, 5, "http"); }},
    {"the URL with its query", [](Signing& s) { s.url += '?' + s.request.head.Query(); }},
    {"the URL with the port 443",
     [](Signing& s) {
       s.url.insert(std::string_view("https://").size() + s.request.head.host.size(), ":443");
     }},
    {"the URL with a slash at its end", [](Signing& s) { s.url += '/'; }},
};

constexpr Mistake kParameters[] = {
    {"no parameter of the form", [](Signing& s) { Remove(s, s.request.form); }},
    {"no parameter of the query", [](Signing& s) { Remove(s, s.request.query); }},
    {"OAuth's parameters alone",
     [](Signing& s) { std::erase_if(s.parameters, [](const auto& pair) { return !IsOauth(pair); }); }},
    {"the parameters of a body that is no encoded form",
     [](Signing& s) {
       s.parameters.insert(s.parameters.end(), s.request.form.begin(), s.request.form.end());
     }},
    {"no oauth_token", [](Signing& s) { RemoveNamed(s, "oauth_token"); }},
    {"no oauth_version", [](Signing& s) { RemoveNamed(s, "oauth_version"); }},
    {"no oauth_callback", [](Signing& s) { RemoveNamed(s, "oauth_callback"); }},
};

constexpr Mistake kEncodings[] = {
    {"spaces as plus signs", [](Signing& s) { s.encode = EncodeAsForm; }},
    {"escapes in lower case", [](Signing& s) { s.encode = EncodeInLowerCase; }},
    {"the characters !'()* without escapes", [](Signing& s) { s.encode = EncodeAsScript; }},
    {"parameters that were escaped twice", [](Signing& s) { s.encode = EncodeTwice; }},
    {"parameters without escapes", [](Signing& s) { s.encode = EncodeNothing; }},
};

constexpr Mistake kOrders[] = {
    {"parameters that were not sorted", [](Signing& s) { s.sorted = false; }},
};

constexpr Mistake kKeys[] = {
    {"with a key without the token's secret",
     [](Signing& s) { s.key = PercentEncode(s.check.consumerSecret) + '&'; }},
    {"with a key without the ampersand", [](Signing& s) { s.key = PercentEncode(s.check.consumerSecret); }},
    {"with a key of the two secrets in reverse",
     [](Signing& s) {
       s.key = PercentEncode(s.check.tokenSecret) + '&' + PercentEncode(s.check.consumerSecret);
     }},
    {"with the token as its own secret",
     [](Signing& s) {
       s.key = PercentEncode(s.check.consumerSecret) + '&' + PercentEncode(s.check.tokenKey);
     }},
    {"with a key of secrets without escapes",
     [](Signing& s) { s.key = s.check.consumerSecret + '&' + s.check.tokenSecret; }},
};

// A client makes at most one mistake of a kind.
constexpr std::array<std::span<const Mistake>, 6> kKinds{kMethods,   kUrls,   kParameters,
                                                         kEncodings, kOrders, kKeys};

Signing RightSigning(const ServiceRequest& request, const OauthCheck& check) {
  Signing signing{request, check, request.head.method, "https://" + request.head.host + request.head.Path(),
                  check.signedParameters};
  signing.key = PercentEncode(check.consumerSecret) + '&' + PercentEncode(check.tokenSecret);
  return signing;
}

std::string BaseString(const Signing& signing) {
  Pairs encoded;
  for (const auto& [name, value] : signing.parameters)
    encoded.emplace_back(signing.encode(name), signing.encode(value));
  if (signing.sorted) std::ranges::sort(encoded);
  std::string joined;
  for (const auto& [name, value] : encoded) joined += (joined.empty() ? "" : "&") + name + '=' + value;
  const auto encode = signing.encode == EncodeInLowerCase ? EncodeInLowerCase : PercentEncode;
  return encode(signing.method) + '&' + encode(signing.url) + '&' + encode(joined);
}

struct Found {
  std::string mistakes, baseString;
};

std::optional<Found> Try(const Signing& signing, const std::string& mistakes) {
  std::string base = BaseString(signing);
  if (SignHmacSha1(signing.key, base) != signing.check.receivedSignature) return std::nullopt;
  return Found{mistakes, std::move(base)};
}

// Tries each mistake of the kinds from `first` on, and then each pair.
std::optional<Found> Search(const Signing& signing, const std::string& before, std::size_t first, int depth) {
  for (std::size_t kind = first; kind < kKinds.size(); ++kind) {
    for (const Mistake& mistake : kKinds.at(kind)) {
      Signing changed = signing;
      mistake.make(changed);
      const std::string name = before + (before.empty() ? "" : " and ") + mistake.name;
      auto found = depth == 0 ? Try(changed, name) : Search(changed, name, kind + 1, depth - 1);
      if (found) return found;
    }
  }
  return std::nullopt;
}

std::size_t FirstDifference(std::string_view a, std::string_view b) {
  return static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
}

std::string Around(std::string_view text, std::size_t at) {
  const std::size_t start = at - std::min<std::size_t>(at, 10);
  return Quoted(text.substr(std::min(start, text.size())), kShown);
}

Why Explain(const OauthCheck& check, const Found& found) {
  Why why{.text = "the client signed " + found.mistakes,
          .details = {{"expectedBaseString", check.baseString}, {"signedBaseString", found.baseString}}};
  if (found.baseString == check.baseString) {
    why.text =
        "the base string is right, but the client signed it " + found.mistakes + ": " + check.baseString;
    return why;
  }
  const std::size_t at = FirstDifference(check.baseString, found.baseString);
  why.details["firstDifference"] = at;
  why.text += ". The base strings differ first at byte " + std::to_string(at) + ": expected " +
              Around(check.baseString, at) + ", signed " + Around(found.baseString, at) +
              ". Expected base string: " + check.baseString + " Signed base string: " + found.baseString;
  return why;
}

}  // namespace

Why WhySignatureFails(const ServiceRequest& request, const OauthCheck& check) {
  if (!check.malformed.empty()) return {.text = check.malformed};
  std::optional<Found> found;
  const Signing right = RightSigning(request, check);
  const bool searches = check.baseString.size() <= kLargestBase;
  for (int depth = 0; searches && depth < 2 && !found; ++depth) found = Search(right, "", 0, depth);
  if (found) return Explain(check, *found);
  return {
      .text = "the signature " + Quoted(check.receivedSignature) +
              " does not fit, and no usual mistake explains it: a secret is wrong, or a parameter changed "
              "after it was signed. Expected base string: " +
              check.baseString,
      .details = {{"expectedBaseString", check.baseString}}};
}

}  // namespace velk::sandbox
