#include "kb/PageText.h"

#include "common/Cp1252.h"
#include "kb/NameRules.h"

#include <QHash>
#include <QStringView>

namespace corvane {

namespace {

// Visible text of the first megabytes is more than an index entry takes; the rest of a huge
// page is not worth decoding.
constexpr qsizetype kMaxScannedBytes = 4 * 1024 * 1024;

// Named character references: Latin-1 by code point from 160, then the others of HTML 4
// that pages use in prose.
const char *const kLatin1Names[] = {
    "nbsp",   "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",   "uml",
    "copy",   "ordf",   "laquo",  "not",    "shy",    "reg",    "macr",   "deg",    "plusmn",
    "sup2",   "sup3",   "acute",  "micro",  "para",   "middot", "cedil",  "sup1",   "ordm",
    "raquo",  "frac14", "frac12", "frac34", "iquest", "Agrave", "Aacute", "Acirc",  "Atilde",
    "Auml",   "Aring",  "AElig",  "Ccedil", "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave",
    "Iacute", "Icirc",  "Iuml",   "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde",
    "Ouml",   "times",  "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",
    "szlig",  "agrave", "aacute", "acirc",  "atilde", "auml",   "aring",  "aelig",  "ccedil",
    "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute", "icirc",  "iuml",   "eth",
    "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide", "oslash", "ugrave",
    "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml"};

struct NamedReference
{
    const char *name;
    char32_t codePoint;
};

const NamedReference kOtherNames[] = {
    {"quot", 34},     {"amp", 38},      {"apos", 39},     {"lt", 60},       {"gt", 62},
    {"OElig", 338},   {"oelig", 339},   {"Scaron", 352},  {"scaron", 353},  {"Yuml", 376},
    {"fnof", 402},    {"circ", 710},    {"tilde", 732},   {"ensp", 8194},   {"emsp", 8195},
    {"thinsp", 8201}, {"zwnj", 8204},   {"zwj", 8205},    {"lrm", 8206},    {"rlm", 8207},
    {"ndash", 8211},  {"mdash", 8212},  {"lsquo", 8216},  {"rsquo", 8217},  {"sbquo", 8218},
    {"ldquo", 8220},  {"rdquo", 8221},  {"bdquo", 8222},  {"dagger", 8224}, {"Dagger", 8225},
    {"bull", 8226},   {"hellip", 8230}, {"permil", 8240}, {"prime", 8242},  {"Prime", 8243},
    {"lsaquo", 8249}, {"rsaquo", 8250}, {"frasl", 8260},  {"euro", 8364},   {"trade", 8482},
    {"larr", 8592},   {"uarr", 8593},   {"rarr", 8594},   {"darr", 8595},   {"harr", 8596},
    {"minus", 8722},  {"infin", 8734},  {"asymp", 8776},  {"ne", 8800},     {"le", 8804},
    {"ge", 8805},     {"alpha", 945},   {"beta", 946},    {"gamma", 947},   {"delta", 948},
    {"mu", 956},      {"pi", 960},      {"sigma", 963},   {"omega", 969},   {"Omega", 937},
};

const QHash<QString, char32_t> &namedReferences()
{
    static const QHash<QString, char32_t> table = [] {
        QHash<QString, char32_t> names;
        char32_t codePoint = 160;
        for (const char *name : kLatin1Names)
            names.insert(QLatin1String(name), codePoint++);
        for (const NamedReference &other : kOtherNames)
            names.insert(QLatin1String(other.name), other.codePoint);
        return names;
    }();
    return table;
}

// Elements whose content is never shown as text. The title is indexed by itself.
bool isHiddenElement(QStringView name)
{
    for (const char *hidden : {"script", "style", "title", "template"}) {
        if (name.compare(QLatin1String(hidden), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

// Elements that run on inside a line: words on both sides of their tags stay together.
bool isInlineElement(QStringView name)
{
    static const char *const inlineNames[] = {
        "a",    "abbr", "b",   "bdi",   "bdo",    "cite", "code",   "data", "dfn",
        "em",   "font", "i",   "kbd",   "mark",   "q",    "s",      "samp", "small",
        "span", "sub",  "sup", "time",  "tt",     "u",    "var",    "wbr",  "strong",
        "big",  "ins",  "del", "label", "strike", "nobr", "acronym"};
    for (const char *inlineName : inlineNames) {
        if (name.compare(QLatin1String(inlineName), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

bool isNameCharacter(QChar ch)
{
    return ch.isLetterOrNumber() || ch == QLatin1Char('-') || ch == QLatin1Char(':');
}

class TextCollector
{
public:
    explicit TextCollector(qsizetype maxLength) : m_max(maxLength)
    {
        m_text.reserve(std::min<qsizetype>(maxLength, 64 * 1024));
    }

    bool full() const { return m_full; }
    void space() { m_pendingSpace = !m_text.isEmpty(); }

    void append(char32_t codePoint)
    {
        if (codePoint == 0xAD || codePoint == 0x200B || codePoint == 0xFEFF)
            return; // invisible: soft hyphen, zero-width space, byte-order mark
        // Private-use characters are kept free for the marks of the index's snippets.
        if (codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0) ||
            QChar::isSpace(codePoint) || (codePoint >= 0xE000 && codePoint <= 0xF8FF)) {
            space();
            return;
        }
        const bool pair = QChar::requiresSurrogates(codePoint);
        const qsizetype needed = (m_pendingSpace ? 1 : 0) + (pair ? 2 : 1);
        if (m_full || m_text.size() + needed > m_max) {
            m_full = true;
            return;
        }
        if (m_pendingSpace)
            m_text += QLatin1Char(' ');
        m_pendingSpace = false;
        if (pair) {
            m_text += QChar(QChar::highSurrogate(codePoint));
            m_text += QChar(QChar::lowSurrogate(codePoint));
        } else {
            m_text += QChar(char16_t(codePoint));
        }
    }

    QString take() { return std::move(m_text); }

private:
    QString m_text;
    qsizetype m_max;
    bool m_pendingSpace = false;
    bool m_full = false;
};

class VisibleText
{
public:
    VisibleText(QStringView html, qsizetype maxLength) : m_html(html), m_out(maxLength) {}

    QString run()
    {
        while (m_at < m_html.size() && !m_out.full()) {
            const QChar ch = m_html[m_at];
            if (ch == QLatin1Char('<'))
                markup();
            else if (ch == QLatin1Char('&'))
                reference();
            else
                character();
        }
        return m_out.take();
    }

private:
    bool startsAt(qsizetype at, QLatin1StringView text) const
    {
        return m_html.sliced(at).startsWith(text, Qt::CaseInsensitive);
    }

    // Moves past the next `text`, or to the end when there is none.
    void skipPast(QLatin1StringView text)
    {
        const qsizetype found = m_html.indexOf(text, m_at, Qt::CaseInsensitive);
        m_at = found < 0 ? m_html.size() : found + text.size();
    }

    // Moves past the ">" that ends a tag; quoted attribute values may hold ">".
    void skipTag()
    {
        QChar quote;
        for (; m_at < m_html.size(); ++m_at) {
            const QChar ch = m_html[m_at];
            if (!quote.isNull()) {
                if (ch == quote)
                    quote = QChar();
            } else if (ch == QLatin1Char('"') || ch == QLatin1Char('\'')) {
                quote = ch;
            } else if (ch == QLatin1Char('>')) {
                ++m_at;
                return;
            }
        }
    }

    void markup()
    {
        const qsizetype start = m_at;
        if (startsAt(start, QLatin1StringView("<!--"))) {
            m_at += 4;
            skipPast(QLatin1StringView("-->"));
            return;
        }
        if (startsAt(start, QLatin1StringView("<![CDATA["))) {
            m_at += 9;
            skipPast(QLatin1StringView("]]>"));
            return;
        }
        qsizetype at = start + 1;
        const bool closing = at < m_html.size() && m_html[at] == QLatin1Char('/');
        if (closing)
            ++at;
        const qsizetype nameStart = at;
        while (at < m_html.size() && isNameCharacter(m_html[at]))
            ++at;
        const QStringView name = m_html.sliced(nameStart, at - nameStart);
        const QChar first = nameStart < m_html.size() ? m_html[nameStart] : QChar();
        if (name.isEmpty() || !first.isLetter()) {
            if (first == QLatin1Char('!') || first == QLatin1Char('?') ||
                (closing && !name.isEmpty())) {
                m_at = at;
                skipTag(); // <!DOCTYPE ...>, <?xml ...?>
                return;
            }
            character(); // a "<" that starts no tag is text
            return;
        }
        m_at = at;
        skipTag();
        if (!isInlineElement(name))
            m_out.space();
        if (!closing && isHiddenElement(name)) {
            // Raw content up to the element's own end tag.
            const QString end = QStringLiteral("</") + name.toString();
            for (;;) {
                const qsizetype found = m_html.indexOf(end, m_at, Qt::CaseInsensitive);
                if (found < 0) {
                    m_at = m_html.size();
                    return;
                }
                m_at = found + end.size();
                if (m_at >= m_html.size() || !isNameCharacter(m_html[m_at])) {
                    skipTag();
                    return;
                }
            }
        }
    }

    void reference()
    {
        qsizetype at = m_at + 1;
        if (at < m_html.size() && m_html[at] == QLatin1Char('#')) {
            ++at;
            const bool hex = at < m_html.size() &&
                             (m_html[at] == QLatin1Char('x') || m_html[at] == QLatin1Char('X'));
            if (hex)
                ++at;
            const qsizetype digitsStart = at;
            char32_t value = 0;
            bool tooBig = false;
            for (int digit; at < m_html.size() && (digit = digitValue(m_html[at], hex)) >= 0;
                 ++at) {
                tooBig = tooBig || value > 0x10FFFF;
                if (!tooBig)
                    value = value * (hex ? 16 : 10) + char32_t(digit);
            }
            if (at == digitsStart) {
                character(); // "&#" without digits is text
                return;
            }
            if (at < m_html.size() && m_html[at] == QLatin1Char(';'))
                ++at;
            m_at = at;
            m_out.append(numericReference(value, tooBig));
            return;
        }
        while (at < m_html.size() && at - m_at <= 8 && m_html[at].isLetterOrNumber() &&
               m_html[at].unicode() < 0x80)
            ++at;
        const auto found =
            namedReferences().constFind(m_html.sliced(m_at + 1, at - m_at - 1).toString());
        if (found == namedReferences().constEnd()) {
            character();
            return;
        }
        if (at < m_html.size() && m_html[at] == QLatin1Char(';'))
            ++at;
        m_at = at;
        m_out.append(*found);
    }

    static int digitValue(QChar ch, bool hex)
    {
        const char16_t c = ch.unicode();
        if (c >= u'0' && c <= u'9')
            return c - u'0';
        if (hex && c >= u'a' && c <= u'f')
            return c - u'a' + 10;
        if (hex && c >= u'A' && c <= u'F')
            return c - u'A' + 10;
        return -1;
    }

    // As browsers read them: 128 to 159 name the Windows-1252 characters of those bytes;
    // nothing, surrogates and what lies beyond Unicode become the replacement character.
    static char32_t numericReference(char32_t value, bool tooBig)
    {
        if (tooBig || value == 0 || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
            return 0xFFFD;
        if (value >= 0x80 && value <= 0x9F)
            return cp1252ToChar(static_cast<unsigned char>(value)).unicode();
        return value;
    }

    void character()
    {
        const QChar ch = m_html[m_at++];
        if (ch.isHighSurrogate() && m_at < m_html.size() && m_html[m_at].isLowSurrogate()) {
            m_out.append(QChar::surrogateToUcs4(ch, m_html[m_at++]));
            return;
        }
        m_out.append(ch.isSurrogate() ? char32_t(0xFFFD) : char32_t(ch.unicode()));
    }

    QStringView m_html;
    qsizetype m_at = 0;
    TextCollector m_out;
};

} // namespace

QByteArrayView withoutCutCharacter(QByteArrayView head)
{
    // Step back over continuation bytes to the start of the last character; drop it when
    // its bytes do not all fit.
    qsizetype start = head.size();
    int continuation = 0;
    while (start > 0 && continuation < 4 && (uchar(head[start - 1]) & 0xC0) == 0x80) {
        --start;
        ++continuation;
    }
    if (start == 0)
        return head;
    const uchar lead = uchar(head[start - 1]);
    const int length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
    if (length > 1 && continuation + 1 < length)
        return head.first(start - 1);
    return head;
}

QString visiblePageText(QByteArrayView html, qsizetype maxLength)
{
    const QByteArrayView scanned =
        html.size() > kMaxScannedBytes ? withoutCutCharacter(html.first(kMaxScannedBytes)) : html;
    const QString text = decodePageBytes(html, scanned);
    return VisibleText(text, std::max<qsizetype>(maxLength, 0)).run();
}

} // namespace corvane
