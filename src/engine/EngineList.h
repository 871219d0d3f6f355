#pragma once

#include <QList>
#include <QString>

#include <functional>

namespace corvane {

// One search engine of the provider's list: the engine number is its 1-based place in the
// provider's text.
struct EngineEntry
{
    int number = 0;
    QString name;
    QString address;
};

// The entries read from "name$address#name$address#...". A malformed entry stops the
// reading; the entries before it are kept and `error` says what was wrong.
struct EngineListReading
{
    QList<EngineEntry> entries;
    QString error;
};

EngineListReading parseEngineList(const QString &text);

// The provider's lists may be blank until it has refreshed them: a blank first answer
// asks for a refresh and reads once more.
QString readWithRefresh(const std::function<QString()> &read, const std::function<void()> &refresh);

} // namespace corvane
