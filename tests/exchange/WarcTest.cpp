#include "exchange/WarcReader.h"
#include "exchange/WarcStreams.h"
#include "exchange/WarcWriter.h"
#include "support/TestSupport.h"

#include <QBuffer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

QByteArray gzip(const QByteArray &bytes, int level = 6)
{
    return gzipCompressed(bytes, level);
}

QByteArray record(const QByteArray &type, const QByteArray &uri, const QByteArray &block,
                  const QByteArray &extra = {})
{
    return "WARC/1.0\r\nWARC-Type: " + type + "\r\nWARC-Target-URI: <" + uri + ">\r\n" + extra +
           "Content-Length: " + QByteArray::number(block.size()) + "\r\n\r\n" + block + "\r\n\r\n";
}

struct Read
{
    QList<WarcRecord> records;
    QList<QByteArray> payloads;
    QList<int> statuses;
    QList<bool> cut;
    QString error;
};

Read readAll(const QByteArray &archive, const WarcLimits &limits = {})
{
    QBuffer buffer;
    buffer.setData(archive);
    buffer.open(QIODevice::ReadOnly);
    WarcReader reader(buffer, limits);
    Read read;
    for (;;) {
        const Result<bool> more = reader.next();
        if (!more) {
            read.error = more.message();
            return read;
        }
        if (!*more)
            return read;
        const Result<const HttpHead *> head = reader.httpHead();
        EXPECT_TRUE(head.ok());
        read.statuses << (head && *head ? (*head)->status : -1);
        QByteArray payload;
        for (;;) {
            const Result<QByteArrayView> piece = reader.readPayload();
            if (!piece) {
                read.error = piece.message();
                return read;
            }
            if (piece->isEmpty())
                break;
            payload += *piece;
        }
        read.records << reader.record();
        read.payloads << payload;
        read.cut << reader.payloadCut();
    }
}

const QString kEscapedUri = QStringLiteral("http://example.com/a%20b/%C3%A9t%C3%A9?q=1");

QList<WarcPage> samplePages()
{
    QByteArray binary;
    for (int i = 0; i < 256; ++i)
        binary += char(i);
    return {
        {"http://example.com/", QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC), 200,
         "text/html; charset=utf-8",
         "<html><title>Home</title>WARC/1.1\r\n\r\nContent-Length: 3\r\n\r\n</html>"},
        {QStringLiteral("http://example.com/a b/\u00e9t\u00e9?q=1"),
         {},
         404,
         "text/plain",
         binary + binary},
        {"http://example.com/empty", {}, 200, "text/html", {}},
    };
}

QByteArray writeArchive(const QList<WarcPage> &pages, bool compressed)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    WarcWriter writer(buffer, compressed);
    EXPECT_TRUE(writer.writeWarcinfo("pages.warc.gz", {{"software", "Corvane"}}).ok());
    for (const WarcPage &page : pages)
        EXPECT_TRUE(writer.writeResponse(page).ok());
    return buffer.data();
}

} // namespace

TEST(Warc, WrittenArchivesReadBackWholeHere)
{
    const QList<WarcPage> pages = samplePages();
    for (const bool compressed : {false, true}) {
        const QByteArray archive = writeArchive(pages, compressed);
        EXPECT_EQ(archive.startsWith("WARC/1.1\r\n"), !compressed);
        const Read read = readAll(archive);
        ASSERT_TRUE(read.error.isEmpty()) << read.error.toStdString();
        ASSERT_EQ(read.records.size(), pages.size() + 1);
        EXPECT_EQ(read.records[0].type, "warcinfo");
        EXPECT_EQ(read.statuses[0], -1);
        for (qsizetype i = 0; i < pages.size(); ++i) {
            const WarcRecord &written = read.records[i + 1];
            EXPECT_EQ(written.type, "response");
            EXPECT_EQ(written.header.value("content-type"), "application/http;msgtype=response");
            EXPECT_TRUE(written.header.value("WARC-Record-ID").startsWith("<urn:uuid:"));
            EXPECT_EQ(written.header.value("WARC-Payload-Digest"), warcSha1Digest(pages[i].body));
            EXPECT_EQ(read.payloads[i + 1], pages[i].body);
            EXPECT_EQ(read.statuses[i + 1], pages[i].status);
        }
        EXPECT_EQ(read.records[1].header.value("WARC-Date"), "2023-11-14T22:13:20Z");
        // A target URI is written escaped: a header field is one token. Reading it back gives
        // the letters again; an escaped space stays escaped.
        EXPECT_EQ(read.records[2].header.value("WARC-Target-URI"), kEscapedUri.toLatin1());
        EXPECT_EQ(read.records[2].targetUri,
                  QStringLiteral("http://example.com/a%20b/\u00e9t\u00e9?q=1"));
    }
    // The digest is SHA-1 in Base32, as WARC writers put it.
    EXPECT_EQ(warcSha1Digest("abc"), "sha1:VGMT4NSHA2AWVOR6EVYXQUGCNSONBWE5");
}

