#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>

class QTcpServer;

namespace corvane {

// The answer to one request, as a request hook gives it.
class WebReply
{
public:
    virtual ~WebReply() = default;
    virtual void respond(int status, const QByteArray &type, const QByteArray &body,
                         const QList<QByteArray> &extraHeaders = {}) = 0;
    // Headers now (without the blank line that ends them), then the body piece by piece as
    // the client takes it; an empty piece ends the body and the connection.
    virtual void stream(const QByteArray &headers, std::function<QByteArray()> nextPiece) = 0;
    // Drops the connection with a TCP reset instead of answering.
    virtual void reset() = 0;
    // Lives as long as the connection: a hook that answers later watches it. A request
    // neither answered nor reset is left waiting.
    virtual QObject *lifetime() = 0;
};

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
// A request hook sees every request first; tests install one to serve faults.
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

    // Called with every request before the files are looked at; true when it has taken the
    // request (answered it, or will).
    using RequestHook = std::function<bool(WebReply &reply, const QUrl &target)>;
    void setRequestHook(RequestHook hook);

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

private:
    class Connection;
    friend class Connection;

    void onNewConnection();
    void connectionClosed();
    void answer(Connection *connection, const QString &target);
    QByteArray fileBody(const QString &path, QByteArray *contentType, bool *found) const;

    QTcpServer *m_server = nullptr;
    QString m_root;
    QString m_error;
    QHash<QString, QPair<QByteArray, QByteArray>> m_overrides;
    RequestHook m_hook;
    QStringList m_requests;
    int m_openConnections = 0;
    int m_maxConnections = 0;
};

} // namespace corvane
