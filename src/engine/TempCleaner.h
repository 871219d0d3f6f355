#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace corvane {

// Removes old files from Corvane's own temporary folder. Only that folder is touched: other
// programs' temporary files are none of Corvane's business.
//
// A file is old once six or more minute boundaries lie between its last change and now
// (a file changed at 10:00:59 is still young at 10:05:59 and old at 10:06:00). Files whose
// time cannot be read are never old.
class TempCleaner
{
public:
    explicit TempCleaner(QDateTime now = QDateTime::currentDateTime());

    static constexpr qint64 kOldAfterMinutes = 6;
    static qint64 minuteBoundariesBetween(const QDateTime &from, const QDateTime &to);
    bool FileIsOld(const QString &path) const;

    // Removes the old files below `folder` (read-only and hidden ones too) and the subfolders
    // that end up empty. `folder` gets a trailing "/" if it lacks one. A failing step ends the
    // work on that folder with "ClearAllPath-> " and the error; the folder above goes on.
    // Returns those messages.
    QStringList CleanAllPath(QString &folder) const;

    // CleanAllPath on Corvane's temporary folder (DataFolder::temp()). The messages also go
    // to the program's log (ProgramLog), whichever front end runs the clean-up.
    QStringList DeleteTempFiles() const;

private:
    bool cleanFolder(const QString &folder, QStringList &messages) const;

    QDateTime m_now;
};

} // namespace corvane
