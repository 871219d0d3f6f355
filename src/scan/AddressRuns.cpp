#include "scan/AddressRuns.h"

#include "analysis/EmailMatcher.h"

namespace corvane {

namespace {

bool isRunChar(unsigned char c)
{
    return c == '@' || email_match::isAddressChar(c);
}

} // namespace

void AddressRunSplitter::feed(QByteArrayView piece)
{
    if (piece.isEmpty())
        return;
    const auto *bytes = reinterpret_cast<const unsigned char *>(piece.data());
    qsizetype cut = piece.size();
    while (cut > 0 && isRunChar(bytes[cut - 1]))
        --cut;
    if (cut == 0) {
        m_carry.append(piece); // the whole piece continues the run
    } else {
        if (m_carry.isEmpty()) {
            m_sink(piece.first(cut));
        } else {
            m_carry.append(piece.first(cut));
            m_sink(m_carry);
        }
        m_carry = piece.sliced(cut).toByteArray();
    }
    if (m_carry.size() > kMaxCarry) {
        m_sink(m_carry);
        m_carry.clear();
    }
}

void AddressRunSplitter::finish()
{
    if (!m_carry.isEmpty())
        m_sink(m_carry);
    m_carry.clear();
}

} // namespace corvane
