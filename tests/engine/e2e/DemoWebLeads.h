#pragma once

#include "support/TestSupport.h"

#include <QStringList>

namespace corvane::test {

// The addresses on the public pages of the bundled demo web's three sites.
inline const QStringList kAcmeLeads = {"info@acme-demo.com",      "jane.miller@acme-demo.com",
                                       "orders@acme-demo.com",    "press@acme-demo.com",
                                       "tom.baker@acme-demo.com", "trade@acme-demo.com"};
inline const QStringList kBirchwoodLeads = {"books@birchwood-demo.org",
                                            "events@birchwood-demo.org"};
inline const QStringList kCoastalLeads = {"membership@coastal-demo.net", "regatta@coastal-demo.net",
                                          "skipper@coastal-demo.net"};

// A single-URL run from Coastal, sorted: it links on to its neighbours' start pages, whose own
// pages are link pages of a different host and so are not followed.
inline const QStringList kFromCoastalLeads =
    sorted(kCoastalLeads + kBirchwoodLeads +
           QStringList{"info@acme-demo.com", "orders@acme-demo.com", "trade@acme-demo.com"});

} // namespace corvane::test
