#include "scan/DocumentText.h"

#include <cstring>

namespace corvane {

namespace {

// Long enough for any element name an office format uses; longer ones are cut.
constexpr qsizetype kMaxName = 64;
// "&#x10FFFF;" is the longest entity that means something here.
constexpr qsizetype kMaxEntity = 10;
constexpr qsizetype kFlushBytes = 64 * 1024;

QByteArrayView localName(QByteArrayView name)
{
    const qsizetype colon = name.lastIndexOf(':');
    return colon < 0 ? name : name.sliced(colon + 1);
}

// Elements that part the text around them: paragraphs, headings, cells, rows, line breaks,
// tabs and shared-string items of Word, Excel, PowerPoint and OpenDocument files.
char separatorFor(QByteArrayView local)
{
    static const QByteArrayView kBreaks[] = {
        "p",         "h",        "br",      "cr",      "tc",         "tr",         "si",
        "c",         "row",      "f",       "s",       "line-break", "table-cell", "table-row",
        "list-item", "footnote", "endnote", "comment", "note",       "annotation", "txbxContent"};
    if (local == "tab")
        return '\t';
    for (const QByteArrayView name : kBreaks) {
        if (local == name)
            return '\n';
    }
    return 0;
}

// Elements whose text is no part of what the document says: deleted revisions (Word's
// delText, OpenDocument's tracked changes) and phonetic guides (Excel's rPh).
bool hidesText(QByteArrayView local)
{
    return local == "delText" || local == "rPh" || local == "tracked-changes";
}

void appendUtf8(QByteArray &out, char32_t code)
{
    if (code < 0x80) {
        out += char(code);
    } else if (code < 0x800) {
        out += char(0xc0 | (code >> 6));
        out += char(0x80 | (code & 0x3f));
    } else if (code < 0x10000) {
        out += char(0xe0 | (code >> 12));
        out += char(0x80 | ((code >> 6) & 0x3f));
        out += char(0x80 | (code & 0x3f));
    } else {
        out += char(0xf0 | (code >> 18));
        out += char(0x80 | ((code >> 12) & 0x3f));
        out += char(0x80 | ((code >> 6) & 0x3f));
        out += char(0x80 | (code & 0x3f));
    }
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

} // namespace

void MarkupText::emitText(QByteArrayView text)
{
    if (m_hidden > 0)
        return;
    m_out += text;
    m_textBytes += text.size();
    if (m_out.size() >= kFlushBytes)
        flush();
}

void MarkupText::flush()
{
    if (!m_out.isEmpty())
        m_sink.text(m_out);
    m_out.clear();
}

void MarkupText::endTag()
{
    QByteArrayView name = m_name;
    const bool closing = name.startsWith('/');
    if (closing)
        name = name.sliced(1);
    if (name.startsWith('?') || name.startsWith('!'))
        return;
    const QByteArrayView local = localName(name);
    if (hidesText(local)) {
        if (closing)
            m_hidden = std::max(0, m_hidden - 1);
        else if (!m_selfClosing)
            ++m_hidden;
    }
    if (const char separator = separatorFor(local)) {
        m_out += separator;
        ++m_textBytes;
    }
}

void MarkupText::endEntity()
{
    const QByteArrayView entity = m_entity;
    QByteArray decoded;
    if (entity == "lt")
        decoded = "<";
    else if (entity == "gt")
        decoded = ">";
    else if (entity == "amp")
        decoded = "&";
    else if (entity == "quot")
        decoded = "\"";
    else if (entity == "apos")
        decoded = "'";
    else if (entity.startsWith('#') && entity.size() > 1) {
        bool ok = false;
        const uint code = entity.startsWith("#x") || entity.startsWith("#X")
                              ? entity.sliced(2).toByteArray().toUInt(&ok, 16)
                              : entity.sliced(1).toByteArray().toUInt(&ok, 10);
        if (ok && code > 0 && code <= 0x10ffff)
            appendUtf8(decoded, char32_t(code));
    }
    if (decoded.isEmpty())
        decoded = '&' + m_entity + ';'; // not an entity: the text as it stands
    emitText(decoded);
}

void MarkupText::feed(QByteArrayView xml)
{
    const char *p = xml.data();
    const char *const end = p + xml.size();
    while (p < end) {
        switch (m_state) {
        case State::Text: {
            const char *stop = p;
            while (stop < end && *stop != '<' && *stop != '&')
                ++stop;
            if (stop > p)
                emitText(QByteArrayView(p, stop - p));
            if (stop == end)
                return;
            if (*stop == '<') {
                m_state = State::Tag;
                m_name.clear();
                m_nameDone = false;
                m_selfClosing = false;
            } else {
                m_state = State::Entity;
                m_entity.clear();
            }
            p = stop + 1;
            break;
        }
        case State::Tag: {
            const char c = *p++;
            if (c == '>') {
                endTag();
                m_state = State::Text;
            } else if (!m_nameDone) {
                if (isBlank(c) || (c == '/' && !m_name.isEmpty())) {
                    m_nameDone = true;
                    m_selfClosing = c == '/';
                } else if (m_name.size() < kMaxName) {
                    m_name += c;
                    if (m_name == "!--") {
                        m_state = State::Comment;
                        m_marker.clear();
                    } else if (m_name == "![CDATA[") {
                        m_state = State::CData;
                        m_marker.clear();
                    }
                }
            } else if (c == '"' || c == '\'') {
                m_quote = c;
                m_state = State::Quoted;
            } else if (!isBlank(c)) {
                m_selfClosing = c == '/';
            }
            break;
        }
        case State::Quoted: {
            const void *close = std::memchr(p, m_quote, size_t(end - p));
            if (!close)
                return;
            p = static_cast<const char *>(close) + 1;
            m_state = State::Tag;
            break;
        }
        case State::Entity: {
            const char c = *p;
            if (c == ';') {
                ++p;
                endEntity();
                m_state = State::Text;
            } else if (m_entity.size() < kMaxEntity &&
                       (std::isalnum(uchar(c)) || (c == '#' && m_entity.isEmpty()))) {
                ++p;
                m_entity += c;
            } else {
                // A bare "&": the text as it stands, and c is read again as text.
                emitText(QByteArray('&' + m_entity));
                m_state = State::Text;
            }
            break;
        }
        case State::Comment: {
            const char c = *p++;
            if (c == '>' && m_marker.endsWith("--"))
                m_state = State::Text;
            m_marker = (m_marker + c).right(2);
            break;
        }
        case State::CData: {
            // The section's text is text; "]]>" ends it. Closing brackets are held back until
            // it is clear they do not end the section.
            const char c = *p++;
            if (c == ']') {
                m_marker += c;
                if (m_marker.size() > 2) {
                    emitText("]");
                    m_marker.chop(1);
                }
            } else if (c == '>' && m_marker.size() == 2) {
                m_marker.clear();
                m_state = State::Text;
            } else {
                emitText(m_marker);
                m_marker.clear();
                emitText(QByteArrayView(&c, 1));
            }
            break;
        }
        }
    }
}

void MarkupText::finish()
{
    if (m_state == State::Entity)
        emitText(QByteArray('&' + m_entity));
    m_state = State::Text;
    m_hidden = 0;
    emitText("\n");
    flush();
}

} // namespace corvane
