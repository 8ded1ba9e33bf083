#include "options.h"

#include "nearest.h"
#include "velk_upload.h"

namespace velk::publish {
namespace {

constexpr char kDescription[] = "Publishes media files and posts to Facebook, Twitter and YouTube.";

constexpr char kFooter[] =
    R"(The result is on the standard output, everything else on the standard error stream.
Secrets are read from files, the environment or a configuration file, never from arguments.

Exit status: 0 done, 1 no memory, 2 usage, 3 credentials, 4 network, 5 file, 6 refused by the service,
7 partly done, 130 cancelled.

"velk-publish SERVICE COMMAND --help" lists the options of a command.)";

constexpr char kCommonFooter[] =
    "\n\nThese options work everywhere: --config, --proxy, --retries, --json, --quiet. See velk-publish "
    "--help.";

void AddCommonOptions(CLI::App& app, Options& options) {
  app.add_flag("--json", options.json, "Print each result as one object of JSON");
  app.add_flag("--quiet", options.quiet, "Show no progress and no remarks; errors stay");
  AddValue(
      app, "--proxy", options.proxy,
      "Send everything through this proxy, such as http://127.0.0.1:8470 (environment: VELK_SANDBOX_PROXY)")
      ->type_name("URL");
  AddValue(app, "--config", options.config,
           "File with credentials, which only you may read (environment: VELK_PUBLISH_CONFIG)")
      ->type_name("FILE");
  app.add_option("--retries", options.retries,
                 "Repeat at most N times what failed before anything can have been published (default: 0)")
      ->type_name("N")
      ->check(CLI::Range(0, 100));
  app.add_option("--retry-pause", options.retryPause,
                 "Seconds before the first retry; each later pause is twice as long (default: 1)")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.0, 3600.0));
  app.set_version_flag("--version", "velk-publish " VELK_UPLOAD_VERSION, "Print the version and exit");
}

void AddService(CLI::App& app, const char* title, std::span<const Command> commands, Options& options,
                const Command*& chosen) {
  CLI::App* service = app.add_subcommand(commands.front().service, title);
  service->require_subcommand(1);
  for (const Command& command : commands) {
    CLI::App* leaf = service->add_subcommand(command.name, command.help);
    command.addOptions(*leaf, options);
    leaf->footer(std::string("Example:\n  ") + command.example + kCommonFooter);
    leaf->callback([&chosen, &command] { chosen = &command; });
  }
}

}  // namespace

CLI::Option* AddValue(CLI::App& app, const std::string& name, std::string& value, const std::string& help) {
  return app.add_option(name, value, help)->type_name("TEXT");
}

CLI::Option* AddValue(CLI::App& app, const std::string& name, std::optional<std::string>& value,
                      const std::string& help) {
  const auto store = [&value](const CLI::results_t& results) {
    value = results.back();
    return true;
  };
  return app.add_option(name, store, help)->type_name("TEXT");
}

void AddFiles(CLI::App& app, Options& options, const std::string& what) {
  const auto store = [&options](const CLI::results_t& results) {
    options.files = results;
    return true;
  };
  app.add_option("FILE", store, what)
      ->required()
      ->expected(1, CLI::detail::expected_max_vector_size)
      ->allow_extra_args()
      ->type_name("");
}

void AddToken(CLI::App& app, Options& options, const char* variable) {
  AddValue(
      app, "--token-file", options.tokenFile,
      std::string("File with the access token, - for the standard input (environment: ") + variable + ")")
      ->type_name("FILE");
}

void AddChoice(CLI::App& app, const std::string& name, std::optional<std::string>& value,
               const std::vector<std::string>& words, const std::string& help) {
  constexpr std::size_t kLongestList = 60;
  const std::string list = Listed(words);
  const auto check = [words](const std::string& given) { return WhyUnknown(given, words); };
  AddValue(app, name, value, list.size() < kLongestList ? help + ": " + list : help)
      ->option_text("WORD")
      ->type_name(std::string(kChoice) + list)
      ->check(CLI::Validator(check, "", ""));
}

void BuildCommandLine(CLI::App& app, Options& options, const Command*& chosen) {
  app.name("velk-publish");
  app.description(kDescription);
  app.footer(kFooter);
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.get_formatter()->column_width(28);
  // A path begins with a slash on any system.
  app.allow_windows_style_options(false);
  app.fallthrough();
  AddCommonOptions(app, options);
  app.require_subcommand(1);
  AddService(app, "Publish to Facebook", FacebookCommands(), options, chosen);
  AddService(app, "Publish to Twitter", TwitterCommands(), options, chosen);
  AddService(app, "Publish to YouTube", YoutubeCommands(), options, chosen);
}

}  // namespace velk::publish
