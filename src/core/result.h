// Turning outcomes into result codes.
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <span>

#include "velk_upload.h"

namespace velk {

// Runs an exported call's body. No exception may reach the host. Ours report that memory or randomness ran out;
// anything else that a library should throw counts as that.
template <typename Body>
int32_t Guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return VELK_OUT_OF_MEMORY;
  }
}

// The code of a failed transfer.
constexpr int32_t FromTransfer(CURLcode failure) noexcept {
  return failure == CURLE_ABORTED_BY_CALLBACK ? VELK_CANCELLED : VELK_TRANSFER_FAILED;
}

// One row of a table that judges a reply by its status alone.
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
