#include "common/Cp1252.h"

#include <gtest/gtest.h>

using namespace corvane;

TEST(Cp1252, EveryByteSurvivesARoundTrip)
{
    QByteArray all(256, '\0');
    for (int i = 0; i < 256; ++i)
        all[i] = static_cast<char>(i);
    const QString text = fromCp1252(all);
    ASSERT_EQ(text.size(), 256);
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(text.at(i), cp1252ToChar(static_cast<unsigned char>(i))) << i;
    const auto back = toCp1252(text);
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(*back, all);
    EXPECT_FALSE(fromCp1252(QByteArrayView()).isNull()) << "no input is an empty text";
    EXPECT_TRUE(fromCp1252(QByteArrayView()).isEmpty());
}

TEST(Cp1252, HighRangeMapsToTypographicCharacters)
{
    EXPECT_EQ(fromCp1252("\x80"), QString(QChar(0x20AC)));
    EXPECT_EQ(fromCp1252("\x93\x94"), QString::fromUtf16(u"\u201C\u201D"));
    EXPECT_EQ(*charToCp1252(QChar(0x2122)), 0x99);
    EXPECT_EQ(*charToCp1252(QChar(0xE9)), 0xE9);
}

TEST(Cp1252, CharactersOutsideTheCodePageAreRefusedOrReplaced)
{
    EXPECT_FALSE(toCp1252(QString::fromUtf16(u"caf\u00e9 \u4e2d")).has_value());
    EXPECT_EQ(toCp1252Lossy(QString::fromUtf16(u"a\u4e2db")), QByteArray("a?b"));
}
