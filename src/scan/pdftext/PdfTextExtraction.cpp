#include "PdfTextExtraction.h"

#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>

#include <climits>
#include <memory>
#include <new>

namespace corvane {

namespace {

// Poppler reports every oddity of a damaged file on stderr; the outcome says enough.
void quiet(const std::string &, void *) {}

PdfTextEnd extract(poppler::document *loaded, const PdfTextLimits &limits,
                   const PdfTextWriter &write)
{
    const std::unique_ptr<poppler::document> document(loaded);
    if (!document)
        return PdfTextEnd::Unreadable;
    if (document->is_locked())
        return PdfTextEnd::Locked;
    const int pages = document->pages();
    long long written = 0;
    for (int index = 0; index < pages; ++index) {
        if (index >= limits.maxPages)
            return PdfTextEnd::PageLimit;
        const std::unique_ptr<poppler::page> page(document->create_page(index));
        if (!page)
            continue;
        poppler::byte_array text = page->text().to_utf8();
        text.push_back('\n');
        const long long room = limits.maxTextBytes - written;
        if (static_cast<long long>(text.size()) > room) {
            write(std::string_view(text.data(), static_cast<std::size_t>(room)));
            return PdfTextEnd::TextLimit;
        }
        write(std::string_view(text.data(), text.size()));
        written += static_cast<long long>(text.size());
    }
    return PdfTextEnd::Complete;
}

template <typename Load>
PdfTextEnd guarded(Load &&load, const PdfTextLimits &limits, const PdfTextWriter &write)
{
    poppler::set_debug_error_function(quiet, nullptr);
    try {
        return extract(load(), limits, write);
    } catch (const std::bad_alloc &) {
        return PdfTextEnd::OutOfMemory;
    }
}

} // namespace

PdfTextEnd extractPdfTextFromFile(const std::string &path, const PdfTextLimits &limits,
                                  const PdfTextWriter &write)
{
    return guarded([&] { return poppler::document::load_from_file(path); }, limits, write);
}

PdfTextEnd extractPdfTextFromBytes(const char *data, std::size_t size, const PdfTextLimits &limits,
                                   const PdfTextWriter &write)
{
    if (size > static_cast<std::size_t>(INT_MAX))
        return PdfTextEnd::Unreadable;
    return guarded(
        [&] { return poppler::document::load_from_raw_data(data, static_cast<int>(size)); }, limits,
        write);
}

} // namespace corvane
