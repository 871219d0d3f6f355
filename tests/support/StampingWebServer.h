#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace corvane::test {

// A small keep-alive HTTP/1.1 server on 127.0.0.1, in a thread of its own, that logs when
// each request reached the machine: the kernel's receive time of the request's first bytes,
// so that a busy test process cannot shift the log. For tests of how requests are spaced.
class StampingWebServer
{
public:
    struct Answer
    {
        int status = 200;
        QByteArray body;
        QByteArray headers; // extra header lines, each ended by "\r\n"
    };
    // Called on the server's thread with the request's path and query.
    using Responder = std::function<Answer(const QByteArray &target)>;

    struct Hit
    {
        QByteArray target;
        std::chrono::nanoseconds at; // realtime clock
    };

    explicit StampingWebServer(Responder responder);
    ~StampingWebServer();
    StampingWebServer(const StampingWebServer &) = delete;
    StampingWebServer &operator=(const StampingWebServer &) = delete;

    bool start();
    quint16 port() const { return m_port; }
    QString url(const QString &path) const;
    std::vector<Hit> hits() const;
    // The hits whose target starts with prefix, in order of arrival.
    std::vector<Hit> hits(const QByteArray &prefix) const;

private:
    void serve();

    Responder m_responder;
    int m_listener = -1;
    int m_wake[2] = {-1, -1};
    quint16 m_port = 0;
    std::thread m_thread;
    mutable std::mutex m_mutex;
    std::vector<Hit> m_hits;
};

// The shortest time between two hits next to each other in time; the longest time there is
// for fewer than two hits.
std::chrono::nanoseconds shortestGap(std::vector<StampingWebServer::Hit> hits);

} // namespace corvane::test
