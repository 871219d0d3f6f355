#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace corvane {

// The leads scan's list of file types: four-character endings such as ".txt", or ".***"
// for every file, each with a check mark; the checked ones choose the files of a folder
// scan. Kept in "extractor.ini" in the data folder (section "lstExt", "ListCount" and one
// key per entry, numbered from "0").
class FileTypeList
{
public:
    struct Entry
    {
        QString type;
        bool checked = false;
        bool operator==(const Entry &) const = default;
    };

    static inline const QString kAllFiles = QStringLiteral(".***");
    static inline const QString kIniFile = QStringLiteral("extractor.ini");
    static inline const QString kLengthMessage =
        QStringLiteral("Extension must be 4 characters long (including .).");
    static inline const QString kNoneCheckedMessage =
        QStringLiteral("Please select a file type to remove.");
    // The types the scan reads by their content (DocumentText.h) rather than as raw bytes.
    // They are offered in every list, unchecked, until the list is first stored with them;
    // what the user removes after that stays removed. They are the only entries longer than
    // four characters, and match the end of a file's name.
    static inline const QStringList kDocumentTypes = {
        QStringLiteral(".warc"), QStringLiteral(".warc.gz"), QStringLiteral(".docx"),
        QStringLiteral(".xlsx"), QStringLiteral(".odt"),     QStringLiteral(".pdf")};

    // Reads the stored list; every stored type starts checked. Without a settings file the
    // list is ".***" alone, checked, and the document types.
    static FileTypeList load();
    // Stores the list, and that the document types were offered. Keys past the new count that
    // an earlier, longer list left stay in the file; they are never read.
    void save() const;

    const std::vector<Entry> &entries() const { return m_entries; }
    int count() const { return static_cast<int>(m_entries.size()); }
    void setChecked(int index, bool checked);
    bool anyChecked() const;

    // What the add button does with the entry field's text.
    struct AddOutcome
    {
        std::optional<QString> message; // to show first, if any
        bool added = false;
        QString fieldText; // the entry field afterwards
    };
    AddOutcome add(const QString &fieldText);

    // Removes every checked entry; the message when none is checked.
    std::optional<QString> removeChecked();

    // The checked types, as the folder scan matches them.
    QSet<QString> checkedTypes() const;

    static QString iniPath();

private:
    std::vector<Entry> m_entries;
};

// Whether a folder scan reads the file: its path's last four characters are a checked type,
// its name ends with a checked document type, or ".***" is checked. Case-sensitive, like the
// stored types.
bool fileTypeMatches(const QSet<QString> &checkedTypes, const QString &path);

} // namespace corvane
