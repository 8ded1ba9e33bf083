// Runs the simulated services, until a signal ends them or for as long as a given command runs.
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "kit/control.h"
#include "kit/options.h"
#include "kit/proxy.h"
#include "kit/script_docs.h"
#include "kit/world.h"
#include "net/platform.h"
#include "net/standard_error.h"
#include "services/all_services.h"

namespace velk::sandbox {
namespace {

constexpr int kUsageError = 2;
constexpr int kCannotStartCommand = 127;  // as a shell reports it

class Program {
 public:
  explicit Program(const Options& options) : world_(context_, options, ServiceHosts()) {
    AddAllServices(world_.services, world_.store, world_.proxy.Url());
    world_.services.Load();
  }

  int Run();  // returns the exit status

 private:
  bool StartCommand();
  void Announce() const;
  void AwaitSignal();
  void Stop(int status);

  asio::io_context context_;
  World world_;
  asio::signal_set signals_{context_};
  ParentWatch parent_;
  std::optional<Command> command_;
  int status_ = 0;
};

void WarnOfSecrets() {
  PrintError(
      "velk-sandbox: warning: --show-secrets: the journal, its exports and this terminal show access tokens "
      "and other secrets");
}

int Program::Run() {
  if (world_.options.showSecrets) WarnOfSecrets();
  for (const int number : EndingSignals()) signals_.add(number);
  parent_ = EndWithParent(context_, [this] { Stop(1); });
  // Connections that come early wait in the listeners' queues.
  if (world_.options.command.empty())
    Announce();
  else if (!StartCommand())
    return kCannotStartCommand;
  AwaitSignal();
  world_.proxy.Start([this](Stream& stream) { return ServeProxy(stream, world_); });
  world_.control.Start([this](Stream& stream) { return ServeControl(stream, world_); });
  context_.run();
  return status_;
}

bool Program::StartCommand() try {
  const Command::Variables added{{"VELK_SANDBOX_PROXY", world_.proxy.Url()},
                                 {"VELK_SANDBOX_CONTROL", world_.control.Url()},
                                 {"VELK_SANDBOX_STORE", world_.store.Folder()}};
  // The machine's own proxy, or an exception from it, would lead the command past the services.
  const std::vector<std::string> removed{"http_proxy", "https_proxy", "all_proxy", "no_proxy",
                                         "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY"};
  command_.emplace(context_, world_.options.command, added, removed, [this](int status) { Stop(status); });
  return true;
} catch (const std::system_error& error) {
  PrintError(std::string("velk-sandbox: ") + error.what());
  return false;
}

void Program::Announce() const {
  const boost::json::object line{
      {"proxy", world_.proxy.Url()}, {"control", world_.control.Url()}, {"store", world_.store.Folder()}};
  std::printf("%s\n", boost::json::serialize(line).c_str());
  std::fflush(stdout);
}

void Program::AwaitSignal() {
  signals_.async_wait([this](const boost::system::error_code& error, int number) {
    if (error) return;
    if (!command_) return Stop(0);
    command_->Forward(number);  // its end then ends this program
    AwaitSignal();
  });
}

// The context then runs out of work.
void Program::Stop(int status) {
  status_ = status;
  signals_.cancel();
  parent_.reset();
  world_.control.Stop();
  world_.proxy.Stop();
}

}  // namespace
}  // namespace velk::sandbox

int main(int count, char** values) {
  using namespace velk::sandbox;
  try {
    const Options options = ParseOptions(Arguments(count, values));
    if (options.help.empty() && !options.describesScripts) return Program(options).Run();
    std::fputs(options.describesScripts ? ScriptTable().c_str() : options.help.c_str(), stdout);
    return 0;
  } catch (const UsageError& error) {
    PrintError(std::string("velk-sandbox: ") + error.what() + "; --help lists the options");
    return kUsageError;
  } catch (const std::exception& error) {
    PrintError(std::string("velk-sandbox: ") + error.what());
    return 1;
  }
}
