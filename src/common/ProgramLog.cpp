#include "common/ProgramLog.h"

#include "common/DataFolder.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace corvane::ProgramLog {

namespace {
constexpr qint64 kMaxLogBytes = 1024 * 1024;
} // namespace

QString path()
{
    return QDir(DataFolder::root()).filePath(QStringLiteral("corvane.log"));
}

void write(const QStringList &lines)
{
    if (lines.isEmpty())
        return;
    const QString log = path();
    if (QFileInfo(log).size() > kMaxLogBytes) {
        const QString previous = log + QStringLiteral(".1");
        QFile::remove(previous);
        QFile::rename(log, previous);
    }
    const QString stamp = QDateTime::currentDateTime().toString(Qt::ISODate);
    QByteArray text;
    for (const QString &line : lines)
        text += (stamp + QLatin1Char(' ') + line + QLatin1Char('\n')).toUtf8();
    QFile file(log);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(text);
}

} // namespace corvane::ProgramLog
