#pragma once

#include "scan/DocumentText.h"

namespace corvane::fuzz {

// All the text a document reader hands on, in one piece.
struct CollectedText : TextSink
{
    QByteArray all;
    void beginSource(const QString &) override {}
    void text(QByteArrayView piece) override { all += piece; }
};

} // namespace corvane::fuzz
