#include "meta.h"

#include <algorithm>
#include <boost/json/stream_parser.hpp>
#include <boost/json/value.hpp>

#include "failure.h"
#include "files.h"
#include "nearest.h"

namespace velk::publish {
namespace {

namespace json = boost::json;

class Metadata {
 public:
  Metadata(std::string_view text, const std::string& name) : text_(text), name_(name) {}

  json::object Parse() const {
    json::stream_parser parser;
    boost::system::error_code error;
    const std::size_t end = parser.write_some(text_.data(), text_.size(), error);
    if (!error) parser.finish(error);
    if (!error && text_.find_first_not_of(" \t\r\n", end) != text_.npos)
      Fail(end, "text after the end of the object");
    if (error) Fail(end, error.message());
    const json::value value = parser.release();
    if (!value.is_object()) Fail(0, "no object of JSON");
    return value.as_object();
  }

  [[noreturn]] void Refuse(std::string_view member, const std::string& why) const {
    const std::string name = '"' + std::string(member) + '"';
    std::size_t position = text_.find(name);
    // The same string can also be a value.
    while (position != text_.npos) {
      const std::size_t next = text_.find_first_not_of(" \t\r\n", position + name.size());
      if (next != text_.npos && text_[next] == ':') break;
      position = text_.find(name, position + 1);
    }
    Fail(position == text_.npos ? 0 : position, "member \"" + std::string(member) + "\": " + why);
  }

  std::string String(const std::string& member, const json::value& value, const Choices& choices) const {
    if (!value.is_string()) Refuse(member, "must be a string");
    std::string text(value.as_string());
    const auto words = choices.find(member);
    const std::string why = words == choices.end() ? "" : WhyUnknown(text, words->second);
    if (!why.empty()) Refuse(member, why);
    return text;
  }

 private:
  [[noreturn]] void Fail(std::size_t position, const std::string& why) const {
    const auto line = std::ranges::count(text_.substr(0, position), '\n') + 1;
    throw UsageError(name_ + ", line " + std::to_string(line) + ": " + why);
  }

  std::string_view text_;
  const std::string& name_;
};

struct Member {
  const char* name;
  std::optional<std::string> Options::*value;
};

constexpr Member kMembers[] = {{"title", &Options::title},
                               {"description", &Options::description},
                               {"privacy", &Options::privacy},
                               {"category", &Options::category},
                               {"target", &Options::target}};

std::vector<std::string> Tags(const Metadata& metadata, const json::value& value) {
  if (!value.is_array()) metadata.Refuse("tags", "must be an array of strings");
  std::vector<std::string> tags;
  for (const json::value& tag : value.as_array()) {
    if (!tag.is_string()) metadata.Refuse("tags", "must be an array of strings");
    tags.emplace_back(tag.as_string());
  }
  return tags;
}

std::string Suggestion(const std::string& member) {
  std::vector<std::string> names{"tags"};
  for (const Member& known : kMembers) names.emplace_back(known.name);
  const std::string nearest = Nearest(member, names);
  return nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?";
}

}  // namespace

void AddMetadata(Options& options, const Choices& choices, std::string_view text, const std::string& name) {
  const Metadata metadata(text, name);
  const json::object object = metadata.Parse();
  for (const auto& entry : object) {
    const std::string member(entry.key());
    const auto known = std::ranges::find_if(kMembers, [&](const Member& row) { return row.name == member; });
    if (member == "tags") {
      const auto tags = Tags(metadata, entry.value());
      if (!options.tags.empty() || options.noTags) continue;  // the command line counts more
      options.tags = tags;
      options.noTags = tags.empty();
    } else if (known == std::end(kMembers)) {
      metadata.Refuse(member, "is unknown" + Suggestion(member));
    } else {
      const std::string value = metadata.String(member, entry.value(), choices);
      if (!(options.*known->value)) options.*known->value = value;
    }
  }
}

void AddMetadata(Options& options, const Choices& choices) {
  if (!options.meta.empty()) AddMetadata(options, choices, ReadTextFile(options.meta), options.meta);
}

}  // namespace velk::publish
