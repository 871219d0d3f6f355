// corvane-pdf-text [--max-pages N] [--max-text BYTES] [--max-memory BYTES] [--max-seconds S] FILE
//
// Writes the text of a PDF's pages to stdout (UTF-8, a line feed after each page) for the
// leads scan, which runs it as a helper so that a PDF built to exhaust its reader ends this
// process and not the scan. The limits are set on this process before the file is opened.
// Exit codes: 0 all text written, 2 bad call, 3 page limit reached, 4 text limit reached,
// 5 not a readable PDF, 6 locked with a password, 7 out of memory.

#include "PdfTextExtraction.h"

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace corvane;

namespace {

int usage(const char *problem)
{
    std::fprintf(stderr, "corvane-pdf-text: %s\n", problem);
    return 2;
}

bool parseNumber(const char *text, long long &value)
{
    char *end = nullptr;
    value = std::strtoll(text, &end, 10);
    return end != text && *end == '\0' && value > 0;
}

void limitResource(int resource, long long value)
{
    const rlimit limit{static_cast<rlim_t>(value), static_cast<rlim_t>(value)};
    setrlimit(resource, &limit);
}

} // namespace

int main(int argc, char **argv)
{
    PdfTextLimits limits;
    long long memory = 512LL << 20;
    long long seconds = 120;
    const char *file = nullptr;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        long long value = 0;
        if (option.rfind("--", 0) == 0) {
            if (i + 1 >= argc || !parseNumber(argv[i + 1], value))
                return usage((option + " needs a whole number above 0").c_str());
            ++i;
            if (option == "--max-pages")
                limits.maxPages = static_cast<int>(std::min<long long>(value, 1 << 30));
            else if (option == "--max-text")
                limits.maxTextBytes = value;
            else if (option == "--max-memory")
                memory = value;
            else if (option == "--max-seconds")
                seconds = value;
            else
                return usage(("unknown option " + option).c_str());
        } else if (!file) {
            file = argv[i];
        } else {
            return usage("only one FILE");
        }
    }
    if (!file)
        return usage("no FILE given");

    limitResource(RLIMIT_AS, memory);
    limitResource(RLIMIT_CPU, seconds);
    limitResource(RLIMIT_CORE, 0);
    const PdfTextEnd end = extractPdfTextFromFile(file, limits, [](std::string_view text) {
        std::fwrite(text.data(), 1, text.size(), stdout);
    });
    std::fflush(stdout);
    return static_cast<int>(end);
}
