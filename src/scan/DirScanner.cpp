#include "scan/DirScanner.h"

#include <QFile>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace corvane {

namespace fs = std::filesystem;

QString withTrailingSlash(const QString &path)
{
    QString result = path;
    while (result.size() > 1 && result.endsWith(QLatin1Char('/')))
        result.chop(1);
    if (!result.endsWith(QLatin1Char('/')))
        result += QLatin1Char('/');
    return result;
}

DirScanner::DirScanner(QObject *parent) : QObject(parent) {}

Result<DirScanner::Listing> DirScanner::list(const QString &folder)
{
    std::error_code ec;
    const fs::path native(QFile::encodeName(folder).toStdString());
    fs::directory_iterator it(native, ec);
    if (ec)
        return fail(QString::fromLocal8Bit(ec.message()));

    // Sorted by name so that the same tree always gives the same walk.
    std::vector<std::pair<std::string, fs::directory_entry>> entries;
    for (; it != fs::directory_iterator(); it.increment(ec)) {
        if (ec)
            return fail(QString::fromLocal8Bit(ec.message()));
        entries.emplace_back(it->path().filename().native(), *it);
    }
    std::sort(entries.begin(), entries.end(),
              [](const auto &a, const auto &b) { return a.first < b.first; });

    Listing listing;
    for (const auto &[name, entry] : entries) {
        const QString path = folder + QFile::decodeName(QByteArray::fromStdString(name));
        std::error_code statError;
        const bool isLink = entry.is_symlink(statError);
        const bool isFolder = entry.is_directory(statError); // follows links
        if (isFolder)
            listing.folders.push_back({QFileInfo(path), !isLink});
        else
            listing.files.emplace_back(path);
    }
    return listing;
}

Result<void> DirScanner::Scan(const QString &startdir)
{
    if (auto started = begin(startdir); !started)
        return started;
    while (step()) {
    }
    return {};
}

Result<void> DirScanner::begin(const QString &startdir)
{
    m_cancel = false;
    m_queue.clear();
    m_folderCounter = 0;
    m_haveCurrent = false;
    m_running = false;
    if (startdir.isEmpty())
        return fail(QStringLiteral("No folder to scan."));
    const QString start = withTrailingSlash(startdir);
    // The start folder is listed at once so that a missing or unreadable start fails the
    // call itself instead of arriving as an event.
    auto listing = list(start);
    if (!listing)
        return fail(QStringLiteral("%1: %2").arg(startdir, listing.message()));
    m_queue.push_back(start);
    m_folderCounter = 1;
    m_current = std::move(listing.value());
    m_nextFolder = m_nextFile = 0;
    m_haveCurrent = true;
    m_running = true;
    return {};
}

bool DirScanner::openNextFolder()
{
    while (!m_queue.empty()) {
        const QString folder = m_queue.front();
        ++m_folderCounter;
        auto listing = list(folder);
        if (!listing) {
            m_queue.pop_front();
            emit scanError(folder, listing.message());
            if (m_cancel)
                return false;
            continue;
        }
        m_current = std::move(listing.value());
        m_nextFolder = m_nextFile = 0;
        m_haveCurrent = true;
        return true;
    }
    return false;
}

bool DirScanner::step()
{
    if (!m_running)
        return false;
    if (m_cancel) {
        finish();
        return false;
    }
    if (!m_haveCurrent && !openNextFolder()) {
        finish();
        return false;
    }
    const bool enumerateFolders = m_scandepth <= 0 || m_folderCounter < m_scandepth;
    if (enumerateFolders && m_nextFolder < m_current.folders.size()) {
        const auto &folder = m_current.folders[m_nextFolder++];
        emit newdir(folder.info);
        if (folder.enter)
            m_queue.push_back(withTrailingSlash(folder.info.filePath()));
        return true;
    }
    if (m_nextFile < m_current.files.size()) {
        emit newfile(m_current.files[m_nextFile++]);
        return true;
    }
    m_queue.pop_front();
    m_haveCurrent = false;
    m_current = {};
    if (m_queue.empty()) {
        finish();
        return false;
    }
    return true;
}

void DirScanner::finish()
{
    m_running = false;
    m_haveCurrent = false;
    m_queue.clear();
    m_current = {};
}

} // namespace corvane
