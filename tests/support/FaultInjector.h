#pragma once

#include "engine/DemoWebServer.h"

#include <QByteArray>

namespace corvane::test {

// Makes a demo web server answer test faults on fixed paths besides the demo web (any query
// string shown is optional):
//   /_fault/reset               the connection is reset once the request is read
//   /_fault/stall               the request is read and never answered
//   /_fault/large?bytes=N       N bytes of filler (default 1 GiB), produced as the client reads
//   /_fault/gzip-bomb?bytes=N   gzip-encoded zeros that decode to N bytes (default 1 GiB)
//   /_fault/gzip?bytes=N        N bytes of text, gzip-encoded (deflate: /_fault/deflate)
//   /_fault/redirect-loop       redirects to itself forever
//   /_fault/redirect?n=K&to=P   K redirects, then to path P (default "/acme/")
//   /_fault/hold?ms=T           an ordinary small page, answered after T ms (default 200)
//   /_fault/status?code=C       a page with status C
void installFaults(DemoWebServer &server);

// The page /_fault/gzip and /_fault/deflate send compressed: bytes of text with one address
// per line.
QByteArray compressibleText(qint64 bytes);

} // namespace corvane::test
