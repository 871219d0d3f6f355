#pragma once

#include <QByteArrayView>

#include <array>
#include <cstring>
#include <vector>

namespace corvane {

// The address matcher: finds, in order, exactly the matches that the pattern
//     [a-zA-Z0-9-_.]+@[a-zA-Z0-9-_.]+\.[a-zA-Z0-9]+
// gives under leftmost, greedy, non-overlapping matching (as an ECMAScript engine runs it;
// there the class is letters, digits and the three characters - _ .).
//
// Instead of trying the pattern at every position it jumps from "@" to "@" (memchr) and
// resolves the runs around it, so plain text costs one memchr pass. Every byte is looked
// at a bounded number of times, so the work is linear whatever the input (NUL bytes, bytes
// above 0x7F, a million "@" in a row, one endless line).
namespace email_match {

// 1: address character ([A-Za-z0-9._-]); 2: also a letter or digit.
inline constexpr std::array<unsigned char, 256> kClass = [] {
    std::array<unsigned char, 256> table{};
    for (int c = '0'; c <= '9'; ++c)
        table[c] = 3;
    for (int c = 'A'; c <= 'Z'; ++c)
        table[c] = 3;
    for (int c = 'a'; c <= 'z'; ++c)
        table[c] = 3;
    table['-'] = 1;
    table['_'] = 1;
    table['.'] = 1;
    return table;
}();

inline bool isAddressChar(unsigned char c)
{
    return kClass[c] != 0;
}
inline bool isLetterOrDigit(unsigned char c)
{
    return (kClass[c] & 2) != 0;
}

} // namespace email_match

// Calls sink(begin, length) for every match, left to right. Returns the number of matches.
// When steps is given, it receives the number of bytes the run walks looked at (memchr
// aside), which lets tests check that the work stays linear without timing anything.
template <typename Sink>
qsizetype forEachEmailMatch(QByteArrayView text, Sink &&sink, qsizetype *steps = nullptr)
{
    using namespace email_match;
    const auto *data = reinterpret_cast<const unsigned char *>(text.data());
    const qsizetype size = text.size();
    qsizetype matches = 0;
    qsizetype from = 0; // a match may not begin before the end of the previous one
    qsizetype searchAt = 0;
    while (searchAt < size) {
        const void *hit = std::memchr(data + searchAt, '@', size_t(size - searchAt));
        if (!hit)
            break;
        const qsizetype at = static_cast<const unsigned char *>(hit) - data;

        // Leftmost start: the whole run of address characters before "@". An earlier "@"
        // bounds it (it is no address character), so no byte is walked twice from here.
        qsizetype begin = at;
        while (begin > from && isAddressChar(data[begin - 1]))
            --begin;
        if (steps)
            *steps += at - begin + 1;
        if (begin == at) {
            searchAt = at + 1;
            continue;
        }

        qsizetype runEnd = at + 1;
        while (runEnd < size && isAddressChar(data[runEnd]))
            ++runEnd;
        if (steps)
            *steps += 2 * (runEnd - at); // the walk out and the walk back to the last "."

        // Greedy backtracking settles on the last "." that has at least one address
        // character before it (after "@") and a letter or digit after it.
        qsizetype dot = runEnd - 2;
        while (dot >= at + 2 && !(data[dot] == '.' && isLetterOrDigit(data[dot + 1])))
            --dot;
        if (dot < at + 2) {
            // No match through this "@"; the next "@" can lie no earlier than the run's end.
            searchAt = runEnd;
            continue;
        }
        qsizetype end = dot + 1;
        while (end < size && isLetterOrDigit(data[end]))
            ++end;

        sink(begin, end - begin);
        ++matches;
        from = end;
        searchAt = end;
    }
    return matches;
}

// All matches as views into text.
inline std::vector<QByteArrayView> findEmailMatches(QByteArrayView text)
{
    std::vector<QByteArrayView> found;
    forEachEmailMatch(text, [&](qsizetype begin, qsizetype length) {
        found.push_back(text.sliced(begin, length));
    });
    return found;
}

} // namespace corvane
