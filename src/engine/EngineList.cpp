#include "engine/EngineList.h"

namespace corvane {

EngineListReading parseEngineList(const QString &text)
{
    EngineListReading reading;
    if (!text.contains(QLatin1Char('#')))
        return reading;
    qsizetype pos = 0;
    int number = 1;
    while (pos < text.size()) {
        const qsizetype hash = text.indexOf(QLatin1Char('#'), pos);
        if (hash < 0) {
            reading.error = QStringLiteral("the engine list's last entry has no closing \"#\"");
            break;
        }
        const QString entry = text.mid(pos, hash - pos);
        const qsizetype dollar = entry.indexOf(QLatin1Char('$'));
        if (dollar < 0) {
            reading.error = QStringLiteral("engine entry \"%1\" has no \"$\"").arg(entry);
            break;
        }
        reading.entries.append(EngineEntry{number++, entry.left(dollar), entry.mid(dollar + 1)});
        pos = hash + 1;
    }
    return reading;
}

QString readWithRefresh(const std::function<QString()> &read, const std::function<void()> &refresh)
{
    QString text = read();
    if (text.trimmed().isEmpty()) {
        refresh();
        text = read();
    }
    return text;
}

} // namespace corvane
