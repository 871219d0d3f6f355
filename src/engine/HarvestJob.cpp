#include "engine/HarvestJob.h"

#include "analysis/JunkNames.h"
#include "common/AppSettings.h"

#include <QByteArray>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace corvane {

namespace {

const QString kProfileKey = QStringLiteral("Harvest/Profile");
const QString kProbeKey = QStringLiteral("Connection/ProbeAddress");

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
    CapturedJobValues values;
    if (std::optional<ConversionFailure> failed = captureJobValues(job, values)) {
        JobCheck check;
        check.outcome = JobCheck::Outcome::ConversionFailed;
        check.message = label + fieldCaption(failed->field) + QStringLiteral(": ") + failed->detail;
        check.tab = failTab;
        check.conversion = std::move(failed);
        return check;
    }
    JobCheck check = passTo(nextTab);
    check.captured = std::move(values);
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

// The conversion itself; the error says what is wrong with the text, not which field it is.
template <typename Int>
Result<Int> toInteger(const QString &text, qint64 low = std::numeric_limits<Int>::min(),
                      qint64 high = std::numeric_limits<Int>::max())
{
    const std::optional<double> value = numericValue(text);
    if (!value)
        return fail(QStringLiteral("\"%1\" is not a number.").arg(text.trimmed()));
    // Halves go to the even neighbour, as the default rounding mode does.
    const double rounded = std::nearbyint(*value);
    if (!(rounded >= double(low) && rounded <= double(high)))
        return fail(QStringLiteral("\"%1\" is out of range (%2 to %3).")
                        .arg(text.trimmed())
                        .arg(low)
                        .arg(high));
    return Int(rounded);
}

template <typename Int>
Result<Int> toNamedInteger(const QString &text, const QString &fieldName)
{
    Result<Int> value = toInteger<Int>(text);
    if (!value)
        return fail(fieldName + QStringLiteral(": ") + value.message());
    return value;
}

// Converts one field into target; the failure names the field.
template <typename Int, typename Target>
std::optional<ConversionFailure> convert(JobField field, const QString &text, Target &target,
                                         qint64 low = std::numeric_limits<Int>::min(),
                                         qint64 high = std::numeric_limits<Int>::max())
{
    const Result<Int> value = toInteger<Int>(text, low, high);
    if (!value)
        return ConversionFailure{field, value.message()};
    target = *value;
    return std::nullopt;
}

} // namespace

HarvestJob::HarvestJob()
    : excludedDomains(JobList::MarkShown::AsCheckBox),
      excludedEmailTypes(JobList::MarkShown::AsCheckBox),
      includedEmailTypes(JobList::MarkShown::AsCheckBox),
      junkExtensions(JobList::MarkShown::AsCheckBox)
{
}

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

UserLeadFilters userLeadFilters(const HarvestJob &job)
{
    return {job.excludedDomains.markedTexts(), job.typeMode, job.excludedEmailTypes.markedTexts(),
            job.includedEmailTypes.markedTexts(), job.junkExtensions.markedTexts()};
}

void fillJunkExtensions(JobList &list)
{
    QList<JobListEntry> rows;
    for (const JunkExtension &extension : loadJunkExtensions())
        rows.append(JobListEntry{extension.name, qint32(rows.size() + 1), {}, extension.inForce});
    list.setEntries(rows);
}

std::optional<QString> storeJunkExtensions(const JobList &list)
{
    QList<JunkExtension> extensions;
    for (const JobListEntry &entry : list.entries())
        extensions.append(JunkExtension{entry.text, entry.marked});
    return saveJunkExtensions(extensions);
}

SitePoliteness sitePolitenessOf(const HarvestJob &job)
{
    SitePoliteness polite;
    if (job.profile != CrawlProfile::Modern)
        return polite;
    polite.delayMs = std::clamp(job.siteDelayMs, 0, kMaxSiteDelayMs);
    polite.maxPagesPerSite = std::clamp(job.sitePageCap, 0, kMaxSitePages);
    polite.followCrawlDelay = true;
    polite.backOffWhenBusy = true;
    return polite;
}

void restoreSavedChoices(HarvestJob &job)
{
    const auto settings = openSettings();
    job.profile =
        parseCrawlProfile(settings->value(kProfileKey).toString()).value_or(CrawlProfile::Classic);
    job.probeAddress = settings->value(kProbeKey).toString();
}

