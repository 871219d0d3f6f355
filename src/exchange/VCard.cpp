#include "exchange/VCard.h"

#include <QRegularExpression>
#include <QSaveFile>

namespace corvane {

namespace {

QString escapeText(const QString &text)
{
    QString escaped;
    escaped.reserve(text.size());
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '\\':
        case ',':
        case ';':
            escaped += QLatin1Char('\\');
            escaped += c;
            break;
        case '\n':
            escaped += QStringLiteral("\\n");
            break;
        case '\r':
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

// Lines longer than 75 octets continue on the next line after CR LF and one blank; a
// character's UTF-8 bytes are never split.
QByteArray foldedLine(const QString &line)
{
    const QByteArray bytes = line.toUtf8();
    QByteArray out;
    qsizetype lineLength = 0;
    for (qsizetype i = 0; i < bytes.size();) {
        qsizetype charLength = 1;
        const auto lead = static_cast<unsigned char>(bytes[i]);
        if (lead >= 0xF0)
            charLength = 4;
        else if (lead >= 0xE0)
            charLength = 3;
        else if (lead >= 0xC0)
            charLength = 2;
        charLength = std::min(charLength, bytes.size() - i);
        if (lineLength + charLength > 75) {
            out += "\r\n ";
            lineLength = 1;
        }
        out += bytes.mid(i, charLength);
        lineLength += charLength;
        i += charLength;
    }
    out += "\r\n";
    return out;
}

QString capitalized(const QString &word)
{
    return word.isEmpty() ? word : word.left(1).toUpper() + word.mid(1);
}

} // namespace

ContactName contactNameFor(const QString &lead)
{
    static const QRegularExpression separators(QStringLiteral("[._\\-]+"));
    const qsizetype at = lead.indexOf(QLatin1Char('@'));
    const QString local = at < 0 ? lead : lead.left(at);
    QStringList words = local.split(separators, Qt::SkipEmptyParts);
    for (QString &word : words)
        word = capitalized(word);
    ContactName name;
    if (words.isEmpty()) {
        name.formatted = lead;
        return name;
    }
    name.formatted = words.join(QLatin1Char(' '));
    name.given = words.first();
    if (words.size() > 1) {
        name.family = words.last();
        name.additional = words.mid(1, words.size() - 2).join(QLatin1Char(' '));
    }
    return name;
}

QByteArray vCardFor(const QString &lead, const QString &category)
{
    const ContactName name = contactNameFor(lead);
    QByteArray card = "BEGIN:VCARD\r\nVERSION:3.0\r\n";
    card += foldedLine(QStringLiteral("FN:") + escapeText(name.formatted));
    card += foldedLine(
        QStringLiteral("N:%1;%2;%3;;")
            .arg(escapeText(name.family), escapeText(name.given), escapeText(name.additional)));
    card += foldedLine(QStringLiteral("EMAIL;TYPE=INTERNET:") + escapeText(lead));
    if (!category.isEmpty())
        card += foldedLine(QStringLiteral("CATEGORIES:") + escapeText(category));
    card += "END:VCARD\r\n";
    return card;
}

Result<void> writeVCardFile(const QString &path, const QStringList &leads, const QString &category,
                            const CardProgress &progress)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    const int total = int(leads.size());
    for (int i = 0; i < total; ++i) {
        const QByteArray card = vCardFor(leads.at(i), category);
        if (file.write(card) != card.size())
            return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
        if (progress)
            progress(i + 1, total);
    }
    if (!file.commit())
        return fail(QStringLiteral("Cannot write %1: %2").arg(path, file.errorString()));
    return {};
}

} // namespace corvane
