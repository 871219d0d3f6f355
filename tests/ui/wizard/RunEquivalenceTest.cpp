// The harvest window and `corvane-cli harvest` turn the same job into the same run.

#include "HarvestCommandLine.h"
#include "analysis/JunkNames.h"
#include "support/TestSupport.h"
#include "ui/HarvestWindow.h"
#include "ui/InputDialog.h"
#include "ui/MessageDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

#include <map>

using namespace corvane;

namespace {

// A URL-list job with a knowledge base, filters, a proxy and the modern profile, filled in
// the window as a user would.
RunDescription runFromWindow()
{
    HarvestWindow window;
    MessageCapture messages;
    const auto child = [&](const char *name) { return window.findChild<QWidget *>(name); };
    const auto click = [&](const char *name) { QTest::mouseClick(child(name), Qt::LeftButton); };
    const auto type = [&](const char *name, const char *text) {
        if (auto *box = qobject_cast<QComboBox *>(child(name)))
            box->setEditText(QString::fromLatin1(text));
        else
            qobject_cast<QLineEdit *>(child(name))->setText(QString::fromLatin1(text));
    };
    std::map<InputMode, QStringList> typed{
        {InputMode::AddKnowledgebase, {"Alpha"}},
        {InputMode::AddTaxonomy, {"Tools"}},
        {InputMode::AddURL, {"http://127.0.0.1:9/a/", "http://127.0.0.1:9/b/"}},
        {InputMode::AddDomain, {"spam.example"}},
        {InputMode::AddIncludeEmailType, {"sales"}},
        {InputMode::AddJunkExtension, {".XYZ"}}};
    setInputHook([&](InputMode mode) -> std::optional<QString> {
        return typed[mode].isEmpty() ? std::nullopt : std::optional(typed[mode].takeFirst());
    });
    click("chkKB");
    type("txtPath", "kb-root");
    click("cmdAddTax");
    click("optSearchType1");
    click("cmdAddURL");
    click("cmdAddURL");
    click("cmdAddDomain");
    click("optExclude1");
    click("cmdAddEmail1");
    click("cmdAddJunk");
    setInputHook({});
    type("cmbStop", "5");
    type("cmbSearched", "300");
    type("cmbEmail", "40");
    qobject_cast<QComboBox *>(child("cmbPage"))->setCurrentText(QStringLiteral("20"));
    qobject_cast<QComboBox *>(child("cmbProfile"))->setCurrentText(QStringLiteral("modern"));
    for (const auto &[name, value] :
         {std::pair{"txtFirstPage", 3}, {"txtDelay", 400}, {"txtSitePages", 50}})
        qobject_cast<QSpinBox *>(child(name))->setValue(value);
    type("txtProbe", "http://127.0.0.1:9/");
    click("cmdAdv");
    type("cmbType", "SOCKS5 Proxy");
    type("txtProxy", "127.0.0.1");
    type("txtPort", "40000");
    type("txtUserName", "");
    type("txtPassword", "");
    qobject_cast<QCheckBox *>(child("chkDNS"))->setChecked(true);
    EXPECT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();

    std::variant<RunDescription, RunRefusal> run = buildRun(window.job());
    if (const RunRefusal *refused = std::get_if<RunRefusal>(&run)) {
        ADD_FAILURE() << refused->message.toStdString();
        return {};
    }
    return std::get<RunDescription>(run);
}

std::variant<RunDescription, cli::HarvestSetupError> runFromFlags(const QStringList &args)
{
    cli::HarvestCommandLine flags;
    // A refusal of the parser itself is on stderr; the flags here all parse.
    if (const std::optional<int> code = flags.parse(args))
        return cli::HarvestSetupError{QStringLiteral("the flags do not parse"), *code};
    HarvestJob job;
    fillJunkExtensions(job.junkExtensions); // as the command line's session does
    SearchListProvider provider;
    return flags.prepareRun(job, provider, nullptr);
}

} // namespace

