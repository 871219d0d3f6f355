#include "engine/HarvestJob.h"

#include <gtest/gtest.h>

#include <functional>

using namespace corvane;

namespace {

// Makes job pass every check: one engine, one URL, one keyword selected.
void complete(HarvestJob &job, SearchType type = SearchType::SearchEngines)
{
    job.searchType = type;
    job.engines.setEntries({{QStringLiteral("Engine A"), 1, QStringLiteral("a/"), false},
                            {QStringLiteral("Engine B"), 2, QStringLiteral("b/"), true}});
    job.urlList.setEntries({{QStringLiteral("http://a.example/"), 0, {}, false},
                            {QStringLiteral("http://b.example/"), 0, {}, true}});
    job.url = QStringLiteral("http://c.example/");
    job.keywords.setEntries({{QStringLiteral("widgets"), 0, {}, true}});
}

void expectRefused(const JobCheck &check, const QString &message, WizardTab tab)
{
    EXPECT_EQ(check.outcome, JobCheck::Outcome::Refused) << check.message.toStdString();
    EXPECT_EQ(check.message, message);
    EXPECT_EQ(check.tab, tab);
    EXPECT_FALSE(check.captured.has_value());
}

// Spoils the fields from a given fault onwards; the check must report exactly that fault,
// so every message is checked with all the later faults present as well.
struct Fault
{
    std::function<void(HarvestJob &)> spoil;
    QString message;
    WizardTab tab;
};

void expectFaultOrder(const std::function<void(HarvestJob &)> &prepare,
                      const std::vector<Fault> &faults,
                      const std::function<JobCheck(const HarvestJob &)> &check)
{
    for (size_t first = 0; first < faults.size(); ++first) {
        HarvestJob job;
        prepare(job);
        // Later faults first, so that of two faults in one field the earlier one is left.
        for (size_t i = faults.size(); i-- > first;)
            faults[i].spoil(job);
        SCOPED_TRACE(faults[first].message.toStdString());
        expectRefused(check(job), faults[first].message, faults[first].tab);
    }
    HarvestJob job;
    prepare(job);
    EXPECT_TRUE(check(job).passed());
}

} // namespace

TEST(HarvestJobNext1, EachSourceNeedsItsSelectionAndPicksTheNextTab)
{
    HarvestJob job;
    complete(job);
    job.urlList.clear();
    job.url.clear();
    job.engines.setAllMarked(false);
    expectRefused(checkSearchTab(job),
                  QStringLiteral("Select atleast one search engine from the list."),
                  WizardTab::Search);

    job.searchType = SearchType::SingleUrl;
    job.url = QStringLiteral("  \t ");
    expectRefused(checkSearchTab(job), QStringLiteral("Please enter URL."), WizardTab::Search);

    job.searchType = SearchType::UrlList;
    job.urlList.append(QStringLiteral("http://x.example/"), false);
    expectRefused(checkSearchTab(job), QStringLiteral("Select atleast one URL from the list."),
                  WizardTab::Search);

    for (const auto &[type, tab] : {std::pair{SearchType::SearchEngines, WizardTab::Keyword},
                                    std::pair{SearchType::UrlList, WizardTab::Settings},
                                    std::pair{SearchType::SingleUrl, WizardTab::Settings}}) {
        HarvestJob ready;
        complete(ready, type);
        EXPECT_EQ(checkSearchTab(ready).tab, tab);
    }
    // Only the selected source matters: no engine selected is fine for a single URL.
    HarvestJob single;
    complete(single, SearchType::SingleUrl);
    single.engines.clear();
    single.urlList.clear();
    EXPECT_TRUE(checkSearchTab(single).passed());
}

TEST(HarvestJobNext2, KeywordsMatterOnlyForSearchEngines)
{
    for (SearchType type :
         {SearchType::SearchEngines, SearchType::UrlList, SearchType::SingleUrl}) {
        HarvestJob job;
        complete(job, type);
        job.keywords.setMarked(0, false);
        const JobCheck next2 = checkKeywordTab(job);
        const JobCheck start = validateStart(job);
        if (type == SearchType::SearchEngines) {
            expectRefused(next2, QStringLiteral("Please select desired keywords."),
                          WizardTab::Keyword);
            expectRefused(start,
                          QStringLiteral("Please select desired keywords under keyword tab."),
                          WizardTab::Keyword);
        } else {
            EXPECT_TRUE(next2.passed());
            EXPECT_EQ(next2.tab, WizardTab::Settings);
            EXPECT_TRUE(start.passed()) << start.message.toStdString();
        }
    }
}