// warcio, the reference reader of the web-archiving community, must read what we write: every
// record's type, target URI and payload, with both digests right.
TEST(Warc, WrittenArchivesReadBackWholeInWarcio)
{
    if (const QString missing = warcioMissing(); !missing.isEmpty()) {
        if (warcioRequired())
            FAIL() << missing.toStdString();
        GTEST_SKIP() << missing.toStdString();
    }

    const QList<WarcPage> pages = samplePages();
    QTemporaryDir dir;
    for (const bool compressed : {false, true}) {
        const QString path = dir.filePath(compressed ? "pages.warc.gz" : "pages.warc");
        writeFile(path, writeArchive(pages, compressed));
        const QJsonArray records = readWithWarcio(path);
        ASSERT_EQ(records.size(), pages.size() + 1);
        EXPECT_EQ(records[0]["type"].toString(), "warcinfo");
        EXPECT_TRUE(records[0]["blockDigestOk"].toBool());
        for (qsizetype i = 0; i < pages.size(); ++i) {
            const QJsonObject seen = records[i + 1].toObject();
            EXPECT_EQ(seen["type"].toString(), "response");
            EXPECT_EQ(seen["uri"].toString(), i == 1 ? kEscapedUri : pages[i].targetUri);
            EXPECT_EQ(seen["status"].toInt(), pages[i].status);
            EXPECT_EQ(QByteArray::fromBase64(seen["payload"].toString().toLatin1()), pages[i].body);
            EXPECT_TRUE(seen["payloadDigestOk"].toBool()) << i;
            EXPECT_TRUE(seen["blockDigestOk"].toBool()) << i;
        }
    }
}

TEST(Warc, BodiesAreDecodedAsCrawlersStoreThem)
{
    const QByteArray page = "<p>write to sales@firm.com</p>" + QByteArray(70000, 'x');
    const QByteArray packed = gzip(page);
    QByteArray chunked;
    for (qsizetype at = 0; at < packed.size(); at += 1000) {
        const QByteArray piece = packed.mid(at, 1000);
        chunked += QByteArray::number(piece.size(), 16) + ";ext=1\r\n" + piece + "\r\n";
    }
    chunked += "0\r\nTrailer: x\r\n\r\n";
    const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n";
    const QByteArray archive =
        record("warcinfo", "", "software: test\r\n") +
        record("request", "http://a/", "GET / HTTP/1.1\r\nHost: a\r\n\r\n") +
        record("response", "http://a/",
               head + "Transfer-Encoding: chunked\r\nContent-Encoding: gzip\r\n\r\n" + chunked) +
        // The header still says gzip, but the crawler stored the body decoded.
        record("response", "http://b/", head + "Content-Encoding: gzip\r\n\r\n" + page) +
        // Escapes that are no UTF-8 are kept as written.
        record("response", "http://c/%FF%C3%A9",
               head + "Content-Encoding: deflate\r\n\r\n" + qCompress(page).mid(4)) +
        record("resource", "file:///d.txt", page) +
        record("response", "dns:a", "20231114 a. 60 IN A 127.0.0.1\n");

    // One gzip member for the whole file reads as well as one per record.
    for (const QByteArray &stored : {archive, gzip(archive)}) {
        const Read read = readAll(stored);
        ASSERT_TRUE(read.error.isEmpty()) << read.error.toStdString();
        ASSERT_EQ(read.records.size(), 7);
        EXPECT_EQ(read.statuses, QList<int>({-1, 0, 200, 200, 200, -1, -1}));
        for (int i : {2, 3, 4, 5})
            EXPECT_EQ(read.payloads[i], page) << i;
        EXPECT_EQ(read.records[2].targetUri, "http://a/");
        EXPECT_EQ(read.records[4].targetUri, "http://c/%FF%C3%A9");
        EXPECT_EQ(read.payloads[6], "20231114 a. 60 IN A 127.0.0.1\n");
        EXPECT_EQ(read.cut, QList<bool>(7, false));
    }

    // The import's view: response records with an HTTP status.
    QBuffer buffer;
    buffer.setData(archive);
    buffer.open(QIODevice::ReadOnly);
    QStringList uris;
    ASSERT_TRUE(forEachWarcResponse(buffer, [&](const WarcResponse &response) {
                    EXPECT_EQ(response.payload, page);
                    EXPECT_EQ(response.contentType, "text/html");
                    uris << response.targetUri;
                    return true;
                }).ok());
    EXPECT_EQ(uris, QStringList({"http://a/", "http://b/", "http://c/%FF%C3%A9"}));
}

