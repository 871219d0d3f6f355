#include "kb/Deletion.h"
#include "kb/KnowledgeBaseLayout.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::KnowledgeBaseLayout;

TEST(KnowledgeBaseLayout, IndexRecordsNamePlainPageNumbersOnly)
{
    const Result<IndexRecord> record = parseIndexRecord(u"12##http://a.test/x##y");
    ASSERT_TRUE(record);
    EXPECT_EQ(record->page, 12);
    EXPECT_EQ(record->address, QStringLiteral("http://a.test/x##y"));
    EXPECT_EQ(indexRecordText(record->page, record->address),
              QStringLiteral("12##http://a.test/x##y"));

    const Result<IndexRecord> noSeparator = parseIndexRecord(u"12#http://a.test/");
    ASSERT_FALSE(noSeparator);
    EXPECT_EQ(noSeparator.message(), QStringLiteral("the index record has no page number"));
    for (const char16_t *bad :
         {u"##a", u"../x##a", u"-1##a", u" 1##a", u"1e3##a", u"2147483648##a", u"\uff11##a"})
        EXPECT_FALSE(parseIndexRecord(bad)) << QString::fromUtf16(bad).toStdString();
    EXPECT_EQ(parsePageNumber(u"2147483647"), 2147483647);
}

TEST(KnowledgeBaseLayout, PathsFromRecordsStayInsideTheirKnowledgeBase)
{
    const QString root = QDir::cleanPath(QDir::tempPath() + QStringLiteral("/KB"));
    const KnowledgeBaseRecord good{1, 1, QStringLiteral("Birds-01-02-26-1345"),
                                   root + QStringLiteral("/Birds-01-02-26-1345/")};
    const Result<QString> folder = knowledgeBaseFolder(good);
    ASSERT_TRUE(folder) << folder.message().toStdString();
    EXPECT_EQ(*folder, root + QStringLiteral("/Birds-01-02-26-1345"));

    // A relative folder depends on where the program runs; any other folder is not this
    // knowledge base's; both are refused rather than shown or deleted.
    for (const QString &bad : {QStringLiteral("KB/Birds-01-02-26-1345"), QDir::homePath(), root,
                               root + QStringLiteral("/Birds-01-02-26-1345/.."), QString()}) {
        KnowledgeBaseRecord record = good;
        record.folder = bad;
        EXPECT_FALSE(knowledgeBaseFolder(record)) << bad.toStdString();
    }

    EXPECT_EQ(keywordFolder(*folder, QStringLiteral("Tools")).value(),
              *folder + QStringLiteral("/Tools"));
    for (const QString &term : {QStringLiteral("../../victim"), QStringLiteral(".."),
                                QStringLiteral("a/b"), QStringLiteral("a\\b"), QStringLiteral(" ")})
        EXPECT_FALSE(keywordFolder(*folder, term)) << term.toStdString();
    EXPECT_FALSE(keywordFolder(QString(), QStringLiteral("Tools")));
}

TEST(PageDeletion, LastPageTakesItsKeywordOrOffersTheKnowledgeBase)
{
    using namespace PageDeletion;
    EXPECT_TRUE(std::holds_alternative<DeleteRow>(stepFor(2, 1)));
    EXPECT_TRUE(std::holds_alternative<RemoveKeyword>(stepFor(1, 2)));
    EXPECT_TRUE(std::holds_alternative<OfferKnowledgeBase>(stepFor(1, 1)));
    EXPECT_TRUE(std::holds_alternative<Nothing>(stepFor(0, 3)));
}
