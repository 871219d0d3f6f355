// Lead sheets saved as Excel 97-2003 workbooks (.xls): a "Workbook" stream of BIFF8
// records inside a compound file. The first worksheet's column-1 cells are walked record
// by record; the shared-text table is read afterwards and only as far as those cells need.

#include "scan/CompoundFile.h"
#include "scan/LeadColumn.h"

#include <QtEndian>

namespace corvane {

namespace {

namespace Record {
constexpr quint16 kFormula = 0x0006;
constexpr quint16 kEof = 0x000A;
constexpr quint16 kFilePass = 0x002F;
constexpr quint16 kContinue = 0x003C;
constexpr quint16 kBoundSheet = 0x0085;
constexpr quint16 kMulRk = 0x00BD;
constexpr quint16 kMulBlank = 0x00BE;
constexpr quint16 kRString = 0x00D6;
constexpr quint16 kSst = 0x00FC;
constexpr quint16 kLabelSst = 0x00FD;
constexpr quint16 kBlank = 0x0201;
constexpr quint16 kNumber = 0x0203;
constexpr quint16 kLabel = 0x0204;
constexpr quint16 kBoolErr = 0x0205;
constexpr quint16 kString = 0x0207;
constexpr quint16 kArray = 0x0221;
constexpr quint16 kTable = 0x0236;
constexpr quint16 kRk = 0x027E;
constexpr quint16 kSharedFormula = 0x04BC;
constexpr quint16 kBof = 0x0809;
} // namespace Record

constexpr quint16 kBiff8 = 0x0600;
constexpr quint16 kWorksheetBof = 0x0010;
constexpr quint8 kWorksheetSheet = 0;

Error damaged(const SheetContext &context)
{
    return context.refuse(QStringLiteral("its workbook records are damaged"));
}

// Excel 5.0/95 and older: 8-bit texts in the writer's code page and no shared texts.
Error olderThan97(const SheetContext &context)
{
    return context.refuse(QStringLiteral("its workbook is in an Excel format older than 97"));
}

// The records of the workbook stream, one at a time; a record's data is read only when
// asked for.
class Records
{
public:
    Records(const CompoundFile::Stream &stream, SheetContext &context)
        : m_stream(stream), m_context(context)
    {
    }

    void seek(qint64 pos) { m_next = pos; }
    qint64 pos() const { return m_pos; }
    quint16 type() const { return m_type; }

    // The next record; false at the end of the stream.
    Result<bool> next()
    {
        if (const Result<void> ok = m_context.advance(0); !ok)
            return ok.error();
        if (m_next + 4 > m_stream.size())
            return false;
        const Result<QByteArray> header = m_stream.read(m_next, 4);
        if (!header)
            return m_context.refuse(header.message());
        m_pos = m_next;
        m_type = qFromLittleEndian<quint16>(header->constData());
        m_length = qFromLittleEndian<quint16>(header->constData() + 2);
        m_next = m_pos + 4 + m_length;
        if (m_next > m_stream.size())
            return damaged(m_context);
        return true;
    }

    Result<QByteArray> data()
    {
        if (const Result<void> ok = m_context.advance(m_length); !ok)
            return ok.error();
        const Result<QByteArray> bytes = m_stream.read(m_pos + 4, m_length);
        if (!bytes)
            return m_context.refuse(bytes.message());
        return bytes;
    }

    // The data of the record just read, at least minimum bytes of it.
    Result<QByteArray> data(qsizetype minimum)
    {
        Result<QByteArray> bytes = data();
        if (bytes && bytes->size() < minimum)
            return damaged(m_context);
        return bytes;
    }

    // The data of the record at pos, which must be of that type; reading goes on after it.
    Result<QByteArray> recordAt(qint64 pos, quint16 type, qsizetype minimum)
    {
        seek(pos);
        const Result<bool> found = next();
        if (!found)
            return found.error();
        if (!*found || m_type != type)
            return damaged(m_context);
        return data(minimum);
    }

private:
    const CompoundFile::Stream &m_stream;
    SheetContext &m_context;
    qint64 m_next = 0;
    qint64 m_pos = 0;
    quint16 m_type = 0;
    quint16 m_length = 0;
};

// A record's data read on into the CONTINUE records that follow it, which is how long
// strings and the shared-text table outgrow one record's 8224 bytes.
class ContinuedData
{
public:
    ContinuedData(Records &records, SheetContext &context, QByteArray first, qsizetype at)
        : m_records(records), m_context(context), m_data(std::move(first)), m_at(at)
    {
    }

    // True when this record and its continuations are used up.
    Result<bool> atEnd()
    {
        if (m_at < m_data.size())
            return false;
        const qint64 resume = m_records.pos();
        const Result<bool> more = m_records.next();
        if (!more)
            return more.error();
        const bool end = !*more || m_records.type() != Record::kContinue;
        m_records.seek(resume);
        if (const Result<bool> again = m_records.next(); !again)
            return again.error();
        return end;
    }

