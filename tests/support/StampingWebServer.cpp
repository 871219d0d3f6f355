#include "support/StampingWebServer.h"

#include <QList>

#include <algorithm>
#include <cstring>
#include <map>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

namespace corvane::test {

namespace {

std::chrono::nanoseconds realtimeNow()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// Reads what is there, with the kernel's receive time when it gives one.
ssize_t receive(int fd, char *buffer, size_t size, std::chrono::nanoseconds *at)
{
    iovec piece{buffer, size};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(timespec))];
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t n = recvmsg(fd, &message, 0);
    *at = realtimeNow();
    for (cmsghdr *c = CMSG_FIRSTHDR(&message); c; c = CMSG_NXTHDR(&message, c)) {
        if (c->cmsg_level == SOL_SOCKET && c->cmsg_type == SCM_TIMESTAMPNS) {
            timespec stamp{};
            std::memcpy(&stamp, CMSG_DATA(c), sizeof stamp);
            *at = std::chrono::seconds(stamp.tv_sec) + std::chrono::nanoseconds(stamp.tv_nsec);
        }
    }
    return n;
}

QByteArray reason(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 404:
        return "Not Found";
    case 429:
        return "Too Many Requests";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

} // namespace

StampingWebServer::StampingWebServer(Responder responder) : m_responder(std::move(responder)) {}

StampingWebServer::~StampingWebServer()
{
    if (m_thread.joinable()) {
        const char byte = 0;
        [[maybe_unused]] const auto written = ::write(m_wake[1], &byte, 1);
        m_thread.join();
    }
    for (int fd : {m_listener, m_wake[0], m_wake[1]})
        if (fd >= 0)
            ::close(fd);
}

bool StampingWebServer::start()
{
    m_listener = ::socket(AF_INET, SOCK_STREAM, 0);
    if (m_listener < 0 || ::pipe(m_wake) != 0)
        return false;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(m_listener, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(m_listener, 64) != 0 ||
        ::getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &length) != 0)
        return false;
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
    return true;
}

QString StampingWebServer::url(const QString &path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path);
}

std::vector<StampingWebServer::Hit> StampingWebServer::hits() const
{
    std::lock_guard lock(m_mutex);
    return m_hits;
}

std::vector<StampingWebServer::Hit> StampingWebServer::hits(const QByteArray &prefix) const
{
    std::vector<Hit> matching;
    for (const Hit &hit : hits())
        if (hit.target.startsWith(prefix))
            matching.push_back(hit);
    return matching;
}

void StampingWebServer::serve()
{
    struct Client
    {
        QByteArray buffer;
        std::chrono::nanoseconds firstBytes{};
    };
    std::map<int, Client> clients;
    for (;;) {
        std::vector<pollfd> watched{{m_wake[0], POLLIN, 0}, {m_listener, POLLIN, 0}};
        for (const auto &[fd, client] : clients)
            watched.push_back({fd, POLLIN, 0});
        if (::poll(watched.data(), watched.size(), -1) < 0)
            continue;
        if (watched[0].revents)
            break;
        if (watched[1].revents & POLLIN) {
            const int fd = ::accept(m_listener, nullptr, nullptr);
            const int on = 1;
            if (fd >= 0) {
                ::setsockopt(fd, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
                clients[fd] = Client{};
            }
        }
        for (std::size_t i = 2; i < watched.size(); ++i) {
            if (!watched[i].revents)
                continue;
            const int fd = watched[i].fd;
            Client &client = clients[fd];
            char buffer[8192];
            std::chrono::nanoseconds at{};
            const ssize_t n = receive(fd, buffer, sizeof buffer, &at);
            if (n <= 0) {
                ::close(fd);
                clients.erase(fd);
                continue;
            }
            if (client.buffer.isEmpty())
                client.firstBytes = at;
            client.buffer.append(buffer, n);
            qsizetype end;
            while ((end = client.buffer.indexOf("\r\n\r\n")) >= 0) {
                const QList<QByteArray> words = client.buffer.left(end).split(' ');
                const QByteArray target = words.value(1);
                client.buffer.remove(0, end + 4);
                {
                    std::lock_guard lock(m_mutex);
                    m_hits.push_back({target, client.firstBytes});
                }
                client.firstBytes = at;
                const Answer answer = m_responder(target);
                const QByteArray reply = "HTTP/1.1 " + QByteArray::number(answer.status) + ' ' +
                                         reason(answer.status) +
                                         "\r\nContent-Type: text/html\r\nContent-Length: " +
                                         QByteArray::number(answer.body.size()) + "\r\n" +
                                         answer.headers + "\r\n" + answer.body;
                for (qsizetype sent = 0; sent < reply.size();) {
                    const ssize_t w = ::send(fd, reply.constData() + sent,
                                             size_t(reply.size() - sent), MSG_NOSIGNAL);
                    if (w <= 0)
                        break;
                    sent += w;
                }
            }
        }
    }
    for (const auto &[fd, client] : clients)
        ::close(fd);
}

std::chrono::nanoseconds shortestGap(std::vector<StampingWebServer::Hit> hits)
{
    std::sort(hits.begin(), hits.end(), [](const auto &a, const auto &b) { return a.at < b.at; });
    auto shortest = std::chrono::nanoseconds::max();
    for (std::size_t i = 1; i < hits.size(); ++i)
        shortest = std::min(shortest, hits[i].at - hits[i - 1].at);
    return shortest;
}

} // namespace corvane::test
