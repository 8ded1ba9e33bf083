// The HTTP connections of one call.
#pragma once

#include <curl/curl.h>

#include <memory>

namespace velk {

// Keeps the connections of a call open, so that later requests to the same host reuse them. The requests
// share nothing else. The object must outlive their transfers; its destructor closes the connections.
//
// When a kept connection dies before the first line of the reply, libcurl sends the request again. A request
// that must not be sent twice is therefore the first of its call, or does not use this class.
class Connections {
 public:
  Connections() noexcept;

  // Lets a handle keep its connection in this object. If memory ran out in the constructor, makes the handle
  // close its connection instead.
  CURLcode Admit(CURL* handle) const noexcept;

 private:
  struct Cleanup {
    void operator()(CURLSH* share) const noexcept { curl_share_cleanup(share); }
  };
  std::unique_ptr<CURLSH, Cleanup> share_;
};

}  // namespace velk
