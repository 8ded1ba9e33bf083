// Which failed calls may be repeated.
#pragma once

#include <cstdint>

#include "outcome.h"

namespace velk::publish {

// Whether the call failed before anything can have been published, and another try may help. `fileSize` is in
// bytes, and 0 for a call without a file.
bool MayRetry(CallKind kind, std::int32_t result, std::uint64_t fileSize = 0);

// Seconds before the retry with this number, which begins at 0.
double PauseBefore(int retry, double firstPause);

}  // namespace velk::publish
