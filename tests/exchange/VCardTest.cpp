#include "exchange/VCard.h"

#include <gtest/gtest.h>

using namespace corvane;

TEST(VCard, NameComesFromTheLocalPart)
{
    const ContactName john = contactNameFor("john.smith@firm.com");
    EXPECT_EQ(john.formatted, "John Smith");
    EXPECT_EQ(john.given, "John");
    EXPECT_EQ(john.family, "Smith");
    const ContactName three = contactNameFor("mary-ann_de.vries@x.nl");
    EXPECT_EQ(three.formatted, "Mary Ann De Vries");
    EXPECT_EQ(three.additional, "Ann De");
    const ContactName single = contactNameFor("info@firm.com");
    EXPECT_EQ(single.formatted, "Info");
    EXPECT_TRUE(single.family.isEmpty());
    // Nothing to make a name of: the address itself.
    EXPECT_EQ(contactNameFor("_.-@firm.com").formatted, "_.-@firm.com");
}

TEST(VCard, CardHasTheLeadCategoryAndEscapedText)
{
    const QByteArray card = vCardFor("john.smith@firm.com", "Clients; VIP, north\\east");
    EXPECT_EQ(card, "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:John Smith\r\nN:Smith;John;;;\r\n"
                    "EMAIL;TYPE=INTERNET:john.smith@firm.com\r\n"
                    "CATEGORIES:Clients\\; VIP\\, north\\\\east\r\nEND:VCARD\r\n");
    EXPECT_FALSE(vCardFor("a@b.com", "").contains("CATEGORIES"));
}

TEST(VCard, LongLinesAreFoldedWithoutSplittingCharacters)
{
    const QString category = QString(40, QChar(0x00E9)); // 80 bytes of UTF-8
    const QByteArray card = vCardFor("a@b.com", category);
    for (const QByteArray &line : card.split('\n'))
        EXPECT_LE(line.size(), 76) << line.constData(); // 75 octets + CR
    QByteArray unfolded = card;
    unfolded.replace("\r\n ", "");
    EXPECT_TRUE(unfolded.contains("CATEGORIES:" + category.toUtf8()));
    EXPECT_FALSE(QString::fromUtf8(card).contains(QChar::ReplacementCharacter));
}
