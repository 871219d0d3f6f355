#include "kb/KnowledgeBaseArchive.h"

#include "exchange/WarcReader.h"
#include "exchange/WarcWriter.h"
#include "kb/Catalogues.h"
#include "kb/MailGroupRules.h"
#include "kb/NameRules.h"
#include "kb/PageStore.h"
#include "kb/StoredPages.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace corvane {

namespace {

// Progress is told about this often; telling it per page would cost more than the page.
constexpr qint64 kProgressEveryPages = 64;
constexpr qint64 kProgressEveryBytes = 8 * 1024 * 1024;

QByteArray mediaType(const WarcResponse &response)
{
    return response.contentType.split(';').first().trimmed().toLower();
}

// A successful response that may be a page, by its head: our archives say the pages are
// HTML, other archives are taken at their word, and a response without a type is looked at.
bool mayBePage(const WarcResponse &response)
{
    const QByteArray type = mediaType(response);
    return response.status >= 200 && response.status <= 299 &&
           (type.isEmpty() || type == "text/html" || type == "application/xhtml+xml");
}

// Of those, a response without a type counts as a page when it begins like one.
bool isHtmlPage(const WarcResponse &response)
{
    if (!mediaType(response).isEmpty())
        return true;
    const QByteArray head = response.payload.left(1024).toLower();
    return head.contains("<html") || head.contains("<!doctype html");
}

} // namespace

Result<WarcExportSummary> exportKnowledgeBaseWarc(const KnowledgeBaseRecord &base,
                                                  const QString &archivePath,
                                                  const ArchiveProgress &progress)
{
    const QList<StoredPage> pages = storedPagesOf(base);
    QSaveFile archive(archivePath);
    const auto failed = [&](const QString &why) {
        archive.cancelWriting();
        return fail(QStringLiteral("Cannot write the archive %1: %2")
                        .arg(QDir::toNativeSeparators(archivePath), why));
    };
    if (!archive.open(QIODevice::WriteOnly))
        return failed(archive.errorString());
    WarcWriter writer(archive, archivePath.endsWith(QLatin1String(".gz"), Qt::CaseInsensitive));
    const QByteArray software =
        QStringLiteral("Corvane %1").arg(QCoreApplication::applicationVersion()).trimmed().toUtf8();
    if (Result<void> written =
            writer.writeWarcinfo(QFileInfo(archivePath).fileName(),
                                 {{"software", software},
                                  {"format", "WARC File Format 1.1"},
                                  {"isPartOf", base.name.trimmed().toUtf8()},
                                  {"description", "Pages of a Corvane knowledge base"}});
        !written)
        return failed(written.message());

    WarcExportSummary summary;
    const qint64 total = pages.size();
    for (qint64 done = 0; done < total; ++done) {
        if (progress && done % kProgressEveryPages == 0)
            progress(done, total);
        const StoredPage &stored = pages.at(done);
        QFile file(stored.file);
        if (!file.open(QIODevice::ReadOnly)) {
            ++summary.missing;
            continue;
        }
        WarcPage page;
        page.targetUri = stored.page.address.trimmed();
        page.captured = QFileInfo(file).lastModified();
        page.body = file.readAll();
        if (Result<void> written = writer.writeResponse(page); !written)
            return failed(written.message());
        ++summary.pages;
    }
    if (!archive.commit())
        return failed(archive.errorString());
    if (progress)
        progress(total, total);
    return summary;
}

Result<WarcImportSummary> importWarc(const QString &archivePath, const WarcImportRequest &request,
                                     const ArchiveProgress &progress)
{
    QFile archive(archivePath);
    if (!archive.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("Cannot read the archive %1: %2")
                        .arg(QDir::toNativeSeparators(archivePath), archive.errorString()));
    const QString root = QFileInfo(request.root).absoluteFilePath();
    const QString name = request.knowledgeBaseName.trimmed();
    if (Result<void> names = checkKnowledgeBaseNames(root, name, request.terms); !names)
        return names.error();

    // Filed as a harvest with a knowledge-base name and no keyword tab files its pages, once
    // the first page comes: an archive without one leaves no mail group behind.
    PageStore store;
    const auto prepareStore = [&]() -> Result<void> {
        if (!store.settings().root.isEmpty())
            return {};
        MailGroupCatalogue groups;
        MailGroupChoice choice;
        if (Result<CatalogueEntry> named = nameKnowledgeBase(groups, choice, name); !named)
            return named.error();
        const KnowledgeBaseFiling filing = knowledgeBaseFiling(choice, false);
        PageStoreSettings settings;
        settings.root = root;
        settings.baseName = filing.baseName;
        settings.mailGroup = filing.mailGroup;
        settings.selectedTerms = request.terms;
        store.setSettings(settings);
        return {};
    };

    WarcImportSummary summary;
    const qint64 size = archive.size();
    qint64 told = -kProgressEveryBytes;
    // Every response passes here first; the bodies of pictures, scripts and failures are
    // never unpacked.
    const auto wanted = [&](const WarcResponse &response) {
        ++summary.responses;
        if (progress && archive.pos() - told >= kProgressEveryBytes) {
            told = archive.pos();
            progress(told, size);
        }
        if (mayBePage(response))
            return true;
        ++summary.notPages;
        return false;
    };
    const auto keep = [&](const WarcResponse &response) {
        if (!isHtmlPage(response)) {
            ++summary.notPages;
            return true;
        }
        if (response.payloadCut) {
            ++summary.cut;
            return true;
        }
        if (Result<void> ready = prepareStore(); !ready) {
            summary.failure = ready.message();
            return false;
        }
        Result<SaveOutcome> outcome =
            store.SaveTaxonomy(response.targetUri.trimmed(), response.payload);
        if (!outcome) {
            summary.failure = outcome.message();
            return false;
        }
        for (const QString &problem : outcome->problems) {
            if (!summary.problems.contains(problem))
                summary.problems.append(problem);
        }
        if (outcome->stored())
            ++summary.stored;
        else if (!outcome->skipped.isEmpty())
            ++summary.notFiled;
        return true;
    };
    const Result<void> read = forEachWarcResponse(archive, keep, {}, wanted);
    if (!read && summary.failure.isEmpty())
        summary.failure = read.message();
    if (store.pageCounter() > 0)
        summary.knowledgeBase = store.KnowledgeBaseName();
    if (progress)
        progress(archive.pos(), size);
    return summary;
}

} // namespace corvane
