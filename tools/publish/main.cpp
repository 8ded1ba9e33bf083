// velk-publish: publishes media and posts from the command line.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>

#include "failure.h"
#include "manual.h"
#include "options.h"
#include "outcome.h"
#include "parse_errors.h"
#include "settings.h"
#include "system.h"
#include "velk_upload.h"

namespace velk::publish {
namespace {

constexpr std::size_t kLongestProxy = 255;  // what the library keeps

// For the build of a release: writes what is made from the options.
int Make(const CLI::App& app, const std::string& what, const std::string& path) {
  const std::string text = what == "man"    ? ManPage(app)
                           : what == "bash" ? BashCompletion(app)
                                            : ZshCompletion(app);
  std::ofstream file(FromUtf8(path), std::ios::binary);
  return file << text << std::flush ? kDone : kFile;
}

void ReadConfiguration(Options& options) {
  if (options.config.empty()) options.config = Variable("VELK_PUBLISH_CONFIG").value_or("");
  if (!options.config.empty()) options.settings = ReadSettings(options.config);
}

void SetProxy(const Options& options) {
  std::string proxy = options.proxy;
  if (const auto setting = options.settings.find("proxy"); proxy.empty() && setting != options.settings.end())
    proxy = setting->second;
  if (proxy.empty()) proxy = Variable("VELK_SANDBOX_PROXY").value_or("");
  if (proxy.size() > kLongestProxy) throw UsageError("--proxy: at most 255 bytes");
  SetLibVelkUploadProxy(proxy.c_str());
}

// The service is empty when the command line names none.
int ReportFailure(const Options& options, const std::string& service, const std::string& why,
                  ExitStatus status) {
  std::fprintf(stderr, "velk-publish: %s\n", why.c_str());
  if (!options.json) return status;
  Outcome outcome;
  outcome.made = false;
  outcome.problem = why;
  std::printf("%s\n", ToJson(service, outcome).c_str());
  return status;
}

int RunCommand(Options& options, const Command& command) try {
  ReadConfiguration(options);
  SetProxy(options);
  CatchInterrupt();
  return command.run(options);
} catch (const UsageError& error) {
  return ReportFailure(options, command.service, error.what(), kUsage);
} catch (const FileError& error) {
  return ReportFailure(options, command.service, error.what(), kFile);
} catch (const Interrupted& error) {
  return ReportFailure(options, command.service, error.what(), kCancelled);
} catch (const CLI::Error& error) {
  return ReportFailure(options, command.service, options.config + ": " + error.what(), kUsage);
}

int Run(std::vector<std::string> arguments) {
  Options options;
  const Command* command = nullptr;
  CLI::App app;
  BuildCommandLine(app, options, command);
  if (arguments.size() == 3 && arguments[0] == "--make") return Make(app, arguments[1], arguments[2]);
  const bool json = std::ranges::find(arguments, "--json") != arguments.end();
  std::ranges::reverse(arguments);  // as the parser takes them
  try {
    app.parse(arguments);
  } catch (const CLI::CallForHelp&) {
    std::fputs(app.help().c_str(), stdout);
    return kDone;
  } catch (const CLI::CallForVersion& version) {
    std::printf("%s\n", version.what());
    return kDone;
  } catch (const CLI::ParseError& error) {
    options.json = json;  // some errors come before the parser stores the values
    const auto services = app.get_subcommands();
    return ReportFailure(options, services.empty() ? "" : services.front()->get_name(),
                         Explain(app, error) + " (--help lists the options)", kUsage);
  }
  return RunCommand(options, *command);
}

// A result that was not written is not there for the caller.
int FlushOutput(int status) {
  const bool failed = std::fflush(stdout) != 0 || std::ferror(stdout) != 0;
  if (!failed) return status;
  std::fputs("velk-publish: the standard output cannot be written\n", stderr);
  return kFile;
}

}  // namespace
}  // namespace velk::publish

int main(int count, char** values) {
  using namespace velk::publish;
  try {
    return FlushOutput(Run(Arguments(count, values)));
  } catch (const std::bad_alloc&) {
    std::fputs("velk-publish: memory ran out\n", stderr);
    return kNoMemory;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "velk-publish: %s\n", error.what());
    return kNoMemory;
  }
}
