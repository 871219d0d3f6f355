// The modern profile's lead extraction: addresses written for people, file names that look
// like addresses, and the form a lead is kept in.

#include "analysis/JunkNames.h"
#include "analysis/PageAnalyser.h"
#include "analysis/WrittenAddresses.h"

#include "support/TestSupport.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

struct ModernHarvest
{
    LeadFilters filters;
    LeadSet leads;
    TextListModel mailList;

    explicit ModernHarvest(const QStringList &junk = {})
    {
        filters.addressFilters = AddressFilterList::bundled();
        filters.junkExtensions = junk;
    }

    QStringList run(const QByteArray &page, CrawlProfile profile = CrawlProfile::Modern)
    {
        const qsizetype before = mailList.count();
        ExtractEmails(page, filters, leads, mailList, profile);
        return mailList.texts().mid(before);
    }
};

QStringList bundledJunk()
{
    QStringList names;
    for (const JunkExtension &extension : loadJunkExtensions())
        if (extension.inForce)
            names << extension.name;
    return names;
}

// Random words for the generated corpora; the seed is fixed, so a failure repeats.
class Words
{
public:
    QString word(int minLength, int maxLength)
    {
        const int length = int(m_random.bounded(minLength, maxLength + 1));
        QString text;
        for (int i = 0; i < length; ++i)
            text += QChar(u'a' + m_random.bounded(26));
        return text;
    }
    template <typename T>
    const T &pick(const QList<T> &list)
    {
        return list.at(m_random.bounded(qsizetype(list.size())));
    }
    int number(int high) { return int(m_random.bounded(high)); }

private:
    QRandomGenerator m_random{20240611};
};

// "&#106;&#97;..." or "&#x6a;..." for every character.
QString referencesFor(const QString &text, bool hex)
{
    QString out;
    for (const QChar c : text)
        out += hex ? QStringLiteral("&#x%1;").arg(c.unicode(), 0, 16)
                   : QStringLiteral("&#%1;").arg(c.unicode());
    return out;
}

struct WrittenCase
{
    QString page;     // the address as a page writes it, in a sentence
    QString expected; // the lead it must give
};

// An address written one of the ways pages write them for people.
WrittenCase writtenAddress(Words &words)
{
    const QString local =
        words.word(2, 8) + words.pick<QString>({"", ".", "_", "-"}) + words.word(1, 6);
    const QString name = words.word(3, 10);
    const QString ending = words.pick<QString>({"com", "org", "net", "de", "co.uk", "io"});
    const QString domain = name + QLatin1Char('.') + ending;
    const auto written = [&](const QString &at, const QString &dot) {
        return local + at + QString(domain).replace(QLatin1Char('.'), dot); // "co.uk" too
    };
    QString form;
    switch (words.number(12)) {
    case 0:
        form = written(QStringLiteral(" [at] "), QStringLiteral(" [dot] "));
        break;
    case 1:
        form = written(QStringLiteral("(at)"), QStringLiteral("."));
        break;
    case 2:
        form = written(QStringLiteral(" (AT) "), QStringLiteral(" (DOT) "));
        break;
    case 3:
        form = written(QStringLiteral("{at}"), QStringLiteral("{dot}"));
        break;
    case 4:
        form = written(QStringLiteral(" [ at ] "), QStringLiteral("[.]"));
        break;
    case 5:
        form = written(QStringLiteral("[@]"), QStringLiteral("."));
        break;
    case 6:
        form = written(QStringLiteral("&#64;"), QStringLiteral("&#46;"));
        break;
    case 7:
        form = written(QStringLiteral("&#x40;"), QStringLiteral("."));
        break;
    case 8:
        form = written(QStringLiteral("&commat;"), QStringLiteral("&period;"));
        break;
    case 9:
        form = referencesFor(local + QLatin1Char('@') + domain, words.number(2) == 1);
        break;
    case 10: // a mailto link with its first letter and the "@" percent-encoded
        form = QStringLiteral("<a href=\"mailto:%%1%2%40%3\">write</a>")
                   .arg(local.at(0).unicode(), 2, 16, QLatin1Char('0'))
                   .arg(local.mid(1), domain);
        break;
    default: // the domain written in capitals: kept in lower case
        form = written(QStringLiteral(" [at] "), QStringLiteral(".")).toUpper();
        return {QStringLiteral("<p>Mail %1 today.</p>").arg(form),
                local.toUpper() + QLatin1Char('@') + domain};
    }
    return {QStringLiteral("<p>Write to %1 for details.</p>").arg(form),
            local + QLatin1Char('@') + domain};
}

// A file name that looks like an address.
QString junkName(Words &words, const QStringList &extensions)
{
    const QString name = words.word(3, 9);
    const QString extension = words.pick(extensions);
    const QString scale = words.pick<QString>({"2x", "3x", "1.5x", "2X"});
    switch (words.number(4)) {
    case 0:
        return name + QLatin1Char('@') + scale + QLatin1Char('.') + extension;
    case 1:
        return name + QLatin1Char('-') + words.word(2, 4) + QLatin1Char('@') + scale +
               QLatin1Char('.') + extension;
    case 2:
        return name + QLatin1Char('@') + words.word(3, 8) + QLatin1Char('.') + extension;
    default:
        return name + QLatin1Char('@') + scale + QStringLiteral("-dark.") + extension;
    }
}

} // namespace

