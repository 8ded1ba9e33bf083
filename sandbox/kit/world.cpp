#include "kit/world.h"

#include <algorithm>
#include <boost/system/system_error.hpp>
#include <stdexcept>
#include <string>
#include <thread>

#include "net/files.h"

namespace velk::sandbox {
namespace {

// So that a long reply to one reader does not delay the events for another.
constexpr unsigned kControlThreads = 2;

Server Listen(asio::io_context& context, const char* option, unsigned threads, std::uint16_t port,
              std::uint64_t rate) try {
  return Server(context, threads, port, rate);
} catch (const boost::system::system_error& error) {
  throw std::runtime_error(std::string(option) + " " + std::to_string(port) + ": " + error.code().message());
}

}  // namespace

World::World(asio::io_context& context, const Options& given, std::span<const std::string_view> hosts)
    : options(given),
      // What passes through can be large, and it is the service that keeps it.
      store(FromUtf8(given.store), given.countOnly || given.forward),
      ledger(store.IsTemporary() ? std::filesystem::path() : store.Path()),
      authority(given.caDir.empty() ? Authority() : Authority(FromUtf8(given.caDir))),
      tls(authority.MakeContext(hosts)),
      journal(given.journal, events),
      services(store, ledger, objects),
      proxy(Listen(context, "--port", std::max(2U, std::thread::hardware_concurrency()), given.port,
                   given.slowNetwork)),
      control(Listen(context, "--control-port", kControlThreads, given.controlPort, 0)) {
  if (given.forward) upstreams.emplace(given, hosts);
}

}  // namespace velk::sandbox
