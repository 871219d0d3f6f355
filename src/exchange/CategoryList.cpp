#include "exchange/CategoryList.h"

#include "common/AppSettings.h"
#include "scan/IniText.h"

namespace corvane {

QStringList parseMasterList(const QString &stored)
{
    QStringList names;
    QString text = stored.trimmed();
    qsizetype rounds = text.size();
    while (rounds-- > 0) {
        const qsizetype semicolon = text.indexOf(QLatin1Char(';'));
        if (semicolon < 0)
            break;
        names << text.left(semicolon);
        text = text.mid(semicolon + 1).trimmed();
    }
    if (!text.isEmpty() && !text.contains(QLatin1Char(';')))
        names << text;
    return names;
}

QString prependToMasterList(const QString &stored, const QString &name)
{
    return name.trimmed() + QLatin1Char(';') + stored;
}

QString CategoryList::stored()
{
    return iniText(openSettings()->value(kSection + QLatin1Char('/') + kKey));
}

QStringList CategoryList::load()
{
    return parseMasterList(stored());
}

bool CategoryList::add(const QString &name)
{
    if (name.trimmed().isEmpty())
        return false;
    auto settings = openSettings();
    settings->setValue(kSection + QLatin1Char('/') + kKey, prependToMasterList(stored(), name));
    settings->sync();
    return settings->status() == QSettings::NoError;
}

} // namespace corvane
