#include "leads/LeadFormats.h"

#include "leads/LeadDatabase.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QIODevice>
#include <QSaveFile>
#include <QTimeZone>

#include <chrono>

namespace corvane {

namespace {

constexpr char kFieldNames[][12] = {"email",     "source_url", "page_title", "first_seen",
                                    "last_seen", "run",        "mx"};

void appendCsvField(QByteArray &out, const QString &text)
{
    const QByteArray utf8 = text.toUtf8();
    const bool quoted =
        utf8.contains(',') || utf8.contains('"') || utf8.contains('\r') || utf8.contains('\n');
    if (!quoted) {
        out += utf8;
        return;
    }
    out += '"';
    for (const char c : utf8) {
        if (c == '"')
            out += '"';
        out += c;
    }
    out += '"';
}

void appendJsonTime(QByteArray &out, qint64 ms)
{
    out += '"';
    appendIsoUtc(out, ms);
    out += '"';
}

} // namespace

void appendJsonString(QByteArray &out, const QString &text)
{
    static constexpr char kHex[] = "0123456789abcdef";
    const QByteArray utf8 = text.toUtf8();
    out += '"';
    qsizetype plain = 0; // start of the bytes not yet copied, which need no escape
    for (qsizetype i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        if (byte >= 0x20 && byte != '"' && byte != '\\')
            continue;
        out.append(utf8.constData() + plain, i - plain);
        plain = i + 1;
        switch (byte) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            out += "\\u00";
            out += kHex[byte >> 4];
            out += kHex[byte & 0xf];
        }
    }
    out.append(utf8.constData() + plain, utf8.size() - plain);
    out += '"';
}

void appendIsoUtc(QByteArray &out, qint64 ms)
{
    using namespace std::chrono;
    const sys_seconds time{floor<seconds>(milliseconds(ms))};
    const sys_days day = floor<days>(time);
    const year_month_day date{day};
    const hh_mm_ss clock{time - day};
    // By hand: a million rows carry two times each, and printf's parsing of its format
    // string was a fifth of a whole listing.
    char text[32];
    char *end = text;
    const auto digits = [&end](long long value, int width) {
        if (value < 0) {
            *end++ = '-';
            value = -value;
        }
        char reversed[24];
        int count = 0;
        do {
            reversed[count++] = char('0' + value % 10);
            value /= 10;
        } while (value > 0 || count < width);
        while (count > 0)
            *end++ = reversed[--count];
    };
    digits(int(date.year()), 4);
    *end++ = '-';
    digits(unsigned(date.month()), 2);
    *end++ = '-';
    digits(unsigned(date.day()), 2);
    *end++ = 'T';
    digits(clock.hours().count(), 2);
    *end++ = ':';
    digits(clock.minutes().count(), 2);
    *end++ = ':';
    digits(clock.seconds().count(), 2);
    *end++ = 'Z';
    out.append(text, end - text);
}

QString isoUtc(qint64 ms)
{
    QByteArray text;
    appendIsoUtc(text, ms);
    return QString::fromLatin1(text);
}

Result<qint64> parseLeadTime(const QString &text)
{
    const QString trimmed = text.trimmed();
    // Qt reads a date from the front of a date-time, so only ten characters make a date.
    const QDate date = trimmed.size() == 10 ? QDate::fromString(trimmed, Qt::ISODate) : QDate();
    if (date.isValid())
        return QDateTime(date, QTime(0, 0), QTimeZone::utc()).toMSecsSinceEpoch();
    QDateTime time = QDateTime::fromString(trimmed, Qt::ISODate);
    if (!time.isValid())
        return fail(QStringLiteral("\"%1\" is not a date or time such as 2024-05-31 or "
                                   "2024-05-31T14:00:00Z")
                        .arg(text));
    if (time.timeSpec() == Qt::LocalTime)
        time.setTimeZone(QTimeZone::utc());
    return time.toMSecsSinceEpoch();
}

LeadOutputFormat addressLinesFormat()
{
    return {{}, [](QByteArray &out, const LeadRow &lead) {
                out += lead.email.toUtf8();
                out += '\n';
            }};
}

LeadOutputFormat csvFormat()
{
    QByteArray header;
    for (const char *name : kFieldNames) {
        if (!header.isEmpty())
            header += ',';
        header += name;
    }
    header += "\r\n";
    return {header, [](QByteArray &out, const LeadRow &lead) {
                appendCsvField(out, lead.email);
                out += ',';
                appendCsvField(out, lead.source);
                out += ',';
                appendCsvField(out, lead.title);
                out += ',';
                appendIsoUtc(out, lead.firstSeenMs);
                out += ',';
                appendIsoUtc(out, lead.lastSeenMs);
                out += ',';
                out += QByteArray::number(lead.run);
                out += ',';
                appendCsvField(out, lead.mx);
                out += "\r\n";
            }};
}