TEST(RunEquivalence, WindowAndCommandLineMakeTheSameRunOfTheSameJob)
{
    RunDescription fromWindow;
    QList<JunkExtension> junkList; // as the filters tab kept it in the data folder
    {
        test::TempDataFolder home;
        fromWindow = runFromWindow();
        junkList = loadJunkExtensions();
    }
    test::TempDataFolder home;
    ASSERT_FALSE(saveJunkExtensions(junkList).has_value());
    test::writeFile(home.file(QStringLiteral("urls.txt")),
                    "http://127.0.0.1:9/a/\nhttp://127.0.0.1:9/b/\n");
    const auto fromFlags = runFromFlags({"--urls",
                                         home.file(QStringLiteral("urls.txt")),
                                         "--minutes",
                                         "5",
                                         "--pages",
                                         "300",
                                         "--leads",
                                         "40",
                                         "--timeout",
                                         "20",
                                         "--kb",
                                         "kb-root",
                                         "--kb-name",
                                         "Alpha",
                                         "--taxonomy",
                                         "Tools",
                                         "--exclude-domain",
                                         "spam.example",
                                         "--include-type",
                                         "sales",
                                         "--profile",
                                         "modern",
                                         "--probe",
                                         "http://127.0.0.1:9/",
                                         "--proxy",
                                         "socks5://127.0.0.1:40000",
                                         "--remote-dns",
                                         "--first-page",
                                         "3",
                                         "--delay",
                                         "400",
                                         "--site-pages",
                                         "50"});
    ASSERT_TRUE(std::holds_alternative<RunDescription>(fromFlags))
        << std::get<cli::HarvestSetupError>(fromFlags).message.toStdString();
    EXPECT_TRUE(std::get<RunDescription>(fromFlags) == fromWindow);

    // What both agree on is what was asked for.
    EXPECT_EQ(fromWindow.startUrls.size(), 2);
    EXPECT_EQ(fromWindow.filters.typeMode, EmailTypeMode::Include);
    EXPECT_EQ(fromWindow.proxy.port, 40000);
    EXPECT_TRUE(fromWindow.proxy.remoteDns);
    EXPECT_EQ(fromWindow.store.root, QDir::current().absoluteFilePath(QStringLiteral("kb-root")));
    EXPECT_EQ(fromWindow.store.mailGroup, 1);
    EXPECT_EQ(fromWindow.crawl, (CrawlSettings{20000, CrawlProfile::Modern, 3}));
    EXPECT_EQ(fromWindow.politeness, (SitePoliteness{400, true, 50, true}));
    EXPECT_TRUE(junkList.contains(JunkExtension{QStringLiteral("xyz"), true}));
    EXPECT_TRUE(fromWindow.filters.junkExtensions.contains(QStringLiteral("xyz")));
}

TEST(RunEquivalence, CommandLineRefusalsNameFlags)
{
    test::TempDataFolder home;
    const auto refusal = [](const QStringList &args) {
        const auto run = runFromFlags(args);
        const auto *error = std::get_if<cli::HarvestSetupError>(&run);
        return error && error->exitCode == 2 ? error->message : QString();
    };
    EXPECT_EQ(refusal({"--url", "http://x/", "--pages", "99999999999"}),
              QStringLiteral("--pages: \"99999999999\" is out of range (-2147483648 to "
                             "2147483647)."));
    // A name the disk would refuse is a wrong call too.
    EXPECT_FALSE(
        refusal({"--url", "http://x/", "--kb", "kb", "--kb-name", "a:b", "--taxonomy", "T"})
            .isEmpty());
    EXPECT_TRUE(refusal({"--url", "http://x/", "--proxy", "socks5://127.0.0.1:70000"})
                    .startsWith(QLatin1String("--proxy ")));
    EXPECT_EQ(refusal({"--url", "http://x/", "--probe", "http://"}),
              QStringLiteral("--probe: \"http://\" is not a web address."));
    // The option table itself refuses a number out of its range.
    EXPECT_EQ(refusal({"--url", "http://x/", "--profile", "modern", "--delay=soon"}),
              QStringLiteral("the flags do not parse"));
    EXPECT_EQ(refusal({"--url", "http://x/", "--site-pages", "5"}),
              QStringLiteral("--first-page, --delay and --site-pages belong to the modern profile "
                             "(--profile modern)"));
}
