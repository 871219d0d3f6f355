#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

namespace corvane {

// A settings value as the one text it was written as. An INI value with an unquoted comma
// comes back as a list; the program's settings never hold lists, so it is joined again.
inline QString iniText(const QVariant &value)
{
    return value.typeId() == QMetaType::QStringList ? value.toStringList().join(QLatin1Char(','))
                                                    : value.toString();
}

} // namespace corvane
