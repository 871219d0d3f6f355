// The libFuzzer side of a target: the program links exactly one entry and stops at the first
// input that breaks one of its rules, so libFuzzer keeps that input as a crash.

#include "FuzzTarget.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::vector<corvane::fuzz::Target> &all = corvane::fuzz::targets();
    if (all.size() != 1) {
        std::fprintf(stderr, "a fuzzer links exactly one target, this one has %zu\n", all.size());
        std::abort();
    }
    corvane::fuzz::Findings findings;
    all.front().entry(QByteArrayView(reinterpret_cast<const char *>(data), qsizetype(size)),
                      findings);
    if (findings.isEmpty())
        return 0;
    for (const QString &rule : findings.broken())
        std::fprintf(stderr, "%s: broken rule, %s\n", all.front().name, qPrintable(rule));
    std::abort();
}
