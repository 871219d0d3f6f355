#include "verify/LeadVerifier.h"

#include "leads/LeadDatabase.h"
#include "scan/ReadWorkbook.h"
#include "verify/DnsServer.h"
#include "verify/VerifierRecords.h"

#include <QHostInfo>

#include <algorithm>

namespace corvane {

namespace {

// The text after the first "@", or the whole address when it has none.
QString domainOf(const QString &address)
{
    const qsizetype at = address.indexOf(QLatin1Char('@'));
    return at < 0 ? address : address.mid(at + 1);
}

QString domainKey(const QString &domain)
{
    return domain.toLower();
}

QStringList exchangerNames(const modDNS::MxAnswer &answer)
{
    QStringList names;
    names.reserve(answer.records.size());
    for (const modDNS::MxRecord &record : answer.records)
        names << record.exchanger;
    return names;
}

// The exchanger a mail server tries first: the lowest preference, the first of equals.
QString preferredExchanger(const modDNS::MxAnswer &answer)
{
    const modDNS::MxRecord *best = nullptr;
    for (const modDNS::MxRecord &record : answer.records) {
        if (!record.exchanger.isEmpty() && (!best || record.preference < best->preference))
            best = &record;
    }
    return best ? best->exchanger : QString();
}

} // namespace

LeadVerifier::LeadVerifier(TimerSource &timers, CrawlProfile profile, QObject *parent)
    : QObject(parent), m_timers(timers), m_profile(profile), m_stepTimer(timers.createTimer()),
      m_displayTimer(timers.createTimer()), m_serverText(systemDnsServer())
{
    // The result folders exist from the start, so the user can find them before a run.
    VerifierRecords::verifiedPath();
    VerifierRecords::unverifiedPath();
    // The step timer only restarts a run that has come to rest; steps chain on answers.
    connect(m_stepTimer.get(), &Timer::timeout, this, &LeadVerifier::pump);
    connect(m_displayTimer.get(), &Timer::timeout, this, [this] {
        m_clock.tick();
        emit clockChanged(m_clock.hours(), m_clock.minutes(), m_clock.seconds());
    });
    connect(&m_loader, &LeadSheetLoader::progress, this, &LeadVerifier::fetchProgress);
    connect(&m_loader, &LeadSheetLoader::failed, this, &LeadVerifier::fetchFailed);
    connect(&m_loader, &LeadSheetLoader::loaded, this, [this](const QStringList &leads) {
        addLeads(leads);
        emit fetched(int(leads.size()));
    });
}

LeadVerifier::~LeadVerifier()
{
    abortQueries();
    flushRecords();
}

Result<int> LeadVerifier::fetch(const QString &leadFile)
{
    if (leadFile.trimmed().isEmpty())
        return 0;
    const Result<QStringList> leads = ReadWorkbook(leadFile.trimmed());
    if (!leads)
        return leads.error();
    addLeads(*leads);
    return int(leads->size());
}

void LeadVerifier::startFetch(const QString &leadFile)
{
    if (!leadFile.trimmed().isEmpty())
        m_loader.start(leadFile.trimmed());
}

void LeadVerifier::addLeads(const QStringList &addresses)
{
    if (addresses.isEmpty())
        return;
    m_pending.insert(m_pending.end(), addresses.begin(), addresses.end());
    emit pendingCountChanged(pendingCount());
}

QStringList LeadVerifier::pending() const
{
    return QStringList(m_pending.begin(), m_pending.end());
}

Result<void> LeadVerifier::verify()
{
    if (m_running)
        return {};
    if (m_pending.empty())
        return fail(kEmptyListMessage);
    const std::optional<DnsEndpoint> endpoint = parseDnsEndpoint(m_serverText);
    if (!endpoint)
        return fail(kNoServerMessage);

    m_writeProblemShown = false;
    m_serverPort = endpoint->port;
    setRunning(true);
    m_stepTimer->start(kStepIntervalMs);
    m_displayTimer->start(ElapsedClock::kTickMs);
    if (m_serverAddress.setAddress(endpoint->host)) {
        pump();
        return {};
    }
    // A server given by name: the steps begin and wait for its address.
    m_resolvingServer = true;
    const QString host = endpoint->host;
    m_lookupId = QHostInfo::lookupHost(host, this, [this, host](const QHostInfo &info) {
        serverLookedUp(info.addresses(), host);
    });
    pump();
    return {};
}

void LeadVerifier::serverLookedUp(const QList<QHostAddress> &addresses, const QString &host)
{
    m_resolvingServer = false;
    m_lookupId = -1;
    if (!m_running)
        return;
    if (addresses.isEmpty()) {
        stop();
        emit problem(QStringLiteral("Cannot find the DNS server %1.").arg(host));
        return;
    }
    const auto ipv4 = std::find_if(addresses.begin(), addresses.end(), [](const QHostAddress &a) {
        return a.protocol() == QAbstractSocket::IPv4Protocol;
    });
    m_serverAddress = ipv4 != addresses.end() ? *ipv4 : addresses.first();
    pump();
}

void LeadVerifier::stop()
{
    if (m_resolvingServer) {
        QHostInfo::abortHostLookup(m_lookupId);
        m_resolvingServer = false;
        m_lookupId = -1;
    }
    abortQueries();
    m_stepTimer->stop();
    m_displayTimer->stop();
    flushRecords();
    setRunning(false);
}

// Steps until the head of the list has to wait for an answer or the list is done. Answers
// that arrive while stepping are picked up by the same loop instead of nesting a new one.
void LeadVerifier::pump()
{
    if (m_pumping) {
        m_pumpAgain = true;
        return;
    }
    m_pumping = true;
    do {
        m_pumpAgain = false;
        while (m_running && stepOnce()) {
        }
    } while (m_pumpAgain && m_running);
    m_pumping = false;
    flushRecords();
}

bool LeadVerifier::stepOnce()
{
    if (!m_headStepped) {
        if (!m_pending.empty())
            beginStep();
        if (m_pending.empty()) {
            complete();
            return false;
        }
    }
    const QString key = domainKey(domainOf(m_pending.front()));
    const auto found = m_answers.constFind(key);
    if (found == m_answers.cend()) {
        if (!m_resolvingServer)
            askAhead();
        return false;
    }
    const modDNS::MxAnswer answer = *found;
    if (m_profile == CrawlProfile::Classic)
        m_answers.erase(found);
    decideHead(answer);
    return true;
}

void LeadVerifier::beginStep()
{
    if (!m_exchangers.isEmpty()) {
        m_exchangers.clear();
        emit exchangersChanged(m_exchangers);
    }
    if (!m_stepTimer->isActive())
        m_stepTimer->start(kStepIntervalMs);
    if (!m_displayTimer->isActive())
        m_displayTimer->start(ElapsedClock::kTickMs);
    // A repeat of the address just decided leaves unchecked.
    if (m_pending.front() == m_lastAddress) {
        popHead();
        emit pendingCountChanged(pendingCount());
        if (m_pending.empty())
            return;
    }
    m_lastAddress = m_pending.front();
    m_headStepped = true;
}

void LeadVerifier::decideHead(const modDNS::MxAnswer &answer)
{
    const QString address = m_pending.front();
    popHead();
    m_headStepped = false;
    m_exchangers = exchangerNames(answer);
    emit exchangersChanged(m_exchangers);
    const bool valid = isValid(answer);
    m_answerBuffer.push_back({address, valid, valid ? preferredExchanger(answer) : QString()});
    if (valid) {
        m_valid << address;
        m_verifiedBuffer << address;
        emit validCountChanged(validCount());
    } else {
        m_unverifiedBuffer << address;
    }
    emit leadChecked(address, valid);
    emit pendingCountChanged(pendingCount());
}

bool LeadVerifier::isValid(const modDNS::MxAnswer &answer) const
{
    if (m_profile == CrawlProfile::Classic)
        return answer.hasExchanger();
    // A lone "." exchanger is a domain saying it takes no mail at all.
    return std::any_of(answer.records.begin(), answer.records.end(),
                       [](const modDNS::MxRecord &record) { return !record.exchanger.isEmpty(); });
}

void LeadVerifier::askAhead()
{
    const QString headDomain = domainOf(m_pending.front());
    const QString headKey = domainKey(headDomain);
    if (!m_inFlight.contains(headKey) &&
        (m_profile == CrawlProfile::Modern || m_inFlight.isEmpty()))
        ask(headKey, headDomain);
    if (m_profile == CrawlProfile::Classic)
        return;
    m_scanned = std::min(m_scanned, m_pending.size());
    while (m_inFlight.size() < kModernInFlight && m_scanned < m_pending.size()) {
        const QString domain = domainOf(m_pending[m_scanned]);
        const QString key = domainKey(domain);
        if (!m_answers.contains(key) && !m_inFlight.contains(key))
            ask(key, domain);
        ++m_scanned;
    }
}

void LeadVerifier::ask(const QString &key, const QString &domain)
{
    auto *query = new MxQuery(m_timers, this);
    connect(query, &MxQuery::finished, this,
            [this, query, key](const QString &, const modDNS::MxAnswer &answer) {
                m_inFlight.remove(key);
                query->deleteLater();
                m_answers.insert(key, answer);
                pump();
            });
    m_inFlight.insert(key, query);
    ++m_queriesSent;
    query->start(m_serverAddress, m_serverPort, domain);
}

void LeadVerifier::abortQueries()
{
    for (MxQuery *query : std::as_const(m_inFlight)) {
        query->abort();
        query->deleteLater();
    }
    m_inFlight.clear();
    m_scanned = 0;
}

void LeadVerifier::complete()
{
    m_displayTimer->stop();
    m_stepTimer->stop();
    m_headStepped = false;
    m_answers.clear();
    flushRecords();
    setRunning(false);
    emit completed(kCompletedMessage);
}

void LeadVerifier::setRunning(bool running)
{
    if (m_running == running)
        return;
    m_running = running;
    emit runningChanged(running);
}

void LeadVerifier::popHead()
{
    m_pending.pop_front();
    if (m_scanned > 0)
        --m_scanned;
}

void LeadVerifier::flushRecords()
{
    const auto flush = [this](QStringList &buffer, const QString &path) {
        const Result<void> written = VerifierRecords::append(path, buffer);
        if (written) {
            buffer.clear();
        } else if (!m_writeProblemShown) {
            // Kept for the next attempt; the lists on screen have every address anyway.
            m_writeProblemShown = true;
            emit problem(written.message());
        }
    };
    flush(m_verifiedBuffer, VerifierRecords::verifiedPath());
    flush(m_unverifiedBuffer, VerifierRecords::unverifiedPath());
    recordAnswers();
}

void LeadVerifier::recordAnswers()
{
    if (m_answerBuffer.empty())
        return;
    Result<void> recorded;
    if (!m_database) {
        auto opened = LeadDatabase::open(LeadDatabase::defaultPath());
        if (opened)
            m_database = std::make_unique<LeadDatabase>(std::move(opened).value());
        else
            recorded = opened.error();
    }
    if (m_database)
        recorded = m_database->recordVerifications(m_answerBuffer);
    if (recorded) {
        m_answerBuffer.clear();
    } else if (!m_recordProblemShown) {
        // Kept for the next attempt, like the record files' lines.
        m_recordProblemShown = true;
        emit problem(recorded.message());
    }
}

} // namespace corvane
