#pragma once

#include "engine/PageDownloader.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <vector>

namespace corvane::test {

struct Arrival
{
    int slot = 0;
    QString url;
    QByteArray body;
};

// Records every completion of a downloader, in order of delivery.
class ArrivalLog : public QObject
{
public:
    explicit ArrivalLog(PageDownloader *downloader)
    {
        connect(downloader, &PageDownloader::DownloadComplete, this,
                [this](int slot, const QString &url, const QByteArray &body) {
                    arrivals.push_back({slot, url, body});
                });
    }

    // Runs the event loop until n pages have arrived; false if they did not in time (a
    // guard against a hang, not a measurement).
    bool waitFor(std::size_t n, int guardMs = 60000);

    const Arrival *find(const QString &url) const
    {
        for (const Arrival &a : arrivals)
            if (a.url == url)
                return &a;
        return nullptr;
    }

    std::vector<Arrival> arrivals;
};

// Peak resident set of this process, in KiB.
long peakRssKib();

} // namespace corvane::test
