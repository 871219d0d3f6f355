#pragma once

#include "common/Result.h"
#include "kb/KnowledgeBaseCatalogue.h"

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

namespace corvane {

// Where a knowledge base keeps its files, and the records of its keyword folders' index.qdx.
// Catalogues and indexes can be edited by hand, so every path built from one of their records
// is checked here to stay inside its knowledge base: a term like "../../x" or a page number
// like "../x" is refused, never followed.
namespace KnowledgeBaseLayout {

inline constexpr char kIndexFileName[] = "index.qdx";

// The folder a knowledge-base record names: a full path whose last part is the knowledge
// base's own name (the store makes it root + name). Refused otherwise, so that a damaged
// record can neither point the viewer elsewhere nor have another folder deleted.
Result<QString> knowledgeBaseFolder(const KnowledgeBaseRecord &record);

// knowledgeBaseFolder/term, refused unless the term is one plain folder name.
Result<QString> keywordFolder(const QString &knowledgeBaseFolder, const QString &term);

// keywordFolder/N.htm.
QString pageFile(const QString &keywordFolder, qint32 page);

// One index record: "page number##source address". The address is everything after the
// first "##", so an address holding "##" survives.
struct IndexRecord
{
    qint32 page = 0;
    QString address;
};

// The record text of a row; fails with the message the viewer shows: "the index record has
// no page number" without "##", and a similar one for a page number that is not one.
Result<IndexRecord> parseIndexRecord(QStringView text);
QString indexRecordText(qint32 page, const QString &address);

// "12" -> 12: plain decimal digits of a number that fits 32 bits, nothing else (no sign,
// spaces or separators), so a page number always names a file inside its folder.
std::optional<qint32> parsePageNumber(QStringView text);

// The readable records of a keyword folder's index.qdx in file order, each with its row
// (from 1); damaged rows are passed over. A missing index has none.
struct IndexRow
{
    int row = 0;
    IndexRecord record;
};
Result<QList<IndexRow>> readIndex(const QString &keywordFolder);

// The highest page number in use in a keyword folder: in its index and among its N.htm
// files (a page written just before a crash may have no record yet). 0 for none.
Result<qint32> highestPageNumber(const QString &keywordFolder);

} // namespace KnowledgeBaseLayout
} // namespace corvane
