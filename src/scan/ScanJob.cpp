#include "scan/ScanJob.h"

#include "analysis/EmailMatcher.h"
#include "scan/AddressRuns.h"
#include "scan/DirScanner.h"
#include "scan/FileTypeList.h"

#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corvane {

namespace {

// Files the walk may list ahead of the findings taken: enough to keep the readers busy, few
// enough that a tree of millions of files is never listed whole.
constexpr qint64 kWalkAhead = 4096;
// Files the readers may read ahead of the first unfinished one.
constexpr qint64 kReadAhead = 32;
// Addresses per batch, and what a reader ahead of the first unfinished file may hold before
// it waits for its turn.
constexpr qsizetype kBatchAddresses = 4096;
constexpr qsizetype kMaxPending = 1 << 18;
// Enough to tell every format from its start (a PDF header may come late in its first
// kilobyte).
constexpr qsizetype kSniffBytes = 1024;

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

class FileDescriptor
{
public:
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

} // namespace

// One reading thread: takes files in walk order, reads their text and matches addresses.
class ScanJob::Reader : public TextSink
{
public:
    Reader(ScanJob &job, int index)
        : m_job(job), m_index(index),
          m_splitter([this](QByteArrayView segment) { match(segment); }),
          m_buffer(size_t(std::max<qsizetype>(1, job.m_settings.chunkBytes)))
    {
    }

    void run()
    {
        qint64 seq = 0;
        Item item;
        while (m_job.claim(seq, item))
            scan(seq, item);
    }

    void beginSource(const QString &source) override
    {
        m_splitter.finish();
        m_source = source.isEmpty() ? m_path : source;
    }
    void text(QByteArrayView piece) override { m_splitter.feed(piece); }
    bool stopRequested() const override { return m_job.isCancelled(); }
    void progress(qint64 bytesRead) override
    {
        const std::lock_guard lock(m_job.m_mutex);
        m_job.m_activity[size_t(m_index)].bytesRead = bytesRead;
    }

private:
    void scan(qint64 seq, const Item &item)
    {
        m_seq = seq;
        m_batch = {};
        m_batch.path = item.path;
        if (item.isFolderProblem) {
            m_batch.end = ScanBatch::End::FolderFailed;
            m_batch.problem = item.folderProblem;
            m_job.publish(m_seq, std::move(m_batch), true);
            return;
        }
        m_path = item.path;
        m_source = m_path;
        m_problem.clear();
        {
            const std::lock_guard lock(m_job.m_mutex);
            m_job.m_activity[size_t(m_index)] = {m_path, 0, 0};
        }
        const Result<void> read = readFile();
        if (read)
            m_splitter.finish();
        else
            m_splitter.discard();
        m_batch.path = m_path;
        m_batch.end = read ? ScanBatch::End::Scanned : ScanBatch::End::FileFailed;
        m_batch.problem = read ? m_problem : read.message();
        m_job.publish(m_seq, std::move(m_batch), true);
        const std::lock_guard lock(m_job.m_mutex);
        m_job.m_activity[size_t(m_index)] = {};
    }

