// The metadata of YouTube's videos: what a client sends, and the rules for it.
#include <algorithm>
#include <boost/json/array.hpp>

#include "kit/byte_strings.h"
#include "services/youtube/youtube.h"

namespace velk::sandbox {

using namespace youtube;

namespace {

namespace json = boost::json;

constexpr std::size_t kLongestTitle = 100;         // in characters
constexpr std::size_t kLongestDescription = 5000;  // in bytes
constexpr std::size_t kLongestTags = 500;          // in characters
constexpr const char* kDefaultTitle = "unknown";
constexpr const char* kDefaultCategory = "22";
constexpr const char* kDefaultPrivacy = "public";

json::object ObjectMember(const json::object& object, std::string_view name) {
  const json::value* const value = object.if_contains(name);
  return value && value->is_object() ? value->get_object() : json::object();
}

bool HasAngleBracket(std::string_view text) { return text.find_first_of("<>") != std::string_view::npos; }

void Check(bool condition, const char* reason, const std::string& what, const std::string& why) {
  Require(condition, 400, reason, "The request metadata specifies " + what + ".", "", why);
}

void CheckBrackets(std::string_view text, const char* reason, const std::string& what, const char* member) {
  Check(!HasAngleBracket(text), reason, what,
        std::string(member) + " contains an angle bracket, which YouTube refuses: " + Quoted(text));
}

std::vector<std::string> TagsOf(const json::object& snippet) {
  std::vector<std::string> list;
  const json::value* const tags = snippet.if_contains("tags");
  if (!tags || !tags->is_array()) return list;
  std::size_t characters = 0;
  for (const json::value& tag : tags->get_array()) {
    Check(tag.is_string(), "invalidTags", "invalid video keywords", "a tag is no string");
    CheckBrackets(tag.get_string(), "invalidTags", "invalid video keywords", "a tag");
    list.emplace_back(tag.get_string());
    characters += CountCharacters(list.back());
  }
  Check(characters <= kLongestTags, "invalidTags", "invalid video keywords",
        "the tags have " + std::to_string(characters) + " characters together; the limit is 500");
  return list;
}

void CheckSnippet(const std::string& title, const std::string& description, const std::string& categoryId) {
  const std::size_t length = CountCharacters(title);
  static constexpr char kTitle[] = "an invalid or empty video title";
  static constexpr char kDescription[] = "an invalid video description";
  Check(length > 0, "invalidTitle", kTitle, "the title is missing or empty");
  Check(length <= kLongestTitle, "invalidTitle", kTitle,
        "the title has " + std::to_string(length) + " characters; the limit is 100");
  CheckBrackets(title, "invalidTitle", kTitle, "the title");
  Check(description.size() <= kLongestDescription, "invalidDescription", kDescription,
        "the description has " + std::to_string(description.size()) + " bytes; the limit is 5000");
  CheckBrackets(description, "invalidDescription", kDescription, "the description");
  Check(IsAssignableCategory(categoryId), "invalidCategoryId", "an invalid category ID",
        "categoryId is " + Quoted(categoryId) + ", which is no category that a video can have");
}

void CheckPrivacy(const std::string& privacyStatus) {
  static constexpr std::string_view kPrivacies[] = {"public", "private", "unlisted"};
  Check(std::ranges::find(kPrivacies, privacyStatus) != std::end(kPrivacies), "invalidVideoMetadata",
        "an invalid privacy status",
        "privacyStatus is " + Quoted(privacyStatus) + "; it can be public, private or unlisted");
}

}  // namespace

// A new video starts with the defaults. Its snippet must have a title, and can omit the category.
Youtube::Metadata Youtube::ParseMetadata(const json::object& body, const Parts& parts) {
  const Metadata defaults{kDefaultTitle, "", kDefaultCategory, kDefaultPrivacy, {}};
  json::object complete = body;
  if (complete.contains("snippet")) {
    json::object snippet = ObjectMember(complete, "snippet");
    if (!snippet.contains("categoryId")) snippet["categoryId"] = kDefaultCategory;
    complete["snippet"] = std::move(snippet);
  }
  return UpdatedMetadata(defaults, complete, parts);
}

// Replaces whole parts: a snippet without tags removes the tags. Parts that the request does not name are
// unchanged.
Youtube::Metadata Youtube::UpdatedMetadata(const Metadata& old, const json::object& body,
                                           const Parts& parts) {
  Metadata metadata = old;
  if (parts.contains("snippet") && body.contains("snippet")) {
    const json::object snippet = ObjectMember(body, "snippet");
    metadata.title = StringMember(snippet, "title");
    metadata.description = StringMember(snippet, "description");
    metadata.categoryId = StringMember(snippet, "categoryId");
    CheckSnippet(metadata.title, metadata.description, metadata.categoryId);
    metadata.tags = TagsOf(snippet);
  }
  if (parts.contains("status") && body.contains("status")) {
    metadata.status = ObjectMember(body, "status");
    metadata.privacyStatus = StringMember(metadata.status, "privacyStatus", old.privacyStatus);
    CheckPrivacy(metadata.privacyStatus);
  }
  return metadata;
}

}  // namespace velk::sandbox
