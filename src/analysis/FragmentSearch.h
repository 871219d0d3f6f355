#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <array>
#include <vector>

namespace corvane {

// "Does any of these fragments occur in this text?" in one pass over the text, however many
// fragments there are (an Aho-Corasick automaton over the fragments' bytes). With
// FoldAsciiCase the fragments are lower-cased and the text's A-Z count as a-z, so callers
// need no lower-cased copy of the text.
class FragmentSearch
{
public:
    enum CaseMode { ExactCase, FoldAsciiCase };

    FragmentSearch() = default;
    explicit FragmentSearch(const QList<QByteArray> &fragments, CaseMode mode = ExactCase);

    bool isEmpty() const { return m_empty; }
    bool occursIn(QByteArrayView text) const;

private:
    // Bytes that occur in no fragment share class 0; the table is states x classes.
    std::array<unsigned short, 256> m_class{};
    int m_classes = 1;
    std::vector<int> m_next;       // dense transition table, failure links folded in
    std::vector<bool> m_accepting; // some fragment ends in this state
    bool m_empty = true;
};

} // namespace corvane