    Result<quint32> number(int bytes)
    {
        quint32 value = 0;
        for (int i = 0; i < bytes; ++i) {
            if (const Result<void> ok = ensure(); !ok)
                return ok.error();
            value |= quint32(quint8(m_data[m_at++])) << (8 * i);
        }
        return value;
    }

    Result<void> skip(qint64 count)
    {
        while (count > 0) {
            if (const Result<void> ok = ensure(); !ok)
                return ok;
            const qint64 step = std::min<qint64>(count, m_data.size() - m_at);
            m_at += step;
            count -= step;
        }
        return {};
    }

    // A string's characters, one byte each (Latin-1) or two (UTF-16). Where a string is
    // split, the continuation starts with a flags byte giving the width of the rest.
    Result<QString> characters(qint64 count, bool wide, bool keep)
    {
        QString text;
        while (count > 0) {
            if (m_at == m_data.size()) {
                if (const Result<void> ok = ensure(); !ok)
                    return ok.error();
                wide = (quint8(m_data[m_at++]) & 0x01) != 0;
            }
            const qint64 width = wide ? 2 : 1;
            const qint64 step = std::min<qint64>(count, (m_data.size() - m_at) / width);
            if (step == 0)
                return damaged(m_context);
            if (keep) {
                const char *bytes = m_data.constData() + m_at;
                text += wide ? QString::fromUtf16(reinterpret_cast<const char16_t *>(bytes), step)
                             : QString::fromLatin1(bytes, step);
            }
            m_at += step * width;
            count -= step;
        }
        return text;
    }

private:
    Result<void> ensure()
    {
        while (m_at >= m_data.size()) {
            const Result<bool> more = m_records.next();
            if (!more)
                return more.error();
            if (!*more || m_records.type() != Record::kContinue)
                return damaged(m_context);
            Result<QByteArray> data = m_records.data();
            if (!data)
                return data.error();
            m_data = std::move(data).value();
            m_at = 0;
        }
        return {};
    }

