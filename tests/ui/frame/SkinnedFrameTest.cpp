#include "support/TestSupport.h"
#include "ui/SkinParts.h"
#include "ui/SkinnedWindow.h"

#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <memory>

using namespace corvane;

namespace {

SkinImageButton *part(QWidget *window, const char *name)
{
    return window->findChild<SkinImageButton *>(QString::fromLatin1(name));
}

SkinPictureBox *box(QWidget *window, const char *name)
{
    return window->findChild<SkinPictureBox *>(QString::fromLatin1(name));
}

void sendMouse(QWidget *target, QEvent::Type type, QPoint local, Qt::MouseButton button,
               Qt::MouseButtons held)
{
    QMouseEvent event(type, QPointF(local), QPointF(target->mapToGlobal(local)), button, held,
                      Qt::NoModifier);
    QApplication::sendEvent(target, &event);
}

class SkinnedFrameTest : public ::testing::Test
{
protected:
    test::TempDataFolder home;
};

} // namespace

TEST_F(SkinnedFrameTest, WindowNumberChoosesCaptionPictureFromSharedFolder)
{
    // A caption picture of the data folder overrides the bundled one; its odd size shows
    // which file the frame took, and that the number was dropped from the folder.
    QImage marker(123, 40, QImage::Format_RGB32);
    marker.fill(Qt::red);
    QDir().mkpath(home.file(QStringLiteral("Images")));
    ASSERT_TRUE(marker.save(home.file(QStringLiteral("Images/img_Caption_Left8.gif")), "PNG"));

    SkinnedWindow dialog(QStringLiteral("Images9"));
    EXPECT_EQ(dialog.skin()->source().windowNumber, 9);
    EXPECT_TRUE(dialog.skin()->images().contains(QStringLiteral("img_Caption_Left8.gif")));
    EXPECT_EQ(box(&dialog, "pic_LeftCaption")->width(), 123);
    EXPECT_EQ(dialog.skin()->captionHeight(), 40);
    EXPECT_EQ(dialog.contentsMargins().top(), 40);

    SkinnedWindow viewer(QStringLiteral("Images1"));
    EXPECT_TRUE(viewer.skin()->images().contains(QStringLiteral("img_Caption_Left.gif")));
    EXPECT_FALSE(viewer.skin()->images().contains(QStringLiteral("img_Caption_Left8.gif")));
    EXPECT_NE(box(&viewer, "pic_LeftCaption")->width(), 123);
    for (const char *file :
         {"img_Caption_Center.gif", "img_Caption_Right.gif", "img_Button_Close.gif",
          "img_Button_Restore.gif", "img_Button_Minimize.gif", "img_Borders.bmp"}) {
        const QPixmap picture = viewer.skin()->images().value(QString::fromLatin1(file));
        EXPECT_FALSE(picture.isNull()) << file;
    }
    // The bundled pictures are real: the centre picture is the 100x48 the tiling assumes.
    EXPECT_EQ(viewer.skin()->images().value(QStringLiteral("img_Caption_Center.gif")).size(),
              QSize(100, 48));
    EXPECT_EQ(viewer.windowTitle(), QStringLiteral("Corvane"));
    EXPECT_TRUE(viewer.windowFlags() & Qt::FramelessWindowHint);
}

