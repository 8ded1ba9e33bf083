#include "call.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <optional>
#include <thread>

#include "files.h"
#include "progress.h"
#include "retries.h"
#include "system.h"

namespace velk::publish {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kPoll = 50ms;

// How long a cancelled upload may take to end. Some requests of the library do not look at the cancel.
constexpr auto kLongestCancel = 3s;

// Ends the program in the middle of a call, which cannot be cancelled or does not end.
[[noreturn]] void EndAtOnce(const Call& call, const Options& options, Clock::time_point begin) {
  const bool publishes = call.kind != CallKind::kFacebookRead && call.kind != CallKind::kTwitterSignIn;
  Outcome outcome;
  outcome.result = VELK_CANCELLED;
  outcome.file = call.file;
  outcome.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  outcome.problem = publishes ? "cancelled; it may be published: look before a new try" : "cancelled";
  std::fprintf(stderr, "\nvelk-publish: %s\n", outcome.problem.c_str());
  if (options.json) std::printf("%s\n", ToJson(ServiceName(call.kind), outcome).c_str());
  std::fflush(stdout);
  std::_Exit(kCancelled);
}

// Returns none when the program has to end in the middle of the call.
std::optional<std::int32_t> Await(std::future<std::int32_t>& result, const Call& call, FileUploader* uploader,
                                  ProgressMeter& meter) {
  bool cancelled = false;
  std::optional<Clock::time_point> interrupted;
  while (result.wait_for(kPoll) != std::future_status::ready) {
    if (Interrupts() > 0 && !interrupted) interrupted = Clock::now();
    const bool tooLong = interrupted && Clock::now() - *interrupted > kLongestCancel;
    if (tooLong || Interrupts() > (uploader ? 1 : 0)) return std::nullopt;
    // The library takes a cancel only from some point on.
    if (Interrupts() > 0 && !cancelled) cancelled = call.handle->cancel(uploader) == VELK_OK;
    double uploaded = 0, total = 0;
    if (uploader && !cancelled && call.handle->progress(uploader, &uploaded, &total) == VELK_OK)
      meter.Update(uploaded, total);
  }
  return result.get();
}

// A finished handle of YouTube stays busy until it is cancelled. One of the others stays allocated.
void Release(const Call& call, FileUploader* uploader) {
  if (!uploader) return;
  if (call.kind == CallKind::kYoutubeUpload) call.handle->cancel(uploader);
  call.handle->uninit(uploader);
}

std::int32_t RunOnce(const Call& call, const Options& options, Clock::time_point begin) {
  FileUploader* const uploader = call.handle ? call.handle->init() : nullptr;
  if (call.handle && !uploader) return VELK_OUT_OF_MEMORY;
  ProgressMeter meter(FileName(call.file), call.fileSize, call.inSegments, uploader && !options.quiet);
  auto future = std::async(std::launch::async, [&] { return call.run(uploader); });
  const auto result = Await(future, call, uploader, meter);
  if (!result) EndAtOnce(call, options, begin);
  meter.Finish(*result == VELK_OK);
  Release(call, uploader);
  return *result;
}

// Returns false when Ctrl-C ends the pause.
bool Pause(double seconds, std::int32_t result, const Options& options) {
  if (!options.quiet)
    std::fprintf(stderr, "%s (%d): trying again in %g s\n", TextOf(result).name.c_str(),
                 static_cast<int>(result), seconds);
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  while (Clock::now() < end && Interrupts() == 0) std::this_thread::sleep_for(kPoll);
  return Interrupts() == 0;
}

}  // namespace

Outcome Perform(const Call& call, const Options& options) {
  Outcome outcome;
  outcome.file = call.file;
  const auto begin = Clock::now();
  outcome.result = RunOnce(call, options, begin);
  const auto mayRetry = [&] { return MayRetry(call.kind, outcome.result, call.fileSize); };
  for (int retry = 0; retry < options.retries && mayRetry(); ++retry) {
    if (!Pause(PauseBefore(retry, options.retryPause), outcome.result, options)) {
      outcome.result = VELK_CANCELLED;
      break;
    }
    outcome.result = RunOnce(call, options, begin);
    // The text is there since an earlier try, which looked like a failure.
    if (outcome.result == VELK_DUPLICATE_STATUS) outcome.result = VELK_OK;
  }
  outcome.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  outcome.status = StatusOf(call.kind, outcome.result, call.updateKind);
  // A call that failed after Ctrl-C: the code still states whether something may be published.
  const bool published = outcome.status == kDone || outcome.status == kPartlyDone;
  if (Interrupts() > 0 && !published) outcome.status = kCancelled;
  if (outcome.status == kDone && !call.file.empty()) outcome.bytes = call.fileSize;
  return outcome;
}

Outcome Perform(CallKind kind, const Options& options, const std::function<std::int32_t()>& run,
                std::uint32_t updateKind) {
  return Perform({.kind = kind, .run = [&run](FileUploader*) { return run(); }, .updateKind = updateKind},
                 options);
}

}  // namespace velk::publish
