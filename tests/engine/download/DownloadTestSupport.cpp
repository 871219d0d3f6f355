#include "DownloadTestSupport.h"

#include <QTest>

#include <sys/resource.h>

namespace corvane::test {

bool ArrivalLog::waitFor(std::size_t n, int guardMs)
{
    return QTest::qWaitFor([&] { return arrivals.size() >= n; }, guardMs);
}

long peakRssKib()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace corvane::test