TEST(ModernLeads, GeneratedCorporaOfWrittenFormsAndJunkNames)
{
    corvane::test::TempDataFolder home;
    const QStringList junk = bundledJunk();
    ASSERT_GT(junk.size(), 20);
    Words words;

    QByteArray page = "<html><body>\n";
    QStringList expected;
    for (int i = 0; i < 200; ++i) {
        const WrittenCase written = writtenAddress(words);
        page += written.page.toLatin1() + '\n';
        expected << written.expected;
    }
    QStringList junkNames;
    for (int i = 0; i < 200; ++i) {
        junkNames << junkName(words, junk);
        page += QStringLiteral("<img src=\"/img/%1\" srcset=\"%1 2x\">\n")
                    .arg(junkNames.last())
                    .toLatin1();
    }
    page += "</body></html>\n";

    ModernHarvest harvest(junk);
    const QStringList leads = harvest.run(page);
    int found = 0;
    for (const QString &address : expected)
        found += leads.contains(address) ? 1 : 0;
    RecordProperty("written_forms_found", found); // of 200
    EXPECT_GE(found, 190) << "at least 95% of the written forms";
    for (const QString &name : junkNames)
        EXPECT_FALSE(leads.contains(name, Qt::CaseInsensitive)) << name.toStdString();
    for (const QString &lead : leads)
        EXPECT_TRUE(expected.contains(lead)) << "stray lead " << lead.toStdString();

    // The classic profile keeps to its own rules: no written form, and file names whose
    // ending the filter list admits (".pn" inside ".png") are leads.
    ModernHarvest classic(junk);
    const QStringList classicLeads = classic.run(
        "jane [at] firm [dot] com, jo&#64;firm.com, logo@2x.png", CrawlProfile::Classic);
    EXPECT_EQ(classicLeads, QStringList{"logo@2x.png"});
}

TEST(ModernLeads, ProseAndCodeAreNotReadAsAddresses)
{
    corvane::test::TempDataFolder home;
    ModernHarvest harvest(bundledJunk());
    EXPECT_TRUE(harvest
                    .run("Meet us at the harbour dot com shop. Doors open (at) 5 p.m. [dot] "
                         "Sale [at] the market [dot] 50% off. f(at){dot} = a[at]; "
                         "if (x) {at} &#64; &#46;com mailto:%ZZ@ &#x4000000000;")
                    .isEmpty());
    // A plain address keeps its local part as written and gets its domain in lower case;
    // one mailbox written two ways is one lead.
    EXPECT_EQ(harvest.run("Sales@Firm.COM and sales [at] firm [dot] com, Sales@firm.com."),
              QStringList({"Sales@firm.com", "sales@firm.com"}));
}

TEST(ModernLeads, WrittenFormsOfHostileSizeStayLinear)
{
    // A megabyte of nothing but forms halves or quarters, never grows, and never stalls.
    const QByteArray brackets = QByteArray("[at]").repeated(250000);
    const std::optional<QByteArray> read = readWrittenAddresses(brackets);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->size(), 250000);
    EXPECT_EQ(read->count('@'), 250000);
    EXPECT_FALSE(readWrittenAddresses(QByteArray(1 << 20, '(')).has_value());
    EXPECT_FALSE(readWrittenAddresses(QByteArray("mailto:").repeated(100000)).has_value());
    const QByteArray references = QByteArray("&#0000000000064;").repeated(50000);
    EXPECT_FALSE(readWrittenAddresses(references).has_value()) << "too many digits";
}

TEST(JunkNames, ExtensionsAndScaleMarkers)
{
    const JunkNameRule rule({"PNG", ".svg", "woff2", "not an extension"});
    for (const char *junk : {"logo@site.png", "a@b.SVG", "font@cdn.woff2", "icon@2x.avif",
                             "icon@1.5x-dark.jpg", "bg@3X_hi.gif", "2x@cdn.example.com"})
        EXPECT_TRUE(rule.isJunk(QByteArrayView(junk))) << junk;
    for (const char *mail : {"info@2xl.com", "info@example.com", "x2@firm.com", "a@b.pngs",
                             "jane@125x.com", "hello@png.com"})
        EXPECT_FALSE(rule.isJunk(QByteArrayView(mail))) << mail;
    EXPECT_FALSE(JunkNameRule().isJunk(QByteArrayView("a@b.png")));
}

TEST(JunkNames, ListFileRoundTripAndTheDataFolderCopyWins)
{
    corvane::test::TempDataFolder home;
    const QList<JunkExtension> read =
        readJunkExtensions(QStringLiteral("; comment\n png \n-.GIF\nbad ext\npng\n\n") +
                           QString(17, u'a') + QStringLiteral("\nwebp\r\n"));
    EXPECT_EQ(read, (QList<JunkExtension>{{"png", true}, {"gif", false}, {"webp", true}}));
    EXPECT_EQ(readJunkExtensions(QString::fromLatin1(writeJunkExtensions(read))), read);

    // No bundled extension is a mail ending the address filter list knows ("ai", "pl").
    const QStringList endings = AddressFilterList::bundled().fragments();
    for (const JunkExtension &extension : loadJunkExtensions())
        EXPECT_FALSE(endings.contains(QLatin1Char('.') + extension.name))
            << extension.name.toStdString();

    ASSERT_FALSE(saveJunkExtensions(read).has_value());
    EXPECT_EQ(loadJunkExtensions(), read);
}
