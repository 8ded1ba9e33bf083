// Converts outcomes to result codes.
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <span>

#include "velk_upload.h"

namespace velk {

// Runs the body of a function that must not throw. The library's own exceptions report that memory or
// randomness ran out. Any other exception is treated the same.
template <typename Body>
int32_t Guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return VELK_OUT_OF_MEMORY;
  }
}

// The result code of a failed transfer.
constexpr int32_t FromTransfer(CURLcode failure) noexcept {
  return failure == CURLE_ABORTED_BY_CALLBACK ? VELK_CANCELLED : VELK_TRANSFER_FAILED;
}

// One row of a table that maps HTTP statuses to result codes.
struct StatusResult {
  long status;
  int32_t result;
};

constexpr int32_t FromStatus(long status, std::span<const StatusResult> table, int32_t otherwise) noexcept {
  for (const StatusResult& row : table)
    if (row.status == status) return row.result;
  return otherwise;
}

}  // namespace velk
