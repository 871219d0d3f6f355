#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>

namespace corvane {

// Whole-file replacement through a temporary file and an atomic rename: a crash or a full
// disk in the middle leaves the previous file as it was. Every rewrite of a catalogue or
// an index goes through here.
namespace AtomicFile {

Result<void> write(const QString &path, const QByteArray &bytes);

// Test seam: while an object of this class lives, every write() stops after the given
// number of bytes with a "disk full" failure, the way a device running out of space does.
class ScopedFailAfter
{
public:
    explicit ScopedFailAfter(qint64 bytes);
    ~ScopedFailAfter();
    ScopedFailAfter(const ScopedFailAfter &) = delete;
    ScopedFailAfter &operator=(const ScopedFailAfter &) = delete;

private:
    qint64 m_previous;
};

} // namespace AtomicFile
} // namespace corvane
