#pragma once

#include "kb/KnowledgeBaseCatalogue.h"

#include <QList>
#include <QString>

namespace corvane {

// Where a stored page lives: knowledge base, taxonomy term, page number; and its address.
struct IndexedPage
{
    qint32 knowledgeBase = 0;
    QString knowledgeBaseName;
    QString term;
    qint32 page = 0;
    QString address;
    bool operator==(const IndexedPage &) const = default;
};

// A listed page and the file that holds it.
struct StoredPage
{
    IndexedPage page;
    QString file;
};

// The pages a knowledge base lists, term by term in catalogue order, each term once, page by
// page in index order. Terms and records that name no folder of this knowledge base are
// passed over, as the viewer passes over them; the page files are not opened.
QList<StoredPage> storedPagesOf(const KnowledgeBaseRecord &base);

} // namespace corvane
