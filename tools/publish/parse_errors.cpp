#include "parse_errors.h"

#include <vector>

#include "nearest.h"

namespace velk::publish {
namespace {

const CLI::App& Deepest(const CLI::App& app) {
  const auto parsed = app.get_subcommands();
  return parsed.empty() ? app : Deepest(*parsed.front());
}

// The words that may follow in this place.
std::vector<std::string> Candidates(const CLI::App& app, bool options) {
  std::vector<std::string> words;
  if (!options)
    for (const CLI::App* child : app.get_subcommands(nullptr)) words.push_back(child->get_name());
  for (const CLI::App* level = &app; options && level; level = level->get_parent())
    for (const CLI::Option* option : level->get_options())
      for (const std::string& name : option->get_lnames()) words.push_back("--" + name);
  return words;
}

}  // namespace

std::string Explain(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App& place = Deepest(app);
  const std::vector<std::string> unknown = app.remaining(true);
  if (unknown.empty()) return error.what();
  const std::string word = unknown.front().substr(0, unknown.front().find('='));
  const bool isOption = word.starts_with('-');
  std::string message = std::string(isOption ? "unknown option " : "unknown word ") + '"' + word + '"';
  if (&place != &app)
    message += " after \"" + (place.get_parent() == &app ? "" : place.get_parent()->get_name() + ' ') +
               place.get_name() + '"';
  const std::string nearest = Nearest(word, Candidates(place, isOption));
  return nearest.empty() ? message : message + "; did you mean " + nearest + '?';
}

}  // namespace velk::publish
