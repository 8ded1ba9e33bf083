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

void Check(bool condition, const char* reason, const std::string& what) {
  Require(condition, 400, reason, "The request metadata specifies " + what + ".");
}

std::vector<std::string> TagsOf(const json::object& snippet) {
  std::vector<std::string> list;
  const json::value* const tags = snippet.if_contains("tags");
  if (!tags || !tags->is_array()) return list;
  std::size_t characters = 0;
  for (const json::value& tag : tags->get_array()) {
    const bool valid = tag.is_string() && !HasAngleBracket(tag.get_string());
    Check(valid, "invalidTags", "invalid video keywords");
    list.emplace_back(tag.get_string());
    characters += CountCharacters(list.back());
  }
  Check(characters <= kLongestTags, "invalidTags", "invalid video keywords");
  return list;
}

void CheckSnippet(const std::string& title, const std::string& description, const std::string& categoryId) {
  const std::size_t length = CountCharacters(title);
  Check(length > 0 && length <= kLongestTitle && !HasAngleBracket(title), "invalidTitle",
        "an invalid or empty video title");
  Check(description.size() <= kLongestDescription && !HasAngleBracket(description), "invalidDescription",
        "an invalid video description");
  Check(IsAssignableCategory(categoryId), "invalidCategoryId", "an invalid category ID");
}

void CheckPrivacy(const std::string& privacyStatus) {
  static constexpr std::string_view kPrivacies[] = {"public", "private", "unlisted"};
  Check(std::ranges::find(kPrivacies, privacyStatus) != std::end(kPrivacies), "invalidVideoMetadata",
        "an invalid privacy status");
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
