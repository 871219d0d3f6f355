#include "kb/PageStore.h"

#include "common/AppSettings.h"
#include "common/Cp1252.h"
#include "kb/AtomicFile.h"
#include "kb/NameRules.h"
#include "kb/RecordFile.h"
#include "kb/ScrambleLine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

namespace corvane {

namespace {

bool endsWithSeparator(const QString &path)
{
    return path.endsWith(QLatin1Char('/')) || path.endsWith(QLatin1Char('\\'));
}

QString joinPath(const QString &folder, const QString &name)
{
    return endsWithSeparator(folder) ? folder + name : folder + QLatin1Char('/') + name;
}

// Index records must survive scrambling; an address with characters outside Windows-1252
// is kept in its percent-encoded form, which names the same page.
QString storableAddress(const QString &address)
{
    if (checkStorableText(address, QString()))
        return address;
    return QString::fromLatin1(QUrl(address).toEncoded());
}

Error prefixed(const char *prefix, const QString &description)
{
    return fail(QLatin1String(prefix) + description);
}

Result<void> makeFolder(const QString &path)
{
    if (QFileInfo(path).isDir() || QDir().mkpath(path))
        return {};
    return fail(QStringLiteral("Cannot create the folder %1").arg(QDir::toNativeSeparators(path)));
}

} // namespace

QString favoritesFolder()
{
    const QString configured = openSettings()->value(QLatin1String(kFavoritesFolderKey)).toString();
    if (!configured.trimmed().isEmpty())
        return configured.trimmed();
#ifdef Q_OS_WIN
    const QString profile = qEnvironmentVariable("USERPROFILE");
    if (!profile.isEmpty())
        return QDir(profile).filePath(QStringLiteral("Favorites"));
#endif
    return QDir::home().filePath(QStringLiteral("Favorites"));
}

PageStore::PageStore(Clock clock) : m_clock(std::move(clock)) {}

QString PageStore::KnowledgeBaseName()
{
    const QDateTime now = m_clock();
    if (m_takeTimeStamp)
        m_timeStamp = now.toString(QStringLiteral("HHmm"));
    return m_settings.baseName.trimmed() + QLatin1Char('-') +
           now.toString(QStringLiteral("MM-dd-yy")) + QLatin1Char('-') + m_timeStamp;
}

QString PageStore::knowledgeBaseFolder(const QString &name) const
{
    return joinPath(m_settings.root.trimmed(), name);
}

Result<void> PageStore::CreateMainFolders(const QString &name)
{
    const QString favorites = m_settings.favoritesFolder.trimmed();
    if (favorites.isEmpty())
        return prefixed("CreateMainFolders->", QStringLiteral("No Favorites folder is set"));
    const QString folder = joinPath(favorites, name);
    if (Result<void> made = makeFolder(folder); !made)
        return prefixed("CreateMainFolders->", made.message());
    m_favoritesRoot = folder;
    return {};
}

Result<void> PageStore::CreateKeywordFolders(const QString &term)
{
    if (m_favoritesRoot.isEmpty())
        return prefixed("CreateKeywordFolders->", QStringLiteral("No Favorites folder is set"));
    if (Result<void> made = makeFolder(joinPath(m_favoritesRoot, term)); !made)
        return prefixed("CreateKeywordFolders->", made.message());
    return {};
}

Result<void> PageStore::SaveFavorites(const QString &folder, const QString &site)
{
    const QString path = joinPath(folder, safeFileName(site) + QStringLiteral(".url"));
    if (QFileInfo::exists(path))
        return {};
    const QByteArray content = "[InternetShortcut]\r\nURL=" + toCp1252Lossy(site);
    if (Result<void> written = AtomicFile::write(path, content); !written)
        return prefixed("SaveFavorites->", written.message());
    return {};
}

Result<qint32> PageStore::knowledgeBaseNumberFor(const QString &name, const QString &folder)
{
    if (m_kbNumber > 0 && m_kbNumberName == name)
        return m_kbNumber;
    // The folder was made before this store was (a restart within the same minute): its
    // catalogue record, if any, still says which knowledge base it is.
    Result<std::optional<KnowledgeBaseRecord>> known = KnowledgeBaseCatalogue::findByName(name);
    if (!known)
        return known.error();
    if (*known) {
        m_kbNumber = (*known)->number;
        m_kbNumberName = name;
        return m_kbNumber;
    }
    if (Result<void> created = createKnowledgeBase(name, folder); !created)
        return created.error();
    return m_kbNumber;
}

Result<void> PageStore::createKnowledgeBase(const QString &name, const QString &folder)
{
    Result<qint32> group = m_settings.mailGroup > 0 ? Result<qint32>(m_settings.mailGroup)
                                                    : KnowledgeBaseCatalogue::LastMailGroupNumber();
    if (!group)
        return group.error();
    m_mailGroup = *group;
    Result<qint32> number = KnowledgeBaseCatalogue::AddKBMailGroup(m_mailGroup, name, folder);
    if (!number)
        return number.error();
    m_kbNumber = *number;
    m_kbNumberName = name;
    m_takeTimeStamp = false;
    if (onKnowledgeBaseCreated)
        onKnowledgeBaseCreated(
            KnowledgeBaseRecord{m_kbNumber, m_mailGroup, name.trimmed(), folder.trimmed()});
    return {};
}

Result<int> PageStore::SavePage(const QString &address, const QString &term, const QByteArray &html)
{
    const auto failed = [](const QString &description) {
        return prefixed("SavePage->", description);
    };
    if (m_settings.root.trimmed().isEmpty())
        return failed(QStringLiteral("Please choose the knowledge base folder"));
    const QString name = KnowledgeBaseName();
    if (Result<void> valid = checkFolderName(name, QStringLiteral("Knowledge base name")); !valid)
        return failed(valid.message());
    if (Result<void> valid = checkFolderName(term, QStringLiteral("Taxonomy term")); !valid)
        return failed(valid.message());

    const QString kbFolder = knowledgeBaseFolder(name);
    const QString keywordFolder = joinPath(kbFolder, term);
    if (!QFileInfo(keywordFolder).isDir()) {
        if (!QFileInfo(kbFolder).isDir()) {
            if (Result<void> made = makeFolder(kbFolder); !made)
                return failed(made.message());
            if (m_settings.createFavorites)
                m_problems.append(CreateMainFolders(name));
            if (m_settings.buildKnowledgeBase) {
                if (Result<void> created = createKnowledgeBase(name, kbFolder); !created)
                    return failed(created.message());
            }
        }
        if (Result<void> made = makeFolder(keywordFolder); !made)
            return failed(made.message());
        if (m_settings.createFavorites)
            m_problems.append(CreateKeywordFolders(term));
        Result<qint32> owner = knowledgeBaseNumberFor(name, kbFolder);
        if (!owner)
            return failed(owner.message());
        if (Result<qint32> added = KnowledgeBaseCatalogue::AddKBKeyword(*owner, term); !added)
            return failed(added.message());
    }

    const QString stored = storableAddress(address.trimmed());
    if (stored.isEmpty() || m_storedAddresses.contains(stored))
        return 0;
    m_storedAddresses.insert(stored);

    const int page = ++m_pageCounter;
    const QString pageFile =
        joinPath(keywordFolder, QString::number(page) + QStringLiteral(".htm"));
    // A page file is written in place: it is new or replaces a page of the same number, and
    // syncing every page to disk would slow a harvest to the speed of the disk.
    QFile file(pageFile);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(html) != html.size())
        return failed(file.errorString());
    const QString index = joinPath(keywordFolder, QStringLiteral("index.qdx"));
    if (Result<void> added =
            RecordFile::appendRecord(index, QString::number(page) + QStringLiteral("##") + stored);
        !added)
        return failed(added.message());
    return page;
}

