#include "leads/LeadFormats.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace corvane;

namespace {

// RFC 4180 records: fields split on commas, quoted fields may hold anything, "" is a quote.
// Fails the test on a bare CR or LF, or a record that does not end in CR LF.
std::vector<QStringList> readCsv(const QByteArray &text)
{
    std::vector<QStringList> records;
    QStringList record;
    QByteArray field;
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
                field += '"';
                ++i;
            } else if (c == '"') {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == '"') {
            EXPECT_TRUE(field.isEmpty()) << "quote inside an unquoted field";
            quoted = true;
        } else if (c == ',') {
            record << QString::fromUtf8(field);
            field.clear();
        } else if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            record << QString::fromUtf8(field);
            field.clear();
            records.push_back(record);
            record.clear();
            ++i;
        } else {
            EXPECT_TRUE(c != '\r' && c != '\n') << "bare line break at " << i;
            field += c;
        }
    }
    EXPECT_FALSE(quoted);
    EXPECT_TRUE(record.isEmpty() && field.isEmpty()) << "last record without CR LF";
    return records;
}

std::vector<LeadRow> awkwardRows()
{
    return {
        {"plain@firm.com", "http://firm.com/", "Firm", 0, 86'399'999, 1, "mx.firm.com"},
        {"\"quoted\"@firm.com", "http://firm.com/a,b?x=\"1\"", "Line one\r\nline two\nthree\r",
         1'717'164'000'000, 1'717'164'000'999, 12, ""},
        {"tab\t\\slash@x.org", "/home/u/Ünïcødé ☃.txt", QString("ctl") + QChar(1) + QChar(0x1f),
         -1000, 253'402'300'799'000, 3, ""},
        {" spaced @x.org ", "", "", 0, 0, 0, ","},
    };
}

// What each format must carry for a row, as text: the CSV header's order.
QStringList fieldsOf(const LeadRow &row)
{
    return {row.email,
            row.source,
            row.title,
            isoUtc(row.firstSeenMs),
            isoUtc(row.lastSeenMs),
            QString::number(row.run),
            row.mx};
}

QByteArray written(const LeadOutputFormat &format, const std::vector<LeadRow> &rows)
{
    QByteArray text = format.header;
    for (const LeadRow &row : rows)
        format.row(text, row);
    return text;
}

} // namespace

TEST(LeadFormats, CsvRoundTripsEveryAwkwardField)
{
    const std::vector<LeadRow> rows = awkwardRows();
    const auto records = readCsv(written(csvFormat(), rows));
    ASSERT_EQ(records.size(), rows.size() + 1);
    EXPECT_EQ(records[0], QStringList({"email", "source_url", "page_title", "first_seen",
                                       "last_seen", "run", "mx"}));
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(records[i + 1], fieldsOf(rows[i]));
    EXPECT_EQ(records[1][3], "1970-01-01T00:00:00Z");
    EXPECT_EQ(records[1][4], "1970-01-01T23:59:59Z");
    EXPECT_EQ(records[2][3], "2024-05-31T14:00:00Z");
    EXPECT_EQ(records[3][3], "1969-12-31T23:59:59Z");
    EXPECT_EQ(records[3][4], "9999-12-31T23:59:59Z");
}

TEST(LeadFormats, JsonLinesParseBackToTheSameFields)
{
    const std::vector<LeadRow> rows = awkwardRows();
    const QByteArray text = written(jsonLinesFormat(), rows);
    ASSERT_TRUE(text.endsWith('\n'));
    const QList<QByteArray> lines = text.chopped(1).split('\n');
    ASSERT_EQ(lines.size(), qsizetype(rows.size()));
    for (size_t i = 0; i < rows.size(); ++i) {
        QJsonParseError error;
        const QJsonObject object = QJsonDocument::fromJson(lines[qsizetype(i)], &error).object();
        ASSERT_EQ(error.error, QJsonParseError::NoError) << lines[qsizetype(i)].constData();
        EXPECT_EQ(object.size(), 7);
        EXPECT_TRUE(object["run"].isDouble());
        QStringList fields;
        for (const char *name : {"email", "source_url", "page_title", "first_seen", "last_seen"})
            fields << object[name].toString();
        fields << QString::number(object["run"].toInteger()) << object["mx"].toString();
        EXPECT_EQ(fields, fieldsOf(rows[i]));
    }
}

TEST(LeadFormats, SinceAcceptsDatesAndTimesInUtcUnlessZoned)
{
    EXPECT_EQ(*parseLeadTime("2024-05-31"), 1'717'113'600'000);
    EXPECT_EQ(*parseLeadTime("2024-05-31T14:00:00Z"), 1'717'164'000'000);
    EXPECT_EQ(*parseLeadTime(" 2024-05-31T14:00 "), 1'717'164'000'000);
    EXPECT_EQ(*parseLeadTime("2024-05-31T16:00:00+02:00"), 1'717'164'000'000);
    EXPECT_EQ(*parseLeadTime(isoUtc(1'717'164'000'000)), 1'717'164'000'000);
    for (const char *bad : {"", "yesterday", "2024-13-01", "2024-05-31T25:00", "31/05/2024"}) {
        const Result<qint64> parsed = parseLeadTime(bad);
        EXPECT_FALSE(parsed.ok()) << bad;
    }
    EXPECT_TRUE(parseLeadTime("yesterday").message().contains("\"yesterday\""));
}
