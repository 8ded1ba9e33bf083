// Running a call of the library: on a thread of its own, with progress, Ctrl-C and retries.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "options.h"
#include "outcome.h"
#include "velk_upload.h"

namespace velk::publish {

// The functions that serve a handle.
struct HandleFunctions {
  FileUploader* (*init)();
  std::int32_t (*uninit)(FileUploader*);
  std::int32_t (*progress)(const FileUploader*, double*, double*);
  std::int32_t (*cancel)(FileUploader*);
};

struct Call {
  CallKind kind;
  std::function<std::int32_t(FileUploader*)> run;
  const HandleFunctions* handle = nullptr;  // null when the call takes none
  std::string file = {};
  std::uint64_t fileSize = 0;
  bool inSegments = false;  // the handle reports each segment by itself
  std::uint32_t updateKind = 0;
};

// Runs the call, and again as often as the options allow. Fills in result, status, seconds, file and bytes.
Outcome Perform(const Call& call, const Options& options);

// The same for a call without a handle.
Outcome Perform(CallKind kind, const Options& options, const std::function<std::int32_t()>& run,
                std::uint32_t updateKind = 0);

}  // namespace velk::publish
