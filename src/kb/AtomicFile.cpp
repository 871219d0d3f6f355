#include "kb/AtomicFile.h"

#include <QSaveFile>

namespace corvane::AtomicFile {

namespace {
// Negative: no simulated failure.
qint64 g_failAfter = -1;
} // namespace

ScopedFailAfter::ScopedFailAfter(qint64 bytes) : m_previous(g_failAfter)
{
    g_failAfter = bytes;
}

ScopedFailAfter::~ScopedFailAfter()
{
    g_failAfter = m_previous;
}

Result<void> write(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    if (g_failAfter >= 0 && g_failAfter < bytes.size()) {
        // Leave a half-written temporary file behind exactly as a full disk would, then give
        // up without renaming it over the old file.
        file.write(bytes.constData(), g_failAfter);
        file.flush();
        file.cancelWriting();
        return fail(QStringLiteral("Cannot write %1: No space left on device").arg(path));
    }
    if (file.write(bytes) != bytes.size() || !file.commit())
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    return {};
}

} // namespace corvane::AtomicFile