TEST_F(SkinnedFrameTest, FrameFollowsWindowSize)
{
    SkinnedWindow window(QStringLiteral("Images2"), QStringLiteral("Harvest"));
    auto *content = new QLabel(QStringLiteral("inside"), &window);
    (new QVBoxLayout(&window))->addWidget(content);
    window.resize(640, 400);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

    SkinPictureBox *left = box(&window, "pic_LeftBorder");
    SkinPictureBox *right = box(&window, "pic_RightBorder");
    SkinPictureBox *bottom = box(&window, "pic_DownBorder");
    SkinPictureBox *middle = box(&window, "pic_CenterCaption");
    const qsizetype leftTiles = left->copies().size();
    const qsizetype rightTiles = right->copies().size();
    EXPECT_EQ(bottom->geometry(), QRect(0, 390, 640, 10));
    EXPECT_EQ(right->geometry().right(), 639);
    EXPECT_EQ(middle->x() + middle->width() + box(&window, "pic_RightCaption")->width(), 640);
    // The content stays inside the frame.
    EXPECT_GE(content->geometry().top(), window.skin()->captionHeight());
    EXPECT_LE(content->geometry().bottom(), 390);
    EXPECT_GE(content->geometry().left(), 10);

    window.resize(640, 410);
    EXPECT_EQ(left->copies().size(), leftTiles + 1);
    EXPECT_EQ(right->copies().size(), rightTiles + 1);
    EXPECT_EQ(bottom->geometry(), QRect(0, 400, 640, 10));

    // The caption text sits in the caption at CaptionTop (twips).
    auto *caption = window.findChild<QLabel *>(QStringLiteral("lbl_Caption"));
    ASSERT_NE(caption, nullptr);
    EXPECT_EQ(caption->text(), QStringLiteral("Harvest"));
    EXPECT_EQ(caption->y(), 195 / 15);
    window.skin()->setCaptionTop(300);
    EXPECT_EQ(caption->y(), 20);
}

TEST_F(SkinnedFrameTest, ButtonsCloseMinimiseAndRestore)
{
    SkinnedWindow window(QStringLiteral("Images8"));
    window.resize(500, 300);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));

    SkinImageButton *close = part(&window, "img_CloseBtn");
    SkinImageButton *minimize = part(&window, "img_MinimizeBtn");
    SkinImageButton *restore = part(&window, "img_RestoreBtn");
    ASSERT_TRUE(close && minimize && restore);
    EXPECT_TRUE(close->isVisible());
    EXPECT_TRUE(minimize->isVisible());
    EXPECT_TRUE(restore->isVisible());
    EXPECT_FALSE(part(&window, "img_MaximizeBtn")->isVisible());
    // Right to left: close, restore, minimise, spaced by their own widths.
    EXPECT_LT(restore->geometry().right(), close->x());
    EXPECT_LT(minimize->geometry().right(), restore->x());

    // Pressing shows the pressed picture, releasing the released one.
    const QImage normalClose = close->pixmap().toImage();
    QTest::mousePress(close, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_TRUE(close->isDown());
    EXPECT_EQ(close->pixmap().toImage(),
              window.skin()->images().value(QStringLiteral("img_Button_close2.gif")).toImage());
    EXPECT_NE(close->pixmap().toImage(), normalClose);
    // Released elsewhere: no click, window stays.
    QTest::mouseRelease(close, Qt::LeftButton, {}, QPoint(-20, 5));
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(close->pixmap().toImage(),
              window.skin()->images().value(QStringLiteral("img_Button_close.gif")).toImage());

    QTest::mouseClick(minimize, Qt::LeftButton);
    EXPECT_TRUE(window.windowState() & Qt::WindowMinimized);
    window.showNormal();

    QTest::mouseClick(restore, Qt::LeftButton);
    EXPECT_TRUE(window.isMaximized());
    EXPECT_TRUE(window.isVisible());
    QTest::mouseClick(restore, Qt::LeftButton);
    EXPECT_FALSE(window.isMaximized());

    QTest::mouseClick(close, Qt::LeftButton);
    EXPECT_FALSE(window.isVisible());
}

TEST_F(SkinnedFrameTest, ButtonPropertiesHideButtonsAndAreMarkedChanged)
{
    SkinnedWindow window(QStringLiteral("Images3"));
    window.resize(480, 260);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    SkinnedFrame *frame = window.skin();
    QSignalSpy changed(frame, &SkinnedFrame::PropertyChanged);

    frame->setProperty("MinimizeBtn", false);
    EXPECT_FALSE(part(&window, "img_MinimizeBtn")->isVisible());
    EXPECT_TRUE(part(&window, "img_RestoreBtn")->isVisible());
    frame->setMaximizeBtn(false);
    EXPECT_FALSE(part(&window, "img_RestoreBtn")->isVisible());
    EXPECT_TRUE(part(&window, "img_CloseBtn")->isVisible());
    ASSERT_EQ(changed.size(), 2);
    EXPECT_EQ(changed.at(0).at(0).toString(), QStringLiteral("MinimizeBtn"));
    EXPECT_TRUE(frame->isChanged());

    // The caption colour wins over the fore colour whatever order they are set in.
    frame->setCaptionColor(Qt::darkBlue);
    frame->setForeColor(Qt::red);
    auto *caption = window.findChild<QLabel *>(QStringLiteral("lbl_Caption"));
    EXPECT_EQ(caption->palette().color(QPalette::WindowText), QColor(Qt::darkBlue));
    EXPECT_EQ(frame->property("CaptionTop").toInt(), 195);
}

