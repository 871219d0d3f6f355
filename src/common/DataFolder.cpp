#include "common/DataFolder.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace corvane {

namespace {

QString &rootOverride()
{
    static QString path;
    return path;
}

} // namespace

void DataFolder::setRoot(const QString &path)
{
    rootOverride() = path.isEmpty() ? QString() : QDir(path).absolutePath();
}

QString DataFolder::rootPath()
{
    QString path = rootOverride();
    if (path.isEmpty())
        path = qEnvironmentVariable("CORVANE_HOME");
    if (path.isEmpty()) {
        path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
               QStringLiteral("/Corvane");
    }
    return QDir(path).absolutePath();
}

QString DataFolder::root()
{
    const QString path = rootPath();
    QDir().mkpath(path);
    return path;
}

QString DataFolder::subfolder(const QString &relative)
{
    const QString path = root() + QLatin1Char('/') + relative;
    QDir().mkpath(path);
    return path;
}

QString DataFolder::bundled(const QString &relative)
{
    return QStringLiteral(":/corvane/") + relative;
}

QString DataFolder::locate(const QString &relative)
{
    const QString own = root() + QLatin1Char('/') + relative;
    if (QFileInfo(own).isFile())
        return own;
    const QString resource = bundled(relative);
    if (QFileInfo::exists(resource))
        return resource;
    return {};
}

QString DataFolder::settingsFile()
{
    return root() + QStringLiteral("/corvane.ini");
}

} // namespace corvane