    Result<void> readFile()
    {
        const QByteArray native = QFile::encodeName(m_path);
        // Non-blocking, so that a pipe met in the tree cannot hold the scan; it is no
        // regular file and is passed over below.
        const int fd = ::open(native.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
        if (fd < 0) {
            const int error = errno;
            struct stat link;
            if (error == ENOENT)
                return fail(::lstat(native.constData(), &link) == 0 && S_ISLNK(link.st_mode)
                                ? QStringLiteral("the link points to nothing")
                                : QStringLiteral("the file does not exist"));
            return fail(systemError(error));
        }
        const FileDescriptor file(fd);
        struct stat info;
        if (::fstat(fd, &info) != 0)
            return fail(systemError(errno));
        if (!S_ISREG(info.st_mode))
            return fail(QStringLiteral("not a regular file"));
        {
            const std::lock_guard lock(m_job.m_mutex);
            m_job.m_activity[size_t(m_index)].size = info.st_size;
        }
#ifdef POSIX_FADV_SEQUENTIAL
        ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
#endif
        char head[kSniffBytes];
        const ssize_t headBytes = ::pread(fd, head, sizeof head, 0);
        if (headBytes < 0)
            return fail(systemError(errno));
        const ContentFormat format = sniffContentFormat(QByteArrayView(head, headBytes));
        if (format == ContentFormat::Raw)
            return readRaw(fd);

        QFile device;
        if (!device.open(fd, QIODevice::ReadOnly, QFileDevice::DontCloseHandle))
            return fail(device.errorString());
        const DocumentLimits &limits = m_job.m_settings.limits;
        Result<void> decoded;
        switch (format) {
        case ContentFormat::Gzip:
            decoded = readGzipText(device, *this, limits);
            break;
        case ContentFormat::Warc:
            decoded = readWarcText(device, *this, limits);
            break;
        case ContentFormat::Zip: {
            const Result<bool> document = readOfficeText(device, *this, limits);
            if (document && !*document)
                return rereadRaw(fd);
            if (!document)
                decoded = document.error();
            break;
        }
        case ContentFormat::Pdf:
            decoded = readPdfText(m_path, *this, limits);
            break;
        case ContentFormat::Raw:
            break;
        }
        if (decoded)
            return {};
        m_splitter.discard();
        // An archive's raw bytes are compressed or already read; a document's may still hold
        // what earlier versions of the scan found in them, so those are searched as well.
        m_problem = decoded.message();
        if (format == ContentFormat::Gzip || format == ContentFormat::Warc)
            return {};
        m_problem += QStringLiteral("; its bytes were searched as they are");
        return rereadRaw(fd);
    }

    Result<void> rereadRaw(int fd)
    {
        beginSource(m_path);
        if (::lseek(fd, 0, SEEK_SET) != 0)
            return fail(systemError(errno));
        return readRaw(fd);
    }

    Result<void> readRaw(int fd)
    {
        qint64 total = 0;
        for (;;) {
            if (stopRequested())
                return {};
            const ssize_t got = ::read(fd, m_buffer.data(), m_buffer.size());
            if (got < 0) {
                if (errno == EINTR)
                    continue;
                return fail(systemError(errno));
            }
            if (got == 0)
                return {};
            m_splitter.feed(QByteArrayView(m_buffer.data(), got));
            total += got;
            progress(total);
        }
    }

    void match(QByteArrayView segment)
    {
        forEachEmailMatch(segment, [&](qsizetype begin, qsizetype length) {
            const QByteArrayView address = segment.sliced(begin, length);
            // The first time this reader meets an address decides; later meetings cost one
            // look-up and no allocation.
            if (m_seen.contains(QByteArray::fromRawData(address.data(), address.size())))
                return;
            const QByteArray copy = address.toByteArray();
            m_seen.insert(copy);
            if (!m_job.m_settings.addressFilters.admits(address))
                return;
            m_batch.addresses.append(copy);
            m_batch.sources.append(m_source);
            if (m_batch.addresses.size() >= kBatchAddresses) {
                ScanBatch full = std::move(m_batch);
                m_batch = {};
                m_job.publish(m_seq, std::move(full), false);
            }
        });
    }

    ScanJob &m_job;
    const int m_index;
    AddressRunSplitter m_splitter;
    std::vector<char> m_buffer;
    QSet<QByteArray> m_seen;
    QString m_path;
    QString m_source;
    QString m_problem;
    qint64 m_seq = 0;
    ScanBatch m_batch;
};

ScanJob::ScanJob(Settings settings) : m_settings(std::move(settings)) {}

ScanJob::~ScanJob()
{
    cancel();
    for (std::thread &thread : m_threads)
        thread.join();
}

void ScanJob::cancel()
{
    m_cancelled = true;
    m_changed.notify_all();
}

bool ScanJob::isDone() const
{
    const std::lock_guard lock(m_mutex);
    return isCancelled() || (m_walkDone && m_head == m_pushed);
}

ScanActivity ScanJob::activity() const
{
    const std::lock_guard lock(m_mutex);
    for (const ScanActivity &reading : m_activity) {
        if (!reading.path.isEmpty())
            return reading;
    }
    return {};
}

void ScanJob::launch(std::function<void()> walk)
{
    const int readers =
        m_settings.readers > 0 ? m_settings.readers : std::clamp(QThread::idealThreadCount(), 1, 8);
    m_activity.resize(size_t(readers));
    m_threads.emplace_back([this, walk = std::move(walk)] {
        walk();
        walkFinished();
    });
    for (int i = 0; i < readers; ++i) {
        m_threads.emplace_back([this, i] {
            Reader reader(*this, i);
            reader.run();
        });
    }
}

void ScanJob::startFile(const QString &path)
{
    launch([this, path] { push({path, {}, false}); });
}

Result<void> ScanJob::startFolder(const QString &folder, const QSet<QString> &types)
{
    auto scanner = std::make_shared<DirScanner>();
    scanner->setScandepth(m_settings.depth);
    if (const Result<void> begun = scanner->begin(folder); !begun)
        return begun;
    launch([this, scanner, types] {
        // The scanner lives on this thread from here on; its events arrive directly.
        QObject::connect(scanner.get(), &DirScanner::newfile, [&](const QFileInfo &file) {
            const QString path = file.filePath();
            if (fileTypeMatches(types, path) && !push({path, {}, false}))
                scanner->Cancel();
        });
        QObject::connect(scanner.get(), &DirScanner::scanError,
                         [&](const QString &path, const QString &reason) {
                             if (!push({path, reason, true}))
                                 scanner->Cancel();
                         });
        while (!isCancelled() && scanner->step()) {
        }
        scanner->disconnect();
    });
    return {};
}

bool ScanJob::push(Item item)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return isCancelled() || m_pushed - m_head < kWalkAhead; });
    if (isCancelled())
        return false;
    m_slots.push_back({std::move(item), {}, 0, false});
    ++m_pushed;
    lock.unlock();
    m_changed.notify_all();
    return true;
}

