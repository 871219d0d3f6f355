#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

namespace corvane {

// Fetches pages many at a time. Download() returns at once; each page comes back through
// DownloadComplete on the thread that owns the downloader, one at a time, carrying the
// caller's slot number (1 to 50). A failed, refused or timed-out page completes with an
// empty body. Download never throws.
class PageDownloader : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~PageDownloader() override = default;

    virtual void Download(const QString &url, int timeoutMs, int slot) = 0;
    // Drops every download still in flight; their completions are not delivered.
    virtual void cancelAll() = 0;
    virtual int inFlight() const = 0;

signals:
    void DownloadComplete(int slot, const QString &url, const QByteArray &body);
};

} // namespace corvane
