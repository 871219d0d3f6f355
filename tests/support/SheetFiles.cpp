#include "support/SheetFiles.h"

#include <QtEndian>

#include <quazip/quazip.h>
#include <quazip/quazipfile.h>
#include <quazip/quazipnewinfo.h>

#include <gtest/gtest.h>

namespace corvane::test {

void writeZip(const QString &path, const QList<std::pair<QString, QByteArray>> &members,
              const QString &streamed, const std::function<QByteArray()> &produce)
{
    QuaZip zip(path);
    ASSERT_TRUE(zip.open(QuaZip::mdCreate));
    for (const auto &[name, bytes] : members) {
        QuaZipFile out(&zip);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly, QuaZipNewInfo(name)));
        out.write(bytes);
        out.close();
    }
    if (produce) {
        QuaZipFile out(&zip);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly, QuaZipNewInfo(streamed)));
        for (QByteArray chunk = produce(); !chunk.isEmpty(); chunk = produce())
            ASSERT_EQ(out.write(chunk), chunk.size());
        out.close();
    }
    zip.close();
}

void writeXlsx(const QString &path, const QStringList &columnOne)
{
    QByteArray rows;
    for (qsizetype i = 0; i < columnOne.size(); ++i) {
        QByteArray text = columnOne[i].toUtf8();
        text.replace('&', "&amp;").replace('<', "&lt;");
        rows += "<row r=\"" + QByteArray::number(i + 1) + "\"><c r=\"A" +
                QByteArray::number(i + 1) + "\" t=\"inlineStr\"><is><t>" + text +
                "</t></is></c></row>";
    }
    writeZip(path, {{"xl/worksheets/sheet1.xml",
                     "<worksheet><sheetData>" + rows + "</sheetData></worksheet>"}});
}