LeadOutputFormat jsonLinesFormat()
{
    return {{}, [](QByteArray &out, const LeadRow &lead) {
                const auto key = [&out](int field) {
                    out += field == 0 ? "{\"" : ",\"";
                    out += kFieldNames[field];
                    out += "\":";
                };
                key(0);
                appendJsonString(out, lead.email);
                key(1);
                appendJsonString(out, lead.source);
                key(2);
                appendJsonString(out, lead.title);
                key(3);
                appendJsonTime(out, lead.firstSeenMs);
                key(4);
                appendJsonTime(out, lead.lastSeenMs);
                key(5);
                out += QByteArray::number(lead.run);
                key(6);
                appendJsonString(out, lead.mx);
                out += "}\n";
            }};
}

namespace {

bool isWebPage(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

} // namespace

QString leadSourceText(const LeadSource &source)
{
    if (isWebPage(QUrl(source.location))) {
        QString text = QStringLiteral("Found at %1").arg(source.location);
        if (!source.title.trimmed().isEmpty())
            text += QLatin1Char('\n') + source.title.trimmed();
        return text;
    }
    return QStringLiteral("Found in %1").arg(QDir::toNativeSeparators(source.location));
}

QUrl leadSourceLink(const LeadSource &source)
{
    const QUrl url(source.location);
    if (isWebPage(url))
        return url;
    const QFileInfo file(source.location);
    if (source.location.isEmpty() || !file.isAbsolute())
        return {};
    return QUrl::fromLocalFile(file.absolutePath());
}

Result<qint64> writeLeads(LeadDatabase &db, const LeadSelection &selection,
                          const LeadOutputFormat &format, QIODevice &out)
{
    constexpr qsizetype kChunk = 256 * 1024;
    QByteArray buffer = format.header;
    buffer.reserve(kChunk + 4096);
    bool written = true;
    const auto drain = [&] {
        written = out.write(buffer) == buffer.size();
        buffer.clear();
        return written;
    };
    const Result<qint64> count = db.forEachLead(selection, [&](const LeadRow &lead) {
        format.row(buffer, lead);
        return buffer.size() < kChunk || drain();
    });
    if (!count)
        return count;
    if (written && !buffer.isEmpty())
        drain();
    if (!written)
        return fail(QStringLiteral("writing the leads failed: %1").arg(out.errorString()));
    return count;
}

Result<qint64> writeEachSelection(LeadDatabase &db, const std::vector<LeadSelection> &selections,
                                  LeadOutputFormat format, QIODevice &out)
{
    if (selections.empty()) {
        if (out.write(format.header) != format.header.size())
            return fail(QStringLiteral("writing the leads failed: %1").arg(out.errorString()));
        return 0;
    }
    qint64 count = 0;
    for (const LeadSelection &selection : selections) {
        const Result<qint64> written = writeLeads(db, selection, format, out);
        if (!written)
            return written;
        count += *written;
        format.header.clear();
    }
    return count;
}

Result<qint64> writeLeadsToFile(LeadDatabase &db, const std::vector<LeadSelection> &selections,
                                const LeadOutputFormat &format, const QString &path)
{
    QSaveFile file(path);
    const auto problem = [&](const QString &reason) {
        return fail(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(path), reason));
    };
    if (!file.open(QIODevice::WriteOnly))
        return problem(file.errorString());
    const Result<qint64> count = writeEachSelection(db, selections, format, file);
    if (!count)
        return problem(count.message());
    if (!file.commit())
        return problem(file.errorString());
    return count;
}

Result<qint64> exportRunLeads(const QString &databasePath, const std::vector<qint64> &runs,
                              const QString &formatName, const QString &path,
                              const std::optional<QSet<QString>> &addresses)
{
    const std::optional<LeadOutputFormat> format = leadFormatNamed(formatName);
    if (!format)
        return fail(QStringLiteral("no lead format \"%1\"").arg(formatName));
    auto db = LeadDatabase::open(databasePath);
    if (!db)
        return db.error();
    std::vector<LeadSelection> selections;
    for (const qint64 run : runs)
        selections.push_back(LeadSelection{.run = run, .addresses = addresses});
    const Result<qint64> count = writeLeadsToFile(db.value(), selections, *format, path);
    if (!count)
        return count;
    if (Result<void> recorded =
            db.value().recordExport({formatName, QFileInfo(path).absoluteFilePath(), *count});
        !recorded)
        return fail(QStringLiteral("the leads were saved, but the export was not recorded: %1")
                        .arg(recorded.message()));
    return count;
}

std::optional<LeadOutputFormat> leadFormatNamed(const QString &name)
{
    if (name == QLatin1String("text"))
        return addressLinesFormat();
    if (name == QLatin1String("csv"))
        return csvFormat();
    if (name == QLatin1String("jsonl"))
        return jsonLinesFormat();
    return std::nullopt;
}

} // namespace corvane
