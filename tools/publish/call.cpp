#include "call.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
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

// Ends the program in the middle of a call, which cannot be cancelled or does not end.
[[noreturn]] void EndAtOnce(CallKind kind) {
  const bool publishes = kind != CallKind::kFacebookRead && kind != CallKind::kTwitterSignIn;
  std::fputs(publishes ? "\nvelk-publish: cancelled; it may be published: look before a new try\n"
                       : "\nvelk-publish: cancelled\n",
             stderr);
  std::_Exit(kCancelled);
}

std::int32_t Await(std::future<std::int32_t>& result, const Call& call, FileUploader* uploader,
                   ProgressMeter& meter) {
  bool cancelled = false;
  while (result.wait_for(kPoll) != std::future_status::ready) {
    if (Interrupts() > (uploader ? 1 : 0)) EndAtOnce(call.kind);
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

std::int32_t RunOnce(const Call& call, const Options& options) {
  FileUploader* const uploader = call.handle ? call.handle->init() : nullptr;
  if (call.handle && !uploader) return VELK_OUT_OF_MEMORY;
  ProgressMeter meter(FileName(call.file), call.fileSize, call.inSegments, uploader && !options.quiet);
  auto future = std::async(std::launch::async, [&] { return call.run(uploader); });
  const std::int32_t result = Await(future, call, uploader, meter);
  meter.Finish(result == VELK_OK);
  Release(call, uploader);
  return result;
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
  outcome.result = RunOnce(call, options);
  for (int retry = 0; retry < options.retries && MayRetry(call.kind, outcome.result); ++retry) {
    if (!Pause(PauseBefore(retry, options.retryPause), outcome.result, options)) {
      outcome.result = VELK_CANCELLED;
      break;
    }
    outcome.result = RunOnce(call, options);
    // The text is there since an earlier try, which looked like a failure.
    if (outcome.result == VELK_DUPLICATE_STATUS) outcome.result = VELK_OK;
  }
  outcome.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  outcome.status = StatusOf(call.kind, outcome.result, call.updateKind);
  if (outcome.status == kDone && !call.file.empty()) outcome.bytes = call.fileSize;
  return outcome;
}

Outcome Perform(CallKind kind, const Options& options, const std::function<std::int32_t()>& run,
                std::uint32_t updateKind) {
  return Perform({.kind = kind, .run = [&run](FileUploader*) { return run(); }, .updateKind = updateKind},
                 options);
}

}  // namespace velk::publish
