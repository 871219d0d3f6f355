#pragma once

#include "common/Result.h"
#include "kb/KnowledgeBaseCatalogue.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace corvane {

// Called now and then during a long export or import with the work done and the work in all
// (pages for an export, archive bytes for an import).
using ArchiveProgress = std::function<void(qint64 done, qint64 total)>;

struct WarcExportSummary
{
    qint64 pages = 0;   // response records written
    qint64 missing = 0; // listed pages whose file could not be read
};

// Writes a knowledge base's stored pages to a web archive (WARC/1.1): a warcinfo record, then
// one response record per page with the page's address as target URI and its stored bytes,
// unchanged, as payload. A name ending in .gz gets gzip per record. The archive is written
// under a temporary name and takes its own only when complete, so a failure leaves no
// half-written file and an existing file is replaced only by a whole one.
Result<WarcExportSummary> exportKnowledgeBaseWarc(const KnowledgeBaseRecord &base,
                                                  const QString &archivePath,
                                                  const ArchiveProgress &progress = {});

struct WarcImportRequest
{
    QString knowledgeBaseName; // before the date and time, as a harvest names it
    QStringList terms;         // the taxonomy terms titles are matched against, in order
    QString root;              // the knowledge-base root folder
};

struct WarcImportSummary
{
    QString knowledgeBase; // the full name of the knowledge base filled; empty when none
    qint64 responses = 0;  // HTTP responses in the archive
    qint64 stored = 0;     // pages stored
    qint64 notPages = 0;   // responses that are no HTML page, or no success
    qint64 cut = 0;        // pages longer than an import takes, or with broken coding
    qint64 notFiled = 0;   // pages no term's rule took (title missing or matching no term)
    QStringList problems;  // steps passed over, once each (favourites, search index)
    QString failure;       // why the import stopped before the archive's end; empty if not
};

// Stores the HTML pages of any web archive into a new knowledge base as a harvest stores
// fetched pages: the same naming, the same title rule for terms, each address once. The
// archive is read as a stream, so memory stays flat whatever its size. Fails when nothing
// could start (an unreadable archive, a name the disk refuses); damage found later in the
// archive, or a page that cannot be written, stops the import with summary.failure set, and
// the pages stored before it stay.
Result<WarcImportSummary> importWarc(const QString &archivePath, const WarcImportRequest &request,
                                     const ArchiveProgress &progress = {});

} // namespace corvane
