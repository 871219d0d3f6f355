#include "engine/TempCleaner.h"

#include "common/DataFolder.h"
#include "common/ProgramLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace corvane {

namespace {

const QString kMessagePrefix = QStringLiteral("ClearAllPath-> ");

QString fileError(const QString &path, const QString &what)
{
    return QStringLiteral("%1: %2").arg(what, QDir::toNativeSeparators(path));
}

} // namespace

TempCleaner::TempCleaner(QDateTime now) : m_now(std::move(now)) {}

qint64 TempCleaner::minuteBoundariesBetween(const QDateTime &from, const QDateTime &to)
{
    const auto minuteOf = [](const QDateTime &t) {
        const qint64 ms = t.toMSecsSinceEpoch();
        return ms >= 0 ? ms / 60000 : (ms - 59999) / 60000;
    };
    return minuteOf(to) - minuteOf(from);
}

bool TempCleaner::FileIsOld(const QString &path) const
{
    const QFileInfo info(path);
    const QDateTime changed = info.lastModified();
    if (!changed.isValid())
        return false;
    return minuteBoundariesBetween(changed, m_now) >= kOldAfterMinutes;
}

bool TempCleaner::cleanFolder(const QString &folder, QStringList &messages) const
{
    const QDir dir(folder);
    if (!dir.exists()) {
        messages.append(kMessagePrefix + fileError(folder, QStringLiteral("Path not found")));
        return false;
    }
    // Files first, hidden ones included; write access is granted before the age test, as
    // read-only files are to go as well.
    const QFileInfoList files =
        dir.entryInfoList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    for (const QFileInfo &file : files) {
        const QString path = file.absoluteFilePath();
        if (!file.isSymLink())
            QFile::setPermissions(path, file.permissions() | QFileDevice::WriteOwner |
                                            QFileDevice::ReadOwner);
        if (!FileIsOld(path))
            continue;
        QFile victim(path);
        if (!victim.remove()) {
            messages.append(kMessagePrefix + victim.errorString());
            return false;
        }
    }
    // Links to folders are not followed: the clean-up stays inside the temporary folder.
    const QStringList subfolders = dir.entryList(
        QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot | QDir::NoSymLinks, QDir::Name);
    for (const QString &name : subfolders) {
        QString sub = folder + name + QLatin1Char('/');
        messages.append(CleanAllPath(sub));
        std::error_code error;
        std::filesystem::remove(std::filesystem::path(sub.toStdString()), error);
        if (error) {
            messages.append(kMessagePrefix + QString::fromStdString(error.message()));
            return false;
        }
    }
    return true;
}

QStringList TempCleaner::CleanAllPath(QString &folder) const
{
    if (!folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');
    QStringList messages;
    cleanFolder(folder, messages);
    return messages;
}

QStringList TempCleaner::DeleteTempFiles() const
{
    QString folder = DataFolder::temp();
    const QStringList messages = CleanAllPath(folder);
    ProgramLog::write(messages);
    return messages;
}

} // namespace corvane
