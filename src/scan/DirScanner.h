#pragma once

#include "common/Result.h"

#include <QFileInfo>
#include <QObject>
#include <QString>

#include <deque>
#include <vector>

namespace corvane {

// Walks a folder tree breadth-first and reports every folder and file it meets; it filters
// nothing, the listener decides. A folder's direct subfolders are all reported (newdir)
// before its files (newfile), and a folder's files come when its turn in the queue comes.
//
// Scandepth counts folders taken from the queue, not nesting levels: 0 = no limit, 1 = the
// start folder's files only, N >= 2 = the subfolders of the first N - 1 folders visited.
//
// The walk can run in one call (Scan) or in steps (begin + step) so that a window can
// spread it over event-loop turns; Cancel may be called from any listener and no further
// event follows it. Folders linked by symbolic links are reported but not entered, so a
// link cycle cannot make the walk endless.
class DirScanner : public QObject
{
    Q_OBJECT
public:
    explicit DirScanner(QObject *parent = nullptr);

    void setScandepth(int depth) { m_scandepth = depth; }
    int Scandepth() const { return m_scandepth; }

    // Haults scanning.
    void Cancel() { m_cancel = true; }
    bool isCancelled() const { return m_cancel; }

    // Begins scanning; usage: scanner.Scan(path). Returns when the walk is complete or
    // cancelled. Fails when the start folder cannot be listed; folders below it that cannot
    // be listed are reported through scanError and the walk goes on.
    Result<void> Scan(const QString &startdir);

    // The same walk in steps: begin() lists nothing yet; each step() raises at most one
    // event (or lists one folder) and returns false once the walk is over.
    Result<void> begin(const QString &startdir);
    bool step();
    bool isRunning() const { return m_running; }

    // Folders taken from the queue so far in this walk.
    int foldersVisited() const { return m_folderCounter; }

signals:
    // Fires every time a directory is encountered.
    void newdir(const QFileInfo &d);
    // Fires every time a file is encountered.
    void newfile(const QFileInfo &f);
    // A folder below the start folder could not be listed; the walk goes on without it.
    void scanError(const QString &path, const QString &reason);

private:
    struct Listing
    {
        struct Folder
        {
            QFileInfo info;
            bool enter; // false for a symbolic link to a folder
        };
        std::vector<Folder> folders;
        std::vector<QFileInfo> files;
    };
    static Result<Listing> list(const QString &folder);
    // Takes the next folder from the queue and lists it; false when the queue is empty.
    bool openNextFolder();
    void finish();

    int m_scandepth = 0;
    bool m_cancel = false;
    bool m_running = false;
    int m_folderCounter = 0;
    std::deque<QString> m_queue; // each entry ends in "/"
    Listing m_current;
    size_t m_nextFolder = 0;
    size_t m_nextFile = 0;
    bool m_haveCurrent = false;
};

// The folder path as the walk queues it: with exactly one trailing "/".
QString withTrailingSlash(const QString &path);

} // namespace corvane
