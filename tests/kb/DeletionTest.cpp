#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "common/DataFolder.h"
#include "kb/AtomicFile.h"
#include "kb/Catalogues.h"
#include "kb/Deletion.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

// Two mail groups; group 1 has knowledge bases 1 and 2, group 2 has knowledge base 3.
class Catalogued : public ::testing::Test
{
protected:
    Catalogued()
    {
        writeFile(CatalogueFiles::mailGroups(), storedFile({"1@Dentists", "2@Bakers"}));
        writeFile(CatalogueFiles::keywords(),
                  storedFile({"1@1@teeth", "2@2@bread", "3@1@smile", "4@2@cake"}));
        writeFile(CatalogueFiles::kbMailGroups(),
                  storedFile({record(1, 1, "A"), "", record(2, 1, "B"), record(3, 2, "C")}));
        writeFile(CatalogueFiles::kbKeywords(),
                  storedFile({"1@1@Rail", "2@2@Rail", "3@1@Bus", "4@3@Cars", "5@1@Air"}));
        for (const char *kb : {"A", "B", "C"})
            writeFile(folder(kb) + QStringLiteral("/Term/1.htm"), "<html/>");
    }
    QString folder(const char *name) const
    {
        return home.file(QStringLiteral("KB/") + QLatin1String(name));
    }
    // The deletion the viewer asks for knowledge base 1, naming this folder.
    KnowledgeBaseDeletion knowledgeBaseOne(const char *folderName) const
    {
        return {1, folder(folderName)};
    }
    QString record(int number, int group, const char *name) const
    {
        return QStringLiteral("%1@%2@%3@%4")
            .arg(number)
            .arg(group)
            .arg(QLatin1String(name), folder(name));
    }

    TempDataFolder home;
};

QList<DeleteListItem> items(std::initializer_list<std::pair<const char *, bool>> entries)
{
    QList<DeleteListItem> list;
    qint32 number = 0;
    for (const auto &[text, selected] : entries)
        list.append({QString::fromUtf8(text), ++number, selected});
    return list;
}

} // namespace

TEST_F(Catalogued, KnowledgeBaseRequestRemovesItsRecordsAndFolder)
{
    const DeletionOutcome done = carryOut(knowledgeBaseOne("A"));
    EXPECT_TRUE(done.problems.isEmpty()) << done.problems.join('\n').toStdString();
    EXPECT_TRUE(done.reloadViewer);
    EXPECT_EQ(recordTexts(CatalogueFiles::kbMailGroups()),
              QStringList({record(2, 1, "B"), record(3, 2, "C")}));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbKeywords()), QStringList({"2@2@Rail", "4@3@Cars"}));
    EXPECT_FALSE(QFileInfo::exists(folder("A")));
    EXPECT_TRUE(QFileInfo::exists(folder("B")));
}

TEST_F(Catalogued, KnowledgeBaseRequestNeverRemovesAFolderTheCatalogueDoesNotName)
{
    EXPECT_EQ(carryOut(knowledgeBaseOne("C")).problems.size(), 1);
    EXPECT_TRUE(QFileInfo::exists(folder("C")));
}

TEST_F(Catalogued, ListDeletionsKeepTheUnselectedAndRewriteTheirCatalogues)
{
    const DeletionOutcome entries =
        carryOut(ListEntriesDeletion{items({{"a", true}, {"b", false}, {"c", true}})});
    EXPECT_EQ(entries.list, QList<DeleteListItem>({{"b", 2, false}}));

    const DeletionOutcome terms =
        carryOut(TaxonomyDeletion{{{"Cars", 3, false}, {"Boats", 7, true}, {"Planes", 5, false}}});
    EXPECT_EQ(recordTexts(CatalogueFiles::taxonomy()), QStringList({"3@Cars", "5@Planes"}));
    EXPECT_EQ(terms.list.size(), 2);

    KeywordDeletion keywords;
    keywords.groupKeywords = {{"teeth", 1, true}, {"smile", 3, false}};
    keywords.allKeywords = {
        {"1@teeth", 1, false}, {"2@bread", 2, false}, {"1@smile", 3, false}, {"2@cake", 4, false}};
    EXPECT_EQ(carryOut(keywords).list, QList<DeleteListItem>({{"smile", 3, false}}));
    EXPECT_EQ(recordTexts(CatalogueFiles::keywords()),
              QStringList({"2@2@bread", "3@1@smile", "4@2@cake"}));
}

TEST_F(Catalogued, MailGroupLosesItsKeywordsWithItsLastKnowledgeBase)
{
    MailGroupDeletion dialog;
    ASSERT_TRUE(dialog.open(1));
    EXPECT_EQ(dialog.selectedMailGroup(), 1);
    const auto bases = dialog.knowledgeBases();
    ASSERT_EQ(bases.size(), 2);
    EXPECT_EQ(bases[0].displayText(), QStringLiteral("A") + QString(30, ' ') + '!' + folder("A"));

    ASSERT_TRUE(dialog.deleteKnowledgeBases({1}));
    EXPECT_FALSE(QFileInfo::exists(folder("A")));
    EXPECT_EQ(recordTexts(CatalogueFiles::mailGroups()), QStringList({"1@Dentists", "2@Bakers"}));

    ASSERT_TRUE(dialog.deleteKnowledgeBases({2}));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbMailGroups()), QStringList({record(3, 2, "C")}));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbKeywords()), QStringList({"4@3@Cars"}));
    EXPECT_EQ(recordTexts(CatalogueFiles::mailGroups()), QStringList({"2@Bakers"}));
    EXPECT_EQ(recordTexts(CatalogueFiles::keywords()), QStringList({"2@2@bread", "4@2@cake"}));
    EXPECT_TRUE(QFileInfo::exists(folder("C")));
}

