#pragma once

#include "analysis/LeadFilters.h"
#include "common/Result.h"
#include "scan/DocumentText.h"

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace corvane {

// A piece of a scan's findings, handed over in the order of the walk: the addresses a file
// brought up, and on the file's last piece how it ended.
struct ScanBatch
{
    enum class End { None, Scanned, FileFailed, FolderFailed };

    // Addresses that pass the ending rule, in order, each at most once per scan, each with
    // its source: the file, or the target URI of the archived page it came from.
    QList<QByteArray> addresses;
    QList<QString> sources;
    End end = End::None;
    QString path;    // the file or folder, on the last piece
    QString problem; // why it failed, or (Scanned) what of it could not be read
};

// Where a scan is: the file being read first in walk order, and how far.
struct ScanActivity
{
    QString path;
    qint64 bytesRead = 0;
    qint64 size = 0;
};

// The work of a leads scan, off the calling thread: a walker lists the folder tree and
// readers (one per core) take its files in turn, read their text (DocumentText.h) and match
// addresses in it. Findings come back through take() in walk order, whatever reader finished
// first, so a scan lists the same leads in the same order as reading file after file would.
//
// Memory stays bounded: the walk runs at most a few thousand files ahead of the findings
// taken, readers at most a few dozen, and each reader reads in chunks of chunkBytes.
class ScanJob
{
public:
    struct Settings
    {
        AddressFilterList addressFilters;
        DocumentLimits limits;
        qsizetype chunkBytes = 256 * 1024;
        int depth = 0;   // folders to visit per tree, as DirScanner counts them; 0 = all
        int readers = 0; // 0 = one per core
    };

    explicit ScanJob(Settings settings);
    ~ScanJob(); // cancels and waits for the threads

    // Called, on any thread, when take() has something new; at most once between takes.
    void setReadyCallback(std::function<void()> ready) { m_ready = std::move(ready); }

    // One file, whatever its type.
    void startFile(const QString &path);
    // The files of a folder tree whose type is in types (FileTypeList's rule). Fails, with
    // nothing started, when the start folder cannot be listed.
    Result<void> startFolder(const QString &folder, const QSet<QString> &types);

    // The findings ready, in walk order; with wait, blocks until there are some or the scan
    // is over.
    std::vector<ScanBatch> take(bool wait);
    // Everything was taken (or the job was cancelled).
    bool isDone() const;
    void cancel();
    ScanActivity activity() const;

private:
    struct Item
    {
        QString path;
        QString folderProblem; // a folder that could not be listed
        bool isFolderProblem = false;
    };
    struct Slot
    {
        Item item;
        std::deque<ScanBatch> ready;
        qsizetype pendingAddresses = 0;
        bool finished = false;
    };
    class Reader;

    void launch(std::function<void()> walk);
    // The walker's side.
    bool push(Item item);
    void walkFinished();
    // The readers' side.
    bool claim(qint64 &seq, Item &item);
    void publish(qint64 seq, ScanBatch batch, bool last);
    bool isCancelled() const { return m_cancelled.load(std::memory_order_relaxed); }
    void notifyReady();

    Settings m_settings;
    std::function<void()> m_ready;
    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_notified{false};

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Slot> m_slots; // m_slots[0] has sequence number m_head
    qint64 m_head = 0;
    qint64 m_pushed = 0;
    qint64 m_claimed = 0;
    bool m_walkDone = false;
    int m_readersRunning = 0;
    std::vector<ScanActivity> m_activity; // per reader

    std::vector<std::thread> m_threads;
};

} // namespace corvane
