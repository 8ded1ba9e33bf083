// The control address: scripts go in, and everything that arrived at the services comes back, as JSON.
//
//   POST /scripts    a script (below); answers {"id": N}
//   GET /scripts     [{"id", "matched": requests that took it, "fired": [faults that really happened]}]
//   GET /requests    every request since the last reset, in order of arrival: id, scheme, host, method,
//                    target (origin form), rawHead (byte for byte), headers (lines), connectHead (of its
//                    tunnel), connection (a number), connectionOpen (still), scripted, status (answered;
//                    0: none yet or none at all), bodyReceived (so far), bodyComplete, and once complete:
//                    body, bodySize, bodySha256, bodyFile and fields [{name, fileName, contentType, size,
//                    sha256, content, file}]. Contents above 256 KiB come as a file instead; with
//                    --count-only neither they nor their hash exist.
//   GET /state       one member for each service
//   GET /ca.pem      the certificate of the stand-in services, for clients that verify it
//   POST /sha256     {"sha256": hexadecimal hash of the posted body}
//   POST /reset      forgets requests, scripts, service state and stored files, and drops connections that
//                    still hang on a fault; DELETE /requests does the same
//
// Texts carry bytes: byte 0x00 to 0xFF is the code point U+0000 to U+00FF, in both directions.
//
// A script applies to the next `times` (1; 0: all) requests that match its `host`, `method` and `path`
// (without the query; a final '*' stands for any rest). With `kept` it applies only to those that come over a
// connection which is kept from an earlier request. Scripts are taken in the order of their arrival.
// The reply is `status`, `reason`, `headers` (lines, in order) and `body`; Content-Length is added unless a
// header frames the body. `passThrough` lets the service answer instead. The faults:
//   delayMs           wait before the reply
//   answerEarly       reply on the head alone (or after stopReadingAfter bytes), then swallow the body
//   cutAfter          send so many bytes of the reply, head included, and end the connection in order for
//                     TCP, but without TLS's closing notice
//   cutBodyAfter      the same, counted from the first byte of the body
//   reset             break off with RST: at the cut, or instead of any reply (a passed-through request has
//                     had its effect by then)
//   stopReadingAfter  take so many bytes of the body, then stall; with a cut or reset, break off instead
//   readSlowly        read the body at so many bytes a second
//   neverAnswer       stall until the client goes away
//   noContentLength   the body ends with the connection, which closes properly
//   hangUp            end the connection after the reply, properly, but without having announced it
//   certificateName   on a CONNECT: present a certificate for this host name alone
//   refuseConnect     answer the CONNECT itself with this status; short for method "CONNECT" with a status.
//                     All faults work there too.
#pragma once

#include "kit/exchange.h"

namespace velk::sandbox {

void ServeControl(Stream& stream, World& world);

}  // namespace velk::sandbox
