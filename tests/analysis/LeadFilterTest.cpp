// Lead extraction: the ending rule, the user's filters, their order and the lead limit.

#include "analysis/AnalysisContext.h"
#include "analysis/PageAnalyser.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace corvane;

namespace {

struct Harvest
{
    LeadFilters filters;
    LeadSet leads;
    TextListModel mailList;

    Harvest() { filters.addressFilters = AddressFilterList(QStringLiteral(".com#.org#.net#")); }

    QStringList run(const QByteArray &page)
    {
        const qsizetype before = mailList.count();
        const int appended = ExtractEmails(page, filters, leads, mailList);
        EXPECT_EQ(appended, mailList.count() - before);
        return mailList.texts().mid(before);
    }
};

} // namespace

TEST(EndingRule, IsASubstringTestOnTheDomainEnding)
{
    const AddressFilterList com(QStringLiteral(".com#"));
    EXPECT_TRUE(com.admits(QByteArrayView("a@b.com")));
    EXPECT_FALSE(com.admits(QByteArrayView("a@b.org")));
    EXPECT_TRUE(com.admits(QByteArrayView("a@b.com.au")));
    EXPECT_TRUE(com.admits(QByteArrayView("a@B.COM"))) << "letter case is ignored";

    const AddressFilterList org(QStringLiteral(".org#"));
    EXPECT_TRUE(org.admits(QByteArrayView("a@mail.b.org")));
    EXPECT_TRUE(org.admits(QByteArrayView("a@b.organic.com"))) << "not a suffix test";

    // The ending starts at the domain's first ".", so the first label never counts.
    const AddressFilterList couk(QStringLiteral(".co.uk#"));
    EXPECT_TRUE(couk.admits(QByteArrayView("a@firm.co.uk")));
    EXPECT_TRUE(couk.admits(QByteArrayView("a@mail.firm.co.uk")));
    const AddressFilterList firm(QStringLiteral("firm#"));
    EXPECT_FALSE(firm.admits(QByteArrayView("a@firm.co.uk")));
    EXPECT_TRUE(firm.admits(QByteArrayView("a@mail.firm.co.uk")));
}

TEST(EndingRule, FragmentsAreTrimmedAndBlankOnesIgnored)
{
    const AddressFilterList list(QStringLiteral("  .net  # #  #.org"));
    EXPECT_EQ(list.fragments(), QStringList({".net", ".org"}));
    EXPECT_TRUE(list.admits(QByteArrayView("a@b.net")));
    EXPECT_TRUE(list.admits(QByteArrayView("a@b.org"))) << "an unterminated last fragment counts";
    EXPECT_FALSE(list.admits(QByteArrayView("a@b.com")));

    for (const QString &blank : {QString(), QStringLiteral("#"), QStringLiteral("  #   # ")}) {
        const AddressFilterList empty(blank);
        EXPECT_TRUE(empty.isEmpty());
        EXPECT_FALSE(empty.admits(QByteArrayView("a@b.com")));
    }
}

TEST(EndingRule, BundledListAcceptsCommonEndings)
{
    corvane::test::TempDataFolder home;
    const AddressFilterList bundled = AddressFilterList::bundled();
    ASSERT_FALSE(bundled.isEmpty());
    for (const char *address :
         {"a@b.com", "a@b.net", "a@b.org", "a@b.edu",   "a@b.gov",    "a@b.info", "a@b.biz",
          "a@b.io",  "a@b.de",  "a@b.fr",  "a@b.co.uk", "a@b.com.au", "a@b.jp",   "a@b.in",
          "a@b.br",  "a@b.za",  "a@b.ru",  "a@b.cn",    "a@b.nz",     "a@b.ch",   "a@b.eu"})
        EXPECT_TRUE(bundled.admits(QByteArrayView(address))) << address;
}

TEST(LeadExtraction, KeepsTheAddressExactlyAsWritten)
{
    Harvest h;
    EXPECT_EQ(h.run("<a href=\"mailto:Bob.Smith@Example.COM\">write</a> to x@y.org."),
              QStringList({"Bob.Smith@Example.COM", "x@y.org"}));
}

TEST(LeadExtraction, DuplicatesAreExactTextComparisons)
{
    Harvest h;
    EXPECT_EQ(h.run("a@b.com a@b.com A@b.com a@B.com"),
              QStringList({"a@b.com", "A@b.com", "a@B.com"}));
    EXPECT_EQ(h.run("a@b.com"), QStringList()) << "a later page does not repeat a lead";
}

