#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

#include <array>
#include <vector>

namespace corvane {

// "Does any of these fragments occur in this text?" in one pass over the text, however many
// fragments there are (an Aho-Corasick automaton over the fragments' bytes). The text is
// compared as given: callers lower-case both sides when letter case is to be ignored.
class FragmentSearch
{
public:
    FragmentSearch() = default;
    explicit FragmentSearch(const QList<QByteArray> &fragments);

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