Result<SaveOutcome> PageStore::SaveTaxonomy(const QString &address, const QByteArray &html)
{
    SaveOutcome outcome;
    const std::optional<QString> title = pageTitle(html);
    if (!title || title->isEmpty()) {
        outcome.skipped = QStringLiteral("The page has no title");
        return outcome;
    }
    const QString lowered = title->toLower();
    if (lowered.contains(QLatin1String("cannot find server")) ||
        lowered.contains(QLatin1String("page cannot be found"))) {
        outcome.skipped = QStringLiteral("The page reports an error");
        return outcome;
    }
    const QString site = siteOfAddress(address);
    m_problems.clear();
    for (const QString &term : std::as_const(m_settings.selectedTerms)) {
        const QString wanted = term.trimmed();
        if (wanted.isEmpty() || !title->contains(wanted, Qt::CaseInsensitive))
            continue;
        Result<int> page = SavePage(address, term, html);
        if (!page)
            outcome.problems.append(page.message());
        else if (*page > 0 && !outcome.stored()) {
            outcome.pageNumber = *page;
            outcome.term = term;
        }
        if (m_settings.createFavorites) {
            if (m_favoritesRoot.isEmpty())
                m_problems.append(
                    prefixed("SaveFavorites->", QStringLiteral("No Favorites folder is set")));
            else
                m_problems.append(SaveFavorites(joinPath(m_favoritesRoot, term), site));
        }
    }
    for (const Result<void> &problem : std::as_const(m_problems)) {
        if (!problem)
            outcome.problems.append(problem.message());
    }
    m_problems.clear();
    if (!outcome.stored() && outcome.skipped.isEmpty() && outcome.problems.isEmpty())
        outcome.skipped = QStringLiteral("No selected taxonomy term matches the title, or the "
                                         "address was stored before");
    return outcome;
}

} // namespace corvane
