#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "kb/Catalogues.h"
#include "kb/ScrambleLine.h"

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

TEST(ScrambleLine, KeywordRecordIsStoredByteExactly)
{
    TempDataFolder home;
    KeywordCatalogue keywords;
    ASSERT_TRUE(keywords.LoadKeywords(3));
    // Eleven keywords first so that the next one gets number 12.
    for (int i = 1; i <= 11; ++i)
        ASSERT_TRUE(keywords.AddKeyword(QStringLiteral("k%1").arg(i), 1));
    const QByteArray before = readFile(CatalogueFiles::keywords());
    ASSERT_TRUE(keywords.AddKeyword(QStringLiteral("Science"), 3));

    const QByteArray expected = QByteArray::fromHex("c7c6b8c5b8a5958f938a9593") + "\r\n";
    EXPECT_EQ(readFile(CatalogueFiles::keywords()).mid(before.size()), expected);
    EXPECT_EQ(encodeRecord(u"12@3@Science").value() + "\r\n", expected);
}

TEST(ScrambleLine, IsItsOwnInverseAndMapsKnownCharacters)
{
    EXPECT_EQ(ScrambleLine(QByteArrayView("")).value(), QByteArray());
    EXPECT_EQ(ScrambleLine(QStringView(u"")).value(), QString());
    const QByteArray expected = QByteArray::fromHex("b8d5c8bfd8");
    EXPECT_EQ(ScrambleLine(QByteArrayView("@#09 ")).value(), expected);

    QByteArray all;
    for (int c = 0; c <= 248; ++c)
        all += char(c);
    const QByteArray once = ScrambleLine(QByteArrayView(all)).value();
    EXPECT_EQ(ScrambleLine(QByteArrayView(once)).value(), all);

    const QString text = QStringLiteral("Caf\u00e9 \u20ac 12@3@x");
    EXPECT_EQ(ScrambleLine(QStringView(ScrambleLine(QStringView(text)).value())).value(), text);
}

TEST(ScrambleLine, RefusesWhatHasNoImage)
{
    for (int c = 249; c <= 255; ++c)
        EXPECT_FALSE(ScrambleLine(QByteArrayView(QByteArray(1, char(c))))) << c;
    EXPECT_EQ(ScrambleLine(QByteArrayView("\xff")).message(),
              QStringLiteral("Invalid procedure call or argument"));
    EXPECT_FALSE(ScrambleLine(QStringView(u"\u4e2d")));
    // Plain codes 235 and 238 would become CR and LF and split the record.
    EXPECT_FALSE(encodeRecord(QString(QChar(235))));
    EXPECT_FALSE(encodeRecord(QString(QChar(238))));
    EXPECT_FALSE(decodeRecord(QByteArrayView("\xfa")));
}

TEST(ScrambleLine, EntryCheckRefusesUnstorableCharacters)
{
    const QString what = QStringLiteral("Keyword");
    EXPECT_TRUE(checkStorableText(u"Caf\u00e9 & co, \u20ac5", what));
    for (const char16_t bad : {char16_t(235), char16_t(238), char16_t(249), char16_t(255),
                               char16_t(0x4e2d), char16_t(0x0009), char16_t(0x0001)}) {
        const Result<void> checked = checkStorableText(QString(QChar(bad)), what);
        ASSERT_FALSE(checked) << int(bad);
        EXPECT_TRUE(checked.message().startsWith(what)) << checked.message().toStdString();
    }
}
