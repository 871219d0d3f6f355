#pragma once

#include "common/Result.h"

#include <QList>
#include <QString>

#include <optional>

namespace corvane {

// One list entry of a catalogue: what the list shows and the number it carries.
struct CatalogueEntry
{
    qint32 number = 0;
    QString text;
    bool operator==(const CatalogueEntry &) const = default;
};

// The catalogue files in the data folder's IOFiles folder.
namespace CatalogueFiles {
QString taxonomy();     // Taxonomy.qdx
QString mailGroups();   // MailGroup.qdx
QString keywords();     // Keyword.qdx
QString kbMailGroups(); // KBMailGroup.qdx
QString kbKeywords();   // KBKeyword.qdx
} // namespace CatalogueFiles

// Taxonomy terms (Taxonomy.qdx): "number@term". Loaded once by the harvest window; terms
// are appended and never renumbered. The next number is the last record's number + 1 (not
// the highest), 1 for an empty file; numbers are never reused.
class TaxonomyCatalogue
{
public:
    // LoadTaxonomy: creates a missing file empty, skips lines blank after unscrambling.
    // A line without "@" or with a number that is not a 32-bit integer stops the load with
    // a message naming the file and line; entries read before it stay loaded.
    Result<void> LoadTaxonomy();

    // AddTaxonomy: trims the input; empty input or a term listed with exactly the same
    // letters (case-sensitive) adds nothing and returns nothing. A term that is not a valid
    // folder name or cannot be stored is refused with a message. Otherwise appends the
    // record, lists the term and advances the next number; the new entry is returned (the
    // window selects the entries carrying its number).
    Result<std::optional<CatalogueEntry>> AddTaxonomy(const QString &input);

    const QList<CatalogueEntry> &entries() const { return m_entries; }
    qint64 nextNumber() const { return m_next; }
    // The window's list changes through deletion; keep the model in step.
    void setEntries(QList<CatalogueEntry> entries) { m_entries = std::move(entries); }

private:
    QList<CatalogueEntry> m_entries;
    qint64 m_next = 1;
};

// Mail groups (MailGroup.qdx): "number@name". The next mail-group number is one value for
// the whole program (the page store reads it to find the group added last).
class MailGroupCatalogue
{
public:
    // LoadMailGroups: clears and refills; same line rules as LoadTaxonomy.
    Result<void> LoadMailGroups();

    // AddMailGroup: appends "next@trimmed name" and lists it. The caller checks first for
    // an empty name ("Please enter Mail Group name") and a listed one ("Mail Group already
    // exist"); a name that cannot become a knowledge-base folder name is refused here.
    Result<CatalogueEntry> AddMailGroup(const QString &name);

    const QList<CatalogueEntry> &entries() const { return m_entries; }
    qint64 nextNumber() const { return m_next; }
    // The group added last: next number - 1.
    qint64 lastAddedNumber() const { return m_next - 1; }

private:
    QList<CatalogueEntry> m_entries;
    qint64 m_next = 0;
};

// Keywords (Keyword.qdx): "number@mail-group number@keyword".
class KeywordCatalogue
{
public:
    // LoadKeywords: fills allKeywords() (text "group@keyword", as lstKey holds them) and
    // groupKeywords() with the keywords of mailGroup (as lstKeyword). Unlike the other
    // catalogues every line must hold two "@" and a numeric group: a blank or malformed
    // line stops the load with a message naming the file and line. The lists are cleared
    // first.
    Result<void> LoadKeywords(qint32 mailGroup);

    // AddKeyword: appends "next@mailGroup@trimmed keyword" and lists it in both lists.
    // Empty input adds nothing; a keyword the catalogue cannot hold ("@", see checkRecordText)
    // is refused with a message. Which group a keyword goes to is the window's choice (with
    // the new-mail-group option, MailGroupCatalogue::lastAddedNumber()).
    Result<std::optional<CatalogueEntry>> AddKeyword(const QString &input, qint32 mailGroup);

    const QList<CatalogueEntry> &allKeywords() const { return m_all; }
    const QList<CatalogueEntry> &groupKeywords() const { return m_group; }
    qint64 nextNumber() const { return m_next; }

private:
    QList<CatalogueEntry> m_all;
    QList<CatalogueEntry> m_group;
    qint64 m_next = 1;
};

// Splits "number@rest" the way every catalogue reader does: the number is the text before
// the first "@" as a signed 32-bit integer (surrounding spaces allowed), the rest is
// everything after it. Nothing for a line without "@" or with a bad number.
std::optional<CatalogueEntry> splitNumbered(const QString &recordText);

// Numbers run out at the top of the signed 32-bit range; adding then fails with this.
inline constexpr char kNumbersExhausted[] = "Overflow";

// "12" -> 12 with the range and format rules of the files; nothing otherwise.
std::optional<qint32> parseRecordNumber(QStringView text);

} // namespace corvane
