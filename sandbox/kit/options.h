// The command line of velk-sandbox.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace velk::sandbox {

constexpr std::uint16_t kProxyPort = 8470;
constexpr std::uint16_t kControlPort = 8471;

struct Options {
  std::uint16_t port = kProxyPort;  // 0 is any free one
  std::uint16_t controlPort = kControlPort;
  std::string store;              // empty is a temporary folder
  std::string caDir;              // empty is a new authority
  std::size_t journal = 20'000;   // how many of the newest requests to keep
  std::uint64_t slowNetwork = 0;  // bytes a second; 0 is no limit
  bool countOnly = false;
  bool verbose = false;
  bool forward = false;
  std::vector<std::string> upstreams;  // "HOST=ADDRESS:PORT"
  std::string upstreamCa;              // empty is the system's authorities
  bool showSecrets = false;
  bool describesScripts = false;     // prints what a script can state, instead of running
  std::string help;                  // what to print instead of running
  std::vector<std::string> command;  // the words after "--"
};

struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

Options ParseOptions(const std::vector<std::string>& arguments);  // throws UsageError

}  // namespace velk::sandbox
