// The control URL: scripts go in, and everything that arrived at the services comes back, as JSON.
//
//   POST /scripts    a script (below); returns {"id": N}
//   GET /scripts     [{"id", "matched": requests that it applied to, "fired": [faults that took effect]}]
//   GET /requests    the newest requests since the last reset (20,000 by default), in order of arrival: id (a
//                    count), scheme, host, method, target (origin form), rawHead (byte for byte), headers
//                    (lines), connectHead (of its tunnel), connection (a number), connectionOpen (still),
//                    scripted, status (of the reply; 0 while there is none, or when none was sent),
//                    bodyReceived (bytes so far), bodyComplete, and for a complete one body, bodySize,
//                    bodySha256, bodyFile and fields [{name, fileName, contentType, size, sha256, content,
//                    file}]. A content above 64 KiB is a file instead, and so is any other one while 64 MiB
//                    of contents are in memory. With --count-only, neither file nor hash exists of one above
//                    64 KiB.
//   GET /totals      {"requests", "kept": those that GET /requests returns, "bodyBytes"} since the last reset
//   GET /state       one member for each service
//   GET /switches    {"service": {"switch": number or null}}; docs/sandbox.md describes each switch
//   POST /switches   sets the given ones; returns all
//   GET /ca.pem      the certificate of the authority, for clients that verify the simulated services
//   POST /sha256     {"sha256": hexadecimal hash of the posted body}
//   POST /reset      removes requests, scripts, switches, service state and stored files, and drops
//                    connections that a fault keeps; DELETE /requests does the same
//
// A refused command returns {"error": why}: with status 400 for a bad script, 403 for a page of another
// origin, 404 for an unknown command, 413 for a body of more than 1 MiB.
//
// Strings are UTF-8. Other bytes are in a member NAMEBase64 beside the member NAME, in both directions.
//
// A script applies to the next `times` (1; 0: all) requests that match its `host`, `method` and `path`
// (without the query; a final '*' matches any suffix). With `kept` it applies only to those over a connection
// that is kept from an earlier request. Scripts apply in the order of their arrival. The reply is `status`,
// `reason`, `headers` (lines, in order) and `body`, which is repeated up to `bodySize` bytes. Content-Length
// is added unless a header frames the body. With `passThrough`, the service replies instead. The faults:
//   delayMs           wait before the reply
//   answerEarly       reply after the head (or after stopReadingAfter bytes), then discard the body
//   cutAfter          send N bytes of the reply, including the head, and end the connection: in order for
//                     TCP, but without TLS's closing notice
//   cutBodyAfter      the same, counted from the first byte of the body
//   reset             send RST: at the cut, or instead of any reply (a passed-through request has taken
//                     effect by then)
//   stopReadingAfter  read N bytes of the body, then stall; with a cut or a reset, end there instead. With
//                     passThrough and reset, the service gets these bytes, as when a connection breaks
//   readSlowly        read N bytes of the body a second
//   neverAnswer       stall until the client disconnects
//   noContentLength   the body ends with the connection, which closes properly
//   hangUp            close the connection properly after the reply, without announcing it
//   certificateName   on a CONNECT: present a certificate of an unknown authority for this host name alone
//   refuseConnect     reply to the CONNECT itself with this status; short for method "CONNECT" with a status.
//                     All faults work there too.
#pragma once

#include "kit/world.h"
#include "net/stream.h"

namespace velk::sandbox {

awaitable<void> ServeControl(Stream& stream, World& world);

}  // namespace velk::sandbox
