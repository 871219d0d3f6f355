#include "analysis/WrittenAddresses.h"

#include "analysis/EmailMatcher.h"

namespace corvane {

namespace {

constexpr qsizetype kMaxBlanks = 3;
constexpr qsizetype kMaxMailtoSpan = 512;
constexpr int kMaxReferenceDigits = 7;

// A written form found at some position: how many bytes it takes and what it stands for.
struct WrittenForm
{
    qsizetype length = 0; // 0: nothing found
    char replacement = 0;
    bool takesBlanksBefore = false;
};

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

char asciiLower(char c)
{
    return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

// "@" or a character an address may hold.
bool standsInAddress(unsigned value)
{
    return value == '@' || (value < 128 && email_match::isAddressChar(uchar(value)));
}

int digitValue(char c, int base)
{
    int value = 99;
    if (c >= '0' && c <= '9')
        value = c - '0';
    else if (asciiLower(c) >= 'a' && asciiLower(c) <= 'f')
        value = asciiLower(c) - 'a' + 10;
    return value < base ? value : -1;
}

qsizetype skipBlanks(QByteArrayView text, qsizetype at)
{
    for (qsizetype n = 0; n < kMaxBlanks && at < text.size() && isBlank(text[at]); ++n)
        ++at;
    return at;
}

bool wordAt(QByteArrayView text, qsizetype at, QByteArrayView lowerWord)
{
    if (at + lowerWord.size() > text.size())
        return false;
    for (qsizetype i = 0; i < lowerWord.size(); ++i)
        if (asciiLower(text[at + i]) != lowerWord[i])
            return false;
    return true;
}

// "[at]", "( dot )", "{@}" at position at (an opening bracket).
WrittenForm bracketedWord(QByteArrayView text, qsizetype at)
{
    const char open = text[at];
    const char close = open == '[' ? ']' : open == '(' ? ')' : '}';
    qsizetype i = skipBlanks(text, at + 1);
    char replacement = 0;
    if (wordAt(text, i, "at")) {
        replacement = '@';
        i += 2;
    } else if (wordAt(text, i, "dot")) {
        replacement = '.';
        i += 3;
    } else if (i < text.size() && (text[i] == '@' || text[i] == '.')) {
        replacement = text[i];
        i += 1;
    } else {
        return {};
    }
    i = skipBlanks(text, i);
    if (i >= text.size() || text[i] != close)
        return {};
    return {skipBlanks(text, i + 1) - at, replacement, true};
}

// "&#64;", "&#x40;", "&commat;" ... at position at (an "&").
WrittenForm characterReference(QByteArrayView text, qsizetype at)
{
    qsizetype i = at + 1;
    if (i < text.size() && text[i] == '#') {
        ++i;
        int base = 10;
        if (i < text.size() && asciiLower(text[i]) == 'x') {
            base = 16;
            ++i;
        }
        unsigned value = 0;
        int digits = 0;
        for (int d = 0; i < text.size() && digits < kMaxReferenceDigits &&
                        (d = digitValue(text[i], base)) >= 0;
             ++i, ++digits)
            value = value * unsigned(base) + unsigned(d);
        if (digits == 0 || !standsInAddress(value))
            return {};
        if (i < text.size() && text[i] == ';')
            ++i;
        return {i - at, char(value), false};
    }
    static constexpr std::pair<QByteArrayView, char> kNamed[] = {
        {"&commat;", '@'}, {"&period;", '.'}, {"&lowbar;", '_'}};
    for (const auto &[name, character] : kNamed)
        if (text.sliced(at).startsWith(name))
            return {name.size(), character, false};
    return {};
}

// "%40", "%6A" inside a mailto link, at position at (a "%").
WrittenForm percentEncoded(QByteArrayView text, qsizetype at)
{
    if (at + 2 >= text.size())
        return {};
    const int high = digitValue(text[at + 1], 16);
    const int low = digitValue(text[at + 2], 16);
    if (high < 0 || low < 0 || !standsInAddress(unsigned(high * 16 + low)))
        return {};
    return {3, char(high * 16 + low), false};
}

// Where the link that starts after "mailto:" ends (the colon is at position colon).
qsizetype mailtoEnd(QByteArrayView text, qsizetype colon)
{
    if (colon < 6 || !wordAt(text, colon - 6, "mailto"))
        return 0;
    qsizetype end = colon + 1;
    const qsizetype limit = std::min(text.size(), colon + 1 + kMaxMailtoSpan);
    while (end < limit && !QByteArrayView("\"'<> \t\r\n?").contains(text[end]))
        ++end;
    return end;
}

} // namespace

std::optional<QByteArray> readWrittenAddresses(QByteArrayView text)
{
    QByteArray out;
    bool copying = false;
    qsizetype copied = 0;  // text before this position is in out
    qsizetype linkEnd = 0; // the current mailto link ends here
    for (qsizetype i = 0; i < text.size();) {
        WrittenForm form;
        switch (text[i]) {
        case '[':
        case '(':
        case '{':
            form = bracketedWord(text, i);
            break;
        case '&':
            form = characterReference(text, i);
            break;
        case ':':
            if (i >= linkEnd)
                linkEnd = mailtoEnd(text, i);
            break;
        case '%':
            if (i < linkEnd)
                form = percentEncoded(text, i);
            break;
        default:
            break;
        }
        if (form.length == 0) {
            ++i;
            continue;
        }
        if (!copying) {
            out.reserve(text.size());
            copying = true;
        }
        out.append(text.sliced(copied, i - copied));
        for (qsizetype n = 0;
             form.takesBlanksBefore && n < kMaxBlanks && !out.isEmpty() && isBlank(out.back()); ++n)
            out.chop(1);
        out.append(form.replacement);
        i += form.length;
        copied = i;
    }
    if (!copying)
        return std::nullopt;
    out.append(text.sliced(copied));
    return out;
}

} // namespace corvane
