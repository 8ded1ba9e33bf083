// Which failed calls may be repeated.
#pragma once

#include <cstdint>

#include "outcome.h"

namespace velk::publish {

// Whether the call failed before anything can have been published, and another try may help.
bool MayRetry(CallKind kind, std::int32_t result);

// Seconds before the retry with this number, which begins at 0.
double PauseBefore(int retry, double firstPause);

}  // namespace velk::publish