void ScanJob::walkFinished()
{
    {
        const std::lock_guard lock(m_mutex);
        m_walkDone = true;
    }
    m_changed.notify_all();
    notifyReady();
}

bool ScanJob::claim(qint64 &seq, Item &item)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] {
        return isCancelled() || (m_claimed < m_pushed && m_claimed - m_head < kReadAhead) ||
               (m_walkDone && m_claimed == m_pushed);
    });
    if (isCancelled() || m_claimed == m_pushed)
        return false;
    seq = m_claimed++;
    item = m_slots[size_t(seq - m_head)].item;
    return true;
}

void ScanJob::publish(qint64 seq, ScanBatch batch, bool last)
{
    std::unique_lock lock(m_mutex);
    if (isCancelled())
        return;
    Slot &slot = m_slots[size_t(seq - m_head)];
    slot.pendingAddresses += batch.addresses.size();
    slot.ready.push_back(std::move(batch));
    slot.finished = last;
    const bool first = seq == m_head;
    const bool holdBack = !last && !first && slot.pendingAddresses > kMaxPending;
    if (holdBack) {
        // Ahead of the first unfinished file with a great many findings: wait for its turn
        // rather than pile them up.
        m_changed.wait(lock, [&] { return isCancelled() || seq == m_head; });
    }
    lock.unlock();
    if (first || holdBack) {
        m_changed.notify_all();
        notifyReady();
    }
}

void ScanJob::notifyReady()
{
    if (m_ready && !isCancelled() && !m_notified.exchange(true))
        m_ready();
}

std::vector<ScanBatch> ScanJob::take(bool wait)
{
    std::vector<ScanBatch> taken;
    std::unique_lock lock(m_mutex);
    m_notified = false;
    bool advanced = false;
    for (;;) {
        while (!m_slots.empty()) {
            Slot &slot = m_slots.front();
            for (ScanBatch &batch : slot.ready)
                taken.push_back(std::move(batch));
            slot.ready.clear();
            slot.pendingAddresses = 0;
            if (!slot.finished)
                break;
            m_slots.pop_front();
            ++m_head;
            advanced = true;
        }
        if (!taken.empty() || !wait || isCancelled() || (m_walkDone && m_head == m_pushed))
            break;
        m_changed.wait(lock);
    }
    lock.unlock();
    if (advanced)
        m_changed.notify_all();
    return taken;
}

} // namespace corvane
