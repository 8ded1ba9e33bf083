// The command line of velk-sandbox.
#include "kit/options.h"

#include <charconv>
#include <map>
#include <stdexcept>
#include <string_view>

namespace velk::sandbox {
namespace {

std::uint16_t Port(std::string_view text) {
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw std::invalid_argument("not a port: " + std::string(text));
  }
  return port;
}

struct Option {
  bool takesValue;
  void (*set)(Options& options, std::string_view value);
};

const std::map<std::string_view, Option> kOptions = {
    {"--port", {true, [](Options& o, std::string_view v) { o.port = Port(v); }}},
    {"--control-port", {true, [](Options& o, std::string_view v) { o.controlPort = Port(v); }}},
    {"--store", {true, [](Options& o, std::string_view v) { o.store = v; }}},
    {"--count-only", {false, [](Options& o, std::string_view) { o.countOnly = true; }}},
    {"--verbose", {false, [](Options& o, std::string_view) { o.verbose = true; }}},
    {"--help", {false, [](Options& o, std::string_view) { o.help = true; }}},
};

}  // namespace

const char kHelp[] =
    R"(usage: velk-sandbox [--port N] [--control-port N] [--store DIR] [--count-only] [--verbose]
                    [-- COMMAND ARGS...]

Stands in for the services that Velk Upload publishes to: an HTTP proxy on the loopback address that
answers for their hosts, and a control address that scripts replies and gives back what arrived.

  --port N          the proxy's port (default: any free one)
  --control-port N  the control address's port (default: any free one)
  --store DIR       keep uploaded media here (default: a temporary folder, removed at the end)
  --count-only      only count contents above 256 KiB, neither hashing nor storing them
  --verbose         tell about every request on the standard error stream

Without a command it prints its addresses as one line of JSON and runs until SIGINT, SIGTERM or the end
of its parent. With a command it runs that with VELK_SANDBOX_PROXY, VELK_SANDBOX_CONTROL and
VELK_SANDBOX_STORE in its environment, without the names of other proxies, and exits with its status.
)";

Options ParseOptions(char** arguments) {
  Options options;
  for (; *arguments; ++arguments) {
    const std::string_view name = *arguments;
    if (name == "--") {
      if (!arguments[1]) throw std::invalid_argument("no command behind --");
      options.command = arguments + 1;
      break;
    }
    const auto option = kOptions.find(name);
    if (option == kOptions.end()) throw std::invalid_argument("unknown option: " + std::string(name));
    if (option->second.takesValue && !arguments[1]) {
      throw std::invalid_argument(std::string(name) + " needs a value");
    }
    option->second.set(options, option->second.takesValue ? *++arguments : "");
  }
  return options;
}

}  // namespace velk::sandbox
