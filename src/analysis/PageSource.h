#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QString>
#include <QStringList>

#include <memory>

namespace corvane {

// The bytes of a page given as a file name or "-" (standard input). A regular file is
// memory-mapped rather than copied, so a page of hundreds of megabytes costs no second copy.
class PageSource
{
public:
    static Result<std::shared_ptr<PageSource>> open(const QString &pathOrDash);
    // A command's positional arguments: none (standard input) or one FILE|-.
    static Result<std::shared_ptr<PageSource>> fromArguments(const QStringList &positional);

    QByteArrayView bytes() const { return m_view; }

private:
    PageSource() = default;

    std::unique_ptr<QFile> m_file;
    QByteArray m_buffer;
    QByteArrayView m_view;
};

} // namespace corvane
