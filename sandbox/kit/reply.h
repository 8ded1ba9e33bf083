// HTTP replies, and their exact bytes.
#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "kit/why.h"

namespace velk::sandbox {

inline constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

struct Reply {
  int status = 200;
  std::string reason = {};                // empty: the standard reason phrase
  std::vector<std::string> headers = {};  // "Name: value"; Content-Length is added if absent
  std::string body = {};
  Why why = {};  // for a refusal; not sent
};

bool IsRefusal(int status);
Reply JsonReply(int status, const boost::json::object& body);
Reply JsonListReply(int status, const boost::json::array& body);

std::string SerializeHead(const Reply& reply, bool noContentLength);

}  // namespace velk::sandbox