TEST(HarvestJobNext3, ReportsOnlyTheFirstFaultInOrder)
{
    const auto prepare = [](HarvestJob &job) {
        complete(job);
        job.buildKnowledgeBase = true;
        job.knowledgeBaseRoot = QStringLiteral("/kb");
    };
    const auto set = [](QString HarvestJob::*field, const char *text) {
        return [field, text](HarvestJob &j) { j.*field = QString::fromLatin1(text); };
    };
    const WizardTab s = WizardTab::Settings;
    expectFaultOrder(
        prepare,
        {
            {set(&HarvestJob::stopAfter, "   "), "Please enter Search duration.", s},
            {set(&HarvestJob::stopAfter, "abc"), "Please enter numeric search duration.", s},
            {set(&HarvestJob::maxPages, ""), "Please enter maximum number of pages to search.", s},
            {set(&HarvestJob::maxPages, "1 0"), "Please enter numeric maximum page count.", s},
            {set(&HarvestJob::maxLeads, " "),
             "Please enter maximum number of Leads to be extracted.", s},
            {set(&HarvestJob::maxLeads, "ten"), "Please enter numeric Leads count.", s},
            {set(&HarvestJob::knowledgeBaseRoot, "  "), "Please select the Knowledge Base folder.",
             s},
        },
        checkSettingsTab);
}

TEST(HarvestJobNext3, AcceptsZeroAndNegativeLimitsThatStartRefuses)
{
    for (const char *text : {"0", "-5"}) {
        HarvestJob job;
        complete(job);
        job.stopAfter = QString::fromLatin1(text);
        job.maxPages = QString::fromLatin1(text);
        const JobCheck next3 = checkSettingsTab(job);
        ASSERT_TRUE(next3.passed()) << next3.message.toStdString();
        EXPECT_EQ(next3.tab, WizardTab::Filters);
        ASSERT_TRUE(next3.captured.has_value());
        EXPECT_EQ(next3.captured->stopAfter, QString::fromLatin1(text));
        EXPECT_EQ(next3.captured->maxPages, QString::fromLatin1(text).toInt());
        expectRefused(
            validateStart(job),
            QStringLiteral("The Search duration should be greater than zero, under settings tab."),
            WizardTab::Settings);
    }
}

TEST(HarvestJobStart, ReportsOnlyTheFirstFaultInOrder)
{
    const auto set = [](QString HarvestJob::*field, const char *text) {
        return [field, text](HarvestJob &j) { j.*field = QString::fromLatin1(text); };
    };
    const auto unselectEngines = [](HarvestJob &j) { j.engines.setAllMarked(false); };
    const auto unselectKeywords = [](HarvestJob &j) { j.keywords.setAllMarked(false); };
    const WizardTab s = WizardTab::Settings;
    const std::vector<Fault> limits = {
        {set(&HarvestJob::stopAfter, ""), "Please enter Search duration under settings tab.", s},
        {set(&HarvestJob::stopAfter, "1h"),
         "Please enter numeric search duration under settings tab.", s},
        {set(&HarvestJob::stopAfter, "-5"),
         "The Search duration should be greater than zero, under settings tab.", s},
        {set(&HarvestJob::maxPages, " "),
         "Please enter maximum number of pages to search under settings tab.", s},
        {set(&HarvestJob::maxPages, "abc"),
         "Please enter numeric maximum page count under settings tab.", s},
        {set(&HarvestJob::maxPages, "0"),
         "The maximum number of pages to be searched should be greater than zero, under settings "
         "tab.",
         s},
        {set(&HarvestJob::maxLeads, ""),
         "Please enter maximum number of Leads to be extracted under settings tab.", s},
        {set(&HarvestJob::maxLeads, "x"), "Please enter numeric Leads count under settings tab.",
         s},
        {set(&HarvestJob::maxLeads, "-0.0"),
         "The maximum number of Leads to be extracted should greater than zero, under settings "
         "tab.",
         s},
        {set(&HarvestJob::knowledgeBaseRoot, ""),
         "Please select the Knowledge Base folder under settings tab.", s},
    };

    // Each source's own checks come first, then the limits.
    const auto expectStartOrder = [&](SearchType type, std::vector<Fault> faults) {
        faults.insert(faults.end(), limits.begin(), limits.end());
        expectFaultOrder(
            [type](HarvestJob &job) {
                complete(job, type);
                job.buildKnowledgeBase = true;
                job.knowledgeBaseRoot = QStringLiteral("/kb");
            },
            faults, validateStart);
    };
    expectStartOrder(
        SearchType::SearchEngines,
        {{unselectEngines, "Select atleast one search engine from the list under search tab.",
          WizardTab::Search},
         {unselectKeywords, "Please select desired keywords under keyword tab.",
          WizardTab::Keyword}});
    expectStartOrder(
        SearchType::UrlList,
        {{[](HarvestJob &j) { j.urlList.setMarked(1, false); },
          "Select atleast one URL from the list under search tab.", WizardTab::Search}});
    expectStartOrder(
        SearchType::SingleUrl,
        {{set(&HarvestJob::url, " "), "Please enter URL under search tab.", WizardTab::Search}});
}

TEST(HarvestJobStart, KnowledgeBaseRootMattersOnlyWhenBuilding)
{
    HarvestJob job;
    complete(job);
    job.knowledgeBaseRoot = QStringLiteral("   ");
    EXPECT_TRUE(validateStart(job).passed());
    EXPECT_TRUE(checkSettingsTab(job).passed());
    job.buildKnowledgeBase = true;
    EXPECT_FALSE(validateStart(job).passed());
    job.knowledgeBaseRoot = QStringLiteral("C:\\KB");
    EXPECT_TRUE(validateStart(job).passed());
}

