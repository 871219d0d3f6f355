#pragma once

#include "analysis/LeadFilters.h"
#include "common/CrawlProfile.h"
#include "common/Result.h"
#include "engine/JobList.h"
#include "engine/SitePoliteness.h"
#include "kb/MailGroupRules.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvane {

// The tabs of the harvest wizard, in the order the Next buttons walk them.
enum class WizardTab { Search = 0, Keyword = 1, Settings = 2, Filters = 3, Result = 4 };

// Where a run starts (`optSearchType`).
enum class SearchType {
    SearchEngines = 0, // "Select Search Engines"
    UrlList = 1,       // "Select URL List"
    SingleUrl = 2,     // "From URL"
};

// The modern profile's settings: the ranges the window's fields and the command line's flags
// both accept.
inline constexpr int kMaxFirstResultPage = 1000;
inline constexpr int kDefaultSiteDelayMs = 250;
inline constexpr int kMaxSiteDelayMs = 60000;
inline constexpr int kMaxSitePages = 1000000;

// The parameters of a harvest, exactly as the user gives them, and live: the harvest window
// edits this object as the user types, the command line fills it from its flags, and the
// crawl reads it at every step and tick (limits, switches, lists). Texts are kept raw
// (untrimmed) because the checks below define how they are read. The lists are models the
// window shows as they are; the crawl takes start URLs out of urlList and unmarks the engine
// it takes.
struct HarvestJob
{
    HarvestJob();
    HarvestJob(const HarvestJob &) = delete;
    HarvestJob &operator=(const HarvestJob &) = delete;

    // Search tab.
    SearchType searchType = SearchType::SearchEngines; // `optSearchType`
    JobList engines; // `lstEngines`: name, engine number, address; marked = selected
    JobList urlList; // `lstURLList`: marked = selected
    QString url;     // `txtURL`

    // Keyword tab.
    JobList keywords;          // `lstKeyword`: keyword and its catalogue number
    MailGroupChoice mailGroup; // `optSearch`, `txtMailGrName`, `cmbSearchList`; the KB's name

    // Settings tab: what happens to fetched pages.
    bool buildKnowledgeBase = false; // `chkKB` "Build Knowledge Base"
    QString knowledgeBaseRoot;       // `txtPath`, used only with buildKnowledgeBase
    bool createFavorites = false;    // `chkFavorites` "Create Favorites"
    JobList taxonomy; // `lstTaxonomy` "Knowledge Taxonomy": term and its catalogue number
    bool excludeEmailExtraction = false; // `chkEmail`: pages are not searched for leads
    QString favoritesFolder;             // where shortcuts go; empty: the user's Favorites

    // Settings tab: frame "Search Settings". Combo texts; all but the page time-out accept free
    // text.
    QString pageTimeout = QStringLiteral("30"); // `cmbPage` "Page Timeout:" seconds, drop-down only
    QString maxPages = QStringLiteral("100000"); // `cmbSearched` "Maximum Pages Search:"
    QString maxLeads = QStringLiteral("10000");  // `cmbEmail` "Maximum Leads Extraction"
    QString stopAfter = QStringLiteral("60");    // `cmbStop` "Stop Search After:" minutes

    // Settings tab: the crawl itself.
    CrawlProfile profile = CrawlProfile::Classic; // `cmbProfile`
    QString probeAddress;                         // `txtProbe`; empty: the configured probe address
    // Modern profile only (the classic one keeps its own pace and starts at page 1).
    int firstResultPage = 1;               // `txtFirstPage`: each keyword's first result page
    int siteDelayMs = kDefaultSiteDelayMs; // `txtDelay`: least time between requests to a site
    int sitePageCap = 0;                   // `txtSitePages`: pages per site; 0: no cap

    // Settings tab: frame "Proxy Settings". The fields count only once chosen: the window's
    // factory values are an example until the user opens the frame.
    bool proxyChosen = false;
    QString proxyType = QStringLiteral("Normal Proxy");      // `cmbType` "Type"
    QString proxyHost = QStringLiteral("10.0.0.1");          // `txtProxy` "Proxy:"
    QString proxyPort = QStringLiteral("80");                // `txtPort` "Port:"
    QString proxyUserName = QStringLiteral("Administrator"); // `txtUserName` "User Name:"
    QString proxyPassword = QStringLiteral("guestuser");     // `txtPassword` "Password:"
    bool remoteDns = false;                                  // `chkDNS` "Use remote DNS"

    // Filters tab: check-box lists; only checked entries count.
    JobList excludedDomains;                         // `lstDomains` "List of excluded domains"
    EmailTypeMode typeMode = EmailTypeMode::Exclude; // `optExclude`
    JobList excludedEmailTypes;                      // `lstEmail` "List of excluded Email Id types"
    JobList includedEmailTypes; // `lstIncEmail` "List of Email Id types to include"
    // `lstJunk`: file extensions the modern profile's junk filter drops; kept in the data
    // folder (fillJunkExtensions, storeJunkExtensions).
    JobList junkExtensions;

