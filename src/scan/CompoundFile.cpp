#include "scan/CompoundFile.h"

#include <QIODevice>
#include <algorithm>

namespace corvane {

namespace {

constexpr quint32 kEndOfChain = 0xFFFFFFFE;
constexpr qint64 kHeaderSize = 512;
constexpr qint64 kEntrySize = 128;
constexpr qint64 kMiniSectorSize = 64;
constexpr int kHeaderFatIds = 109;
constexpr quint8 kStreamEntry = 2;
constexpr quint8 kRootEntry = 5;
// A file shorter than its own tables say: most often one that was cut off.
const QString kEndsEarly = QStringLiteral("it ends early");

// Little-endian numbers of the container; callers keep at + size within bytes.
quint32 u32(const QByteArray &bytes, qsizetype at)
{
    quint32 value = 0;
    for (int i = 3; i >= 0; --i)
        value = value << 8 | quint8(bytes[at + i]);
    return value;
}

quint16 u16(const QByteArray &bytes, qsizetype at)
{
    return quint16(quint8(bytes[at]) | quint8(bytes[at + 1]) << 8);
}

// A stream's size: 32 bits in files of 512-byte sectors, 64 in the others; kept far below
// what could overflow when counted in sectors.
qint64 streamSize(const QByteArray &entry, bool wide)
{
    const quint64 size = u32(entry, 0x78) | (wide ? quint64(u32(entry, 0x7C)) << 32 : 0);
    return qint64(std::min<quint64>(size, quint64(1) << 48));
}

Error damaged(const QString &what)
{
    return fail(QStringLiteral("its %1 is damaged").arg(what));
}

Result<QByteArray> readAt(QIODevice &device, qint64 pos, qint64 length)
{
    if (pos + length > device.size() || !device.seek(pos))
        return fail(kEndsEarly);
    QByteArray bytes = device.read(length);
    if (bytes.size() != length)
        return fail(kEndsEarly);
    return bytes;
}

} // namespace

Result<QByteArray> CompoundFile::Stream::read(qint64 pos, qint64 length) const
{
    QByteArray bytes;
    length = std::min(length, m_size - pos);
    while (length > 0) {
        const qint64 within = pos % m_sectorSize;
        const qint64 piece = std::min(length, m_sectorSize - within);
        const Result<QByteArray> part =
            readAt(*m_device, m_offsets[size_t(pos / m_sectorSize)] + within, piece);
        if (!part)
            return part;
        bytes += *part;
        pos += piece;
        length -= piece;
    }
    return bytes;
}

Result<std::vector<quint32>> CompoundFile::chain(const std::vector<quint32> &table, quint32 start,
                                                 qint64 size, qint64 sectorSize)
{
    std::vector<quint32> sectors;
    const qint64 needed = size < 0 ? -1 : (size + sectorSize - 1) / sectorSize;
    for (quint32 sector = start;
         needed < 0 ? sector != kEndOfChain : qint64(sectors.size()) < needed;
         sector = table[sector]) {
        // A chain longer than the table has visited some sector twice.
        if (sector >= table.size() || sectors.size() >= table.size())
            return damaged(QStringLiteral("sector chain"));
        sectors.push_back(sector);
    }
    return sectors;
}

Result<QByteArray> CompoundFile::readSector(quint32 sector) const
{
    return readAt(*m_device, (qint64(sector) + 1) * m_sectorSize, m_sectorSize);
}

Result<std::vector<quint32>> CompoundFile::readTable(const std::vector<quint32> &sectors) const
{
    std::vector<quint32> table;
    table.reserve(sectors.size() * size_t(m_sectorSize / 4));
    for (const quint32 sector : sectors) {
        const Result<QByteArray> bytes = readSector(sector);
        if (!bytes)
            return bytes.error();
        for (qsizetype at = 0; at < bytes->size(); at += 4)
            table.push_back(u32(*bytes, at));
    }
    return table;
}

Result<CompoundFile> CompoundFile::open(QIODevice &device)
{
    CompoundFile file;
    file.m_device = &device;
    const Result<QByteArray> header = readAt(device, 0, kHeaderSize);
    if (!header)
        return header.error();
    const quint16 sectorShift = u16(*header, 0x1E);
    if (!header->startsWith("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1") ||
        (sectorShift != 9 && sectorShift != 12) || u16(*header, 0x20) != 6)
        return damaged(QStringLiteral("header"));
    file.m_sectorSize = qint64(1) << sectorShift;
    file.m_wideSizes = sectorShift == 12;
    file.m_miniCutoff = u32(*header, 0x38);

    // Only sectors inside the file can hold anything, which bounds every table.
    const qint64 fileSectors =
        std::max<qint64>(0, (device.size() - 1) / file.m_sectorSize); // less the header's
    const qint64 idsPerSector = file.m_sectorSize / 4;
    const qint64 fatSectors =
        std::min<qint64>(u32(*header, 0x2C), (fileSectors + idsPerSector - 1) / idsPerSector);
    std::vector<quint32> fatIds;
    for (int i = 0; i < kHeaderFatIds && qint64(fatIds.size()) < fatSectors; ++i)
        fatIds.push_back(u32(*header, 0x4C + 4 * i));
    quint32 next = u32(*header, 0x44);
    for (qint64 hops = 0; qint64(fatIds.size()) < fatSectors; ++hops) {
        if (hops >= fileSectors)
            return damaged(QStringLiteral("sector table"));
        if (next >= fileSectors)
            return fail(kEndsEarly);
        const Result<QByteArray> bytes = file.readSector(next);
        if (!bytes)
            return bytes.error();
        for (qsizetype at = 0; at + 4 < bytes->size() && qint64(fatIds.size()) < fatSectors;
             at += 4)
            fatIds.push_back(u32(*bytes, at));
        next = u32(*bytes, bytes->size() - 4);
    }
    for (const quint32 id : fatIds) {
        if (id >= fileSectors)
            return fail(kEndsEarly);
    }
    Result<std::vector<quint32>> fat = file.readTable(fatIds);
    if (!fat)
        return fat.error();
    file.m_fat = std::move(fat).value();

    Result<std::vector<quint32>> directory =
        chain(file.m_fat, u32(*header, 0x30), -1, file.m_sectorSize);
    if (!directory)
        return directory.error();
    if (directory->empty())
        return damaged(QStringLiteral("directory"));
    file.m_directory = std::move(directory).value();

    const Result<QByteArray> first = file.readSector(file.m_directory.front());
    if (!first)
        return first.error();
    if (quint8(first->at(0x42)) != kRootEntry)
        return damaged(QStringLiteral("directory"));
    const qint64 miniSize = streamSize(*first, file.m_wideSizes);
    Result<std::vector<quint32>> miniStream =
        chain(file.m_fat, u32(*first, 0x74), miniSize, file.m_sectorSize);
    if (!miniStream)
        return miniStream.error();
    file.m_miniStream = std::move(miniStream).value();
    file.m_miniStreamSize = miniSize;

    Result<std::vector<quint32>> miniFatSectors =
        chain(file.m_fat, u32(*header, 0x3C), -1, file.m_sectorSize);
    if (!miniFatSectors)
        return miniFatSectors.error();
    Result<std::vector<quint32>> miniFat = file.readTable(*miniFatSectors);
    if (!miniFat)
        return miniFat.error();
    file.m_miniFat = std::move(miniFat).value();
    return file;
}

Result<std::optional<CompoundFile::Stream>> CompoundFile::stream(const QString &name) const
{
    for (const quint32 sector : m_directory) {
        const Result<QByteArray> bytes = readSector(sector);
        if (!bytes)
            return bytes.error();
        for (qsizetype at = 0; at < bytes->size(); at += kEntrySize) {
            const QByteArray entry = bytes->mid(at, kEntrySize);
            // The name's length counts its closing NUL.
            const int nameChars = std::clamp(u16(entry, 0x40) / 2 - 1, 0, 31);
            const QString entryName = QString::fromUtf16(
                reinterpret_cast<const char16_t *>(entry.constData()), nameChars);
            if (quint8(entry.at(0x42)) != kStreamEntry ||
                entryName.compare(name, Qt::CaseInsensitive) != 0)
                continue;
            Stream stream;
            stream.m_device = m_device;
            stream.m_size = streamSize(entry, m_wideSizes);
            const quint32 start = u32(entry, 0x74);
            if (stream.m_size < m_miniCutoff) {
                Result<std::vector<quint32>> mini =
                    chain(m_miniFat, start, stream.m_size, kMiniSectorSize);
                if (!mini)
                    return mini.error();
                stream.m_sectorSize = kMiniSectorSize;
                for (const quint32 miniSector : *mini) {
                    const qint64 pos = qint64(miniSector) * kMiniSectorSize;
                    if (pos >= m_miniStreamSize)
                        return damaged(QStringLiteral("mini stream"));
                    stream.m_offsets.push_back(
                        (qint64(m_miniStream[size_t(pos / m_sectorSize)]) + 1) * m_sectorSize +
                        pos % m_sectorSize);
                }
            } else {
                Result<std::vector<quint32>> sectors =
                    chain(m_fat, start, stream.m_size, m_sectorSize);
                if (!sectors)
                    return sectors.error();
                stream.m_sectorSize = m_sectorSize;
                for (const quint32 regular : *sectors)
                    stream.m_offsets.push_back((qint64(regular) + 1) * m_sectorSize);
            }
            return std::optional<Stream>(std::move(stream));
        }
    }
    return std::optional<Stream>();
}

} // namespace corvane