TEST_F(SkinnedFrameTest, CaptionDragMovesWindowButNotWhenMaximised)
{
    SkinnedWindow window(QStringLiteral("Images6"), QStringLiteral("Export"));
    window.resize(500, 300);
    window.move(100, 100);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    SkinPictureBox *middle = box(&window, "pic_CenterCaption");
    ASSERT_GT(middle->width(), 40);

    const QPoint start = window.pos();
    sendMouse(middle, QEvent::MouseButtonPress, QPoint(20, 10), Qt::LeftButton, Qt::LeftButton);
    sendMouse(middle, QEvent::MouseMove, QPoint(50, 30), Qt::NoButton, Qt::LeftButton);
    sendMouse(middle, QEvent::MouseButtonRelease, QPoint(50, 30), Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(window.pos(), start + QPoint(30, 20));

    // Moving without the button held does nothing.
    sendMouse(middle, QEvent::MouseMove, QPoint(80, 80), Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(window.pos(), start + QPoint(30, 20));

    // The caption text is a handle as well.
    auto *caption = window.findChild<QLabel *>(QStringLiteral("lbl_Caption"));
    const QPoint before = window.pos();
    sendMouse(caption, QEvent::MouseButtonPress, QPoint(5, 5), Qt::LeftButton, Qt::LeftButton);
    sendMouse(caption, QEvent::MouseMove, QPoint(1, 2), Qt::NoButton, Qt::LeftButton);
    sendMouse(caption, QEvent::MouseButtonRelease, QPoint(1, 2), Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(window.pos(), before + QPoint(-4, -3));

    window.showMaximized();
    ASSERT_TRUE(window.isMaximized());
    const QPoint maximised = window.pos();
    sendMouse(middle, QEvent::MouseButtonPress, QPoint(20, 10), Qt::LeftButton, Qt::LeftButton);
    sendMouse(middle, QEvent::MouseMove, QPoint(90, 60), Qt::NoButton, Qt::LeftButton);
    sendMouse(middle, QEvent::MouseButtonRelease, QPoint(90, 60), Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(window.pos(), maximised);
}

TEST_F(SkinnedFrameTest, DialogsKeepOnlyTheCloseButton)
{
    SkinnedDialog dialog(QStringLiteral("Images9"));
    dialog.resize(360, 160);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    EXPECT_TRUE(part(&dialog, "img_CloseBtn")->isVisible());
    EXPECT_FALSE(part(&dialog, "img_MinimizeBtn")->isVisible());
    EXPECT_FALSE(part(&dialog, "img_RestoreBtn")->isVisible());
    QTest::mouseClick(part(&dialog, "img_CloseBtn"), Qt::LeftButton);
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_FALSE(dialog.isVisible());
}

TEST_F(SkinnedFrameTest, MissingPicturesStillGiveAUsableFrame)
{
    SkinnedWindow window(QStringLiteral("NoSuchFolder4"));
    window.resize(400, 200);
    EXPECT_EQ(window.skin()->source().folder, QStringLiteral("NoSuchFolder"));
    EXPECT_GT(window.skin()->captionHeight(), 0);
    EXPECT_TRUE(part(&window, "img_CloseBtn")->width() > 0);
    window.show();
    QTest::mouseClick(part(&window, "img_CloseBtn"), Qt::LeftButton);
    EXPECT_FALSE(window.isVisible());
}
