#include "ui/SkinRules.h"

#include <gtest/gtest.h>

using namespace corvane;

TEST(SkinRules, WindowNumberPicksCaptionPictureAndIsDroppedFromFolder)
{
    // Window 1 and 9 (with their pictures) are checked on real frames; here the rest.
    for (int n = 2; n <= 8; ++n) {
        const SkinSource s = resolveSkinPath(QStringLiteral("Images%1").arg(n));
        EXPECT_EQ(s.windowNumber, n);
        EXPECT_EQ(s.folder, QStringLiteral("Images"));
        EXPECT_EQ(s.leftCaptionFile, QStringLiteral("img_Caption_Left%1.gif").arg(n - 1));
    }
}

TEST(SkinRules, PathWithoutWindowNumberKeepsFolderAndGetsFirstCaption)
{
    for (const QString &path : {QStringLiteral("Images"), QStringLiteral("Images0"), QString(),
                                QStringLiteral("skins/Images\u0663")}) {
        const SkinSource s = resolveSkinPath(path);
        EXPECT_EQ(s.windowNumber, 0) << path.toStdString();
        EXPECT_EQ(s.folder, path) << path.toStdString();
        EXPECT_EQ(s.leftCaptionFile, QStringLiteral("img_Caption_Left.gif"));
    }
    // Only the last character counts.
    EXPECT_EQ(resolveSkinPath(QStringLiteral("Images12")).folder, QStringLiteral("Images1"));
}

TEST(SkinRules, CaptionMiddleCopiesOverlapByHalf)
{
    EXPECT_TRUE(captionTileOffsets(0).isEmpty());
    EXPECT_TRUE(captionTileOffsets(49).isEmpty());
    EXPECT_EQ(captionTileOffsets(50), QList<int>({50}));
    EXPECT_EQ(captionTileOffsets(260), QList<int>({50, 100, 150, 200, 250}));
    // Together with the picture at x = 0 (100 wide), every pixel of the middle is covered.
    for (int width : {1, 99, 100, 101, 149, 150, 999}) {
        const QList<int> xs = captionTileOffsets(width);
        const int coveredTo = xs.isEmpty() ? 100 : xs.last() + 100;
        EXPECT_GE(coveredTo, width) << width;
    }
}

TEST(SkinRules, TenPixelsTallerGivesOneMoreSideTile)
{
    for (int height : {0, 5, 100, 333}) {
        EXPECT_EQ(sideTileOffsets(height + 10).size(), sideTileOffsets(height).size() + 1)
            << height;
        EXPECT_EQ(sideTileOffsets(height).first(), 0);
        EXPECT_GE(sideTileOffsets(height).last() + 10, height);
    }
    EXPECT_EQ(bottomTileOffsets(30), QList<int>({0, 9, 18, 27}));
    EXPECT_TRUE(sideTileOffsets(-5).isEmpty());
}
