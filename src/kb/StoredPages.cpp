#include "kb/StoredPages.h"

#include "kb/KnowledgeBaseLayout.h"

#include <QSet>

namespace corvane {

QList<StoredPage> storedPagesOf(const KnowledgeBaseRecord &base)
{
    QList<StoredPage> pages;
    Result<QString> folder = KnowledgeBaseLayout::knowledgeBaseFolder(base);
    Result<QList<KeywordFolderRecord>> terms =
        KnowledgeBaseCatalogue::keywordFoldersOf(base.number);
    if (!folder || !terms)
        return pages;
    QSet<QString> termsSeen;
    for (const KeywordFolderRecord &term : *terms) {
        const QString name = term.term.trimmed();
        Result<QString> keywordFolder = KnowledgeBaseLayout::keywordFolder(*folder, name);
        if (termsSeen.contains(name) || !keywordFolder)
            continue;
        termsSeen.insert(name);
        Result<QList<KnowledgeBaseLayout::IndexRow>> rows =
            KnowledgeBaseLayout::readIndex(*keywordFolder);
        if (!rows)
            continue;
        for (const KnowledgeBaseLayout::IndexRow &row : *rows) {
            pages.append(
                {{base.number, base.name.trimmed(), name, row.record.page, row.record.address},
                 KnowledgeBaseLayout::pageFile(*keywordFolder, row.record.page)});
        }
    }
    return pages;
}

} // namespace corvane