    // The choices each combo box offers.
    static QStringList pageTimeoutChoices(); // "20" "30" "40" "50" "60"
    static QStringList maxPagesChoices();    // "10000"
    static QStringList maxLeadsChoices();    // "1000" "10000"
    static QStringList stopAfterChoices();   // "20" "30" "60" "90"
    static QStringList
    proxyTypeChoices(); // "No Proxy" "Normal Proxy" "SOCKS4 Proxy" "SOCKS5 Proxy"
};

// The filters the job's lists and options choose right now: checked entries only.
UserLeadFilters userLeadFilters(const HarvestJob &job);

// The junk-extension list from the data folder (or the bundled one) into list; and back into
// the data folder's copy, which then replaces the bundled list (the reason when it cannot be
// written).
void fillJunkExtensions(JobList &list);
std::optional<QString> storeJunkExtensions(const JobList &list);

// What the downloader is told for a run of the job: nothing under the classic profile; under
// the modern one the job's delay and page cap, robots.txt's Crawl-delay and backing off from
// busy sites.
SitePoliteness sitePolitenessOf(const HarvestJob &job);

// The profile and probe address a desktop user chose last time, kept in the settings.
void restoreSavedChoices(HarvestJob &job);
void saveChoices(const HarvestJob &job);

// The fields whose text is converted before a run.
enum class JobField { PageTimeout, MaxPages, MaxLeads, ProxyPort, ProbeAddress };

// The values copied out of a job once its checks pass.
struct CapturedJobValues
{
    qint16 pageTimeoutSeconds = 0; // `cmbPage` as a 16-bit integer
    qint32 maxPages = 0;           // `cmbSearched` as a 32-bit integer
    qint32 maxLeads = 0;           // `cmbEmail` as a 32-bit integer
    QString stopAfter;             // `cmbStop`, kept as text
    QString proxyType;
    QString proxyHost;
    int proxyPort = 0; // `txtPort`, 1 to 65535
    QString proxyUserName;
    QString proxyPassword;
    bool remoteDns = false;

    // What every download and the crawl timer are given: seconds × 1000, 32-bit.
    qint32 pageTimeoutMs() const { return qint32(pageTimeoutSeconds) * 1000; }
};

// A field whose text would not convert: which one, and why in words that name no control
// ("\"70000\" is out of range (1 to 65535).").
struct ConversionFailure
{
    JobField field = JobField::PageTimeout;
    QString detail;
};

// What a Next button or Start made of the job. Nothing is shown here: the caller puts
// `message` into its message dialog (or on stderr) and moves to `tab`.
struct JobCheck
{
    enum class Outcome {
        Passed,           // go on to `tab`; `captured` is set when this check copies values
        Refused,          // `message` is the refusal; `tab` is the tab whose field is at fault
        ConversionFailed, // `message` is "Next3->" or "cmdStart->", the field's caption and
                          // the conversion's detail; `conversion` says which field
    };

    Outcome outcome = Outcome::Passed;
    QString message;
    WizardTab tab = WizardTab::Search;
    std::optional<CapturedJobValues> captured;
    std::optional<ConversionFailure> conversion;

    bool passed() const { return outcome == Outcome::Passed; }
};

// `cmdNext1`: the search source. On success `tab` is Keyword for search engines, else Settings.
JobCheck checkSearchTab(const HarvestJob &job);
// `cmdNext2`: the keywords (only search engines need them). On success `tab` is Settings.
JobCheck checkKeywordTab(const HarvestJob &job);
// `cmdNext3`: the limits, without a greater-than-zero test; copies the captured values.
// On success `tab` is Filters.
JobCheck checkSettingsTab(const HarvestJob &job);
// `cmdNext4`: no checks; `tab` is Result.
JobCheck checkFiltersTab(const HarvestJob &job);
// Start validation: every check again, with messages naming the tab, then the capture.
// On success `tab` is Result and `captured` is set.
JobCheck validateStart(const HarvestJob &job);

// Copies the captured values; a field that would not convert is named in the failure.
std::optional<ConversionFailure> captureJobValues(const HarvestJob &job, CapturedJobValues &values);
// The caption a conversion failure names its field by ("Port", "Maximum Pages Search", ...).
QString fieldCaption(JobField field);

// The program's idea of a number: an optional sign, digits, an optional decimal part.
// The text is trimmed first.
bool isNumericText(const QString &text);
// Reads a numeric text as a number; nullopt when isNumericText() says no.
std::optional<double> numericValue(const QString &text);
// Whole-number conversions that round halves to even and fail beyond the type's range; the
// message starts with fieldName.
Result<qint16> toInt16(const QString &text, const QString &fieldName);
Result<qint32> toInt32(const QString &text, const QString &fieldName);

} // namespace corvane