void saveChoices(const HarvestJob &job)
{
    const auto settings = openSettings();
    settings->setValue(kProfileKey, crawlProfileName(job.profile));
    settings->setValue(kProbeKey, job.probeAddress.trimmed());
}

QString fieldCaption(JobField field)
{
    switch (field) {
    case JobField::PageTimeout:
        return QStringLiteral("Page Timeout");
    case JobField::MaxPages:
        return QStringLiteral("Maximum Pages Search");
    case JobField::MaxLeads:
        return QStringLiteral("Maximum Leads Extraction");
    case JobField::ProxyPort:
        return QStringLiteral("Port");
    case JobField::ProbeAddress:
        return QStringLiteral("Connection Probe");
    }
    return {};
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
    return toNamedInteger<qint16>(text, fieldName);
}

Result<qint32> toInt32(const QString &text, const QString &fieldName)
{
    return toNamedInteger<qint32>(text, fieldName);
}

std::optional<ConversionFailure> captureJobValues(const HarvestJob &job, CapturedJobValues &values)
{
    if (auto failed =
            convert<qint16>(JobField::PageTimeout, job.pageTimeout, values.pageTimeoutSeconds))
        return failed;
    if (auto failed = convert<qint32>(JobField::MaxPages, job.maxPages, values.maxPages))
        return failed;
    if (auto failed = convert<qint32>(JobField::MaxLeads, job.maxLeads, values.maxLeads))
        return failed;
    values.stopAfter = job.stopAfter;
    values.proxyType = job.proxyType;
    values.proxyHost = job.proxyHost;
    // Any TCP port; the 16-bit signed field of old refused half of them.
    if (auto failed = convert<int>(JobField::ProxyPort, job.proxyPort, values.proxyPort, 1, 65535))
        return failed;
    values.proxyUserName = job.proxyUserName;
    values.proxyPassword = job.proxyPassword;
    values.remoteDns = job.remoteDns;
    return std::nullopt;
}

JobCheck checkSearchTab(const HarvestJob &job)
{
    if (job.searchType == SearchType::SearchEngines && !job.engines.anyMarked())
        return refuse(QStringLiteral("Select atleast one search engine from the list."),
                      WizardTab::Search);
    if (job.searchType == SearchType::SingleUrl && isBlank(job.url))
        return refuse(QStringLiteral("Please enter URL."), WizardTab::Search);
    if (job.searchType == SearchType::UrlList && !job.urlList.anyMarked())
        return refuse(QStringLiteral("Select atleast one URL from the list."), WizardTab::Search);
    // Keywords only matter for search engines; the other sources skip their tab.
    return passTo(job.searchType == SearchType::SearchEngines ? WizardTab::Keyword
                                                              : WizardTab::Settings);
}

JobCheck checkKeywordTab(const HarvestJob &job)
{
    if (job.searchType == SearchType::SearchEngines && !job.keywords.anyMarked())
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

JobCheck checkSettingsTab(const HarvestJob &job)
{
    if (std::optional<JobCheck> refused = checkLimits(job, false))
        return *refused;
    return captureAndPassTo(job, QStringLiteral("Next3->"), WizardTab::Settings,
                            WizardTab::Filters);
}

JobCheck checkFiltersTab(const HarvestJob &)
{
    return passTo(WizardTab::Result);
}

JobCheck validateStart(const HarvestJob &job)
{
    const SearchType type = job.searchType;
    if (type == SearchType::SearchEngines && !job.engines.anyMarked())
        return refuse(
            QStringLiteral("Select atleast one search engine from the list under search tab."),
            WizardTab::Search);
    if (type == SearchType::UrlList && !job.urlList.anyMarked())
        return refuse(QStringLiteral("Select atleast one URL from the list under search tab."),
                      WizardTab::Search);
    if (type == SearchType::SingleUrl && isBlank(job.url))
        return refuse(QStringLiteral("Please enter URL under search tab."), WizardTab::Search);
    if (type == SearchType::SearchEngines && !job.keywords.anyMarked())
        return refuse(QStringLiteral("Please select desired keywords under keyword tab."),
                      WizardTab::Keyword);
    if (std::optional<JobCheck> refused = checkLimits(job, true))
        return *refused;
    return captureAndPassTo(job, QStringLiteral("cmdStart->"), WizardTab::Settings,
                            WizardTab::Result);
}

} // namespace corvane
