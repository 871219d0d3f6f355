// PDF text comes from the helper program corvane-pdf-text, which runs poppler under a memory
// and a CPU-time limit of its own; here the helper's output is handed on as it arrives, and a
// helper that runs past the wall-clock limit or hands on too much is ended.

#include "scan/DocumentText.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QProcess>

namespace corvane {

namespace {

const QString kHelperName = QStringLiteral("corvane-pdf-text");

// Next to the running program, where the build and the installation both put it.
QString helperPath()
{
    const QString dir =
        QCoreApplication::instance()
            ? QCoreApplication::applicationDirPath()
            : QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget()).absolutePath();
    const QFileInfo helper(dir + QLatin1Char('/') + kHelperName);
    return helper.isExecutable() ? helper.filePath() : QString();
}

QString megabytes(qint64 bytes)
{
    return QStringLiteral("%1 MiB").arg(bytes >> 20);
}

} // namespace

Result<void> readPdfText(const QString &path, TextSink &sink, const DocumentLimits &limits)
{
    const QString helper = helperPath();
    if (helper.isEmpty())
        return fail(QStringLiteral("its text cannot be read: the PDF reader %1 is not installed")
                        .arg(kHelperName));
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(helper,
                  {QStringLiteral("--max-pages"), QString::number(limits.maxPdfPages),
                   QStringLiteral("--max-text"), QString::number(limits.maxTextBytes),
                   QStringLiteral("--max-memory"), QString::number(limits.pdfMemoryBytes),
                   QStringLiteral("--max-seconds"), QString::number(limits.pdfSeconds), path});
    if (!process.waitForStarted())
        return fail(QStringLiteral("its text cannot be read: %1 does not start (%2)")
                        .arg(kHelperName, process.errorString()));

    const QDeadlineTimer deadline(qint64(limits.pdfSeconds) * 1000);
    const auto stop = [&process] {
        process.kill();
        process.waitForFinished();
    };
    qint64 received = 0;
    for (;;) {
        process.waitForReadyRead(100);
        const QByteArray text = process.readAllStandardOutput();
        if (!text.isEmpty()) {
            received += text.size();
            sink.text(text);
        }
        if (sink.stopRequested()) {
            stop();
            return {};
        }
        if (received > limits.maxTextBytes) {
            stop();
            return fail(
                QStringLiteral("its text is longer than %1").arg(megabytes(limits.maxTextBytes)));
        }
        if (process.state() == QProcess::NotRunning && process.bytesAvailable() == 0)
            break;
        if (deadline.hasExpired()) {
            stop();
            return fail(QStringLiteral("reading its text took longer than %1 seconds")
                            .arg(limits.pdfSeconds));
        }
    }
    if (process.exitStatus() != QProcess::NormalExit)
        return fail(QStringLiteral("reading its text needed more than %1 of memory or %2 seconds "
                                   "(a PDF built to exhaust its reader?)")
                        .arg(megabytes(limits.pdfMemoryBytes))
                        .arg(limits.pdfSeconds));
    switch (process.exitCode()) {
    case 0:
        return {};
    case 3:
        return fail(
            QStringLiteral("only the first %1 of its pages were read").arg(limits.maxPdfPages));
    case 4:
        return fail(
            QStringLiteral("its text is longer than %1").arg(megabytes(limits.maxTextBytes)));
    case 5:
        return fail(QStringLiteral("it is not a PDF that can be read"));
    case 6:
        return fail(QStringLiteral("it is locked with a password"));
    case 7:
        return fail(QStringLiteral("reading its text needed more than %1 of memory (a PDF built "
                                   "to exhaust its reader?)")
                        .arg(megabytes(limits.pdfMemoryBytes)));
    default:
        return fail(QStringLiteral("its text cannot be read (%1 ended with code %2)")
                        .arg(kHelperName)
                        .arg(process.exitCode()));
    }
}

} // namespace corvane
