#include "scan/FileTypeList.h"

#include "common/DataFolder.h"
#include "scan/IniText.h"

#include <QSettings>

namespace corvane {

namespace {

const QString kSection = QStringLiteral("lstExt");
const QString kCountKey = QStringLiteral("ListCount");
// Set once a list was stored with the document types in it.
const QString kDocumentTypesKey = QStringLiteral("DocumentTypesOffered");

// More entries than anyone types by hand; a damaged count cannot make loading endless.
constexpr int kMaxStoredTypes = 4096;
// Stored values were read through a 79-character buffer.
constexpr int kMaxValueLength = 78;

QString readValue(QSettings &ini, const QString &key, const QString &fallback)
{
    const QVariant value = ini.value(kSection + QLatin1Char('/') + key);
    if (!value.isValid())
        return fallback;
    const QString text = iniText(value);
    return text.trimmed().left(kMaxValueLength).trimmed();
}

} // namespace

QString FileTypeList::iniPath()
{
    return DataFolder::root() + QLatin1Char('/') + kIniFile;
}

FileTypeList FileTypeList::load()
{
    QSettings ini(iniPath(), QSettings::IniFormat);
    bool numeric = false;
    int count = readValue(ini, kCountKey, QStringLiteral("1")).toInt(&numeric);
    if (!numeric)
        count = 1;
    count = std::clamp(count, 0, kMaxStoredTypes);
    FileTypeList list;
    for (int i = 0; i < count; ++i)
        list.m_entries.push_back({readValue(ini, QString::number(i), kAllFiles), true});
    if (ini.value(kSection + QLatin1Char('/') + kDocumentTypesKey).isValid())
        return list;
    for (const QString &type : kDocumentTypes) {
        if (std::none_of(list.m_entries.begin(), list.m_entries.end(),
                         [&](const Entry &e) { return e.type == type; }))
            list.m_entries.push_back({type, false});
    }
    return list;
}

void FileTypeList::save() const
{
    QSettings ini(iniPath(), QSettings::IniFormat);
    ini.setValue(kSection + QLatin1Char('/') + kCountKey, QString::number(count()));
    for (int i = 0; i < count(); ++i)
        ini.setValue(kSection + QLatin1Char('/') + QString::number(i), m_entries[i].type);
    ini.setValue(kSection + QLatin1Char('/') + kDocumentTypesKey, QStringLiteral("1"));
    ini.sync();
}

void FileTypeList::setChecked(int index, bool checked)
{
    if (index >= 0 && index < count())
        m_entries[index].checked = checked;
}

bool FileTypeList::anyChecked() const
{
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [](const Entry &e) { return e.checked; });
}

FileTypeList::AddOutcome FileTypeList::add(const QString &fieldText)
{
    AddOutcome outcome;
    QString text = fieldText;
    if (text.size() < 4) {
        outcome.message = kLengthMessage;
        outcome.fieldText = fieldText;
        return outcome;
    }
    if (text.size() > 4) {
        outcome.message = kLengthMessage;
        text = text.right(4);
    }
    const QString trimmed = text.trimmed();
    const bool present = std::any_of(m_entries.begin(), m_entries.end(),
                                     [&](const Entry &e) { return e.type == trimmed; });
    if (!present) {
        m_entries.push_back({trimmed, false});
        outcome.added = true;
    }
    outcome.fieldText.clear();
    return outcome;
}

std::optional<QString> FileTypeList::removeChecked()
{
    if (!anyChecked())
        return kNoneCheckedMessage;
    std::erase_if(m_entries, [](const Entry &e) { return e.checked; });
    return std::nullopt;
}

QSet<QString> FileTypeList::checkedTypes() const
{
    QSet<QString> types;
    for (const Entry &e : m_entries) {
        if (e.checked)
            types.insert(e.type);
    }
    return types;
}

bool fileTypeMatches(const QSet<QString> &checkedTypes, const QString &path)
{
    if (checkedTypes.contains(FileTypeList::kAllFiles) || checkedTypes.contains(path.right(4)))
        return true;
    return std::any_of(FileTypeList::kDocumentTypes.begin(), FileTypeList::kDocumentTypes.end(),
                       [&](const QString &type) {
                           return type.size() > 4 && path.endsWith(type) &&
                                  checkedTypes.contains(type);
                       });
}

} // namespace corvane
