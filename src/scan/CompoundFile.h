#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

class QIODevice;

namespace corvane {

// The compound document container of Office 97-2003 files (.xls, .doc): a small file
// system of fixed-size sectors chained through an allocation table. Opens one stream for
// reading in place, a piece at a time, so a stream never has to fit in memory.
//
// Every table is checked against the size of the file: a chain that leaves the file, loops
// or ends before its stream does is reported as damage, never followed.
class CompoundFile
{
public:
    // A stream, as the file offsets of its sectors (or mini sectors) in order.
    class Stream
    {
    public:
        qint64 size() const { return m_size; }
        // Up to length bytes from pos; fewer only at the end of the stream.
        Result<QByteArray> read(qint64 pos, qint64 length) const;

    private:
        friend class CompoundFile;
        QIODevice *m_device = nullptr;
        qint64 m_size = 0;
        qint64 m_sectorSize = 0;
        std::vector<qint64> m_offsets;
    };

    // Reads the header, the allocation tables and the directory.
    static Result<CompoundFile> open(QIODevice &device);

    // The stream of that name (letter case ignored); nothing when there is none.
    Result<std::optional<Stream>> stream(const QString &name) const;

private:
    // The sectors of a chain, checked against the table; size < 0 follows it to its end.
    static Result<std::vector<quint32>> chain(const std::vector<quint32> &table, quint32 start,
                                              qint64 size, qint64 sectorSize);
    Result<QByteArray> readSector(quint32 sector) const;
    Result<std::vector<quint32>> readTable(const std::vector<quint32> &sectors) const;

    QIODevice *m_device = nullptr;
    qint64 m_sectorSize = 512;
    bool m_wideSizes = false;
    quint32 m_miniCutoff = 4096;
    std::vector<quint32> m_fat;
    std::vector<quint32> m_miniFat;
    std::vector<quint32> m_directory;
    // The mini stream (the root entry's stream), which holds the small streams.
    std::vector<quint32> m_miniStream;
    qint64 m_miniStreamSize = 0;
};

} // namespace corvane
