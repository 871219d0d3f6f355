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

} // namespace

TEST(LeadFormats, CsvRoundTripsEveryAwkwardField)
{
    const LeadOutputFormat csv = csvFormat();
    QByteArray text = csv.header;
    const std::vector<LeadRow> rows = awkwardRows();
    for (const LeadRow &row : rows)
        csv.row(text, row);
    const auto records = readCsv(text);
    ASSERT_EQ(records.size(), rows.size() + 1);
    EXPECT_EQ(records[0], QStringList({"email", "source_url", "page_title", "first_seen",
                                       "last_seen", "run", "mx"}));
    for (size_t i = 0; i < rows.size(); ++i) {
        const LeadRow &row = rows[i];
        const QStringList &record = records[i + 1];
        ASSERT_EQ(record.size(), 7);
        EXPECT_EQ(record[0], row.email);
        EXPECT_EQ(record[1], row.source);
        EXPECT_EQ(record[2], row.title);
        EXPECT_EQ(record[3], isoUtc(row.firstSeenMs));
        EXPECT_EQ(record[4], isoUtc(row.lastSeenMs));
        EXPECT_EQ(record[5].toLongLong(), row.run);
        EXPECT_EQ(record[6], row.mx);
    }
    EXPECT_EQ(records[1][3], "1970-01-01T00:00:00Z");
    EXPECT_EQ(records[1][4], "1970-01-01T23:59:59Z");
    EXPECT_EQ(records[2][3], "2024-05-31T14:00:00Z");
    EXPECT_EQ(records[3][3], "1969-12-31T23:59:59Z");
    EXPECT_EQ(records[3][4], "9999-12-31T23:59:59Z");
}

TEST(LeadFormats, JsonLinesParseBackToTheSameFields)
{
    const LeadOutputFormat json = jsonLinesFormat();
    QByteArray text = json.header;
    const std::vector<LeadRow> rows = awkwardRows();
    for (const LeadRow &row : rows)
        json.row(text, row);
    ASSERT_TRUE(text.endsWith('\n'));
    const QList<QByteArray> lines = text.chopped(1).split('\n');
    ASSERT_EQ(lines.size(), qsizetype(rows.size()));
    for (size_t i = 0; i < rows.size(); ++i) {
        const LeadRow &row = rows[i];
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(lines[qsizetype(i)], &error);
        ASSERT_EQ(error.error, QJsonParseError::NoError) << lines[qsizetype(i)].constData();
        const QJsonObject object = document.object();
        EXPECT_EQ(object.size(), 7);
        EXPECT_EQ(object["email"].toString(), row.email);
        EXPECT_EQ(object["source_url"].toString(), row.source);
        EXPECT_EQ(object["page_title"].toString(), row.title);
        EXPECT_EQ(object["first_seen"].toString(), isoUtc(row.firstSeenMs));
        EXPECT_EQ(object["last_seen"].toString(), isoUtc(row.lastSeenMs));
        EXPECT_EQ(object["run"].toInteger(), row.run);
        EXPECT_EQ(object["mx"].toString(), row.mx);
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
