#include "GifWriter.h"

#include <QFile>
#include <QHash>
#include <QList>

#include <algorithm>

namespace corvane::skinpaint {

namespace {

struct ColourCount
{
    QRgb colour;
    qsizetype count;
};

// Median cut: split the box with the widest channel range at its weighted median until
// there are 256 boxes, then average each box.
QList<QRgb> medianCut(QList<ColourCount> colours, int wanted)
{
    using Box = QList<ColourCount>;
    QList<Box> boxes{colours};
    auto channel = [](QRgb c, int ch) {
        return ch == 0 ? qRed(c) : ch == 1 ? qGreen(c) : qBlue(c);
    };
    while (boxes.size() < wanted) {
        int best = -1, bestChannel = 0, bestRange = 0;
        for (int b = 0; b < boxes.size(); ++b) {
            if (boxes[b].size() < 2)
                continue;
            for (int ch = 0; ch < 3; ++ch) {
                int lo = 255, hi = 0;
                for (const ColourCount &cc : boxes[b]) {
                    lo = std::min(lo, channel(cc.colour, ch));
                    hi = std::max(hi, channel(cc.colour, ch));
                }
                if (hi - lo > bestRange) {
                    bestRange = hi - lo;
                    best = b;
                    bestChannel = ch;
                }
            }
        }
        if (best < 0)
            break;
        Box box = boxes.takeAt(best);
        std::sort(box.begin(), box.end(), [&](const ColourCount &a, const ColourCount &b) {
            return channel(a.colour, bestChannel) < channel(b.colour, bestChannel);
        });
        qsizetype total = 0;
        for (const ColourCount &cc : box)
            total += cc.count;
        qsizetype running = 0;
        qsizetype split = 1;
        for (qsizetype i = 0; i < box.size() - 1; ++i) {
            running += box[i].count;
            split = i + 1;
            if (running * 2 >= total)
                break;
        }
        boxes.append(box.mid(0, split));
        boxes.append(box.mid(split));
    }
    QList<QRgb> palette;
    for (const Box &box : boxes) {
        qint64 r = 0, g = 0, b = 0, n = 0;
        for (const ColourCount &cc : box) {
            r += qint64(qRed(cc.colour)) * cc.count;
            g += qint64(qGreen(cc.colour)) * cc.count;
            b += qint64(qBlue(cc.colour)) * cc.count;
            n += cc.count;
        }
        palette.append(qRgb(int(r / n), int(g / n), int(b / n)));
    }
    return palette;
}

int nearest(const QList<QRgb> &palette, QRgb c)
{
    int best = 0;
    int bestDistance = INT_MAX;
    for (int i = 0; i < palette.size(); ++i) {
        const int dr = qRed(palette[i]) - qRed(c), dg = qGreen(palette[i]) - qGreen(c),
                  db = qBlue(palette[i]) - qBlue(c);
        const int d = dr * dr + dg * dg + db * db;
        if (d < bestDistance) {
            bestDistance = d;
            best = i;
        }
    }
    return best;
}

// Turns the picture into palette indices (GIF has no alpha; the skin is opaque).
QList<QRgb> quantise(const QImage &rgb, QByteArray &indices)
{
    QHash<QRgb, qsizetype> histogram;
    for (int y = 0; y < rgb.height(); ++y)
        for (int x = 0; x < rgb.width(); ++x)
            ++histogram[rgb.pixel(x, y) | 0xff000000u];
    QList<ColourCount> colours;
    for (auto it = histogram.cbegin(); it != histogram.cend(); ++it)
        colours.append({it.key(), it.value()});
    QList<QRgb> palette;
    if (colours.size() <= 256) {
        for (const ColourCount &cc : colours)
            palette.append(cc.colour);
    } else {
        palette = medianCut(colours, 256);
    }
    QHash<QRgb, int> lookup;
    indices.resize(qsizetype(rgb.width()) * rgb.height());
    qsizetype at = 0;
    for (int y = 0; y < rgb.height(); ++y) {
        for (int x = 0; x < rgb.width(); ++x) {
            const QRgb c = rgb.pixel(x, y) | 0xff000000u;
            auto it = lookup.find(c);
            if (it == lookup.end())
                it = lookup.insert(c, nearest(palette, c));
            indices[at++] = char(it.value());
        }
    }
    while (palette.size() < 256)
        palette.append(qRgb(0, 0, 0));
    return palette;
}

class BitPacker
{
public:
    void put(int code, int width)
    {
        m_buffer |= quint32(code) << m_bits;
        m_bits += width;
        while (m_bits >= 8) {
            m_bytes.append(char(m_buffer & 0xff));
            m_buffer >>= 8;
            m_bits -= 8;
        }
    }
    QByteArray finish()
    {
        if (m_bits > 0)
            m_bytes.append(char(m_buffer & 0xff));
        return m_bytes;
    }

private:
    QByteArray m_bytes;
    quint32 m_buffer = 0;
    int m_bits = 0;
};

// Variable-width LZW with 8-bit roots, as GIF wants it.
QByteArray lzw(const QByteArray &indices)
{
    constexpr int kClear = 256, kEnd = 257;
    BitPacker out;
    QHash<quint32, int> table; // (prefix code << 8 | byte) -> code
    int width = 9;
    int next = 258;
    out.put(kClear, width);
    if (indices.isEmpty()) {
        out.put(kEnd, width);
        return out.finish();
    }
    int prefix = quint8(indices[0]);
    for (qsizetype i = 1; i < indices.size(); ++i) {
        const quint8 byte = quint8(indices[i]);
        const quint32 key = (quint32(prefix) << 8) | byte;
        const auto it = table.constFind(key);
        if (it != table.cend()) {
            prefix = it.value();
            continue;
        }
        out.put(prefix, width);
        if (next < 4096) {
            table.insert(key, next);
            if (next == (1 << width) && width < 12)
                ++width;
            ++next;
        } else {
            out.put(kClear, width);
            table.clear();
            width = 9;
            next = 258;
        }
        prefix = byte;
    }
    out.put(prefix, width);
    out.put(kEnd, width);
    return out.finish();
}

void putWord(QByteArray &out, int value)
{
    out.append(char(value & 0xff));
    out.append(char((value >> 8) & 0xff));
}

} // namespace

QByteArray encodeGif(const QImage &image)
{
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    QByteArray indices;
    const QList<QRgb> palette = quantise(rgb, indices);

    QByteArray out("GIF89a");
    putWord(out, rgb.width());
    putWord(out, rgb.height());
    out.append(char(0xf7)); // global colour table, 8 bits per channel, 256 entries
    out.append(char(0));
    out.append(char(0));
    for (QRgb c : palette) {
        out.append(char(qRed(c)));
        out.append(char(qGreen(c)));
        out.append(char(qBlue(c)));
    }
    out.append(',');
    putWord(out, 0);
    putWord(out, 0);
    putWord(out, rgb.width());
    putWord(out, rgb.height());
    out.append(char(0));
    out.append(char(8)); // minimum code size
    const QByteArray data = lzw(indices);
    for (qsizetype at = 0; at < data.size(); at += 255) {
        const QByteArray block = data.mid(at, 255);
        out.append(char(block.size()));
        out.append(block);
    }
    out.append(char(0));
    out.append(';');
    return out;
}

bool writeGif(const QImage &image, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const QByteArray bytes = encodeGif(image);
    return file.write(bytes) == bytes.size();
}

} // namespace corvane::skinpaint
