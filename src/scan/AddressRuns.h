#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstddef>
#include <functional>

namespace corvane {

// Cuts text that arrives in pieces (a file read in chunks) into segments that the address
// matcher can search one by one with the same matches as the whole text: a match consists of
// address characters and "@" only, so the text can be cut anywhere outside such a run. The
// unfinished run at the end of each piece is held back and joined to the next piece, so an
// address that straddles two chunks is found whole.
//
// Memory stays bounded by one piece plus that run; a run longer than kMaxCarry (no text has
// one; a hostile file may) is searched in kMaxCarry slices.
class AddressRunSplitter
{
public:
    using SegmentSink = std::function<void(QByteArrayView segment)>;
    static constexpr qsizetype kMaxCarry = 1 << 20;

    explicit AddressRunSplitter(SegmentSink sink) : m_sink(std::move(sink)) {}
    void feed(QByteArrayView piece);
    // Hands on what is held back; call once after the last piece.
    void finish();
    // Drops what is held back: text that broke off (damaged data) may end inside an address,
    // and the part before the break is no address of its own.
    void discard() { m_carry.clear(); }

private:
    SegmentSink m_sink;
    QByteArray m_carry;
};

} // namespace corvane