TEST(Warc, HostileArchivesEndWithAMessageAndBoundedPieces)
{
    const QByteArray good = record("resource", "http://a/", "first@a.com");
    const QByteArray packed = gzip(good) + gzip(record("resource", "http://b/", "second"));
    WarcLimits small;
    small.maxHeaderBytes = 4096;
    small.maxPayloadBytes = 1 << 20;
    const struct
    {
        const char *name;
        QByteArray archive;
        const char *message;
        int recordsBefore;
    } cases[] = {
        {"cut-off gzip member", packed.first(packed.size() - 20), "cut off", 1},
        {"damaged gzip data", gzip(good) + QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\x03garbage!", 18),
         "damaged", 1},
        {"a record claiming a terabyte",
         good + "WARC/1.1\r\nWARC-Type: resource\r\nContent-Length: 1099511627776\r\n\r\nshort",
         "1099511627776", 1},
        {"not an archive", "<html>hello</html>", "not a WARC archive", 0},
        {"garbage between records", good + "GET / HTTP/1.1\r\n\r\n" + good, "no WARC record begins",
         1},
        {"a header without end", good + "WARC/1.1\r\n" + QByteArray(100000, 'h'), "longer than", 1},
        {"no length", good + "WARC/1.1\r\nWARC-Type: resource\r\n\r\n", "Content-Length", 1},
        {"a header cut off", good + "WARC/1.1\r\nWARC-Type: res", "ends inside", 1},
    };
    for (const auto &hostile : cases) {
        const Read read = readAll(hostile.archive, small);
        EXPECT_TRUE(read.error.contains(QLatin1String(hostile.message)))
            << hostile.name << ": " << read.error.toStdString();
        EXPECT_EQ(read.records.size(), hostile.recordsBefore) << hostile.name;
    }

    // A payload past the limit is cut there, and reading goes on with the next record; so
    // does a body that unpacks far beyond it (a gzip bomb in an HTTP response).
    const QByteArray bomb = gzip(QByteArray(64 << 20, '\0'), 9);
    const QByteArray archive =
        record("resource", "http://big/", QByteArray(3 << 20, 'b')) +
        record("response", "http://bomb/",
               "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + bomb) +
        record("response", "http://broken/",
               "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nabcde\r\nzz\r\nmore") +
        good;
    const Read read = readAll(archive, small);
    ASSERT_TRUE(read.error.isEmpty()) << read.error.toStdString();
    ASSERT_EQ(read.records.size(), 4);
    EXPECT_EQ(read.payloads[0].size(), small.maxPayloadBytes);
    EXPECT_EQ(read.payloads[1].size(), small.maxPayloadBytes);
    EXPECT_EQ(read.payloads[2], "abcde");
    EXPECT_EQ(read.payloads[3], "first@a.com");
    EXPECT_EQ(read.cut, QList<bool>({true, true, false, false}));
}
