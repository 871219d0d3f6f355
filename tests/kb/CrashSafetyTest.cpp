// Crash safety of the store, tested the hard way: a real harvest that stores pages is killed
// (SIGKILL, no chance to tidy up) at random moments, and after every kill the data folder is
// read back through Corvane's own readers. A fault injector (tests/support/SlowFileSystem)
// makes the harvest pause after each folder it makes and each page it renames into place, so
// the kills often land between a step of the store and the next.
//
// "Nothing stored earlier is lost" means: every page whose index record was complete when
// the store was last read is still listed afterwards, with the same source address, and its
// page file still holds the same bytes. "Everything parses" means: every catalogue loads
// without a damaged line, every index row names a page number and an existing page file, and
// no record file ends in the middle of a line.

#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "common/DataFolder.h"
#include "kb/Catalogues.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/KnowledgeBaseLayout.h"
#include "kb/RecordCursor.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QMap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRandomGenerator>
#include <QSet>
#include <QThread>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

constexpr int kKills = 50;

struct StoredPage
{
    QString address;
    QByteArray content;
};
// Keyed by page file path.
using StoreState = QMap<QString, StoredPage>;

class StoreReader
{
public:
    explicit StoreReader(QStringList &faults) : m_faults(faults) {}

    StoreState read()
    {
        checkCatalogues();
        StoreState state;
        const auto bases = KnowledgeBaseCatalogue::knowledgeBases();
        if (!bases) {
            fault(bases.message());
            return state;
        }
        for (const KnowledgeBaseRecord &base : *bases) {
            const Result<QString> folder = KnowledgeBaseLayout::knowledgeBaseFolder(base);
            const auto terms = KnowledgeBaseCatalogue::keywordFoldersOf(base.number);
            if (!folder || !terms) {
                fault(!folder ? folder.message() : terms.message());
                continue;
            }
            for (const KeywordFolderRecord &term : *terms) {
                const Result<QString> keyword =
                    KnowledgeBaseLayout::keywordFolder(*folder, term.term);
                if (!keyword)
                    fault(keyword.message());
                else
                    readIndex(*keyword, &state);
            }
        }
        // Indexes of folders the catalogues do not reach (yet) must parse all the same.
        QDirIterator indexes(DataFolder::root(),
                             {QLatin1String(KnowledgeBaseLayout::kIndexFileName)}, QDir::Files,
                             QDirIterator::Subdirectories);
        while (indexes.hasNext())
            readIndex(QFileInfo(indexes.next()).path(), nullptr);
        return state;
    }

    // What a harvest has put on disk but not (yet) listed: knowledge-base and keyword folders
    // without their catalogue record, page files without their index record.
    QSet<QString> unlisted() const
    {
        QSet<QString> found;
        const auto bases = KnowledgeBaseCatalogue::knowledgeBases();
        const auto terms = KnowledgeBaseCatalogue::keywordFolders();
        if (!bases || !terms)
            return found;
        QSet<QString> listed;
        for (const KnowledgeBaseRecord &base : *bases) {
            listed.insert(base.folder);
            for (const KeywordFolderRecord &term : *terms) {
                if (term.owner == base.number)
                    listed.insert(base.folder + QLatin1Char('/') + term.term);
            }
        }
        QDirIterator files(DataFolder::root() + QStringLiteral("/KnowledgeBases"),
                           QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QFileInfo item(files.next());
            if (item.isDir() && !listed.contains(item.filePath()))
                found.insert(item.filePath());
            else if (item.suffix() == QLatin1String("htm") &&
                     !m_listedPages.contains(item.filePath()))
                found.insert(item.filePath());
        }
        return found;
    }

private:
    void fault(const QString &what) { m_faults.append(what); }

    void checkWhole(const QString &path)
    {
        const QByteArray bytes = readFile(path);
        if (!bytes.isEmpty() && !bytes.endsWith("\r\n"))
            fault(path + QStringLiteral(" ends inside a line"));
    }

