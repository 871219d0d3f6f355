#pragma once

#include "common/Result.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/SearchIndex.h"

#include <QByteArray>
#include <QDateTime>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>

namespace corvane {

// What the harvest window tells the store; read again at every page.
struct PageStoreSettings
{
    QString root;                   // knowledge-base root (txtPath)
    bool buildKnowledgeBase = true; // chkKB
    bool createFavorites = false;   // chkFavorites
    QString baseName;               // knowledge-base name before its date and time
    // The mail group the knowledge base belongs to, settled before the run; 0 takes the mail
    // group added last.
    qint32 mailGroup = 0;
    QStringList selectedTerms; // the selected taxonomy terms, in list order
    QString favoritesFolder;   // the user's Favorites folder; see favoritesFolder()
};

// The user's Favorites folder: the setting KnowledgeBase/FavoritesFolder if set, else the
// Windows Favorites folder, else ~/Favorites.
QString favoritesFolder();
inline constexpr char kFavoritesFolderKey[] = "KnowledgeBase/FavoritesFolder";

// What SaveTaxonomy did with one page.
struct SaveOutcome
{
    int pageNumber = 0;   // the page file's number; 0 when nothing was stored
    QString term;         // the term it was stored under
    QString skipped;      // why nothing was stored, in the user's words
    QStringList problems; // steps that failed and were passed over ("SavePage->...")
    bool stored() const { return pageNumber > 0; }
};

// Stores fetched pages into knowledge bases: one folder per knowledge base below the root,
// one keyword folder per taxonomy term holding numbered .htm files and index.qdx, the two
// knowledge-base catalogues, and optional internet shortcuts below the Favorites folder.
//
// A store may join a knowledge base that already holds pages (a second harvest of the same
// name within the same minute, or a restart): page numbers then go on after the highest one
// in use in the keyword folder, and an existing page file is never replaced. Each page file
// is complete on disk before its index record is appended, so a crash at any moment leaves
// every listed page readable. Every stored page also goes into the search index.
class PageStore
{
public:
    using Clock = std::function<QDateTime()>;
    explicit PageStore(Clock clock = [] { return QDateTime::currentDateTime(); });

    void setSettings(PageStoreSettings settings) { m_settings = std::move(settings); }
    const PageStoreSettings &settings() const { return m_settings; }

    // Offers one fetched page (address trimmed by the caller). Stores it once, under the
    // first selected term its title contains (letter case ignored); later matching terms
    // still get their keyword folder and record, and a shortcut when favourites are on.
    // Pages without a title, or titled "cannot find server" / "page cannot be found", are
    // skipped. Fails with "SaveTaxonomy->" + description; the page is then dropped.
    Result<SaveOutcome> SaveTaxonomy(const QString &address, const QByteArray &html);

    // Stores a page under one term, creating the knowledge-base folder, its catalogue
    // record and favourites root on the first page, and the keyword folder with its record
    // on the term's first page (a folder or record missing after a crash is made again).
    // Returns the page number, 0 when the address is empty or was stored before. Fails with
    // "SavePage->" + description; what was made stays.
    Result<int> SavePage(const QString &address, const QString &term, const QByteArray &html);

    // The current knowledge-base name: base-"mm-dd-yy"-HHMM. The time is taken afresh at
    // each call until the first knowledge-base record is written, then kept.
    QString KnowledgeBaseName();
    // Root + name as a full, clean path, with one separator between them whatever the root
    // ends with; a relative root counts from the working folder. This is what the catalogue
    // records, so the knowledge base is found from any folder later.
    QString knowledgeBaseFolder(const QString &name) const;

    // Favourites: folders below the Favorites folder and one shortcut per site.
    Result<void> CreateMainFolders(const QString &name);
    Result<void> CreateKeywordFolders(const QString &term);
    // Writes folder/site.url ("[InternetShortcut]" CR LF "URL=" site, no final line end)
    // unless it exists; an unsafe or overlong site gives a safe file name (the URL line keeps
    // the site).
    static Result<void> SaveFavorites(const QString &folder, const QString &site);

    // Pages this store has written.
    int pageCounter() const { return m_pageCounter; }
    qint32 currentKnowledgeBaseNumber() const { return m_kbNumber; }
    qint32 currentMailGroupNumber() const { return m_mailGroup; }
    QString favoritesRoot() const { return m_favoritesRoot; }

    // Addresses stored so far; the harvest decides when to forget them.
    const QSet<QString> &storedAddresses() const { return m_storedAddresses; }
    void clearStoredAddresses() { m_storedAddresses.clear(); }

    // Tells an open viewer about a knowledge base created during the harvest.
    std::function<void(const KnowledgeBaseRecord &)> onKnowledgeBaseCreated;

private:
    Result<void> prepareKeywordFolder(const QString &name, const QString &kbFolder,
                                      const QString &term, const QString &keywordFolder);
    Result<void> createKnowledgeBase(const QString &name, const QString &folder);
    Result<qint32> knowledgeBaseNumberFor(const QString &name, const QString &folder);
    Result<int> writePageFile(const QString &keywordFolder, const QByteArray &html);
    // The search index follows the store; when it cannot, it is marked stale (rebuilt before
    // the next search) and this store stops feeding it, which is reported once.
    void openSearchIndex();
    void indexPage(const IndexedPage &page, const QByteArray &html);
    void stopIndexing(const Error &error);

    Clock m_clock;
    PageStoreSettings m_settings;
    int m_pageCounter = 0;
    qint32 m_lastPage = 0;        // the page number given last
    QSet<QString> m_readyFolders; // keyword folders checked and scanned by this store
    QSet<QString> m_storedAddresses;
    qint32 m_mailGroup = 0;
    qint32 m_kbNumber = 0;
    QString m_kbNumberFolder; // the folder m_kbNumber belongs to
    QString m_timeStamp;
    bool m_takeTimeStamp = true;
    QString m_favoritesRoot;
    // Favourites and index steps that failed during one SaveTaxonomy; they never stop the
    // page.
    QList<Result<void>> m_problems;
    std::optional<SearchIndex> m_searchIndex;
    bool m_indexingStopped = false;
};

} // namespace corvane
