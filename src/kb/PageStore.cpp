#include "kb/PageStore.h"

#include "common/AppSettings.h"
#include "common/Cp1252.h"
#include "kb/AtomicFile.h"
#include "kb/Catalogues.h"
#include "kb/KnowledgeBaseLayout.h"
#include "kb/NameRules.h"
#include "kb/RecordFile.h"
#include "kb/ScrambleLine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
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

// A harvest stores pages on the window's thread: it never waits long for the search index,
// which a rebuild may hold for minutes.
constexpr int kIndexBusyTimeoutMs = 500;

// Page files are written under a temporary name first and renamed once complete.
const QString kTemporaryPagePattern = QStringLiteral(".page-XXXXXX.tmp");

// Temporary page files a crash left behind; young ones may belong to another harvest
// writing to the same folder at this moment.
void removeAbandonedPageFiles(const QString &keywordFolder)
{
    const QDateTime abandoned = QDateTime::currentDateTime().addSecs(-600);
    const QFileInfoList files =
        QDir(keywordFolder)
            .entryInfoList({QStringLiteral(".page-*.tmp")}, QDir::Files | QDir::Hidden);
    for (const QFileInfo &file : files) {
        if (file.lastModified() < abandoned)
            QFile::remove(file.absoluteFilePath());
    }
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
    return QDir::cleanPath(QFileInfo(joinPath(m_settings.root.trimmed(), name)).absoluteFilePath());
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
    const QString extension = QStringLiteral(".url");
    const QString path = joinPath(folder, safeFileName(site, extension.size()) + extension);
    if (QFileInfo::exists(path))
        return {};
    const QByteArray content = "[InternetShortcut]\r\nURL=" + toCp1252Lossy(site);
    if (Result<void> written = AtomicFile::write(path, content); !written)
        return prefixed("SaveFavorites->", written.message());
    return {};
}

