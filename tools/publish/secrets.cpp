#include "secrets.h"

#include <chrono>
#include <iostream>
#include <thread>

#include "encoding.h"
#include "failure.h"
#include "files.h"
#include "system.h"

namespace velk::publish {
namespace {

std::string FromEnvironmentOrSettings(const Options& options, const SecretSource& source) {
  if (const auto value = Variable(source.variable); value && !Trimmed(*value).empty()) return Trimmed(*value);
  const auto setting = options.settings.find(source.setting);
  return setting == options.settings.end() ? "" : Trimmed(setting->second);
}

}  // namespace

std::string ReadInputLine() {
  constexpr std::chrono::milliseconds kHandler{100};
  std::string line;
  // Ctrl-C ends the reading like the end of the input. On Windows another thread counts it, perhaps later.
  if (!std::getline(std::cin, line)) std::this_thread::sleep_for(kHandler);
  if (Interrupts() > 0) throw Interrupted("cancelled");
  return Trimmed(line);
}

std::string ReadSecret(const Options& options, const std::string& file, const SecretSource& source) {
  std::string secret;
  if (file == "-")
    secret = ReadInputLine();
  else if (!file.empty())
    secret = Trimmed(ReadTextFile(file));
  else
    secret = FromEnvironmentOrSettings(options, source);
  if (secret.empty() && !file.empty())
    throw UsageError(std::string("the ") + source.what + " is empty in " +
                     (file == "-" ? "the input" : file));
  if (secret.empty())
    throw UsageError(std::string("no ") + source.what + ": use " + source.option + ", " + source.variable +
                     " or \"" + source.setting + "\" in a configuration file");
  if (secret.find_first_of(std::string_view("\0\r\n\t ", 5)) != secret.npos)
    throw UsageError(std::string("the ") + source.what + " contains a blank or a line end");
  return secret;
}

std::string ReadPlain(const Options& options, const std::string& argument, const SecretSource& source) {
  return argument.empty() ? FromEnvironmentOrSettings(options, source) : argument;
}

}  // namespace velk::publish
