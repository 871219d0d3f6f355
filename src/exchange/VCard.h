#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>

namespace corvane {

// Contacts as vCard 3.0 text, the form every mail program imports: one card per lead with
// the lead as its e-mail address, the chosen category, and a display name made from the
// address ("john.smith@firm.com" -> "John Smith").

struct ContactName
{
    QString formatted; // FN
    QString family;
    QString given;
    QString additional;
};
ContactName contactNameFor(const QString &lead);

// One card, UTF-8, CR LF line ends, long lines folded. An empty category writes no
// CATEGORIES line.
QByteArray vCardFor(const QString &lead, const QString &category);

// Every lead as one card in one file, written whole or not at all; progress(done, total)
// after each card.
using CardProgress = std::function<void(int done, int total)>;
Result<void> writeVCardFile(const QString &path, const QStringList &leads, const QString &category,
                            const CardProgress &progress = {});

} // namespace corvane
