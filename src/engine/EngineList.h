#pragma once

#include <QList>
#include <QString>

#include <functional>

namespace corvane {

// One search engine as the engine list shows it: the engine number is its 1-based place in
// the provider's text, and the line keeps the address out of sight behind 50 blanks.
struct EngineEntry
{
    int number = 0;
    QString name;
    QString address;

    QString line() const;
    // The address read back from a list line: the text after its first "$".
    static QString addressOfLine(const QString &line);
    // The name a list line shows: the text before its first "$", without the blanks.
    static QString nameOfLine(const QString &line);
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
