#pragma once

#include "common/Result.h"

#include <QList>
#include <QString>

#include <optional>

namespace corvane {

// A knowledge base as KBMailGroup.qdx records it:
// "knowledge-base number@mail-group number@name@folder".
struct KnowledgeBaseRecord
{
    qint32 number = 0;
    qint32 mailGroup = 0;
    QString name;
    QString folder;
};

// A keyword folder as KBKeyword.qdx records it: "number@owner@term". The owner is always
// the knowledge-base number (never the mail-group number), so every lookup matches a
// knowledge base's keyword folders by KnowledgeBaseRecord::number.
struct KeywordFolderRecord
{
    qint32 number = 0;
    qint32 owner = 0;
    QString term;
};

// Reading and appending the two knowledge-base catalogues. Readers create a missing file
// empty, skip blank lines and pass over lines they cannot parse (a damaged file never stops
// the viewer); deletion keeps such lines when it rewrites a file.
namespace KnowledgeBaseCatalogue {

Result<QList<KnowledgeBaseRecord>> knowledgeBases();
Result<QList<KeywordFolderRecord>> keywordFolders();

// The knowledge base of that number (first match in file order).
Result<std::optional<KnowledgeBaseRecord>> findByNumber(qint32 number);
// The knowledge base of that name (first match in file order).
Result<std::optional<KnowledgeBaseRecord>> findByName(const QString &name);
// The keyword folders whose owner is that knowledge-base number, in file order.
Result<QList<KeywordFolderRecord>> keywordFoldersOf(qint32 knowledgeBaseNumber);

// Last record's number + 1 over the non-blank lines, 1 when there is none.
Result<qint32> NextKBNumber();
Result<qint32> NextKBKeywordNumber();
// Number of the last non-blank MailGroup.qdx record, 1 when there is none.
Result<qint32> LastMailGroupNumber();

// Appends "NextKBNumber@mailGroup@trimmed name@trimmed folder"; returns the number given.
// A name holding "@" would split the record and is refused (the folder is the last field).
Result<qint32> AddKBMailGroup(qint32 mailGroup, const QString &name, const QString &folder);
// Appends "NextKBKeywordNumber@owner@trimmed term"; returns the number given. A term holding
// "@" is refused, like every name in a catalogue.
Result<qint32> AddKBKeyword(qint32 owner, const QString &term);

} // namespace KnowledgeBaseCatalogue
} // namespace corvane
