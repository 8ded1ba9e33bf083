// Runs the stand-in services, until told to stop or for as long as a given command runs.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "kit/control.h"
#include "kit/exchange.h"
#include "kit/options.h"
#include "net/certificate.h"
#include "services/all_services.h"

namespace velk::sandbox {
namespace {

// The signals that the main thread waits for; no other thread ever sees them.
sigset_t AwaitedSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&signals, number);
  return signals;
}

// A sandbox or a command left behind would hold its ports, so each ends with the process that started it.
void EndWith(pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (::getppid() != parent) ::_exit(1);
}

[[noreturn]] void Become(char** command, const sigset_t& signals, pid_t parent) {
  EndWith(parent);
  ::sigprocmask(SIG_UNBLOCK, &signals, nullptr);
  ::signal(SIGPIPE, SIG_DFL);
  ::execvp(command[0], command);
  std::fprintf(stderr, "velk-sandbox: %s: %s\n", command[0], std::strerror(errno));
  ::_exit(127);
}

// Forks while there is only one thread; connections that come early wait in the listeners' queues.
pid_t StartCommand(char** command, const World& world, const sigset_t& signals) {
  ::setenv("VELK_SANDBOX_PROXY", world.proxy.Address().c_str(), 1);
  ::setenv("VELK_SANDBOX_CONTROL", world.control.Address().c_str(), 1);
  ::setenv("VELK_SANDBOX_STORE", world.store.Folder().c_str(), 1);
  // The machine's own proxy, or an exception from it, would lead the command past the services.
  for (const char* name : {"http_proxy", "https_proxy", "all_proxy", "no_proxy", "HTTP_PROXY", "HTTPS_PROXY",
                           "ALL_PROXY", "NO_PROXY"}) {
    ::unsetenv(name);
  }
  const pid_t self = ::getpid();
  const pid_t child = ::fork();
  if (child == 0) Become(command, signals, self);
  if (child < 0) throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
  return child;
}

int AwaitCommand(pid_t child, const sigset_t& signals) {
  for (;;) {
    int number = 0;
    ::sigwait(&signals, &number);
    if (number != SIGCHLD) {
      ::kill(child, number);
      continue;
    }
    int status = 0;
    if (::waitpid(child, &status, WNOHANG) != child) continue;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
}

int AwaitEnd(const sigset_t& signals) {
  for (int number = SIGCHLD; number == SIGCHLD;) ::sigwait(&signals, &number);
  return 0;
}

void Announce(const World& world) {
  const boost::json::object line{{"proxy", world.proxy.Address()},
                                 {"control", world.control.Address()},
                                 {"store", world.store.Folder().string()}};
  std::printf("%s\n", boost::json::serialize(line).c_str());
  std::fflush(stdout);
}

int Run(const Options& options) {
  const sigset_t signals = AwaitedSignals();
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
  EndWith(::getppid());
  const TlsContext tls = MakeTlsContext(kServiceHosts);
  World world{.store = {options.store, options.countOnly},
              .proxy = Server(options.port),
              .control = Server(options.controlPort),
              .tls = tls.get(),
              .verbose = options.verbose};
  AddAllServices(world.services, world.store, world.proxy.Address());
  const pid_t child = options.command ? StartCommand(options.command, world, signals) : 0;
  world.proxy.Start([&](Stream& stream) { ServeProxy(stream, world); });
  world.control.Start([&](Stream& stream) { ServeControl(stream, world); });
  if (!child) Announce(world);
  const int status = child ? AwaitCommand(child, signals) : AwaitEnd(signals);
  world.control.Stop();
  world.proxy.Stop();
  return status;
}

}  // namespace
}  // namespace velk::sandbox

int main(int, char** arguments) {
  using namespace velk::sandbox;
  try {
    const Options options = ParseOptions(arguments + 1);
    if (!options.help) return Run(options);
    std::fputs(kHelp, stdout);
    return 0;
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "velk-sandbox: %s\n%s", error.what(), kHelp);
    return 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "velk-sandbox: %s\n", error.what());
    return 1;
  }
}