    Records &m_records;
    SheetContext &m_context;
    QByteArray m_data;
    qsizetype m_at = 0;
};

// A string: a 16-bit count, a flags byte, the characters, and in the shared-text table
// formatting runs and phonetic data after them, which are passed over. Unless keep, the
// characters are passed over too.
Result<QString> readString(ContinuedData &data, const SheetContext &context, bool keep = true)
{
    const Result<quint32> count = data.number(2);
    if (!count)
        return count.error();
    const Result<quint32> flags = data.number(1);
    if (!flags)
        return flags.error();
    Result<quint32> runs = 0;
    if (*flags & 0x08)
        runs = data.number(2);
    Result<quint32> extra = 0;
    if (runs && *flags & 0x04)
        extra = data.number(4);
    if (!runs || !extra)
        return !runs ? runs.error() : extra.error();
    if (keep && qint64(*count) > context.limits().maxTextChars)
        return context.textTooLong();
    Result<QString> text = data.characters(*count, (*flags & 0x01) != 0, keep);
    if (!text)
        return text;
    // Formatting runs take 4 bytes each.
    if (const Result<void> skipped = data.skip(qint64(*runs) * 4 + *extra); !skipped)
        return skipped.error();
    return text;
}

struct Globals
{
    qint64 sheet = -1;
    qint64 sharedTexts = -1;
};

Result<Globals> readGlobals(Records &records, SheetContext &context)
{
    Globals globals;
    const Result<QByteArray> bof = records.recordAt(0, Record::kBof, 4);
    if (!bof)
        return bof.error();
    if (qFromLittleEndian<quint16>(bof->constData()) != kBiff8)
        return olderThan97(context);
    for (;;) {
        const Result<bool> more = records.next();
        if (!more)
            return more.error();
        if (!*more || records.type() == Record::kEof)
            break;
        if (records.type() == Record::kFilePass)
            return context.refuse(QStringLiteral("it is protected by a password"));
        if (records.type() == Record::kSst) {
            globals.sharedTexts = records.pos();
        } else if (records.type() == Record::kBoundSheet && globals.sheet < 0) {
            const Result<QByteArray> sheet = records.data(6);
            if (!sheet)
                return sheet.error();
            if (quint8(sheet->at(5)) == kWorksheetSheet)
                globals.sheet = qFromLittleEndian<quint32>(sheet->constData());
        }
    }
    if (globals.sheet < 0)
        return context.refuse(QStringLiteral("it has no worksheet"));
    return globals;
}

// The column-1 cells of the worksheet starting at pos, handed to the column in order.
Result<void> readFirstColumn(Records &records, qint64 pos, LeadColumn &column,
                             SheetContext &context)
{
    const Result<QByteArray> bof = records.recordAt(pos, Record::kBof, 4);
    if (!bof)
        return bof.error();
    if (qFromLittleEndian<quint16>(bof->constData() + 2) != kWorksheetBof)
        return damaged(context);

    int depth = 0;          // charts and the like nest their own BOF ... EOF
    qint64 formulaRow = -1; // a formula whose text result follows in a STRING record
    for (;;) {
        const Result<bool> more = records.next();
        if (!more)
            return more.error();
        if (!*more)
            return {};
        const quint16 type = records.type();
        if (type == Record::kBof) {
            ++depth;
            continue;
        }
        if (type == Record::kEof) {
            if (depth-- == 0)
                return {};
            continue;
        }
        if (depth > 0)
            continue;
        if (formulaRow >= 0) {
            if (type == Record::kString) {
                const Result<QByteArray> data = records.data();
                if (!data)
                    return data.error();
                ContinuedData string(records, context, *data, 0);
                const Result<QString> text = readString(string, context);
                if (!text)
                    return text.error();
                const Result<bool> going = column.addText(formulaRow, *text);
                if (!going)
                    return going.error();
                if (!*going)
                    return {};
                formulaRow = -1;
                continue;
            }
            if (type != Record::kSharedFormula && type != Record::kArray && type != Record::kTable)
                return damaged(context);
            continue;
        }

        Result<bool> going = true;
        switch (type) {
        case Record::kLabelSst:
        case Record::kLabel:
        case Record::kRString:
        case Record::kNumber:
        case Record::kRk:
        case Record::kBoolErr:
        case Record::kBlank:
        case Record::kFormula:
        case Record::kMulRk:
        case Record::kMulBlank: {
            const Result<QByteArray> data = records.data(6);
            if (!data)
                return data.error();
            const qint64 row = qint64(qFromLittleEndian<quint16>(data->constData())) + 1;
            if (qFromLittleEndian<quint16>(data->constData() + 2) != 0)
                break;
            if (type == Record::kLabelSst) {
                if (data->size() < 10)
                    return damaged(context);
                going = column.addShared(row, qFromLittleEndian<quint32>(data->constData() + 6));
            } else if (type == Record::kLabel || type == Record::kRString) {
                ContinuedData label(records, context, *data, 6);
                const Result<QString> text = readString(label, context);
                if (!text)
                    return text.error();
                going = column.addText(row, *text);
            } else if (type == Record::kBlank || type == Record::kMulBlank) {
                going = column.addText(row, QString());
            } else if (type == Record::kFormula) {
                // The stored result: a number, or with 0xFFFF in its top bytes a kind in
                // its first byte (0 text in the next STRING record, 1 truth value, 2 error,
                // 3 empty text).
                if (data->size() < 14)
                    return damaged(context);
                if (qFromLittleEndian<quint16>(data->constData() + 12) != 0xFFFF)
                    going = column.addValue(row);
                else if (data->at(6) == 0)
                    formulaRow = row;
                else if (data->at(6) == 3)
                    going = column.addText(row, QString());
                else
                    going = column.addValue(row);
            } else {
                going = column.addValue(row);
            }
            break;
        }
        default:
            break;
        }
        if (!going)
            return going.error();
        if (!*going)
            return {};
    }
}

// The shared texts with the given indices (ascending), in that order, from the SST record
// at pos; reading stops after the last one.
Result<std::vector<QString>> readSharedTexts(Records &records, qint64 pos,
                                             const std::vector<qint64> &wanted,
                                             SheetContext &context)
{
    std::vector<QString> texts;
    if (pos < 0)
        return texts;
    const Result<QByteArray> first = records.recordAt(pos, Record::kSst, 8);
    if (!first)
        return first.error();
    const qint64 unique = qFromLittleEndian<quint32>(first->constData() + 4);
    ContinuedData data(records, context, *first, 8);
    texts.reserve(wanted.size());
    for (qint64 index = 0; index < unique && texts.size() < wanted.size(); ++index) {
        const Result<bool> end = data.atEnd();
        if (!end)
            return end.error();
        if (*end)
            break;
        const bool keep = wanted[texts.size()] == index;
        Result<QString> text = readString(data, context, keep);
        if (!text)
            return text.error();
        if (keep)
            texts.push_back(std::move(text).value());
    }
    return texts;
}

} // namespace

Result<QStringList> readXlsSheet(QIODevice &device, SheetContext &context)
{
    const Result<CompoundFile> file = CompoundFile::open(device);
    if (!file)
        return context.refuse(file.message());
    const Result<std::optional<CompoundFile::Stream>> workbook =
        file->stream(QStringLiteral("Workbook"));
    if (!workbook)
        return context.refuse(workbook.message());
    if (!*workbook) {
        const Result<std::optional<CompoundFile::Stream>> old =
            file->stream(QStringLiteral("Book"));
        if (old && *old)
            return olderThan97(context);
        return context.refuse(QStringLiteral("it is an Office document but not a workbook"));
    }

    Records records(**workbook, context);
    const Result<Globals> globals = readGlobals(records, context);
    if (!globals)
        return globals.error();
    LeadColumn column(context);
    if (const Result<void> read = readFirstColumn(records, globals->sheet, column, context); !read)
        return read.error();
    const Result<std::vector<QString>> shared =
        readSharedTexts(records, globals->sharedTexts, column.sharedIndices(), context);
    if (!shared)
        return shared.error();
    return column.leads(*shared);
}

} // namespace corvane