Result<qint32> PageStore::knowledgeBaseNumberFor(const QString &name, const QString &folder)
{
    if (m_kbNumber > 0 && m_kbNumberFolder == folder)
        return m_kbNumber;
    // The folder may be older than this store (a second harvest within the same minute, a
    // restart, a crash before its record was written): its record, if any, says which
    // knowledge base it is. Only a record of this very folder counts; the same name below
    // another root is another knowledge base.
    Result<QList<KnowledgeBaseRecord>> known = KnowledgeBaseCatalogue::knowledgeBases();
    if (!known)
        return known.error();
    for (const KnowledgeBaseRecord &record : *known) {
        if (record.name == name && QDir::cleanPath(record.folder.trimmed()) == folder) {
            m_kbNumber = record.number;
            m_kbNumberFolder = folder;
            m_takeTimeStamp = false;
            return m_kbNumber;
        }
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
    m_kbNumberFolder = folder;
    m_takeTimeStamp = false;
    if (onKnowledgeBaseCreated)
        onKnowledgeBaseCreated(
            KnowledgeBaseRecord{m_kbNumber, m_mailGroup, name.trimmed(), folder.trimmed()});
    return {};
}

Result<void> PageStore::prepareKeywordFolder(const QString &name, const QString &kbFolder,
                                             const QString &term, const QString &keywordFolder)
{
    // A folder deleted while the harvest runs (from the viewer, say) is made and recorded
    // again rather than failing every later page.
    if (m_readyFolders.contains(keywordFolder) && QFileInfo(keywordFolder).isDir())
        return {};
    m_readyFolders.remove(keywordFolder);
    const bool favorites = m_settings.createFavorites;
    if (!QFileInfo(kbFolder).isDir()) {
        m_kbNumberFolder.clear();
        if (Result<void> made = makeFolder(kbFolder); !made)
            return made;
    }
    if (favorites && QFileInfo(m_favoritesRoot).fileName() != name)
        m_problems.append(CreateMainFolders(name));
    Result<qint32> owner = knowledgeBaseNumberFor(name, kbFolder);
    if (!owner)
        return owner.error();
    if (Result<void> made = makeFolder(keywordFolder); !made)
        return made;
    if (favorites)
        m_problems.append(CreateKeywordFolders(term));
    Result<QList<KeywordFolderRecord>> recorded = KnowledgeBaseCatalogue::keywordFoldersOf(*owner);
    if (!recorded)
        return recorded.error();
    // The record holds the term trimmed, as AddKBKeyword writes it.
    const bool known =
        std::any_of(recorded->begin(), recorded->end(),
                    [&](const KeywordFolderRecord &r) { return r.term == term.trimmed(); });
    if (!known) {
        if (Result<qint32> added = KnowledgeBaseCatalogue::AddKBKeyword(*owner, term); !added)
            return added.error();
    }
    Result<qint32> highest = KnowledgeBaseLayout::highestPageNumber(keywordFolder);
    if (!highest)
        return highest.error();
    m_lastPage = std::max(m_lastPage, *highest);
    removeAbandonedPageFiles(keywordFolder);
    m_readyFolders.insert(keywordFolder);
    return {};
}

Result<int> PageStore::writePageFile(const QString &keywordFolder, const QByteArray &html)
{
    QTemporaryFile file(joinPath(keywordFolder, kTemporaryPagePattern));
    if (!file.open() || file.write(html) != html.size() || !file.flush())
        return fail(QStringLiteral("Cannot write a page into %1: %2")
                        .arg(QDir::toNativeSeparators(keywordFolder), file.errorString()));
    // The rename never replaces a file; a number another harvest took meanwhile is passed.
    for (int attempt = 0; attempt < 1000; ++attempt) {
        if (m_lastPage == std::numeric_limits<qint32>::max())
            return fail(QLatin1String(kNumbersExhausted));
        const qint32 page = ++m_lastPage;
        const QString target = KnowledgeBaseLayout::pageFile(keywordFolder, page);
        if (QFileInfo::exists(target))
            continue;
        if (file.rename(target)) {
            file.setAutoRemove(false); // it is a page now, no longer a temporary file
            return page;
        }
        if (!QFileInfo::exists(target))
            return fail(QStringLiteral("Cannot write %1: %2")
                            .arg(QDir::toNativeSeparators(target), file.errorString()));
    }
    return fail(QStringLiteral("Cannot find a free page number in %1")
                    .arg(QDir::toNativeSeparators(keywordFolder)));
}

void PageStore::openSearchIndex()
{
    if (m_searchIndex || m_indexingStopped)
        return;
    Result<SearchIndex> index = SearchIndex::open(SearchIndex::defaultPath(), kIndexBusyTimeoutMs);
    if (index)
        m_searchIndex.emplace(std::move(index).value());
    else
        stopIndexing(index.error());
}

void PageStore::indexPage(const IndexedPage &page, const QByteArray &html)
{
    if (!m_searchIndex)
        return;
    if (Result<void> added =
            m_searchIndex->addPage(page, pageTitle(html).value_or(QString()), html);
        !added)
        stopIndexing(added.error());
}

void PageStore::stopIndexing(const Error &error)
{
    m_searchIndex.reset();
    m_indexingStopped = true;
    SearchIndex::markStale();
    m_problems.append(
        prefixed("SearchIndex->", error.message + QStringLiteral("; it will be rebuilt before "
                                                                 "the next search")));
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

    // Opened before a new knowledge base is recorded, so that a new index knows whether
    // knowledge bases it lacks were there before it.
    openSearchIndex();
    const QString kbFolder = knowledgeBaseFolder(name);
    const QString keywordFolder = joinPath(kbFolder, term);
    if (Result<void> ready = prepareKeywordFolder(name, kbFolder, term, keywordFolder); !ready)
        return failed(ready.message());

    const QString stored = storableAddress(address.trimmed());
    if (stored.isEmpty() || m_storedAddresses.contains(stored))
        return 0;
    m_storedAddresses.insert(stored);

    // The page is complete under its own name before the index lists it.
    Result<int> page = writePageFile(keywordFolder, html);
    if (!page)
        return failed(page.message());
    const QString index =
        joinPath(keywordFolder, QLatin1String(KnowledgeBaseLayout::kIndexFileName));
    if (Result<void> added =
            RecordFile::appendRecord(index, KnowledgeBaseLayout::indexRecordText(*page, stored));
        !added)
        return failed(added.message());
    ++m_pageCounter;
    indexPage({m_kbNumber, name, term.trimmed(), *page, stored}, html);
    return page;
}

Result<SaveOutcome> PageStore::SaveTaxonomy(const QString &address, const QByteArray &html)
{
    SaveOutcome outcome;
    if (!m_settings.buildKnowledgeBase) {
        outcome.skipped = QStringLiteral("Building the knowledge base is switched off");
        return outcome;
    }
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
