#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

class QTcpServer;
class QUrlQuery;

namespace corvane {

// A small static HTTP/1.1 server on 127.0.0.1 for the demo harvest and the end-to-end
// tests. It serves the bundled demo web (":/corvane/demo/") or any folder, with "{{HOST}}"
// in .htm/.html/.txt files replaced by "127.0.0.1:PORT", so absolute links between the demo
// sites point back at this server.
//
// The demo web, by path prefix:
//   /robots.txt         forbids /private/
//   /search/            the demo search engine: /search/results.htm?q=...&p=N
//   /acme/ /birchwood/ /coastal/   three small sites linking to each other
//   /private/           pages the robots rules forbid (their addresses must not be harvested)
//
// Test faults on fixed paths (any query string shown is optional):
//   /_fault/reset               the connection is reset once the request is read
//   /_fault/stall               the request is read and never answered
//   /_fault/large?bytes=N       N bytes of filler (default 1 GiB), produced as the client reads
//   /_fault/gzip-bomb?bytes=N   gzip-encoded zeros that decode to N bytes (default 1 GiB)
//   /_fault/gzip?bytes=N        N bytes of text, gzip-encoded (deflate: /_fault/deflate)
//   /_fault/redirect-loop       redirects to itself forever
//   /_fault/redirect?n=K&to=P   K redirects, then to path P (default "/acme/")
//   /_fault/hold?ms=T           an ordinary small page, answered after T ms (default 200)
//   /_fault/status?code=C       a page with status C
class DemoWebServer : public QObject
{
    Q_OBJECT
public:
    explicit DemoWebServer(QObject *parent = nullptr);
    ~DemoWebServer() override;

    // Serves the files below root (a folder or a resource path); default the demo web.
    void setRoot(const QString &root);
    // Listens on 127.0.0.1; port 0 picks a free one. False with errorString() when it cannot.
    bool start(quint16 port = 0);
    void stop();
    bool isListening() const;
    quint16 port() const;
    // "127.0.0.1:PORT", the text that replaces "{{HOST}}".
    QString hostAndPort() const;
    // "http://127.0.0.1:PORT" + path.
    QString url(const QString &path) const;
    QString errorString() const;

    // Answers path (without query) with body instead of the files, e.g. a test's robots.txt.
    void setOverride(const QString &path, const QByteArray &body,
                     const QByteArray &contentType = "text/html");
    void clearOverrides();

    // What clients asked for, for tests: the request targets (path and query) in order of
    // arrival (the first 100,000), and the most connections open at once.
    QStringList requests() const { return m_requests; }
    int requestCount(const QString &path) const;
    int maxConcurrentConnections() const { return m_maxConnections; }
    int openConnections() const { return m_openConnections; }
    void resetStatistics();

    // The page /_fault/gzip and /_fault/deflate send compressed: bytes of text with one
    // address per line.
    static QByteArray compressibleText(qint64 bytes);

private:
    class Connection;
    friend class Connection;

    void onNewConnection();
    void connectionClosed();
    void answer(Connection *connection, const QString &target, bool close);
    void answerFault(Connection *connection, const QString &fault, const QUrlQuery &query,
                     bool close);
    QByteArray fileBody(const QString &path, QByteArray *contentType, bool *found) const;

    QTcpServer *m_server = nullptr;
    QString m_root;
    QString m_error;
    QHash<QString, QPair<QByteArray, QByteArray>> m_overrides;
    QStringList m_requests;
    int m_openConnections = 0;
    int m_maxConnections = 0;
};

} // namespace corvane
