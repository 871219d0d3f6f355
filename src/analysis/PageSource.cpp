#include "analysis/PageSource.h"

#include <QFileInfo>

#include <cstdio>

namespace corvane {

Result<std::shared_ptr<PageSource>> PageSource::open(const QString &pathOrDash)
{
    std::shared_ptr<PageSource> source(new PageSource);
    if (pathOrDash == QLatin1String("-")) {
        QByteArray all;
        char chunk[1 << 16];
        size_t got;
        while ((got = std::fread(chunk, 1, sizeof chunk, stdin)) > 0)
            all.append(chunk, qsizetype(got));
        if (std::ferror(stdin))
            return fail(QStringLiteral("cannot read standard input"));
        source->m_buffer = std::move(all);
        source->m_view = source->m_buffer;
        return source;
    }

    const QFileInfo info(pathOrDash);
    if (!info.exists())
        return fail(QStringLiteral("%1: no such file").arg(pathOrDash));
    if (info.isDir())
        return fail(QStringLiteral("%1: is a folder, not a file").arg(pathOrDash));
    source->m_file = std::make_unique<QFile>(pathOrDash);
    QFile &file = *source->m_file;
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("%1: cannot read (%2)").arg(pathOrDash, file.errorString()));
    const qint64 size = file.size();
    if (!file.isSequential() && size == 0)
        return source;
    if (uchar *mapped = file.isSequential() ? nullptr : file.map(0, size)) {
        source->m_view = QByteArrayView(reinterpret_cast<const char *>(mapped), size);
        return source;
    }
    // Not mappable (a pipe or a special file): read it instead.
    source->m_buffer = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return fail(QStringLiteral("%1: cannot read (%2)").arg(pathOrDash, file.errorString()));
    source->m_view = source->m_buffer;
    return source;
}

Result<std::shared_ptr<PageSource>> PageSource::fromArguments(const QStringList &positional)
{
    if (positional.size() > 1)
        return fail(QStringLiteral("expected one FILE (or - for standard input), got %1")
                        .arg(positional.size()));
    return open(positional.isEmpty() ? QStringLiteral("-") : positional.first());
}

} // namespace corvane
