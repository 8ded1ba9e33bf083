// Facebook's batches: several requests in one.
#include <boost/json/array.hpp>
#include <boost/json/parse.hpp>

#include "kit/byte_strings.h"
#include "services/facebook/facebook.h"

namespace velk::sandbox {

using namespace facebook;

namespace {

namespace json = boost::json;

constexpr std::size_t kMaxSteps = 50;

json::array Headers(const Reply& reply) {
  json::array headers;
  for (const std::string& line : reply.headers) {
    const std::size_t colon = line.find(':');
    headers.push_back(
        {{"name", line.substr(0, colon)}, {"value", Trim(std::string_view(line).substr(colon + 1))}});
  }
  return headers;
}

}  // namespace

Reply Facebook::RunBatch(const ServiceRequest& request) {
  boost::system::error_code error;
  const json::value steps = json::parse(request.Parameter("batch"), error);
  Require(!error && steps.is_array() && !inBatch_,
          Because(facebook::UnknownPath("/"),
                  inBatch_ ? "a batch is inside of a batch" : "the parameter batch is no JSON array"));
  Require(steps.get_array().size() <= kMaxSteps,
          {400, "GraphBatchException", 3, 0, "Too many requests in batch message. Maximum batch size is 50"});
  RequireToken(TokenOf(request));
  json::array replies;
  Why why;
  for (const json::value& step : steps.get_array()) {
    std::string refused = "it is no object";
    replies.push_back(step.is_object() ? RunStep(request, step.get_object(), refused)
                                       : json::object{{"code", 400}});
    if (step.is_object() && refused.empty()) continue;
    why.text += (why.text.empty() ? "step " : "; step ") + std::to_string(replies.size()) + ": " + refused;
  }
  Reply reply = JsonListReply(200, replies);
  reply.why = std::move(why);
  return reply;
}

// A step without a token of its own has that of the batch. Its body is a form.
json::object Facebook::RunStep(const ServiceRequest& request, const json::object& step, std::string& why) {
  std::string target = StringMember(step, "relative_url");
  if (!target.starts_with('/')) target.insert(target.begin(), '/');
  const std::string body = StringMember(step, "body");
  if (target.find("access_token=") == std::string::npos && !Find(ParsePairs(body), "access_token"))
    target += (target.find('?') == std::string::npos ? "?access_token=" : "&access_token=") +
              PercentEncode(TokenOf(request));
  target.insert(0, VersionOf(request));
  Head head;
  head.method = StringMember(step, "method");
  head.host = request.head.host;
  head.target = target;
  head.lines = {"Content-Type: application/x-www-form-urlencoded"};
  inBatch_ = true;
  const std::shared_ptr<void> end(nullptr, [this](void*) { inBatch_ = false; });
  const Reply reply = Handle(head, NewPiece(store_, body).owner);
  why = reply.why.text;
  return {{"code", reply.status}, {"headers", Headers(reply)}, {"body", reply.body}};
}

}  // namespace velk::sandbox