TEST(LeadExtraction, ExcludedDomainsAreSubstringsOfTheDomainPart)
{
    Harvest h;
    h.filters.excludedDomains = {QStringLiteral("FIRM")};
    EXPECT_EQ(h.run("a@firm.com b@myfirm.org c@other.net d@x.firm.com"),
              QStringList({"c@other.net"}));

    Harvest dotted;
    dotted.filters.excludedDomains = {QStringLiteral("firm.com")};
    EXPECT_EQ(dotted.run("a@mail.firm.com b@firm.org firm.com@c.net"),
              QStringList({"b@firm.org", "firm.com@c.net"}))
        << "the local part is not looked at";
}

TEST(LeadExtraction, ExcludedTypesMatchTheWholeLocalPart)
{
    Harvest h;
    h.filters.excludedTypes = {QStringLiteral("info")};
    EXPECT_EQ(h.run("info@a.com INFO@b.com info2@c.com xinfo@d.com"),
              QStringList({"info2@c.com", "xinfo@d.com"}));
}

TEST(LeadExtraction, IncludeModeTakesOnlyListedTypes)
{
    Harvest h;
    h.filters.typeMode = EmailTypeMode::Include;
    EXPECT_EQ(h.run("sales@a.com info@b.com"), QStringList())
        << "nothing checked, nothing included";
    h.filters.includedTypes = {QStringLiteral("Sales")};
    EXPECT_EQ(h.run("sales@a.com info@b.com SALES@c.com"),
              QStringList({"sales@a.com", "SALES@c.com"}));

    Harvest none;
    none.filters.typeMode = EmailTypeMode::None;
    EXPECT_EQ(none.run("sales@a.com"), QStringList());
}

TEST(LeadExtraction, LimitCountsTheWholeLeadSet)
{
    Harvest atLimit;
    atLimit.filters.leadLimit = 10;
    for (int i = 0; i < 10; ++i)
        atLimit.leads.add(QStringLiteral("earlier%1@x.com").arg(i));
    EXPECT_EQ(atLimit.run("new@y.com"), QStringList());

    Harvest oneShort;
    oneShort.filters.leadLimit = 10;
    for (int i = 0; i < 9; ++i)
        oneShort.leads.add(QStringLiteral("earlier%1@x.com").arg(i));
    EXPECT_EQ(oneShort.run("new@y.com second@y.com"), QStringList({"new@y.com"}));

    Harvest zero;
    zero.filters.leadLimit = 0;
    EXPECT_EQ(zero.run("a@b.com"), QStringList());
}

TEST(LeadExtraction, OnScreenListRejectsEvenWithAFreshLeadSet)
{
    Harvest h;
    h.run("a@b.com");
    h.leads.clear(); // the leads scan replaced the lead set
    EXPECT_EQ(h.run("a@b.com c@d.com"), QStringList({"c@d.com"}));
}

TEST(LeadExtraction, LeadSetAloneAlsoStopsARepeat)
{
    // A lead removed from the screen but still in the set is not listed again.
    Harvest h;
    h.run("a@b.com");
    h.mailList.clear();
    EXPECT_EQ(h.run("a@b.com"), QStringList());
}

TEST(LeadExtraction, FiltersRunInTheirFixedOrder)
{
    // An address failing the ending rule never reaches the limit or the set.
    Harvest h;
    h.filters.leadLimit = 1;
    EXPECT_EQ(h.run("drop@b.xyz keep@b.com late@b.com"), QStringList({"keep@b.com"}));
    EXPECT_EQ(h.leads.count(), 1);

    // Rejected by domain or type: the lead set does not grow, so the limit is not used up.
    Harvest filtered;
    filtered.filters.leadLimit = 1;
    filtered.filters.excludedDomains = {QStringLiteral("spam")};
    filtered.filters.excludedTypes = {QStringLiteral("noreply")};
    EXPECT_EQ(filtered.run("x@spam.com noreply@b.com ok@b.com"), QStringList({"ok@b.com"}));
}

TEST(LeadExtraction, ContextExtractorUsesTheContextsLeadSet)
{
    AnalysisContext context;
    context.filters.addressFilters = AddressFilterList(QStringLiteral(".com#"));
    PageAnalyser slotGroupA(context);
    PageAnalyser slotGroupB(context);
    EXPECT_EQ(slotGroupA.ExtractEmails(QByteArrayView("a@b.com")), 1);
    EXPECT_EQ(slotGroupB.ExtractEmails(QStringView(u"a@b.com \u00e9c@d.com")), 1);
    EXPECT_EQ(context.lstMailList.texts(), QStringList({"a@b.com", "c@d.com"}));

    // A new lead set (leads scan opened) keeps the on-screen list's protection.
    auto fresh = std::make_shared<LeadSet>();
    context.setLeadSet(fresh);
    EXPECT_EQ(slotGroupA.ExtractEmails(QByteArrayView("a@b.com e@f.com")), 1);
    EXPECT_EQ(fresh->count(), 1);
}
