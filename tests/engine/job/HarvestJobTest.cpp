#include "engine/HarvestJob.h"

#include <gtest/gtest.h>

#include <functional>

using namespace corvane;

namespace {

// A job that passes every check: one engine, one URL, one keyword selected.
HarvestJob completeJob(SearchType type = SearchType::SearchEngines)
{
    HarvestJob job;
    job.searchType = type;
    job.engines = {{QStringLiteral("Engine A"), 1, false}, {QStringLiteral("Engine B"), 2, true}};
    job.urlList = {{QStringLiteral("http://a.example/"), false},
                   {QStringLiteral("http://b.example/"), true}};
    job.url = QStringLiteral("http://c.example/");
    job.keywords = {{QStringLiteral("widgets"), true}};
    return job;
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

void expectFaultOrder(const HarvestJob &base, const std::vector<Fault> &faults,
                      const std::function<JobCheck(const HarvestJob &)> &check)
{
    for (size_t first = 0; first < faults.size(); ++first) {
        HarvestJob job = base;
        // Later faults first, so that of two faults in one field the earlier one is left.
        for (size_t i = faults.size(); i-- > first;)
            faults[i].spoil(job);
        SCOPED_TRACE(faults[first].message.toStdString());
        expectRefused(check(job), faults[first].message, faults[first].tab);
    }
    EXPECT_TRUE(check(base).passed());
}

} // namespace

TEST(HarvestJob, DefaultJobPassesAndCapturesTheDefaults)
{
    const JobCheck check = validateStart(completeJob());
    ASSERT_TRUE(check.passed()) << check.message.toStdString();
    EXPECT_EQ(check.tab, WizardTab::Result);
    ASSERT_TRUE(check.captured.has_value());
    const CapturedJobValues &v = *check.captured;
    EXPECT_EQ(v.pageTimeoutSeconds, 30);
    EXPECT_EQ(v.pageTimeoutMs(), 30000);
    EXPECT_EQ(v.maxPages, 100000);
    EXPECT_EQ(v.maxLeads, 10000);
    EXPECT_EQ(v.stopAfter, QStringLiteral("60"));
    EXPECT_EQ(v.proxyType, QStringLiteral("Normal Proxy"));
    EXPECT_EQ(v.proxyHost, QStringLiteral("10.0.0.1"));
    EXPECT_EQ(v.proxyPort, 80);
    EXPECT_EQ(v.proxyUserName, QStringLiteral("Administrator"));
    EXPECT_EQ(v.proxyPassword, QStringLiteral("guestuser"));
    EXPECT_EQ(v.remoteDns, QStringLiteral("0"));
    // The drop-down's start-up choice must be one it offers.
    EXPECT_TRUE(HarvestJob::pageTimeoutChoices().contains(HarvestJob{}.pageTimeout));
    EXPECT_TRUE(HarvestJob::proxyTypeChoices().contains(HarvestJob{}.proxyType));
}

TEST(HarvestJobNext1, EachSourceNeedsItsSelectionAndPicksTheNextTab)
{
    HarvestJob job = completeJob();
    job.urlList.clear();
    job.url.clear();
    for (EngineChoice &e : job.engines)
        e.selected = false;
    expectRefused(checkNext1(job),
                  QStringLiteral("Select atleast one search engine from the list."),
                  WizardTab::Search);

    job.searchType = SearchType::SingleUrl;
    job.url = QStringLiteral("  \t ");
    expectRefused(checkNext1(job), QStringLiteral("Please enter URL."), WizardTab::Search);

    job.searchType = SearchType::UrlList;
    job.urlList = {{QStringLiteral("http://x.example/"), false}};
    expectRefused(checkNext1(job), QStringLiteral("Select atleast one URL from the list."),
                  WizardTab::Search);

    EXPECT_EQ(checkNext1(completeJob(SearchType::SearchEngines)).tab, WizardTab::Keyword);
    EXPECT_EQ(checkNext1(completeJob(SearchType::UrlList)).tab, WizardTab::Settings);
    EXPECT_EQ(checkNext1(completeJob(SearchType::SingleUrl)).tab, WizardTab::Settings);
    // Only the selected source matters: no engine selected is fine for a single URL.
    HarvestJob single = completeJob(SearchType::SingleUrl);
    single.engines.clear();
    single.urlList.clear();
    EXPECT_TRUE(checkNext1(single).passed());
}

TEST(HarvestJobNext2, KeywordsMatterOnlyForSearchEngines)
{
    for (SearchType type :
         {SearchType::SearchEngines, SearchType::UrlList, SearchType::SingleUrl}) {
        HarvestJob job = completeJob(type);
        job.keywords[0].selected = false;
        const JobCheck next2 = checkNext2(job);
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
    HarvestJob job = completeJob();
    job.buildKnowledgeBase = true;
    job.knowledgeBaseRoot = QStringLiteral("/kb");
    const auto set = [](QString HarvestJob::*field, const char *text) {
        return [field, text](HarvestJob &j) { j.*field = QString::fromLatin1(text); };
    };
    const WizardTab s = WizardTab::Settings;
    expectFaultOrder(
        job,
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
        checkNext3);
}

TEST(HarvestJobNext3, AcceptsZeroAndNegativeLimitsThatStartRefuses)
{
    for (const char *text : {"0", "-5"}) {
        HarvestJob job = completeJob();
        job.stopAfter = QString::fromLatin1(text);
        job.maxPages = QString::fromLatin1(text);
        const JobCheck next3 = checkNext3(job);
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
    const auto unselectEngines = [](HarvestJob &j) {
        for (EngineChoice &e : j.engines)
            e.selected = false;
    };
    const auto unselectKeywords = [](HarvestJob &j) {
        for (ListChoice &k : j.keywords)
            k.selected = false;
    };
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
        HarvestJob job = completeJob(type);
        job.buildKnowledgeBase = true;
        job.knowledgeBaseRoot = QStringLiteral("/kb");
        faults.insert(faults.end(), limits.begin(), limits.end());
        expectFaultOrder(job, faults, validateStart);
    };
    expectStartOrder(
        SearchType::SearchEngines,
        {{unselectEngines, "Select atleast one search engine from the list under search tab.",
          WizardTab::Search},
         {unselectKeywords, "Please select desired keywords under keyword tab.",
          WizardTab::Keyword}});
    expectStartOrder(
        SearchType::UrlList,
        {{[](HarvestJob &j) { j.urlList[1].selected = false; },
          "Select atleast one URL from the list under search tab.", WizardTab::Search}});
    expectStartOrder(
        SearchType::SingleUrl,
        {{set(&HarvestJob::url, " "), "Please enter URL under search tab.", WizardTab::Search}});
}

TEST(HarvestJobStart, KnowledgeBaseRootMattersOnlyWhenBuilding)
{
    HarvestJob job = completeJob();
    job.knowledgeBaseRoot = QStringLiteral("   ");
    EXPECT_TRUE(validateStart(job).passed());
    EXPECT_TRUE(checkNext3(job).passed());
    job.buildKnowledgeBase = true;
    EXPECT_FALSE(validateStart(job).passed());
    job.knowledgeBaseRoot = QStringLiteral("C:\\KB");
    EXPECT_TRUE(validateStart(job).passed());
}

TEST(HarvestJobCapture, ConversionFailuresCarryTheOperationLabel)
{
    HarvestJob job = completeJob();
    job.proxyPort = QStringLiteral("eighty");
    const JobCheck next3 = checkNext3(job);
    EXPECT_EQ(next3.outcome, JobCheck::Outcome::ConversionFailed);
    EXPECT_EQ(next3.message, QStringLiteral("Next3->Port: \"eighty\" is not a number."));
    EXPECT_FALSE(next3.captured.has_value());
    const JobCheck start = validateStart(job);
    EXPECT_EQ(start.outcome, JobCheck::Outcome::ConversionFailed);
    EXPECT_EQ(start.message, QStringLiteral("cmdStart->Port: \"eighty\" is not a number."));

    // Too large for 32 bits passes the numeric checks but not the capture; the fields are
    // converted in table order, so the page limit is named before the bad port.
    job.maxPages = QStringLiteral("2147483648");
    EXPECT_EQ(validateStart(job).message,
              QStringLiteral("cmdStart->Maximum Pages Search: \"2147483648\" is out of range "
                             "(-2147483648 to 2147483647)."));
    job.maxPages = QStringLiteral("2147483647");
    job.proxyPort = QStringLiteral("65535"); // a real port, but not a 16-bit signed integer
    EXPECT_EQ(checkNext3(job).message,
              QStringLiteral("Next3->Port: \"65535\" is out of range (-32768 to 32767)."));
    job.proxyPort.clear();
    EXPECT_EQ(checkNext3(job).message, QStringLiteral("Next3->Port: \"\" is not a number."));
}

TEST(HarvestJobCapture, ConvertsPortCheckBoxAndRoundsHalvesToEven)
{
    HarvestJob job = completeJob();
    job.proxyPort = QStringLiteral(" 8080 ");
    job.remoteDns = true;
    job.maxPages = QStringLiteral("2.5");
    job.maxLeads = QStringLiteral("3.5");
    job.pageTimeout = QStringLiteral("60");
    const Result<CapturedJobValues> v = captureJobValues(job);
    ASSERT_TRUE(v.ok()) << v.message().toStdString();
    EXPECT_EQ(v->proxyPort, 8080);
    EXPECT_EQ(v->remoteDns, QStringLiteral("1"));
    EXPECT_EQ(v->maxPages, 2);
    EXPECT_EQ(v->maxLeads, 4);
    EXPECT_EQ(v->pageTimeoutMs(), 60000);
    // The largest 16-bit time-out still fits in milliseconds.
    job.pageTimeout = QStringLiteral("32767");
    EXPECT_EQ(captureJobValues(job)->pageTimeoutMs(), 32767000);
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
    HarvestJob job = completeJob();
    job.maxLeads = QStringLiteral("-") + huge;
    expectRefused(validateStart(job),
                  QStringLiteral("The maximum number of Leads to be extracted should greater than "
                                 "zero, under settings tab."),
                  WizardTab::Settings);
    job.maxLeads = huge;
    EXPECT_EQ(validateStart(job).outcome, JobCheck::Outcome::ConversionFailed);
}
