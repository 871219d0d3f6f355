#pragma once

#include "common/CrawlProfile.h"
#include "common/Result.h"
#include "common/TimerSource.h"
#include "leads/LeadRecords.h"
#include "scan/LeadSheetLoader.h"
#include "verify/DnsMessage.h"
#include "verify/ElapsedClock.h"
#include "verify/MxQuery.h"

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QStringList>

#include <deque>
#include <memory>
#include <vector>

namespace corvane {

class LeadDatabase;

// The leads verifier behind the "Leads Verifier" window: a list of pending addresses,
// checked one after another for a mail exchanger of their domain, with the valid ones,
// their count and an elapsed-time clock. Each decided address is appended to the
// verified or unverified record file as soon as it is decided, and its answer (valid or not,
// the preferred mail exchanger, when) to the lead database of the data folder.
//
// classic asks about one address at a time, exactly as the original tool did. modern keeps
// up to 64 questions in flight, asks once per distinct domain and decides the addresses in
// list order all the same, so both profiles give the same lists and files.
class LeadVerifier : public QObject
{
    Q_OBJECT
public:
    static constexpr int kStepIntervalMs = 10000;
    static constexpr int kModernInFlight = 64;
    static inline const QString kCompletedMessage =
        QStringLiteral("Corvane has completed Email-ID verification.");
    static inline const QString kEmptyListMessage =
        QStringLiteral("Please enter EmailIDs to verify.");
    static inline const QString kNoServerMessage = QStringLiteral("Please enter a DNS server.");

    explicit LeadVerifier(TimerSource &timers = RealTimerSource::instance(),
                          CrawlProfile profile = CrawlProfile::Classic, QObject *parent = nullptr);
    ~LeadVerifier() override;

    // The server asked for every address ("HOST", "HOST:PORT", "[IPv6]:PORT"); starts as
    // the machine's configured DNS server.
    void setDnsServer(const QString &server) { m_serverText = server; }
    const QString &dnsServer() const { return m_serverText; }

    // Appends the leads of a lead file or sheet (ReadWorkbook) to the pending list; returns
    // how many it held. An empty path does nothing. For the command line.
    Result<int> fetch(const QString &leadFile);
    // The same, read on a worker thread for the window: fetchProgress while reading, then
    // fetched (leads appended) or fetchFailed. An empty path does nothing.
    void startFetch(const QString &leadFile);
    bool isFetching() const { return m_loader.isLoading(); }
    void addLeads(const QStringList &addresses);

    // Starts (or resumes) the run. Fails with kEmptyListMessage when nothing is pending, or
    // when the DNS server text is not usable; nothing changes then.
    Result<void> verify();
    // Ends the run after nothing more than the question in flight is dropped; the clock
    // stops and the pending addresses stay for the next verify().
    void stop();

    bool isRunning() const { return m_running; }
    CrawlProfile profile() const { return m_profile; }
    QStringList pending() const;
    int pendingCount() const { return int(m_pending.size()); }
    const QStringList &valid() const { return m_valid; }
    int validCount() const { return int(m_valid.size()); }
    const QStringList &exchangers() const { return m_exchangers; }
    const ElapsedClock &clock() const { return m_clock; }
    // Questions sent over the wire so far, for tests and measurements.
    int queriesSent() const { return m_queriesSent; }

signals:
    void fetchProgress(int rowsRead);
    void fetched(int leads);
    void fetchFailed(const QString &message);
    void pendingCountChanged(int count);
    // An address left the pending list with its verdict (not for an unchecked repeat).
    void leadChecked(const QString &address, bool valid);
    void validCountChanged(int count);
    // The exchangers found for the address being checked (the window's exchanger list).
    void exchangersChanged(const QStringList &exchangers);
    void clockChanged(int hours, int minutes, int seconds);
    void runningChanged(bool running);
    void completed(const QString &message);
    // Something went wrong that the user should hear of (a result file that cannot be
    // written, a DNS server name that does not resolve); the run itself says what it did.
    void problem(const QString &message);

private:
    void pump();
    bool stepOnce();
    void beginStep();
    void decideHead(const modDNS::MxAnswer &answer);
    void askAhead();
    void ask(const QString &domainKey, const QString &domain);
    void queryFinished(const QString &domain, const modDNS::MxAnswer &answer);
    void complete();
    void setRunning(bool running);
    void abortQueries();
    void flushRecords();
    void recordAnswers();
    void popHead();
    bool isValid(const modDNS::MxAnswer &answer) const;
    void serverLookedUp(const QList<QHostAddress> &addresses, const QString &host);

    TimerSource &m_timers;
    CrawlProfile m_profile;
    LeadSheetLoader m_loader;
    std::unique_ptr<Timer> m_stepTimer;
    std::unique_ptr<Timer> m_displayTimer;

    QString m_serverText;
    QHostAddress m_serverAddress;
    quint16 m_serverPort = modDNS::kDefaultPort;
    bool m_resolvingServer = false;
    int m_lookupId = -1;

    std::deque<QString> m_pending;
    // How far ahead of the head modern has looked for domains to ask about.
    size_t m_scanned = 0;
    QString m_lastAddress;
    bool m_headStepped = false;
    QStringList m_valid;
    QStringList m_exchangers;
    ElapsedClock m_clock;

    // Answers by domain (letter case folded). classic drops each one once used.
    QHash<QString, modDNS::MxAnswer> m_answers;
    QHash<QString, MxQuery *> m_inFlight;
    int m_queriesSent = 0;

    QStringList m_verifiedBuffer;
    QStringList m_unverifiedBuffer;
    std::vector<Verification> m_answerBuffer;
    // Opened when the first answer is recorded.
    std::unique_ptr<LeadDatabase> m_database;
    bool m_writeProblemShown = false;
    bool m_recordProblemShown = false;

    bool m_running = false;
    bool m_pumping = false;
    bool m_pumpAgain = false;
};

} // namespace corvane
