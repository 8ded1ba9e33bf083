#include "kit/script_members.h"

#include <algorithm>

namespace velk::sandbox {
namespace {

using S = ScriptText;

constexpr std::uint64_t kLargestReply = 64 * 1024 * 1024;

const ScriptMember kMembers[] = {
    {"host", Use::kMatch, &S::host, "host of the request, or several separated by commas; any if absent"},
    {"method", Use::kMatch, &S::method, "method; any but CONNECT if absent"},
    {"path", Use::kMatch, &S::path, "path without the query; any if absent"},
    {"withQuery", Use::kMatch, &S::withQuery, "parameters that the query must have, decoded"},
    {"withHeaders", Use::kMatch, &S::withHeaders, "headers that the request must have"},
    {"withForm", Use::kMatch, &S::withForm,
     "parameters that the body must have, decoded: of a form, of a multipart form, or members of a JSON "
     "object"},
    {"withBody", Use::kMatch, &S::withBody, "text that the body must contain, in its first MiB at most"},

    {"kept", Use::kLimit, &S::kept, "applies only over a connection that is kept from an earlier request"},
    {"times", Use::kLimit, &S::times, "number of requests to which it applies; 0 is all, and 1 the default"},

    {"status", Use::kReply, &S::status, "status of the reply", 100, 999},
    {"reason", Use::kReply, &S::reason, "reason phrase; the standard one if absent"},
    {"headers", Use::kReply, &S::headers,
     "header lines, in order; Content-Length is added unless one of them frames the body"},
    {"body", Use::kReply, &S::body, "body of the reply"},
    {"bodySize", Use::kReply, &S::bodySize, "repeats the body up to this number of bytes", 0, kLargestReply},
    {"passThrough", Use::kReply, &S::passThrough,
     "the service replies instead, and the faults apply to its reply"},

    {"delayMs", Use::kFault, &S::delayMs, "waits this number of milliseconds before the reply"},
    {"answerEarly", Use::kFault, &S::answerEarly,
     "replies after the head (or after `stopReadingAfter` bytes), and then discards the body"},
    {"cutAfter", Use::kFault, &S::cutAfter,
     "sends this number of bytes of the reply, with its head, and ends the connection: in order for TCP, but "
     "without TLS's closing notice"},
    {"cutBodyAfter", Use::kFault, &S::cutBodyAfter, "the same, counted from the first byte of the body"},
    {"reset", Use::kFault, &S::reset,
     "sends RST: at the cut, or instead of any reply (a service has then taken what was passed through)"},
    {"stopReadingAfter", Use::kFault, &S::stopReadingAfter,
     "reads this number of bytes of the body, and stalls; with a cut or a reset, it ends there instead. With "
     "`passThrough` and `reset`, the service gets these bytes, as when a connection breaks"},
    {"readSlowly", Use::kFault, &S::readSlowly, "reads this number of bytes of the body a second"},
    {"neverAnswer", Use::kFault, &S::neverAnswer, "stalls until the client disconnects"},
    {"noContentLength", Use::kFault, &S::noContentLength,
     "the body ends with the connection, which closes properly"},
    {"hangUp", Use::kFault, &S::hangUp,
     "closes the connection properly after the reply, without announcing it"},
    {"certificateName", Use::kFault, &S::certificateName,
     "on a CONNECT: presents a certificate of an unknown authority, for this host name alone"},
    {"refuseConnect", Use::kFault, &S::refuseConnect,
     "replies to the CONNECT itself with this status; short for the method CONNECT with a status", 100, 999},
};

}  // namespace

std::span<const ScriptMember> ScriptMembers() { return kMembers; }

const ScriptMember* FindScriptMember(std::string_view name) {
  const auto found = std::ranges::find(kMembers, name, &ScriptMember::name);
  return found == std::end(kMembers) ? nullptr : found;
}

}  // namespace velk::sandbox
