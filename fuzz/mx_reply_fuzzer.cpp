// libFuzzer entry for the DNS reply reader; build and run it with fuzz/run.sh.

#include "MxReplyChecks.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!corvane::fuzz::checkMxReply(
            QByteArrayView(reinterpret_cast<const char *>(data), qsizetype(size))))
        std::abort();
    return 0;
}
