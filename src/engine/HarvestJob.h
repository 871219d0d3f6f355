#pragma once

#include "common/Result.h"

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

// One entry of `lstEngines`: the text shown and the engine's 1-based number in the
// engine list (the list entry's item data).
struct EngineChoice
{
    QString text;
    int number = 0;
    bool selected = false;
};

// One entry of a multi-select list (`lstURLList`, `lstKeyword`, `lstTaxonomy`).
struct ListChoice
{
    QString text;
    bool selected = false;
};

// The parameters of one harvest run, exactly as the user typed them. The wizard and the
// command line both fill one; nothing here knows about widgets. Texts are kept raw
// (untrimmed) because the checks below define how they are read.
struct HarvestJob
{
    // Search tab.
    SearchType searchType = SearchType::SearchEngines; // `optSearchType`
    QList<EngineChoice> engines;                       // `lstEngines`, filled from the engine list
    QList<ListChoice> urlList;                         // `lstURLList`
    QString url;                                       // `txtURL`

    // Keyword tab.
    QList<ListChoice> keywords; // `lstKeyword`, filled from the keyword catalogue

    // Settings tab: what happens to fetched pages.
    bool buildKnowledgeBase = false; // `chkKB` "Build Knowledge Base"
    QString knowledgeBaseRoot;       // `txtPath`, used only with buildKnowledgeBase
    bool createFavorites = false;    // `chkFavorites` "Create Favorites"
    QList<ListChoice> taxonomy; // `lstTaxonomy` "Knowledge Taxonomy", only with buildKnowledgeBase
    bool excludeEmailExtraction =
        false; // `chkEmail` "Exclude Email Extraction": pages not searched for leads

    // Settings tab: frame "Search Settings". Combo texts; all but the page time-out accept free
    // text.
    QString pageTimeout = QStringLiteral("30"); // `cmbPage` "Page Timeout:" seconds, drop-down only
    QString maxPages = QStringLiteral("100000"); // `cmbSearched` "Maximum Pages Search:"
    QString maxLeads = QStringLiteral("10000");  // `cmbEmail` "Maximum Leads Extraction"
    QString stopAfter = QStringLiteral("60");    // `cmbStop` "Stop Search After:" minutes

    // Settings tab: frame "Proxy Settings".
    QString proxyType = QStringLiteral("Normal Proxy");      // `cmbType` "Type"
    QString proxyHost = QStringLiteral("10.0.0.1");          // `txtProxy` "Proxy:"
    QString proxyPort = QStringLiteral("80");                // `txtPort` "Port:"
    QString proxyUserName = QStringLiteral("Administrator"); // `txtUserName` "User Name:"
    QString proxyPassword = QStringLiteral("guestuser");     // `txtPassword` "Password:"
    bool remoteDns = false;                                  // `chkDNS` "Use remote DNS"

    // Filters tab.
    QStringList excludedDomains;    // `lstDomains` "List of excluded domains"
    QStringList excludedEmailTypes; // `lstEmail` "List of excluded Email Id types"
    QStringList includedEmailTypes; // `lstIncEmail` "List of Email Id types to include"

    // The choices each combo box offers.
    static QStringList pageTimeoutChoices(); // "20" "30" "40" "50" "60"
    static QStringList maxPagesChoices();    // "10000"
    static QStringList maxLeadsChoices();    // "1000" "10000"
    static QStringList stopAfterChoices();   // "20" "30" "60" "90"
    static QStringList
    proxyTypeChoices(); // "No Proxy" "Normal Proxy" "SOCKS4 Proxy" "SOCKS5 Proxy"

    // Selection helpers the crawl uses.
    QList<int> selectedEngineNumbers() const;
    QStringList selectedUrls() const;
    QStringList selectedKeywords() const;
    QStringList selectedTaxonomy() const;
};

// The values copied out of a job once its checks pass; the rest of the run reads these.
struct CapturedJobValues
{
    qint16 pageTimeoutSeconds = 0; // `cmbPage` as a 16-bit integer
    qint32 maxPages = 0;           // `cmbSearched` as a 32-bit integer
    qint32 maxLeads = 0;           // `cmbEmail` as a 32-bit integer
    QString stopAfter;             // `cmbStop`, kept as text
    QString proxyType;
    QString proxyHost;
    qint16 proxyPort = 0; // `txtPort` as a 16-bit integer
    QString proxyUserName;
    QString proxyPassword;
    QString remoteDns; // "0" or "1"

    // What every download and the crawl timer are given: seconds × 1000, 32-bit.
    qint32 pageTimeoutMs() const { return qint32(pageTimeoutSeconds) * 1000; }
};

// What a Next button or Start made of the job. Nothing is shown here: the caller puts
// `message` into its message dialog (or on stderr) and moves to `tab`.
struct JobCheck
{
    enum class Outcome {
        Passed,           // go on to `tab`; `captured` is set when this check copies values
        Refused,          // `message` is the refusal; `tab` is the tab whose field is at fault
        ConversionFailed, // `message` is "Next3->" or "cmdStart->" plus the error text
    };

    Outcome outcome = Outcome::Passed;
    QString message;
    WizardTab tab = WizardTab::Search;
    std::optional<CapturedJobValues> captured;

    bool passed() const { return outcome == Outcome::Passed; }
};

// `cmdNext1`: the search source. On success `tab` is Keyword for search engines, else Settings.
JobCheck checkNext1(const HarvestJob &job);
// `cmdNext2`: the keywords (only search engines need them). On success `tab` is Settings.
JobCheck checkNext2(const HarvestJob &job);
// `cmdNext3`: the limits, without a greater-than-zero test; copies the captured values.
// On success `tab` is Filters.
JobCheck checkNext3(const HarvestJob &job);
// `cmdNext4`: no checks; `tab` is Result.
JobCheck checkNext4(const HarvestJob &job);
// Start validation: every check again, with messages naming the tab, then the capture.
// On success `tab` is Result and `captured` is set.
JobCheck validateStart(const HarvestJob &job);

// Copies the captured values; the error text names the field that would not convert.
Result<CapturedJobValues> captureJobValues(const HarvestJob &job);

// The program's idea of a number: an optional sign, digits, an optional decimal part.
// The text is trimmed first.
bool isNumericText(const QString &text);
// Reads a numeric text as a number; nullopt when isNumericText() says no.
std::optional<double> numericValue(const QString &text);
// Whole-number conversions that round halves to even and fail beyond the type's range.
Result<qint16> toInt16(const QString &text, const QString &fieldName);
Result<qint32> toInt32(const QString &text, const QString &fieldName);

} // namespace corvane