TEST_F(Catalogued, FolderInUseStopsTheMailGroupDeletion)
{
    setFolderRemover(
        [](const QString &) { return std::make_error_code(std::errc::permission_denied); });
    MailGroupDeletion dialog;
    ASSERT_TRUE(dialog.open(2));
    const Result<void> deleted = dialog.deleteKnowledgeBases({3});
    setFolderRemover({});
    ASSERT_FALSE(deleted);
    EXPECT_EQ(deleted.message(), QStringLiteral("Cannot delete, the file is in use"));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbMailGroups()).size(), 4);
    EXPECT_EQ(recordTexts(CatalogueFiles::mailGroups()).size(), 2);

    setFolderRemover([](const QString &) { return std::make_error_code(std::errc::io_error); });
    const Result<void> broken = DeleteKBFiles(folder("C"));
    setFolderRemover({});
    ASSERT_FALSE(broken);
    EXPECT_TRUE(broken.message().startsWith(QStringLiteral("DeleteKBFiles->")));
    EXPECT_FALSE(DeleteKBFiles(QDir::rootPath()));
    EXPECT_FALSE(DeleteKBFiles(QDir::homePath()));
    EXPECT_TRUE(DeleteKBFiles(home.file(QStringLiteral("never-made"))));
}

TEST_F(Catalogued, ReadOnlyContentIsRemovedToo)
{
    const QString page = folder("B") + QStringLiteral("/Term/1.htm");
    QFile::setPermissions(page, QFile::ReadOwner);
    QFile::setPermissions(folder("B") + QStringLiteral("/Term"),
                          QFile::ReadOwner | QFile::ExeOwner);
    ASSERT_TRUE(DeleteKBFiles(folder("B")));
    EXPECT_FALSE(QFileInfo::exists(folder("B")));
}

TEST_F(Catalogued, FailedRewriteLeavesTheOldCatalogue)
{
    const QByteArray before = readFile(CatalogueFiles::kbKeywords());
    const QByteArray mailGroupsBefore = readFile(CatalogueFiles::kbMailGroups());
    {
        AtomicFile::ScopedFailAfter diskFull(7);
        EXPECT_GE(carryOut(knowledgeBaseOne("A")).problems.size(), 2);
    }
    EXPECT_EQ(readFile(CatalogueFiles::kbKeywords()), before);
    EXPECT_EQ(readFile(CatalogueFiles::kbMailGroups()), mailGroupsBefore);
    EXPECT_EQ(QDir(DataFolder::ioFiles()).entryList(QDir::Files).size(), 4);
    EXPECT_TRUE(QFileInfo::exists(folder("A")));
}

TEST_F(Catalogued, KeywordFolderGoesWithItsRecordOnly)
{
    ASSERT_TRUE(removeKeywordFolder(folder("A"), {3, 1, QStringLiteral("Term")}));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbKeywords()),
              QStringList({"1@1@Rail", "2@2@Rail", "4@3@Cars", "5@1@Air"}));
    EXPECT_FALSE(QFileInfo::exists(folder("A") + QStringLiteral("/Term")));
    EXPECT_TRUE(QFileInfo::exists(folder("A")));

    // A term edited by hand never leads the deletion out of its knowledge base.
    EXPECT_FALSE(
        removeKeywordFolder(folder("A") + QStringLiteral("/x"), {1, 1, QStringLiteral("../../B")}));
    EXPECT_TRUE(QFileInfo::exists(folder("B")));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbKeywords()).size(), 4);
}

TEST_F(Catalogued, RecordNamingAnotherFolderDeletesNothingThere)
{
    // Knowledge base 3 ("C") is recorded with the folder of B.
    writeFile(CatalogueFiles::kbMailGroups(), storedFile({record(1, 1, "A"), record(2, 1, "B"),
                                                          QStringLiteral("3@2@C@") + folder("B")}));
    const DeletionOutcome viewer = carryOut(KnowledgeBaseDeletion{3, folder("B")});
    EXPECT_EQ(viewer.problems.size(), 1);
    EXPECT_TRUE(QFileInfo::exists(folder("B")));

    writeFile(CatalogueFiles::kbMailGroups(),
              storedFile({record(1, 1, "A"), QStringLiteral("2@1@B@") + folder("A")}));
    MailGroupDeletion dialog;
    ASSERT_TRUE(dialog.open(1));
    const Result<void> deleted = dialog.deleteKnowledgeBases({2});
    ASSERT_FALSE(deleted);
    EXPECT_TRUE(deleted.message().startsWith(QStringLiteral("DelMailGroup->")));
    EXPECT_TRUE(QFileInfo::exists(folder("A")));
    EXPECT_EQ(recordTexts(CatalogueFiles::kbMailGroups()).size(), 2);
}
