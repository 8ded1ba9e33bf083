#include "publish_files.h"

#include <exception>

#include "failure.h"
#include "files.h"
#include "velk_upload.h"

namespace velk::publish {
namespace {

// Other files of the call may be published, or already are, so that the error ends none of them.
Outcome Failed(const std::string& path, const std::exception& error, ExitStatus status) {
  Outcome outcome;
  outcome.file = path;
  outcome.status = status;
  outcome.problem = error.what();
  return outcome;
}

}  // namespace

int PublishFiles(CallKind kind, const Options& options,
                 const std::function<Outcome(const std::string& path, std::uint64_t size)>& publish) {
  Report report(kind, options.json, options.quiet, options.files.size());
  for (const std::string& path : options.files) {
    Outcome outcome;
    try {
      outcome = publish(path, MediaSize(path));
    } catch (const FileError& error) {
      outcome = Failed(path, error, kFile);
      outcome.result = VELK_FILE_NOT_OPENED;
    } catch (const UsageError& error) {
      outcome = Failed(path, error, kUsage);
      outcome.made = false;
    }
    report.Add(outcome);
    if (outcome.status == kCancelled) break;
  }
  return report.ExitStatusOfAll();
}

int ReportOne(CallKind kind, const Options& options, const Outcome& outcome) {
  Report report(kind, options.json, options.quiet, 1);
  report.Add(outcome);
  return report.ExitStatusOfAll();
}

}  // namespace velk::publish
