// leads_record_helper DATABASE
//
// Records run 1 with 500 leads and ends it, then records run 2 without end, printing
// "ended 1" and, after each commit it waited for, "flushed N". It never stops on its own: the
// kill test ends it with SIGKILL in the middle of run 2.

#include "leads/RunRecorder.h"

#include <QCoreApplication>

#include <cstdio>

using namespace corvane;

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2)
        return 2;
    const QString path = QString::fromLocal8Bit(argv[1]);

    auto first = RunRecorder::start(path, RunKind::Scan, {{"files", 500}});
    if (!first)
        return 1;
    for (int i = 0; i < 500; ++i)
        first.value()->recordLead(QStringLiteral("first%1@done.test").arg(i),
                                  QStringLiteral("/files/%1.txt").arg(i));
    if (!first.value()->endRun(QStringLiteral("complete")))
        return 1;
    std::printf("ended %lld\n", first.value()->runId());
    std::fflush(stdout);

    auto second = RunRecorder::start(path, RunKind::Harvest, {{"pages", "endless"}});
    if (!second)
        return 1;
    for (qint64 i = 1;; ++i) {
        second.value()->recordLead(QStringLiteral("lead%1@cut.test").arg(i),
                                   QStringLiteral("http://cut.test/page%1").arg(i / 10),
                                   QStringLiteral("Page %1").arg(i / 10));
        if (i % 1000 == 0) {
            if (!second.value()->flush())
                return 1;
            std::printf("flushed %lld\n", i);
            std::fflush(stdout);
        }
    }
}