    // Every line of a catalogue that is not blank must read as a record.
    template <typename Records>
    void checkAllRead(const QString &path, const Records &records)
    {
        checkWhole(path);
        const auto lines = RecordFile::readRecords(path);
        const qsizetype filled = lines ? std::count_if(lines->begin(), lines->end(),
                                                       [](const auto &l) { return !l.isBlank(); })
                                       : -1;
        if (!records || records->size() != filled)
            fault(path + QStringLiteral(" holds a line that does not read"));
    }

    void checkCatalogues()
    {
        TaxonomyCatalogue taxonomy;
        MailGroupCatalogue groups;
        KeywordCatalogue keywords;
        for (const Result<void> &loaded :
             {taxonomy.LoadTaxonomy(), groups.LoadMailGroups(), keywords.LoadKeywords(0)}) {
            if (!loaded)
                fault(loaded.message());
        }
        for (const QString &path :
             {CatalogueFiles::taxonomy(), CatalogueFiles::mailGroups(), CatalogueFiles::keywords()})
            checkWhole(path);
        checkAllRead(CatalogueFiles::kbMailGroups(), KnowledgeBaseCatalogue::knowledgeBases());
        checkAllRead(CatalogueFiles::kbKeywords(), KnowledgeBaseCatalogue::keywordFolders());
    }

    void readIndex(const QString &folder, StoreState *state)
    {
        const QString index = QLatin1String(KnowledgeBaseLayout::kIndexFileName);
        RecordCursor cursor;
        if (const Result<void> opened = cursor.OpenFile(folder, index); !opened)
            return fault(opened.message());
        if (!cursor.isBound())
            return;
        checkWhole(QDir(folder).filePath(index));
        for (int row = 1; row <= cursor.RowCount(); ++row) {
            const Result<QString> stored = cursor.GetDataFromRow(row);
            const Result<QString> text = stored ? ScrambleLine(QStringView(*stored)) : stored;
            const auto record = text ? KnowledgeBaseLayout::parseIndexRecord(*text)
                                     : Result<KnowledgeBaseLayout::IndexRecord>(text.error());
            if (!record) {
                fault(QStringLiteral("%1 row %2: %3").arg(folder).arg(row).arg(record.message()));
                continue;
            }
            const QString page = KnowledgeBaseLayout::pageFile(folder, record->page);
            QFile file(page);
            if (!file.open(QIODevice::ReadOnly)) {
                fault(page + QStringLiteral(" is listed but cannot be read"));
                continue;
            }
            m_listedPages.insert(page);
            if (state)
                state->insert(page, {record->address, file.readAll()});
        }
    }

    QStringList &m_faults;
    QSet<QString> m_listedPages;
};

// What of `before` is missing or changed in `after`.
QStringList lostPages(const StoreState &before, const StoreState &after)
{
    QStringList lost;
    for (auto it = before.begin(); it != before.end(); ++it) {
        const auto now = after.constFind(it.key());
        if (now == after.end() || now->address != it->address || now->content != it->content)
            lost.append(it.key());
    }
    return lost;
}

enum class Ending { Finished, Killed, Failed };

// A harvest of the demo web with a one-second page time-out, a few seconds long, with the
// fault injector preloaded; killed (SIGKILL) after killAfterMs when given.
Ending harvest(const TempDataFolder &home, std::optional<qint64> killAfterMs = std::nullopt)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(CORVANE_SLOW_FS_LIBRARY));
    environment.insert(QStringLiteral("CORVANE_SLOW_FS_UNDER"),
                       home.file(QStringLiteral("KnowledgeBases")));
    environment.insert(QStringLiteral("CORVANE_SLOW_FS_MS"), QStringLiteral("20"));
    // A sanitizer build wants its runtime first; the injector comes first on purpose.
    environment.insert(QStringLiteral("ASAN_OPTIONS"),
                       environment.value(QStringLiteral("ASAN_OPTIONS")) +
                           QStringLiteral(":verify_asan_link_order=0"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(binaryDir() + QStringLiteral("/bin/corvane-cli"),
                  {QStringLiteral("--home"), home.path(), QStringLiteral("harvest"),
                   QStringLiteral("--demo"), QStringLiteral("--timeout"), QStringLiteral("1")});
    if (!process.waitForStarted())
        return Ending::Failed;
    bool killed = false;
    if (killAfterMs) {
        QThread::msleep(quint64(std::max<qint64>(*killAfterMs, 0)));
        killed = process.state() == QProcess::Running;
        process.kill();
    }
    process.waitForFinished(120000);
    if (killed)
        return Ending::Killed;
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0
               ? Ending::Finished
               : Ending::Failed;
}

// When, counted from the start of the harvest, its page files were put in place.
QList<qint64> storeMoments(const StoreState &pages, qint64 startedAt)
{
    QList<qint64> moments;
    for (auto it = pages.begin(); it != pages.end(); ++it)
        moments.append(QFileInfo(it.key()).lastModified().toMSecsSinceEpoch() - startedAt);
    return moments;
}

} // namespace

