#include "ui/SkinRules.h"

namespace corvane {

SkinSource resolveSkinPath(const QString &skinPath)
{
    SkinSource source;
    source.folder = skinPath;
    const QChar last = skinPath.isEmpty() ? QChar() : skinPath.back();
    if (last >= QLatin1Char('1') && last <= QLatin1Char('9')) {
        source.windowNumber = last.digitValue();
        source.folder.chop(1);
    }
    const int number = source.windowNumber == 0 ? 1 : source.windowNumber;
    source.leftCaptionFile = number == 1 ? QStringLiteral("img_Caption_Left.gif")
                                         : QStringLiteral("img_Caption_Left%1.gif").arg(number - 1);
    return source;
}

namespace {

QList<int> steps(int from, int count, int step)
{
    QList<int> offsets;
    if (count < from || step <= 0)
        return offsets;
    offsets.reserve(count - from + 1);
    for (int i = from; i <= count; ++i)
        offsets.append(i * step);
    return offsets;
}

} // namespace

QList<int> captionTileOffsets(int middleWidth, int step)
{
    return step > 0 ? steps(1, middleWidth / step, step) : QList<int>();
}

QList<int> sideTileOffsets(int sideHeight, int tileSize)
{
    return sideHeight >= 0 && tileSize > 0 ? steps(0, sideHeight / tileSize, tileSize)
                                           : QList<int>();
}

QList<int> bottomTileOffsets(int width, int step)
{
    return width >= 0 && step > 0 ? steps(0, width / step, step) : QList<int>();
}

std::optional<QPoint> dragTarget(QPoint windowPos, QPoint pointer, QPoint pressedAt, bool maximised)
{
    if (maximised)
        return std::nullopt;
    return windowPos + pointer - pressedAt;
}

} // namespace corvane
