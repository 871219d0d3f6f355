#pragma once

#include <QSet>
#include <QString>

namespace corvane {

// A keyed set of texts with binary (case-sensitive) comparison: the dictionary the program
// keeps of what it has already seen. "a" and "A" are two keys.
class TextSet
{
public:
    qsizetype count() const { return m_keys.size(); }
    bool contains(const QString &key) const { return m_keys.contains(key); }
    // True when the key was new.
    bool add(const QString &key)
    {
        const qsizetype before = m_keys.size();
        m_keys.insert(key);
        return m_keys.size() != before;
    }
    void clear() { m_keys.clear(); }
    void reserve(qsizetype size) { m_keys.reserve(size); }

private:
    QSet<QString> m_keys;
};

// Every URL page analysis has already put on a link queue or the URL list, exactly as
// appended. Shared by all analysers of a harvest and by the bookmark import; only the
// crawl controller clears it.
class SeenUrlSet : public TextSet
{
};

// The leads accepted so far. The harvest and the leads scan each hold one; the lead limit
// is compared with its size, not with the number of leads of one page.
class LeadSet : public TextSet
{
};

} // namespace corvane
