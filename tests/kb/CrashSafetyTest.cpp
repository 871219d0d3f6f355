// Crash safety of the store, tested the hard way: a real harvest that stores pages is killed
// (SIGKILL, no chance to tidy up) at random moments, and after every kill the data folder is
// read back through Corvane's own readers.
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
#include <QRandomGenerator>
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
            if (state)
                state->insert(page, {record->address, file.readAll()});
        }
    }

    QStringList &m_faults;
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

// The demo web with a one-second page time-out: a harvest of a few seconds that stores its
// pages in two bursts.
QStringList harvestArguments(const TempDataFolder &home)
{
    return {QStringLiteral("--home"),    home.path(),
            QStringLiteral("harvest"),   QStringLiteral("--demo"),
            QStringLiteral("--timeout"), QStringLiteral("1")};
}

// When, counted from the start of the harvest, its page files were written.
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
    const QString program = binaryDir() + QStringLiteral("/bin/corvane-cli");
    const quint32 seed = qEnvironmentVariableIsSet("CORVANE_CRASH_SEED")
                             ? quint32(qEnvironmentVariableIntValue("CORVANE_CRASH_SEED"))
                             : QRandomGenerator::global()->bounded(1u << 30);
    QRandomGenerator random(seed);
    SCOPED_TRACE("CORVANE_CRASH_SEED=" + std::to_string(seed));

    // One harvest to its end shows how long a run takes and when it stores its pages; most
    // kills are aimed near those moments, the rest fall anywhere in the run.
    const qint64 startedAt = QDateTime::currentMSecsSinceEpoch();
    QByteArray err;
    ASSERT_EQ(runProgram(program, harvestArguments(home), nullptr, &err), 0) << err.toStdString();
    const qint64 runMs = QDateTime::currentMSecsSinceEpoch() - startedAt;
    QStringList faults;
    StoreState stored = StoreReader(faults).read();
    ASSERT_TRUE(faults.isEmpty()) << faults.join('\n').toStdString();
    ASSERT_FALSE(stored.isEmpty()) << "the demo harvest stored no page";
    const qsizetype pagesPerRun = stored.size();
    const QList<qint64> moments = storeMoments(stored, startedAt);

    int kills = 0;
    int cutShort = 0; // kills that fell while a run was storing its pages
    for (int attempt = 0; kills < kKills && attempt < 3 * kKills; ++attempt) {
        const qint64 aimed = random.bounded(4) == 0 ? random.bounded(runMs + 1)
                                                    : moments[random.bounded(int(moments.size()))] -
                                                          40 + random.bounded(81);
        QProcess harvest;
        harvest.setStandardOutputFile(QProcess::nullDevice());
        harvest.setStandardErrorFile(QProcess::nullDevice());
        harvest.start(program, harvestArguments(home));
        ASSERT_TRUE(harvest.waitForStarted());
        QThread::msleep(quint64(std::max<qint64>(aimed, 0)));
        const bool running = harvest.state() == QProcess::Running;
        harvest.kill(); // SIGKILL
        harvest.waitForFinished();
        kills += running ? 1 : 0;

        const StoreState now = StoreReader(faults).read();
        const QStringList lost = lostPages(stored, now);
        ASSERT_TRUE(faults.isEmpty() && lost.isEmpty())
            << "after kill " << kills << ":\n"
            << faults.join('\n').toStdString() << "\nlost: " << lost.join('\n').toStdString();
        const qsizetype added = now.size() - stored.size();
        cutShort += running && added > 0 && added < pagesPerRun ? 1 : 0;
        stored = now;
    }
    EXPECT_EQ(kills, kKills);
    EXPECT_GT(cutShort, 0) << "no kill fell while pages were being stored";

    // After all that, the next harvest goes on and stores its pages.
    ASSERT_EQ(runProgram(program, harvestArguments(home), nullptr, &err), 0) << err.toStdString();
    const StoreState last = StoreReader(faults).read();
    EXPECT_TRUE(faults.isEmpty()) << faults.join('\n').toStdString();
    EXPECT_TRUE(lostPages(stored, last).isEmpty());
    EXPECT_EQ(last.size(), stored.size() + pagesPerRun);
    std::cout << kills << " of " << kKills << " kill points: nothing lost, everything parses ("
              << cutShort << " kills cut a run's storing short; " << last.size()
              << " pages listed at the end)" << std::endl;
}