TEST(CrashSafety, KilledHarvestsLoseNothingAndLeaveEverythingReadable)
{
    TempDataFolder home;
    const quint32 seed = qEnvironmentVariableIsSet("CORVANE_CRASH_SEED")
                             ? quint32(qEnvironmentVariableIntValue("CORVANE_CRASH_SEED"))
                             : QRandomGenerator::global()->bounded(1u << 30);
    QRandomGenerator random(seed);
    SCOPED_TRACE("CORVANE_CRASH_SEED=" + std::to_string(seed));

    // One harvest to its end shows how long a run takes and when it stores its pages; most
    // kills are aimed just before or after those moments, the rest fall anywhere in the run.
    const qint64 startedAt = QDateTime::currentMSecsSinceEpoch();
    ASSERT_EQ(harvest(home), Ending::Finished);
    const qint64 runMs = QDateTime::currentMSecsSinceEpoch() - startedAt;
    QStringList faults;
    StoreReader reader(faults);
    StoreState stored = reader.read();
    ASSERT_TRUE(faults.isEmpty()) << faults.join('\n').toStdString();
    ASSERT_FALSE(stored.isEmpty()) << "the demo harvest stored no page";
    const qsizetype pagesPerRun = stored.size();
    const QList<qint64> moments = storeMoments(stored, startedAt);

    int kills = 0;
    int betweenSteps = 0; // kills that left a folder or page not yet listed
    QSet<QString> unlisted = reader.unlisted();
    while (kills < kKills) {
        const qint64 aimed = random.bounded(4) == 0 ? random.bounded(runMs + 1)
                                                    : moments[random.bounded(int(moments.size()))] -
                                                          20 + random.bounded(61);
        // A run that ended before its kill was cut nowhere; it does not count.
        const Ending ending = harvest(home, aimed);
        ASSERT_NE(ending, Ending::Failed);
        kills += ending == Ending::Killed ? 1 : 0;

        StoreReader check(faults);
        const StoreState now = check.read();
        const QStringList lost = lostPages(stored, now);
        ASSERT_TRUE(faults.isEmpty() && lost.isEmpty())
            << "after kill " << kills << " at " << aimed << " ms:\n"
            << faults.join('\n').toStdString() << "\nlost: " << lost.join('\n').toStdString();
        const QSet<QString> gaps = check.unlisted();
        betweenSteps += (gaps - unlisted).isEmpty() ? 0 : 1;
        unlisted = gaps;
        stored = now;
    }
    EXPECT_GT(betweenSteps, 0) << "no kill fell between two steps of the store";

    // After all that, the next harvest goes on and stores all its pages.
    ASSERT_EQ(harvest(home), Ending::Finished);
    const StoreState last = reader.read();
    EXPECT_TRUE(faults.isEmpty()) << faults.join('\n').toStdString();
    EXPECT_TRUE(lostPages(stored, last).isEmpty());
    EXPECT_EQ(last.size(), stored.size() + pagesPerRun);
    std::cout << kills << " of " << kKills << " kill points: nothing lost, everything parses ("
              << betweenSteps << " kills fell between two steps of the store; " << last.size()
              << " pages listed at the end)" << std::endl;
}
