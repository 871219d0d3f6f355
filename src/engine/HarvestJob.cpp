#include "engine/HarvestJob.h"

#include <QByteArray>

#include <charconv>
#include <cmath>
#include <limits>

namespace corvane {

namespace {

template <typename Item>
bool anySelected(const QList<Item> &items)
{
    for (const Item &item : items)
        if (item.selected)
            return true;
    return false;
}

QStringList selectedTexts(const QList<ListChoice> &items)
{
    QStringList texts;
    for (const ListChoice &item : items)
        if (item.selected)
            texts << item.text;
    return texts;
}

bool isBlank(const QString &text)
{
    return text.trimmed().isEmpty();
}

bool greaterThanZero(const QString &text)
{
    const std::optional<double> value = numericValue(text);
    return value && *value > 0;
}

JobCheck refuse(const QString &message, WizardTab tab)
{
    JobCheck check;
    check.outcome = JobCheck::Outcome::Refused;
    check.message = message;
    check.tab = tab;
    return check;
}

JobCheck passTo(WizardTab tab)
{
    JobCheck check;
    check.tab = tab;
    return check;
}

// Copies the captured values on success; a conversion failure is reported under label.
JobCheck captureAndPassTo(const HarvestJob &job, const QString &label, WizardTab failTab,
                          WizardTab nextTab)
{
    Result<CapturedJobValues> captured = captureJobValues(job);
    if (!captured) {
        JobCheck check;
        check.outcome = JobCheck::Outcome::ConversionFailed;
        check.message = label + captured.message();
        check.tab = failTab;
        return check;
    }
    JobCheck check = passTo(nextTab);
    check.captured = std::move(captured).value();
    return check;
}

// One limit field of the settings tab as the Next button and Start test it.
struct LimitField
{
    const QString *text;
    const char *emptyMessage;
    const char *notNumericMessage;
    const char *notPositiveMessage; // Start only
};

template <typename Int>
Result<Int> toInteger(const QString &text, const QString &fieldName)
{
    const std::optional<double> value = numericValue(text);
    if (!value)
        return fail(QStringLiteral("%1: \"%2\" is not a number.").arg(fieldName, text.trimmed()));
    // Halves go to the even neighbour, as the default rounding mode does.
    const double rounded = std::nearbyint(*value);
    constexpr double low = double(std::numeric_limits<Int>::min());
    constexpr double high = double(std::numeric_limits<Int>::max());
    if (!(rounded >= low && rounded <= high))
        return fail(QStringLiteral("%1: \"%2\" is out of range (%3 to %4).")
                        .arg(fieldName, text.trimmed())
                        .arg(qint64(low))
                        .arg(qint64(high)));
    return Int(rounded);
}

} // namespace

QStringList HarvestJob::pageTimeoutChoices()
{
    return {QStringLiteral("20"), QStringLiteral("30"), QStringLiteral("40"), QStringLiteral("50"),
            QStringLiteral("60")};
}

QStringList HarvestJob::maxPagesChoices()
{
    return {QStringLiteral("10000")};
}

QStringList HarvestJob::maxLeadsChoices()
{
    return {QStringLiteral("1000"), QStringLiteral("10000")};
}

QStringList HarvestJob::stopAfterChoices()
{
    return {QStringLiteral("20"), QStringLiteral("30"), QStringLiteral("60"), QStringLiteral("90")};
}

QStringList HarvestJob::proxyTypeChoices()
{
    return {QStringLiteral("No Proxy"), QStringLiteral("Normal Proxy"),
            QStringLiteral("SOCKS4 Proxy"), QStringLiteral("SOCKS5 Proxy")};
}

QList<int> HarvestJob::selectedEngineNumbers() const
{
    QList<int> numbers;
    for (const EngineChoice &engine : engines)
        if (engine.selected)
            numbers << engine.number;
    return numbers;
}

QStringList HarvestJob::selectedUrls() const
{
    return selectedTexts(urlList);
}

QStringList HarvestJob::selectedKeywords() const
{
    return selectedTexts(keywords);
}

QStringList HarvestJob::selectedTaxonomy() const
{
    return selectedTexts(taxonomy);
}

bool isNumericText(const QString &text)
{
    return numericValue(text).has_value();
}

std::optional<double> numericValue(const QString &text)
{
    const QString trimmed = text.trimmed();
    qsizetype i = 0;
    const qsizetype n = trimmed.size();
    bool negative = false;
    if (i < n && (trimmed[i] == u'+' || trimmed[i] == u'-')) {
        negative = trimmed[i] == u'-';
        ++i;
    }
    const qsizetype numberStart = i;
    qsizetype digits = 0;
    bool point = false;
    for (; i < n; ++i) {
        const QChar c = trimmed[i];
        if (c >= u'0' && c <= u'9')
            ++digits;
        else if (c == u'.' && !point)
            point = true;
        else
            return std::nullopt;
    }
    if (digits == 0)
        return std::nullopt;

    // Only ASCII digits and one point are left, so the conversion cannot depend on the locale.
    const QByteArray ascii = trimmed.mid(numberStart).toLatin1();
    double value = 0;
    const auto [end, error] = std::from_chars(ascii.constData(), ascii.constData() + ascii.size(),
                                              value, std::chars_format::fixed);
    Q_UNUSED(end);
    if (error == std::errc::result_out_of_range)
        value = std::numeric_limits<double>::infinity();
    else if (error != std::errc())
        return std::nullopt;
    return negative ? -value : value;
}

Result<qint16> toInt16(const QString &text, const QString &fieldName)
{
    return toInteger<qint16>(text, fieldName);
}

Result<qint32> toInt32(const QString &text, const QString &fieldName)
{
    return toInteger<qint32>(text, fieldName);
}

Result<CapturedJobValues> captureJobValues(const HarvestJob &job)
{
    CapturedJobValues values;

    const Result<qint16> pageTimeout = toInt16(job.pageTimeout, QStringLiteral("Page Timeout"));
    if (!pageTimeout)
        return pageTimeout.error();
    values.pageTimeoutSeconds = *pageTimeout;

    const Result<qint32> maxPages = toInt32(job.maxPages, QStringLiteral("Maximum Pages Search"));
    if (!maxPages)
        return maxPages.error();
    values.maxPages = *maxPages;

    const Result<qint32> maxLeads =
        toInt32(job.maxLeads, QStringLiteral("Maximum Leads Extraction"));
    if (!maxLeads)
        return maxLeads.error();
    values.maxLeads = *maxLeads;

    values.stopAfter = job.stopAfter;
    values.proxyType = job.proxyType;
    values.proxyHost = job.proxyHost;

    const Result<qint16> port = toInt16(job.proxyPort, QStringLiteral("Port"));
    if (!port)
        return port.error();
    values.proxyPort = *port;

    values.proxyUserName = job.proxyUserName;
    values.proxyPassword = job.proxyPassword;
    values.remoteDns = job.remoteDns ? QStringLiteral("1") : QStringLiteral("0");
    return values;
}

JobCheck checkNext1(const HarvestJob &job)
{
    if (job.searchType == SearchType::SearchEngines && !anySelected(job.engines))
        return refuse(QStringLiteral("Select atleast one search engine from the list."),
                      WizardTab::Search);
    if (job.searchType == SearchType::SingleUrl && isBlank(job.url))
        return refuse(QStringLiteral("Please enter URL."), WizardTab::Search);
    if (job.searchType == SearchType::UrlList && !anySelected(job.urlList))
        return refuse(QStringLiteral("Select atleast one URL from the list."), WizardTab::Search);
    // Keywords only matter for search engines; the other sources skip their tab.
    return passTo(job.searchType == SearchType::SearchEngines ? WizardTab::Keyword
                                                              : WizardTab::Settings);
}

JobCheck checkNext2(const HarvestJob &job)
{
    if (job.searchType == SearchType::SearchEngines && !anySelected(job.keywords))
        return refuse(QStringLiteral("Please select desired keywords."), WizardTab::Keyword);
    return passTo(WizardTab::Settings);
}

namespace {

QList<LimitField> limitFields(const HarvestJob &job, bool atStart)
{
    if (atStart)
        return {
            {&job.stopAfter, "Please enter Search duration under settings tab.",
             "Please enter numeric search duration under settings tab.",
             "The Search duration should be greater than zero, under settings tab."},
            {&job.maxPages, "Please enter maximum number of pages to search under settings tab.",
             "Please enter numeric maximum page count under settings tab.",
             "The maximum number of pages to be searched should be greater than zero, under "
             "settings tab."},
            {&job.maxLeads,
             "Please enter maximum number of Leads to be extracted under settings tab.",
             "Please enter numeric Leads count under settings tab.",
             "The maximum number of Leads to be extracted should greater than zero, under "
             "settings tab."},
        };
    return {
        {&job.stopAfter, "Please enter Search duration.", "Please enter numeric search duration.",
         nullptr},
        {&job.maxPages, "Please enter maximum number of pages to search.",
         "Please enter numeric maximum page count.", nullptr},
        {&job.maxLeads, "Please enter maximum number of Leads to be extracted.",
         "Please enter numeric Leads count.", nullptr},
    };
}

// The limit checks shared by the settings tab's Next button and Start; Start alone also
// insists on numbers above zero.
std::optional<JobCheck> checkLimits(const HarvestJob &job, bool atStart)
{
    for (const LimitField &field : limitFields(job, atStart)) {
        if (isBlank(*field.text))
            return refuse(QString::fromLatin1(field.emptyMessage), WizardTab::Settings);
        if (!isNumericText(*field.text))
            return refuse(QString::fromLatin1(field.notNumericMessage), WizardTab::Settings);
        if (field.notPositiveMessage && !greaterThanZero(*field.text))
            return refuse(QString::fromLatin1(field.notPositiveMessage), WizardTab::Settings);
    }
    if (job.buildKnowledgeBase && isBlank(job.knowledgeBaseRoot))
        return refuse(
            atStart ? QStringLiteral("Please select the Knowledge Base folder under settings tab.")
                    : QStringLiteral("Please select the Knowledge Base folder."),
            WizardTab::Settings);
    return std::nullopt;
}

} // namespace

JobCheck checkNext3(const HarvestJob &job)
{
    if (std::optional<JobCheck> refused = checkLimits(job, false))
        return *refused;
    return captureAndPassTo(job, QStringLiteral("Next3->"), WizardTab::Settings,
                            WizardTab::Filters);
}

JobCheck checkNext4(const HarvestJob &)
{
    return passTo(WizardTab::Result);
}

JobCheck validateStart(const HarvestJob &job)
{
    const SearchType type = job.searchType;
    if (type == SearchType::SearchEngines && !anySelected(job.engines))
        return refuse(
            QStringLiteral("Select atleast one search engine from the list under search tab."),
            WizardTab::Search);
    if (type == SearchType::UrlList && !anySelected(job.urlList))
        return refuse(QStringLiteral("Select atleast one URL from the list under search tab."),
                      WizardTab::Search);
    if (type == SearchType::SingleUrl && isBlank(job.url))
        return refuse(QStringLiteral("Please enter URL under search tab."), WizardTab::Search);
    if (type == SearchType::SearchEngines && !anySelected(job.keywords))
        return refuse(QStringLiteral("Please select desired keywords under keyword tab."),
                      WizardTab::Keyword);
    if (std::optional<JobCheck> refused = checkLimits(job, true))
        return *refused;
    return captureAndPassTo(job, QStringLiteral("cmdStart->"), WizardTab::Settings,
                            WizardTab::Result);
}

} // namespace corvane
