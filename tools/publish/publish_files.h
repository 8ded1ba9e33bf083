// Publishing several files in one call of the program.
#pragma once

#include <functional>
#include <string>

#include "call.h"

namespace velk::publish {

// Publishes each file in turn and reports its outcome. `publish` receives the path and its size. A file that
// cannot be read is reported like a result of the library. Returns the exit status of all.
int PublishFiles(CallKind kind, const Options& options,
                 const std::function<Outcome(const std::string& path, std::uint64_t size)>& publish);

// Reports the one outcome of a call without a file. Returns the exit status.
int ReportOne(CallKind kind, const Options& options, const Outcome& outcome);

}  // namespace velk::publish
