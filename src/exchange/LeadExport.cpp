#include "exchange/LeadExport.h"

#include "exchange/CategoryList.h"
#include "exchange/VCard.h"
#include "leads/LeadDatabase.h"
#include "scan/ReadWorkbook.h"

#include <QFileInfo>

namespace corvane {

LeadExport::LeadExport(QObject *parent) : QObject(parent)
{
    reloadCategories();
    connect(&m_loader, &LeadSheetLoader::progress, this, &LeadExport::fetchProgress);
    connect(&m_loader, &LeadSheetLoader::failed, this, &LeadExport::fetchFailed);
    connect(&m_loader, &LeadSheetLoader::loaded, this, [this](const QStringList &leads) {
        m_leads.append(leads);
        emit fetched(m_leads.count());
    });
}

Result<qsizetype> LeadExport::fetch(const QString &path)
{
    if (path.trimmed().isEmpty())
        return fail(kSelectFileMessage);
    auto read = ReadWorkbook(path.trimmed());
    if (!read)
        return read.error();
    m_leads.append(read.value());
    return m_leads.count();
}

Result<void> LeadExport::startFetch(const QString &path)
{
    if (path.trimmed().isEmpty())
        return fail(kSelectFileMessage);
    m_loader.start(path.trimmed());
    return {};
}

void LeadExport::reloadCategories()
{
    m_categories = CategoryList::load();
}

bool LeadExport::addCategory(const QString &name)
{
    const bool added = CategoryList::add(name);
    reloadCategories();
    return added;
}

Result<QString> LeadExport::exportTo(const QString &vcfPath, const QString &category)
{
    if (m_leads.isEmpty())
        return kNoLeadsMessage;
    auto written = writeVCardFile(vcfPath, m_leads.texts(), category.trimmed(),
                                  [this](int done, int total) { emit progress(done, total); });
    // The list is emptied only once every contact is safely on disk.
    if (!written)
        return written.error();
    const qint64 count = m_leads.count();
    m_leads.clear();
    if (Result<void> recorded =
            recordExport({QStringLiteral("vcard"), QFileInfo(vcfPath).absoluteFilePath(), count});
        !recorded)
        emit recordingProblem(recorded.message());
    return kCompleteMessage;
}

} // namespace corvane
