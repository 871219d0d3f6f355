#include "engine/SearchListProvider.h"

#include "analysis/LeadFilters.h"
#include "common/DataFolder.h"

#include <QFile>
#include <QMutex>
#include <QUrl>

namespace corvane {

namespace {

const QString kHostPlaceholder = QStringLiteral("{{HOST}}");
const QString kEnginesFile = QStringLiteral("search/engines.txt");
const QString kQueriesFile = QStringLiteral("search/queries.txt");
const QString kFiltersFile = QStringLiteral("search/address-filters.txt");
constexpr qint64 kMaxListBytes = 4 * 1024 * 1024;
constexpr int kDefaultLastPage = 49;

QMutex &demoHostMutex()
{
    static QMutex mutex;
    return mutex;
}

QString &demoHostValue()
{
    static QString value;
    return value;
}

// The file's text without comment lines (";" first) and without line breaks; a missing or
// unreadable file gives nothing.
QStringList readLines(const QString &path)
{
    QStringList lines;
    if (path.isEmpty())
        return lines;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return lines;
    const QString text = QString::fromUtf8(file.read(kMaxListBytes));
    for (const QString &raw : text.split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (!line.isEmpty() && !line.startsWith(QLatin1Char(';')))
            lines.append(line);
    }
    return lines;
}

QString pathFor(const QString &relative, bool bundledOnly)
{
    if (bundledOnly) {
        const QString bundled = DataFolder::bundled(relative);
        return QFile::exists(bundled) ? bundled : QString();
    }
    return DataFolder::locate(relative);
}

QString withDemoHost(QString text, const QString &host)
{
    return text.replace(kHostPlaceholder, host);
}

} // namespace

void SearchListProvider::setDemoHost(const QString &hostAndPort)
{
    QMutexLocker lock(&demoHostMutex());
    demoHostValue() = hostAndPort.trimmed();
}

QString SearchListProvider::demoHost()
{
    QMutexLocker lock(&demoHostMutex());
    return demoHostValue();
}

void SearchListProvider::loadEngines(bool bundledOnly)
{
    m_engines.clear();
    m_enginesLoaded = true;

    // Entries run "name$address#" and may be spread over lines or share one.
    const QString text = readLines(pathFor(kEnginesFile, bundledOnly)).join(QString());
    for (const QString &entry : text.split(QLatin1Char('#'), Qt::SkipEmptyParts)) {
        const qsizetype dollar = entry.indexOf(QLatin1Char('$'));
        if (dollar <= 0)
            continue; // no name, or no address: not an engine
        Engine engine;
        engine.name = entry.left(dollar).trimmed();
        engine.address = entry.mid(dollar + 1).trimmed();
        if (!engine.name.isEmpty() && !engine.address.isEmpty())
            m_engines.append(engine);
    }

    for (const QString &line : readLines(pathFor(kQueriesFile, bundledOnly))) {
        const QStringList fields = line.split(QLatin1Char('$'));
        if (fields.size() < 2)
            continue;
        const QString name = fields[0].trimmed();
        for (Engine &engine : m_engines) {
            if (engine.name.compare(name, Qt::CaseInsensitive) != 0)
                continue;
            engine.queryTemplate = fields[1].trimmed();
            bool ok = false;
            const int last = fields.value(2).trimmed().toInt(&ok);
            engine.lastPage = ok && last >= 0 ? last : kDefaultLastPage;
        }
    }
}

void SearchListProvider::loadFilters(bool bundledOnly)
{
    m_filtersLoaded = true;
    // The same reader as every other user of the list, so a comment or an indented line
    // means the same everywhere.
    m_filters = AddressFilterList::fromFile(pathFor(kFiltersFile, bundledOnly)).fragments();
}

// The engines as GetEngineList numbers them: those needing the demo host only while it is set.
QList<const SearchListProvider::Engine *>
SearchListProvider::listedEngines(const QString &host) const
{
    QList<const Engine *> listed;
    for (const Engine &engine : m_engines) {
        const bool demo = engine.address.contains(kHostPlaceholder) ||
                          engine.queryTemplate.contains(kHostPlaceholder);
        if (!demo || !host.isEmpty())
            listed.append(&engine);
    }
    return listed;
}

QString SearchListProvider::GetEngineList()
{
    if (!m_enginesLoaded)
        loadEngines(false);
    const QString host = demoHost();
    QString text;
    for (const Engine *engine : listedEngines(host))
        text += engine->name + QLatin1Char('$') + withDemoHost(engine->address, host) +
                QLatin1Char('#');
    return text;
}

void SearchListProvider::RefreshEngineList()
{
    loadEngines(false);
    if (m_engines.isEmpty())
        loadEngines(true);
}

QString SearchListProvider::BuildQueryURL(int resultPage, int engineNumber, const QString &keyword)
{
    if (!m_enginesLoaded)
        loadEngines(false);
    const QString host = demoHost();
    const QList<const Engine *> listed = listedEngines(host);
    const QString word = keyword.trimmed();
    if (engineNumber < 1 || engineNumber > listed.size() || word.isEmpty() || resultPage < 0)
        return {};
    const Engine &engine = *listed[engineNumber - 1];
    if (engine.queryTemplate.isEmpty() || resultPage > engine.lastPage)
        return {};

    QString encoded = QString::fromLatin1(QUrl::toPercentEncoding(word, " "));
    encoded.replace(QLatin1Char(' '), QLatin1Char('+'));
    QString address = withDemoHost(engine.queryTemplate, host);
    address.replace(QLatin1String("{keyword}"), encoded);
    address.replace(QLatin1String("{page}"), QString::number(resultPage));
    address.replace(QLatin1String("{page1}"), QString::number(resultPage + 1));
    address.replace(QLatin1String("{offset}"), QString::number(resultPage * 10));
    address.replace(QLatin1String("{first}"), QString::number(resultPage * 10 + 1));
    return address;
}

QString SearchListProvider::GetAddressFilterList()
{
    if (!m_filtersLoaded)
        loadFilters(false);
    QString text;
    for (const QString &fragment : m_filters)
        text += fragment + QLatin1Char('#');
    return text;
}

void SearchListProvider::RefreshAddressFilterList()
{
    loadFilters(false);
    if (m_filters.isEmpty())
        loadFilters(true);
}

} // namespace corvane
