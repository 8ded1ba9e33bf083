// A sandbox of a test's own, beside the one that runs the test program.
#pragma once

#include <boost/json/parse.hpp>
#include <boost/process/args.hpp>
#include <boost/process/child.hpp>
#include <boost/process/exe.hpp>
#include <boost/process/io.hpp>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "support/sandbox.h"

namespace velk::test {

// Starts it on any free ports. The destructor kills it.
class RunningSandbox {
 public:
  // Its standard error stream goes to the file.
  RunningSandbox(const std::string& program, std::vector<std::string> arguments,
                 const std::filesystem::path& errors)
      : child_(boost::process::exe = program, boost::process::args = WithPorts(std::move(arguments)),
               boost::process::std_out > output_, boost::process::std_err > errors) {
    std::string line;
    std::getline(output_, line);
    if (line.empty()) return;
    const boost::json::value urls = boost::json::parse(line);
    sandbox.emplace(std::string(urls.at("proxy").as_string()), std::string(urls.at("control").as_string()));
  }
  ~RunningSandbox() {
    std::error_code ignored;
    child_.terminate(ignored);
    child_.wait(ignored);
  }
  RunningSandbox(const RunningSandbox&) = delete;
  RunningSandbox& operator=(const RunningSandbox&) = delete;

  int ExitStatus() {
    child_.wait();
    return child_.exit_code();
  }
  int ProcessId() const { return static_cast<int>(child_.id()); }

  std::optional<Sandbox> sandbox;  // none when it did not start

 private:
  static std::vector<std::string> WithPorts(std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"--port", "0", "--control-port", "0"});
    return arguments;
  }

  boost::process::ipstream output_;
  boost::process::child child_;
};

}  // namespace velk::test
