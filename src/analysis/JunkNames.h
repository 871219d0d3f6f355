#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace corvane {

// Address-shaped names that are files, not mailboxes: "logo@2x.png", "sprite@3x.webp".
// The modern profile drops them after the ending rule.
class JunkNameRule
{
public:
    // Nothing is junk.
    JunkNameRule() = default;
    // extensions: "png", ".png" and "PNG" all name the same one.
    explicit JunkNameRule(const QStringList &extensions);

    // True when the address's ending after its last "." is a listed extension, or when its
    // local part, or the start of its domain part, is a scale marker ("2x", "3x", "1.5x").
    bool isJunk(QByteArrayView address) const;

private:
    QSet<QByteArray> m_extensions; // lower case, without the dot
};

// An extension as the list keeps it ("PNG", ".png" -> "png"), or empty when text is not 1 to
// 16 letters and digits (after a leading ".").
QString normalisedJunkExtension(QStringView text);

// One entry of the junk-extension list: the extension and whether it is in force (the
// filters tab shows it as a check box).
struct JunkExtension
{
    QString name; // lower case, without the dot
    bool inForce = true;
    bool operator==(const JunkExtension &) const = default;
};

// The list file: one extension a line, ";" starts a comment line, "-" first marks an entry
// that is switched off. A leading "." is dropped; entries that are not 1 to 16 letters and
// digits, and repeats, are skipped.
QList<JunkExtension> readJunkExtensions(QStringView fileText);
QByteArray writeJunkExtensions(const QList<JunkExtension> &entries);

// "search/junk-extensions.txt": the data folder's copy when it has one, else the bundled list.
QList<JunkExtension> loadJunkExtensions();
// Writes the data folder's copy, which from then on replaces the bundled list. Returns the
// reason when the file cannot be written.
std::optional<QString> saveJunkExtensions(const QList<JunkExtension> &entries);

} // namespace corvane
