// The values of the command line, and the options that several commands share.
#pragma once

#include <CLI/App.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "settings.h"

namespace velk::publish {

struct Options {
  // For every command.
  bool json = false;
  bool quiet = false;
  std::string proxy;
  std::string config;
  int retries = 0;
  double retryPause = 1;  // seconds before the first retry

  // Where credentials are, and what belongs to them.
  std::string tokenFile, tokenSecretFile, appSecretFile, consumerSecretFile;
  std::string app, consumerKey, userId, screenName, save;
  Settings settings;  // from the configuration file

  // What to publish or to change.
  std::vector<std::string> files;
  std::string id, meta;
  std::optional<std::string> kind, title, description, message, text, link, target, privacy, category;
  std::vector<std::string> tags;
  bool noTags = false;
};

// One command of a service.
struct Command {
  const char* service;
  const char* name;
  const char* help;
  const char* example;
  void (*addOptions)(CLI::App& app, Options& options);
  int (*run)(const Options& options);  // returns the exit status
};

std::span<const Command> FacebookCommands();
std::span<const Command> TwitterCommands();
std::span<const Command> YoutubeCommands();

// Adds an option with one value. CLI11 would take more than one for a list.
CLI::Option* AddValue(CLI::App& app, const std::string& name, std::string& value, const std::string& help);
CLI::Option* AddValue(CLI::App& app, const std::string& name, std::optional<std::string>& value,
                      const std::string& help);

void AddFiles(CLI::App& app, Options& options, const std::string& what);
void AddToken(CLI::App& app, Options& options, const char* variable);

// An option that takes one of some words. The name of its type lists them after kChoice.
constexpr std::string_view kChoice = "WORD:";
void AddChoice(CLI::App& app, const std::string& name, std::optional<std::string>& value,
               const std::vector<std::string>& words, const std::string& help);

// Builds the whole command line. `chosen` receives the command that the user wrote.
void BuildCommandLine(CLI::App& app, Options& options, const Command*& chosen);

}  // namespace velk::publish
