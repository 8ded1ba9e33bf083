#include "services/twitter/errors.h"

#include <boost/json/array.hpp>

namespace velk::sandbox::twitter {
namespace {

namespace json = boost::json;

std::string TitleOf(int status) {
  switch (status) {
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 429:
      return "Too Many Requests";
    default:
      return "Invalid Request";
  }
}

Why WhyOf(const ApiError& error) { return error.why.text.empty() ? Why{.text = error.message} : error.why; }

}  // namespace

const ApiError kBadSignature{401, 32, "Could not authenticate you."};
const ApiError kNoAuthentication{400, 215, "Bad Authentication data."};
const ApiError kOldTimestamp{401, 135, "Timestamp out of bounds."};
const ApiError kNoToken{401, 0, "Failed to validate oauth signature and token"};
const ApiError kRateLimit{429, 88, "Rate limit exceeded"};
const ApiError kUnknownPath{404, 34, "Sorry, that page does not exist."};
const ApiError kNoStatus{404, 144, "No status found with that ID."};

Reply ErrorReply(const ApiError& error) {
  const json::object detail{{"code", error.code}, {"message", error.message}};
  Reply reply = JsonReply(error.status, {{"errors", json::array{detail}}});
  if (error.code == 0)
    reply = {
        .status = error.status, .headers = {"Content-Type: text/html; charset=utf-8"}, .body = error.message};
  reply.why = WhyOf(error);
  return reply;
}

Reply ErrorReplyV2(const ApiError& error) {
  const int status = error.code == kNoAuthentication.code ? 401 : error.status;
  const std::string title = TitleOf(status);
  json::object problem{
      {"title", title}, {"detail", error.message}, {"type", "about:blank"}, {"status", status}};
  if (status == 401 || status == 429) problem["detail"] = title;
  if (status == 400) problem["errors"] = json::array{{{"message", error.message}}};
  Reply reply = JsonReply(status, problem);
  reply.why = WhyOf(error);
  return reply;
}

}  // namespace velk::sandbox::twitter
