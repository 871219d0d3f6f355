// corvane-cli harvest: one harvest run from the command line.
//
//   harvest (--engine NAME --keywords K1,K2 | --url URL | --urls FILE | --demo) [options]
//
// The flags (HarvestCommandLine) fill a harvest job and the job becomes a run by the same
// rules as in the harvest window; a HarvestSession carries it out.
// The run goes exactly as in the harvest window: the crawl timer takes bursts, the run
// limits end it, a lost connection waits and resumes. Only leads go to stdout (none with
// --out, which writes them as a lead file), also when Ctrl-C stops the run (exit 130);
// progress (one live line on a terminal, plain lines otherwise), the end-of-run message and
// the summary go to stderr, and --quiet keeps all but errors off it.

#include "Command.h"
#include "HarvestCommandLine.h"

#include "engine/DemoWebServer.h"
#include "engine/HarvestSession.h"
#include "engine/ResumeController.h"
#include "engine/RunLimits.h"
#include "engine/TempCleaner.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

using namespace corvane;
using namespace corvane::cli;

namespace {

// Ctrl-C becomes an ordinary event: the handler only writes a byte to a socket pair that
// the event loop watches.
class InterruptWatch
{
public:
    explicit InterruptWatch(std::function<void()> onInterrupt)
    {
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, s_fds) != 0)
            return;
        m_notifier = std::make_unique<QSocketNotifier>(s_fds[1], QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this, onInterrupt] {
            char byte = 0;
            if (::read(s_fds[1], &byte, 1) > 0)
                onInterrupt();
        });
        struct sigaction action = {};
        action.sa_handler = [](int) {
            const char byte = 1;
            [[maybe_unused]] const auto written = ::write(s_fds[0], &byte, 1);
        };
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        ::sigaction(SIGINT, &action, nullptr);
        ::sigaction(SIGTERM, &action, nullptr);
    }
    ~InterruptWatch()
    {
        ::signal(SIGINT, SIG_DFL);
        ::signal(SIGTERM, SIG_DFL);
        m_notifier.reset();
        if (s_fds[0] >= 0) {
            ::close(s_fds[0]);
            ::close(s_fds[1]);
            s_fds[0] = s_fds[1] = -1;
        }
    }

