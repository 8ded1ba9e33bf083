#include "publish_files.h"

#include "failure.h"
#include "files.h"
#include "velk_upload.h"

namespace velk::publish {
namespace {

Outcome Unreadable(const std::string& path, const FileError& error) {
  Outcome outcome;
  outcome.file = path;
  outcome.result = VELK_FILE_NOT_OPENED;
  outcome.status = kFile;
  outcome.problem = error.what();
  return outcome;
}

// Other files of the call may be published, or already are.
Outcome Refused(const std::string& path, const UsageError& error) {
  Outcome outcome;
  outcome.made = false;
  outcome.file = path;
  outcome.status = kUsage;
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
      outcome = Unreadable(path, error);
    } catch (const UsageError& error) {
      outcome = Refused(path, error);
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
