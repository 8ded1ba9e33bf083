#include "kit/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace velk::sandbox {
namespace {

constexpr char kDescription[] =
    R"(Simulates Facebook, Twitter and YouTube on the loopback: an HTTP proxy that serves their hosts, and a
control URL that scripts replies and returns what arrived.)";

constexpr char kFooter[] =
    R"(Without a command, it prints its URLs as one line of JSON, and runs until SIGINT, SIGTERM or the end of its
parent. With a command, it runs the command with VELK_SANDBOX_PROXY, VELK_SANDBOX_CONTROL and VELK_SANDBOX_STORE
in the environment, without the variables that name other proxies, and exits with the command's status.)";

void AddForwarding(CLI::App& app, Options& options) {
  auto* const forward =
      app.add_flag("--forward", options.forward,
                   "Pass requests on to the real services, and show what they reply, without secrets");
  app.add_option("--upstream", options.upstreams,
                 "HOST=ADDRESS[:PORT]: where --forward reaches a host; repeatable")
      ->needs(forward)
      ->allow_extra_args(false);
  app.add_option("--upstream-ca", options.upstreamCa,
                 "File of the authorities that --forward trusts, in PEM format (default: the system's)")
      ->needs(forward);
  app.add_flag("--show-secrets", options.showSecrets,
               "Show tokens, secrets, signatures and PINs in what --forward records")
      ->needs(forward);
}

}  // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
  const auto separator = std::ranges::find(arguments, "--");
  const bool hasCommand = separator != arguments.end();
  // A command reads the ports from its environment, so that several can run at the same time.
  Options options;
  options.port = hasCommand ? 0 : kProxyPort;
  options.controlPort = hasCommand ? 0 : kControlPort;
  CLI::App app(kDescription, "velk-sandbox [-- COMMAND ARGUMENTS...]");
  app.footer(kFooter);
  app.get_formatter()->column_width(28);
  app.add_option("--port", options.port,
                 "Port of the proxy; 0 is any free one (default: 8470, or any free one with a command)");
  app.add_option(
      "--control-port", options.controlPort,
      "Port of the control URL; 0 is any free one (default: 8471, or any free one with a command)");
  app.add_option(
      "--store", options.store,
      "Folder that keeps what the services stored, for later starts too (default: a temporary one, "
      "removed at the end)");
  app.add_option(
      "--ca-dir", options.caDir,
      "Folder that keeps the authority of the certificates between starts (default: a new authority)");
  app.add_option("--journal", options.journal, "How many of the newest requests to keep")
      ->capture_default_str();
  app.add_option("--slow-network", options.slowNetwork,
                 "Read uploads at this rate in bytes a second, through the smallest receive window");
  app.add_flag("--count-only", options.countOnly,
               "Only count contents above 64 KiB, neither hash nor store them");
  app.add_flag("--verbose", options.verbose, "Report every request on the standard error stream");
  AddForwarding(app, options);
  app.add_flag("--describe-scripts", options.describesScripts,
               "Print what a script can state, as a table in Markdown, and exit");

  std::vector<std::string> own(arguments.begin(), separator);
  std::ranges::reverse(own);  // as the parser takes them
  try {
    app.parse(own);
  } catch (const CLI::CallForHelp&) {
    options.help = app.help();
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  if (!hasCommand) return options;
  options.command.assign(separator + 1, arguments.end());
  if (options.command.empty()) throw UsageError("no command after --");
  return options;
}

}  // namespace velk::sandbox
