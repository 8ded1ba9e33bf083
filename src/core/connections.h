// The connections of one call.
#pragma once

#include <curl/curl.h>

#include <memory>

namespace velk {

// The requests of a call that are made with it keep their connections open in it, so that a later one to the same host
// goes over an earlier one's. They share nothing else. It must outlive their transfers, and closes what is open.
//
// libcurl sends a request once more by itself when a kept connection dies before the first byte of the reply. So a
// request that must not be sent twice is either the first one of its call or made without this.
class Connections {
 public:
  Connections() noexcept;

  // Lets a handle keep its connection here; without memory for that, has it close its connection.
  CURLcode Admit(CURL* handle) const noexcept;

 private:
  struct Cleanup {
    void operator()(CURLSH* share) const noexcept { curl_share_cleanup(share); }
  };
  std::unique_ptr<CURLSH, Cleanup> share_;
};

}  // namespace velk
