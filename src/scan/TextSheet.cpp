// Lead sheets saved as text: the leads scan's own lead files, and .csv or .txt exports of
// spreadsheets and address books.

#include "common/Cp1252.h"
#include "scan/LeadColumn.h"

#include <QIODevice>
#include <QStringDecoder>

#include <optional>

namespace corvane {

namespace {

constexpr qint64 kChunkBytes = 64 * 1024;

// The text's encoding, from its byte-order mark. Without one, bytes pass through as
// Latin-1 (one character each) and every first-column cell is decoded on its own.
std::optional<QStringConverter::Encoding> encodingFromMark(QIODevice &device)
{
    const QByteArray head = device.peek(3);
    if (head.startsWith("\xEF\xBB\xBF")) {
        device.skip(3);
        return QStringConverter::Utf8;
    }
    if (head.startsWith("\xFF\xFE")) {
        device.skip(2);
        return QStringConverter::Utf16LE;
    }
    if (head.startsWith("\xFE\xFF")) {
        device.skip(2);
        return QStringConverter::Utf16BE;
    }
    return std::nullopt;
}

// A cell's bytes (held one per character): UTF-8 where they are valid UTF-8, otherwise
// Windows-1252, the code page lead files are written in.
QString decodeCell(const QString &latin1)
{
    const QByteArray bytes = latin1.toLatin1();
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = utf8(bytes);
    return utf8.hasError() ? fromCp1252(bytes) : text;
}

// Splits text into records and fields as RFC 4180 does (quoted fields may hold the
// separator, line ends and doubled quotes) and keeps the first field of each record. The
// separator is the first comma or tab met outside quotes; CR LF, LF and a lone CR all end
// a record.
class FirstColumn
{
public:
    FirstColumn(SheetContext &context, bool decodeCells)
        : m_context(context), m_decodeCells(decodeCells)
    {
    }

    // Takes the next piece of text; false once the column has ended.
    Result<bool> feed(QStringView text)
    {
        for (const QChar c : text) {
            if (c.isNull())
                return m_context.refuse(QStringLiteral("it holds binary data, not text"));
            if (m_afterCR) {
                m_afterCR = false;
                if (c == QLatin1Char('\n'))
                    continue;
            }
            const Result<bool> more = take(c);
            if (!more || !*more)
                return more;
        }
        return true;
    }

    // The last record may lack its line end.
    Result<bool> finish()
    {
        if (m_state == State::FieldStart && m_field == 0 && m_cell.isEmpty())
            return true;
        return endRecord();
    }

    const QStringList &leads() const { return m_leads; }

private:
    enum class State { FieldStart, Plain, Quoted, QuoteInQuoted };

    Result<bool> take(QChar c)
    {
        switch (m_state) {
        case State::Quoted:
            if (c == QLatin1Char('"'))
                m_state = State::QuoteInQuoted;
            else
                return append(c);
            return true;
        case State::QuoteInQuoted:
            if (c == QLatin1Char('"')) {
                m_state = State::Quoted;
                return append(c);
            }
            break;
        case State::FieldStart:
            if (c == QLatin1Char('"')) {
                m_state = State::Quoted;
                return true;
            }
            break;
        case State::Plain:
            break;
        }
        // Outside quotes; text after a closing quote joins the field, as spreadsheets do.
        m_state = State::Plain;
        if (c == QLatin1Char('\r') || c == QLatin1Char('\n')) {
            m_afterCR = c == QLatin1Char('\r');
            return endRecord();
        }
        if (isSeparator(c)) {
            ++m_field;
            m_state = State::FieldStart;
            return true;
        }
        return append(c);
    }

    bool isSeparator(QChar c)
    {
        if (m_separator.isNull() && (c == QLatin1Char(',') || c == QLatin1Char('\t')))
            m_separator = c;
        return c == m_separator;
    }

    Result<bool> append(QChar c)
    {
        if (m_field != 0)
            return true;
        if (m_cell.size() >= m_context.limits().maxTextChars)
            return m_context.textTooLong();
        m_cell += c;
        return true;
    }

    Result<bool> endRecord()
    {
        const QString cell = m_decodeCells ? decodeCell(m_cell) : m_cell;
        m_cell.clear();
        m_field = 0;
        m_state = State::FieldStart;
        m_context.setRows(++m_rows);
        if (cell.isEmpty())
            return false;
        if (isLeadCell(cell))
            m_leads << cell;
        return true;
    }

    SheetContext &m_context;
    const bool m_decodeCells;
    State m_state = State::FieldStart;
    QChar m_separator;
    bool m_afterCR = false;
    int m_field = 0;
    QString m_cell;
    QStringList m_leads;
    int m_rows = 0;
};

} // namespace

Result<QStringList> readTextSheet(QIODevice &device, SheetContext &context)
{
    const std::optional<QStringConverter::Encoding> marked = encodingFromMark(device);
    std::optional<QStringDecoder> decoder;
    if (marked)
        decoder.emplace(*marked);
    FirstColumn column(context, !marked);
    QByteArray chunk;
    for (;;) {
        chunk = device.read(kChunkBytes);
        if (chunk.isEmpty()) {
            if (!device.atEnd())
                return context.unreadable(device.errorString());
            break;
        }
        if (const Result<void> ok = context.advance(chunk.size()); !ok)
            return ok.error();
        const QString text = decoder ? decoder->decode(chunk) : QString::fromLatin1(chunk);
        const Result<bool> more = column.feed(text);
        if (!more)
            return more.error();
        if (!*more)
            return column.leads();
    }
    if (const Result<bool> last = column.finish(); !last)
        return last.error();
    return column.leads();
}

} // namespace corvane
