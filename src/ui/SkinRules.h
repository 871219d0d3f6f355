#pragma once

#include <QList>
#include <QPoint>
#include <QString>

#include <optional>

namespace corvane {

// Where a window's skin pictures come from. Every window names an image folder ending in its
// window number ("Images1" for the viewer, "Images9" for the small dialogs); the number is
// dropped so all windows share one folder, and it picks the left caption picture, the one
// that carries the window's title.
struct SkinSource
{
    QString folder;          // the image folder without the window number, e.g. "Images"
    int windowNumber = 0;    // 1 to 9, 0 when the path has no number
    QString leftCaptionFile; // "img_Caption_Left.gif" for 1, "img_Caption_Left<n-1>.gif" else
};

// A path not ending in a digit 1 to 9 keeps its folder unchanged and gets the first window's
// caption picture, so a window that forgot its number still gets a complete frame.
SkinSource resolveSkinPath(const QString &skinPath);

// The default image folder of a frame that was never given one.
inline QString defaultSkinPath()
{
    return QStringLiteral("Images");
}

// Twips are what the caption position is stored in; Corvane draws at 96 logical dots per inch.
constexpr int kTwipsPerPixel = 15;
constexpr int twipsToPixels(int twips)
{
    return twips / kTwipsPerPixel;
}

// The caption middle is covered with copies of the centre picture at x = step·i for
// i = 1 … width/step (neighbouring copies overlap by half, the picture being twice the step
// wide); the picture also stands at x = 0 as the box's own picture.
QList<int> captionTileOffsets(int middleWidth, int step = 50);

// Side borders: one tile every tileSize pixels from the top of the side box, i = 0 … h/tile.
QList<int> sideTileOffsets(int sideHeight, int tileSize = 10);

// Bottom edge: the edge tile copied `step` pixels wide at x = step·i, i = 0 … width/step.
QList<int> bottomTileOffsets(int width, int step = 9);

// Moving by the caption: the window follows the pointer by its offset from where the press
// was, except while it is maximised (then there is nothing to move).
std::optional<QPoint> dragTarget(QPoint windowPos, QPoint pointer, QPoint pressedAt,
                                 bool maximised);

} // namespace corvane
