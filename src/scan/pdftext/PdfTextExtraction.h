#pragma once

// Page text out of a PDF with poppler. Only the helper program corvane-pdf-text (and the fuzz
// target) run this: a PDF can be built to make its reader take all memory or all time, and in
// a helper process under resource limits that ends the helper, never the scan.

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace corvane {

struct PdfTextLimits
{
    int maxPages = 10000;
    long long maxTextBytes = 64LL << 20;
};

// How the extraction ended; the helper's exit code.
enum class PdfTextEnd {
    Complete = 0,
    PageLimit = 3,   // more pages than maxPages: the first ones were read
    TextLimit = 4,   // more text than maxTextBytes: the text up to it was handed on
    Unreadable = 5,  // not a PDF poppler can open
    Locked = 6,      // needs a password
    OutOfMemory = 7, // an allocation failed under the helper's memory limit
};

// Hands the text on, UTF-8, page by page in order, each page followed by a line feed.
using PdfTextWriter = std::function<void(std::string_view text)>;

PdfTextEnd extractPdfTextFromFile(const std::string &path, const PdfTextLimits &limits,
                                  const PdfTextWriter &write);
PdfTextEnd extractPdfTextFromBytes(const char *data, std::size_t size, const PdfTextLimits &limits,
                                   const PdfTextWriter &write);

} // namespace corvane
