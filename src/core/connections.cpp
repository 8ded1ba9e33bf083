#include "core/connections.h"

namespace velk {

Connections::Connections() noexcept : share_(curl_share_init()) {
  if (share_ && curl_share_setopt(share_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_CONNECT) != CURLSHE_OK)
    share_.reset();
}

CURLcode Connections::Admit(CURL* handle) const noexcept {
  return share_ ? curl_easy_setopt(handle, CURLOPT_SHARE, share_.get())
                : curl_easy_setopt(handle, CURLOPT_FORBID_REUSE, 1L);
}

}  // namespace velk
