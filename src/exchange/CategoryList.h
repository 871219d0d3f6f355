#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

// Outlook's category list: one text, "MasterList", of names each followed by ";". Kept in
// the program's settings (section "Categories") as plain text.

// The names of a stored list, in stored order: each part before a ";" as it stands, the
// text after it trimmed before the next part is taken. A last name without a ";" after it
// (a list edited by hand) is a name too.
QStringList parseMasterList(const QString &stored);

// The stored list with a new name in front. Our stored text carries no terminator, so
// nothing is cut from the old list.
QString prependToMasterList(const QString &stored, const QString &name);

class CategoryList
{
public:
    static inline const QString kSection = QStringLiteral("Categories");
    static inline const QString kKey = QStringLiteral("MasterList");

    static QString stored();
    // cmbCategory after loading.
    static QStringList load();
    // cmdAddCat: adds the trimmed name; an empty name changes nothing (false).
    static bool add(const QString &name);
};

} // namespace corvane