namespace {

// ---- BIFF8 records --------------------------------------------------------------------

constexpr int kMaxRecordData = 8224;

void put16(QByteArray &bytes, quint32 value)
{
    bytes += char(value & 0xFF);
    bytes += char((value >> 8) & 0xFF);
}

void put32(QByteArray &bytes, quint32 value)
{
    put16(bytes, value & 0xFFFF);
    put16(bytes, value >> 16);
}

QByteArray record(quint16 type, const QByteArray &data)
{
    QByteArray bytes;
    put16(bytes, type);
    put16(bytes, quint32(data.size()));
    return bytes + data;
}

bool isWide(const QString &text)
{
    for (const QChar c : text) {
        if (c.unicode() > 0xFF)
            return true;
    }
    return false;
}

QByteArray characters(const QString &text, bool wide)
{
    if (!wide)
        return text.toLatin1();
    QByteArray bytes;
    for (const QChar c : text)
        put16(bytes, c.unicode());
    return bytes;
}

// An XLUnicodeString: 16-bit count, flags, characters.
QByteArray unicodeString(const QString &text)
{
    QByteArray bytes;
    put16(bytes, quint32(text.size()));
    bytes += char(isWide(text) ? 1 : 0);
    return bytes + characters(text, isWide(text));
}

QByteArray cellHeader(int row, int column)
{
    QByteArray bytes;
    put16(bytes, quint32(row));
    put16(bytes, quint32(column));
    put16(bytes, 15); // the default cell format
    return bytes;
}

QByteArray bof(quint16 kind)
{
    QByteArray data;
    put16(data, 0x0600);
    put16(data, kind);
    put16(data, 0x0DBB);
    put16(data, 0x07CC);
    put32(data, 0);
    put32(data, 0x0206);
    return record(0x0809, data);
}

QByteArray eof()
{
    return record(0x000A, {});
}

QByteArray boundSheet(const QString &name)
{
    QByteArray data(4, '\0'); // the sheet's position, filled in later
    data += '\0';             // visible
    data += '\0';             // a worksheet
    data += char(name.size());
    data += '\0';
    return record(0x0085, data + name.toLatin1());
}

const QString kColumnTwo = QStringLiteral("column.two@example.test");

// The shared-text table in an SST record and as many CONTINUE records as it needs. A
// string's header never splits; its characters may, and then the continuation starts with
// a flags byte of its own: each piece is one byte per character when it can be. The texts
// of column 2 carry formatting runs and phonetic data, as rich texts do.
QByteArray sharedTextTable(const QStringList &texts)
{
    QList<QByteArray> records{QByteArray()};
    const auto append = [&records](const QByteArray &bytes) {
        for (qsizetype at = 0; at < bytes.size();) {
            if (records.last().size() == kMaxRecordData)
                records << QByteArray();
            const QByteArray piece = bytes.mid(at, kMaxRecordData - records.last().size());
            records.last() += piece;
            at += piece.size();
        }
    };
    put32(records.last(), quint32(texts.size()));
    put32(records.last(), quint32(texts.size()));
    for (const QString &text : texts) {
        const bool rich = text == kColumnTwo;
        if (records.last().size() + 11 > kMaxRecordData)
            records << QByteArray();
        put16(records.last(), quint32(text.size()));
        qsizetype flags = records.last().size();
        records.last() += '\0';
        if (rich) {
            put16(records.last(), 2); // formatting runs
            put32(records.last(), 6); // bytes of phonetic data
        }
        for (qsizetype at = 0; at < text.size();) {
            if (at > 0) {
                records << QByteArray(1, '\0');
                flags = 0;
            }
            const qsizetype room = kMaxRecordData - records.last().size();
            QString piece = text.mid(at, room);
            const bool wide = isWide(piece);
            if (wide)
                piece.truncate(room / 2);
            records.last()[flags] = char((wide ? 0x01 : 0) | (rich && at == 0 ? 0x0C : 0));
            records.last() += characters(piece, wide);
            at += piece.size();
        }
        if (rich)
            append(QByteArray("\x00\x00\x01\x00\x05\x00\x02\x00"
                              "\x01\x00\x02\x00\x00\x00",
                              14));
    }
    QByteArray bytes = record(0x00FC, records.first());
    for (qsizetype i = 1; i < records.size(); ++i)
        bytes += record(0x003C, records[i]);
    return bytes;
}

QByteArray formula(int row, quint64 value)
{
    QByteArray data = cellHeader(row, 0);
    put32(data, quint32(value));
    put32(data, quint32(value >> 32));
    put16(data, 0); // options
    put32(data, 0); // cache
    put16(data, 0); // no formula tokens: only the stored result is read
    return record(0x0006, data);
}

QByteArray firstSheet(const QList<XlsCell> &cells, QStringList &shared)
{
    QByteArray bytes = bof(0x0010);
    for (int row = 0; row < cells.size(); ++row) {
        const XlsCell &cell = cells[row];
        QByteArray data = cellHeader(row, 0);
        switch (cell.kind) {
        case XlsCell::Kind::SharedText:
            put32(data, quint32(shared.size()));
            shared << cell.text;
            bytes += record(0x00FD, data);
            break;
        case XlsCell::Kind::Label:
            bytes += record(0x0204, data + unicodeString(cell.text));
            break;
        case XlsCell::Kind::Number:
            data += QByteArray("\x00\x00\x00\x00\x00\x00\xF0\x3F", 8); // 1.0
            bytes += record(0x0203, data);
            break;
        case XlsCell::Kind::FormulaText:
            bytes += formula(row, 0xFFFF000000000000ULL);
            bytes += record(0x0207, unicodeString(cell.text));
            break;
        case XlsCell::Kind::FormulaNumber:
            bytes += formula(row, 0x4000000000000000ULL); // 2.0
            break;
        case XlsCell::Kind::FormulaEmpty:
            bytes += formula(row, 0xFFFF000000000003ULL);
            break;
        case XlsCell::Kind::Blank:
            bytes += record(0x0201, data);
            break;
        }
        // Column 2 holds a lead-like text on every row, which must not be read.
        QByteArray second = cellHeader(row, 1);
        put32(second, quint32(shared.size()));
        shared << kColumnTwo;
        bytes += record(0x00FD, second);
    }
    return bytes + eof();
}

QByteArray workbookStream(const QList<XlsCell> &cells)
{
    QStringList shared;
    const QByteArray sheet = firstSheet(cells, shared);
    const QByteArray other =
        bof(0x0010) + record(0x0204, cellHeader(0, 0) + unicodeString("second@sheet.test")) + eof();
    QByteArray globals = bof(0x0005);
    const qsizetype firstBoundSheet = globals.size();
    globals += boundSheet(QStringLiteral("Leads"));
    const qsizetype secondBoundSheet = globals.size();
    globals += boundSheet(QStringLiteral("Other"));
    globals += sharedTextTable(shared);
    globals += eof();
    qToLittleEndian<quint32>(quint32(globals.size()), globals.data() + firstBoundSheet + 4);
    qToLittleEndian<quint32>(quint32(globals.size() + sheet.size()),
                             globals.data() + secondBoundSheet + 4);
    return globals + sheet + other;
}

// ---- the compound file ----------------------------------------------------------------

constexpr quint32 kFree = 0xFFFFFFFF;
constexpr quint32 kEndOfChain = 0xFFFFFFFE;
constexpr quint32 kFatSector = 0xFFFFFFFD;
constexpr int kSector = 512;
constexpr int kMiniSector = 64;
constexpr int kMiniCutoff = 4096;

QByteArray directoryEntry(const QString &name, quint8 type, quint32 child, quint32 start,
                          quint32 size)
{
    QByteArray entry;
    for (const QChar c : name)
        put16(entry, c.unicode());
    entry.resize(64, '\0');
    put16(entry, quint32((name.size() + 1) * 2));
    entry += char(type);
    entry += char(1); // black
    put32(entry, kFree);
    put32(entry, kFree);
    put32(entry, child);
    entry.resize(0x74, '\0');
    put32(entry, start);
    put32(entry, size);
    put32(entry, 0);
    return entry;
}

QByteArray padded(QByteArray bytes, int unit)
{
    bytes.resize((bytes.size() + unit - 1) / unit * unit, '\0');
    return bytes;
}

// Chains count consecutive sectors from first.
void chain(std::vector<quint32> &table, quint32 first, quint32 count)
{
    for (quint32 i = 0; i < count; ++i)
        table[first + i] = i + 1 < count ? first + i + 1 : kEndOfChain;
}

QByteArray compoundFile(const QByteArray &stream)
{
    const bool mini = stream.size() < kMiniCutoff;
    // Regular sectors in order: the stream (or the mini stream), the mini table, the
    // directory, then the sector table itself.
    const QByteArray data = padded(stream, mini ? kMiniSector : kSector);
    const quint32 dataSectors = quint32(padded(data, kSector).size() / kSector);
    const quint32 miniFatSectors = mini ? 1 : 0;
    const quint32 directorySector = dataSectors + miniFatSectors;
    quint32 fatSectors = 1;
    while ((directorySector + 1 + fatSectors) > fatSectors * (kSector / 4))
        ++fatSectors;
    const quint32 total = directorySector + 1 + fatSectors;

    std::vector<quint32> fat(size_t(fatSectors) * (kSector / 4), kFree);
    chain(fat, 0, dataSectors);
    if (mini)
        chain(fat, dataSectors, 1);
    chain(fat, directorySector, 1);
    for (quint32 i = 0; i < fatSectors; ++i)
        fat[directorySector + 1 + i] = kFatSector;

    QByteArray body = padded(data, kSector);
    if (mini) {
        std::vector<quint32> miniFat(kSector / 4, kFree);
        chain(miniFat, 0, quint32(data.size() / kMiniSector));
        QByteArray table;
        for (const quint32 id : miniFat)
            put32(table, id);
        body += table;
    }
    QByteArray directory =
        directoryEntry(QStringLiteral("Root Entry"), 5, 1, mini ? 0 : kEndOfChain,
                       mini ? quint32(data.size()) : 0) +
        directoryEntry(QStringLiteral("Workbook"), 2, kFree, 0, quint32(stream.size()));
    body += padded(directory, kSector);
    for (const quint32 id : fat)
        put32(body, id);

    QByteArray header("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    header.resize(0x18, '\0');
    put16(header, 0x003E);
    put16(header, 0x0003);
    put16(header, 0xFFFE);
    put16(header, 9);
    put16(header, 6);
    header.resize(0x2C, '\0');
    put32(header, fatSectors);
    put32(header, directorySector);
    put32(header, 0);
    put32(header, kMiniCutoff);
    put32(header, mini ? dataSectors : kEndOfChain);
    put32(header, miniFatSectors);
    put32(header, kEndOfChain);
    put32(header, 0);
    for (quint32 i = 0; i < 109; ++i)
        put32(header, i < fatSectors ? directorySector + 1 + i : kFree);
    EXPECT_EQ(header.size(), kSector);
    EXPECT_EQ(body.size(), qsizetype(total) * kSector);
    return header + body;
}

} // namespace

QByteArray xlsBytes(const QList<XlsCell> &columnOne)
{
    return compoundFile(workbookStream(columnOne));
}

} // namespace corvane::test