private:
    static inline int s_fds[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

class ProgressLine
{
public:
    explicit ProgressLine(bool live) : m_live(live) {}

    void show(const QString &text, bool force = false)
    {
        if (isQuiet())
            return;
        if (m_live) {
            writeErr(QStringLiteral("\r%1\x1b[K").arg(text));
            m_open = true;
        } else if (force || ++m_ticks % 5 == 0) {
            writeErr(text + QLatin1Char('\n'));
        }
    }
    void finish()
    {
        if (m_open)
            writeErr(QStringLiteral("\n"));
        m_open = false;
    }

private:
    bool m_live;
    bool m_open = false;
    int m_ticks = 0;
};

// One line for each store problem, and the count in the summary.
class StoreProblemReport
{
public:
    explicit StoreProblemReport(ProgressLine &progress) : m_progress(progress) {}
    void add(const QString &problem)
    {
        ++m_count;
        m_progress.finish();
        writeErr(QStringLiteral("corvane-cli: %1\n").arg(problem));
    }
    int count() const { return m_count; }

private:
    ProgressLine &m_progress;
    int m_count = 0;
};

// "... tested by reaching ADDRESS ...": what the run waits for, and how to change it.
QString connectionWait(const QUrl &probe)
{
    return ResumeTexts::Title + QLatin1Char(' ') + ResumeTexts::probeLine(probe) +
           QStringLiteral(" Tested again every 10 seconds; name another address with --probe "
                          "URL.");
}

int harvest(const QStringList &args)
{
    HarvestCommandLine flags;
    if (const std::optional<int> code = flags.parse(args))
        return *code;

    // The demo web runs in this process; everything below treats it like any site.
    std::unique_ptr<DemoWebServer> demoServer;
    if (flags.demo()) {
        demoServer = std::make_unique<DemoWebServer>();
        if (!demoServer->start())
            return failure(
                QStringLiteral("cannot start the demo web: %1").arg(demoServer->errorString()));
        SearchListProvider::setDemoHost(demoServer->hostAndPort());
    }

    HarvestJob job;
    HarvestSession session(job);
    session.setRecording(flags.recording());
    std::variant<RunDescription, HarvestSetupError> prepared =
        flags.prepareRun(job, session.provider(), demoServer.get());
    if (const HarvestSetupError *error = std::get_if<HarvestSetupError>(&prepared)) {
        writeErr(QStringLiteral("corvane-cli: %1\n").arg(error->message));
        return error->exitCode;
    }
    const RunDescription &run = std::get<RunDescription>(prepared);

    CrawlController &crawl = session.crawl();
    ProgressLine progress(isatty(fileno(stderr)) != 0);
    const auto progressText = [&] {
        return QStringLiteral("%1  pages %2  leads %3  main %4  links %5%6")
            .arg(crawl.monitor().clock().text())
            .arg(crawl.pageCounter())
            .arg(session.analysis().leadCount())
            .arg(session.context().lstResult.count())
            .arg(session.context().lstDetails.count())
            .arg(job.buildKnowledgeBase
                     ? QStringLiteral("  stored %1").arg(session.store().pageCounter())
                     : QString());
    };
    QObject::connect(&crawl.monitor(), &RunMonitor::ticked, [&] { progress.show(progressText()); });
    // The command line has no web view, so its share of the clean-up is the temporary folder.
    QObject::connect(&crawl.monitor(), &RunMonitor::cleanupDue, [&] {
        const QStringList problems = TempCleaner().DeleteTempFiles();
        if (problems.isEmpty())
            return;
        progress.finish();
        for (const QString &problem : problems)
            writeErr(QStringLiteral("corvane-cli: %1\n").arg(problem));
    });
    QObject::connect(&crawl, &CrawlController::message, [&](const QString &text) {
        progress.finish();
        writeMessage(text + QLatin1Char('\n'));
    });
    QObject::connect(&session, &HarvestSession::recordingProblem, [&](const QString &problem) {
        progress.finish();
        warning(problem + QStringLiteral(" (the harvest goes on without it)"));
    });
    StoreProblemReport storeProblems(progress);
    QObject::connect(&crawl, &CrawlController::storeProblem,
                     [&](const QString &problem) { storeProblems.add(problem); });
    QObject::connect(&crawl.resume(), &ResumeController::dialogOpened, [&] {
        progress.finish();
        writeErr(QStringLiteral("corvane-cli: ") + connectionWait(session.probe().address()) +
                 QLatin1Char('\n'));
    });

    QEventLoop loop;
    QString endMessage;
    QObject::connect(&crawl, &CrawlController::finished, &loop, [&](const QString &text) {
        endMessage = text;
        loop.quit();
    });
    bool interrupted = false;
    QEventLoop *waiting = &loop;
    InterruptWatch interrupt([&] {
        interrupted = true;
        crawl.Stop();
        waiting->quit();
    });

    if (Result<void> started = session.start(run); !started)
        return failure(started.message());
    loop.exec();
    // Pages already asked for still count, as after Stop in the window: wait for them, at
    // most one page time-out (a second Ctrl-C gives up on them).
    if (crawl.pending() > 0) {
        QEventLoop drain;
        QObject::connect(&crawl, &CrawlController::allPagesBack, &drain, &QEventLoop::quit);
        QTimer::singleShot(crawl.crawlIntervalMs(), &drain, &QEventLoop::quit);
        waiting = &drain;
        drain.exec();
    }
    session.downloader().cancelAll();
    progress.show(progressText(), true);
    progress.finish();
    if (interrupted)
        writeMessage(kRunStoppedMessage + QLatin1Char('\n'));
    session.endRecording(interrupted ? kRunStoppedMessage : endMessage);

    std::vector<qint64> runs;
    if (const std::optional<qint64> recorded = session.lastRecordedRun())
        runs.push_back(*recorded);
    if (const int written = writeFoundLeads(flags.format(), runs, session.analysis().leads(),
                                            flags.hasOutFile() ? flags.outFile() : QString());
        written != kExitOk)
        return written;
    if (job.buildKnowledgeBase) {
        const QString folder = session.knowledgeBaseFolder();
        const QString where =
            folder.isEmpty()
                ? QStringLiteral("below %1").arg(QDir::toNativeSeparators(run.store.root))
                : QStringLiteral("\"%1\" (%2)")
                      .arg(session.store().KnowledgeBaseName(), QDir::toNativeSeparators(folder));
        writeMessage(QStringLiteral("%1 pages stored in the knowledge base %2; %3 store problems\n")
                         .arg(session.store().pageCounter())
                         .arg(where)
                         .arg(storeProblems.count()));
    }
    if (const std::optional<qint64> recorded = session.lastRecordedRun())
        writeMessage(QStringLiteral("Recorded as run %1 in the lead database (corvane-cli leads "
                                    "list --run %1).\n")
                         .arg(*recorded));
    return interrupted ? kExitInterrupted : kExitOk;
}

const CommandRegistration
    reg(QStringLiteral("harvest"),
        QStringLiteral(
            "harvest leads and pages from search engines, a URL list, one URL or the demo web"),
        harvest, {&HarvestCommandLine::optionTable()});

} // namespace