TEST(HarvestJobCapture, ConversionFailuresNameTheirFieldAndCarryTheOperationLabel)
{
    HarvestJob job;
    complete(job);
    job.proxyPort = QStringLiteral("eighty");
    const JobCheck next3 = checkSettingsTab(job);
    EXPECT_EQ(next3.outcome, JobCheck::Outcome::ConversionFailed);
    EXPECT_EQ(next3.message, QStringLiteral("Next3->Port: \"eighty\" is not a number."));
    EXPECT_FALSE(next3.captured.has_value());
    const JobCheck start = validateStart(job);
    EXPECT_EQ(start.message, QStringLiteral("cmdStart->Port: \"eighty\" is not a number."));
    ASSERT_TRUE(start.conversion.has_value());
    EXPECT_EQ(start.conversion->field, JobField::ProxyPort);
    EXPECT_EQ(start.conversion->detail, QStringLiteral("\"eighty\" is not a number."));

    // Too large for 32 bits passes the numeric checks but not the capture; the fields are
    // converted in table order, so the page limit is named before the bad port.
    job.maxPages = QStringLiteral("2147483648");
    EXPECT_EQ(validateStart(job).message,
              QStringLiteral("cmdStart->Maximum Pages Search: \"2147483648\" is out of range "
                             "(-2147483648 to 2147483647)."));
    job.maxPages = QStringLiteral("2147483647");
    // Every TCP port, and nothing else.
    for (const char *port : {"1", "40000", "65535"}) {
        job.proxyPort = QString::fromLatin1(port);
        EXPECT_TRUE(checkSettingsTab(job).passed()) << port;
    }
    for (const char *port : {"0", "65536"}) {
        job.proxyPort = QString::fromLatin1(port);
        EXPECT_EQ(checkSettingsTab(job).message,
                  QStringLiteral("Next3->Port: \"%1\" is out of range (1 to 65535).").arg(port));
    }
}

TEST(HarvestJobCapture, ConvertsPortCheckBoxAndRoundsHalvesToEven)
{
    HarvestJob job;
    complete(job);
    job.proxyPort = QStringLiteral(" 8080 ");
    job.remoteDns = true;
    job.maxPages = QStringLiteral("2.5");
    job.maxLeads = QStringLiteral("3.5");
    job.pageTimeout = QStringLiteral("60");
    CapturedJobValues v;
    ASSERT_FALSE(captureJobValues(job, v).has_value());
    EXPECT_EQ(v.proxyPort, 8080);
    EXPECT_TRUE(v.remoteDns);
    EXPECT_EQ(v.maxPages, 2);
    EXPECT_EQ(v.maxLeads, 4);
    EXPECT_EQ(v.pageTimeoutMs(), 60000);
    // The largest 16-bit time-out still fits in milliseconds.
    job.pageTimeout = QStringLiteral("32767");
    ASSERT_FALSE(captureJobValues(job, v).has_value());
    EXPECT_EQ(v.pageTimeoutMs(), 32767000);
}

TEST(HarvestJobNumbers, NumericTextIsSignDigitsAndOptionalDecimals)
{
    for (const char *yes : {"0", "12", "+7", "-7", " 42 ", "1.5", "-.5", ".5", "5.", "007"})
        EXPECT_TRUE(isNumericText(QString::fromLatin1(yes))) << yes;
    for (const char *no : {"", " ", "+", "-", ".", "1e3", "1,000", "1.2.3", "--1", "0x10", "1 2",
                           "12a", "inf", "nan", "$5"})
        EXPECT_FALSE(isNumericText(QString::fromLatin1(no))) << no;
    EXPECT_FALSE(isNumericText(QString::fromUtf8("\u0661\u0662"))); // non-ASCII digits
    EXPECT_DOUBLE_EQ(*numericValue(QStringLiteral("-.25")), -0.25);

    EXPECT_EQ(*toInt16(QStringLiteral("-32768"), QStringLiteral("F")), -32768);
    EXPECT_EQ(*toInt16(QStringLiteral("32767.4"), QStringLiteral("F")), 32767);
    EXPECT_FALSE(toInt16(QStringLiteral("32767.5"), QStringLiteral("F")).ok());
    EXPECT_EQ(*toInt32(QStringLiteral("-2147483648"), QStringLiteral("F")),
              std::numeric_limits<qint32>::min());
}

TEST(HarvestJobNumbers, HugeInputIsNumericButNeverConverts)
{
    const QString huge(100000, QLatin1Char('9'));
    EXPECT_TRUE(isNumericText(huge));
    EXPECT_FALSE(toInt32(huge, QStringLiteral("F")).ok());
    HarvestJob job;
    complete(job);
    job.maxLeads = QStringLiteral("-") + huge;
    expectRefused(validateStart(job),
                  QStringLiteral("The maximum number of Leads to be extracted should greater than "
                                 "zero, under settings tab."),
                  WizardTab::Settings);
    job.maxLeads = huge;
    EXPECT_EQ(validateStart(job).outcome, JobCheck::Outcome::ConversionFailed);
}
