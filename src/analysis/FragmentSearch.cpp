#include "analysis/FragmentSearch.h"

#include <deque>

namespace corvane {

FragmentSearch::FragmentSearch(const QList<QByteArray> &given, CaseMode mode)
{
    QList<QByteArray> fragments = given;
    if (mode == FoldAsciiCase) {
        for (QByteArray &fragment : fragments)
            fragment = fragment.toLower();
    }
    for (const QByteArray &fragment : fragments) {
        for (const char c : fragment) {
            auto &cls = m_class[static_cast<unsigned char>(c)];
            if (cls == 0)
                cls = static_cast<unsigned short>(m_classes++);
        }
    }

    if (mode == FoldAsciiCase) {
        for (int c = 'A'; c <= 'Z'; ++c)
            m_class[size_t(c)] = m_class[size_t(c - 'A' + 'a')];
    }

    // Trie first; -1 marks a missing edge.
    std::vector<int> trie(size_t(m_classes), -1);
    std::vector<bool> accepting(1, false);
    for (const QByteArray &fragment : fragments) {
        if (fragment.isEmpty())
            continue;
        m_empty = false;
        int state = 0;
        for (const char c : fragment) {
            const int cls = m_class[static_cast<unsigned char>(c)];
            int &edge = trie[size_t(state) * m_classes + cls];
            if (edge < 0) {
                edge = int(accepting.size());
                accepting.push_back(false);
                trie.resize(trie.size() + size_t(m_classes), -1);
            }
            state = trie[size_t(state) * m_classes + cls];
        }
        accepting[size_t(state)] = true;
    }

    // Breadth-first: fold failure links into the table so matching is one lookup a byte.
    const size_t states = accepting.size();
    std::vector<int> fail(states, 0);
    std::deque<int> queue;
    for (int cls = 0; cls < m_classes; ++cls) {
        int &edge = trie[size_t(cls)];
        if (edge < 0) {
            edge = 0;
        } else {
            fail[size_t(edge)] = 0;
            queue.push_back(edge);
        }
    }
    while (!queue.empty()) {
        const int state = queue.front();
        queue.pop_front();
        if (accepting[size_t(fail[size_t(state)])])
            accepting[size_t(state)] = true;
        for (int cls = 0; cls < m_classes; ++cls) {
            int &edge = trie[size_t(state) * m_classes + cls];
            const int fallback = trie[size_t(fail[size_t(state)]) * m_classes + cls];
            if (edge < 0) {
                edge = fallback;
            } else {
                fail[size_t(edge)] = fallback;
                queue.push_back(edge);
            }
        }
    }
    m_next = std::move(trie);
    m_accepting = std::move(accepting);
}

bool FragmentSearch::occursIn(QByteArrayView text) const
{
    if (m_empty)
        return false;
    int state = 0;
    for (const char c : text) {
        state = m_next[size_t(state) * m_classes + m_class[static_cast<unsigned char>(c)]];
        if (m_accepting[size_t(state)])
            return true;
    }
    return false;
}

} // namespace corvane
