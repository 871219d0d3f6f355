#include "ui/SkinnedFrame.h"

#include "common/DataFolder.h"
#include "ui/SkinParts.h"

#include <QEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QWidget>

namespace corvane {

namespace {

const QString kCenterFile = QStringLiteral("img_Caption_Center.gif");
const QString kRightFile = QStringLiteral("img_Caption_Right.gif");
const QString kCloseFile = QStringLiteral("img_Button_Close.gif");
const QString kClosePressedFile = QStringLiteral("img_Button_close2.gif");
const QString kCloseReleasedFile = QStringLiteral("img_Button_close.gif");
const QString kRestoreFile = QStringLiteral("img_Button_Restore.gif");
const QString kMinimizeFile = QStringLiteral("img_Button_Minimize.gif");
const QString kMinimizePressedFile = QStringLiteral("img_Button_Minimize2.gif");
const QString kBordersFile = QStringLiteral("img_Borders.bmp");

// Tiles of img_Borders.bmp, by their x in the strip.
constexpr int kLeftTileX = 0;
constexpr int kBottomLeftTileX = 10;
constexpr int kBottomTileX = 20;
constexpr int kRightTileX = 30;
constexpr int kBottomRightTileX = 40;

constexpr int kCenterStep = 50;
constexpr int kBottomStep = 9;
constexpr int kButtonGap = 2;
constexpr int kButtonsRightMargin = 12;
constexpr int kCaptionLabelGap = 8;

// Sizes used when a picture is missing from both the data folder and the bundle, so a
// damaged installation still shows a usable, if plain, frame.
QSize fallbackSize(const QString &file)
{
    if (file == kBordersFile)
        return {50, 10};
    if (file.startsWith(QLatin1String("img_Button")))
        return {22, 22};
    if (file == kCenterFile)
        return {100, 48};
    if (file == kRightFile)
        return {120, 48};
    return {200, 48};
}

} // namespace

SkinnedFrame::SkinnedFrame(QWidget *window) : QObject(window), m_window(window)
{
    setObjectName(QStringLiteral("objSkinable"));
    m_leftCaption = new SkinPictureBox(QStringLiteral("pic_LeftCaption"), window);
    m_centerCaption = new SkinPictureBox(QStringLiteral("pic_CenterCaption"), window);
    m_rightCaption = new SkinPictureBox(QStringLiteral("pic_RightCaption"), window);
    m_leftBorder = new SkinPictureBox(QStringLiteral("pic_LeftBorder"), window);
    m_rightBorder = new SkinPictureBox(QStringLiteral("pic_RightBorder"), window);
    m_downBorder = new SkinPictureBox(QStringLiteral("pic_DownBorder"), window);
    m_captionLabel = new QLabel(window);
    m_captionLabel->setObjectName(QStringLiteral("lbl_Caption"));
    m_captionLabel->setAttribute(Qt::WA_TranslucentBackground);
    QFont captionFont = m_captionLabel->font();
    captionFont.setBold(true);
    m_captionLabel->setFont(captionFont);
    m_closeBtn = new SkinImageButton(QStringLiteral("img_CloseBtn"), window);
    m_minimizeBtnImage = new SkinImageButton(QStringLiteral("img_MinimizeBtn"), window);
    m_restoreBtn = new SkinImageButton(QStringLiteral("img_RestoreBtn"), window);
    m_maximizeBtnImage = new SkinImageButton(QStringLiteral("img_MaximizeBtn"), window);
    m_closeBtn->setToolTip(tr("Close"));
    m_minimizeBtnImage->setToolTip(tr("Minimize"));
    m_restoreBtn->setToolTip(tr("Restore"));
    m_maximizeBtnImage->setToolTip(tr("Maximize"));
    for (QWidget *part : frameParts())
        part->hide();

    connect(m_closeBtn, &SkinImageButton::clicked, this, [this] {
        if (m_window)
            m_window->close();
    });
    connect(m_minimizeBtnImage, &SkinImageButton::clicked, this, [this] {
        if (m_window)
            m_window->setWindowState((m_window->windowState() & ~Qt::WindowMaximized) |
                                     Qt::WindowMinimized);
    });
    connect(m_restoreBtn, &SkinImageButton::clicked, this, &SkinnedFrame::toggleMaximised);
    connect(m_maximizeBtnImage, &SkinImageButton::clicked, this, &SkinnedFrame::toggleMaximised);

    m_captionLabel->installEventFilter(this);
    m_centerCaption->installEventFilter(this);
    window->installEventFilter(this);
}

void SkinnedFrame::markChanged(const char *name)
{
    m_changed = true;
    emit PropertyChanged(QString::fromLatin1(name));
}

void SkinnedFrame::setMaximizeBtn(bool on)
{
    m_maximizeBtn = on;
    markChanged("MaximizeBtn");
    if (m_loaded)
        layoutFrame();
}

void SkinnedFrame::setMinimizeBtn(bool on)
{
    m_minimizeBtn = on;
    markChanged("MinimizeBtn");
    if (m_loaded)
        layoutFrame();
}

void SkinnedFrame::setCaption(const QString &text)
{
    m_caption = text;
    m_captionLabel->setText(text);
    markChanged("Caption");
    if (m_loaded)
        layoutFrame();
}

void SkinnedFrame::setSkinPath(const QString &path)
{
    m_skinPath = path;
    markChanged("SkinPath");
}

void SkinnedFrame::setBackColor(const QColor &colour)
{
    m_backColor = colour;
    markChanged("BackColor");
}

void SkinnedFrame::setForeColor(const QColor &colour)
{
    m_foreColor = colour;
    markChanged("ForeColor");
    applyCaptionLabel();
}

void SkinnedFrame::setCaptionTop(int twips)
{
    m_captionTop = twips;
    markChanged("CaptionTop");
    applyCaptionLabel();
}

void SkinnedFrame::setCaptionColor(const QColor &colour)
{
    m_captionColor = colour;
    markChanged("CaptionColor");
    applyCaptionLabel();
}

// The caption colour is applied after the fore colour, so it is the one that shows.
void SkinnedFrame::applyCaptionLabel()
{
    QPalette palette = m_captionLabel->palette();
    palette.setColor(QPalette::WindowText, m_foreColor);
    palette.setColor(QPalette::WindowText, m_captionColor);
    m_captionLabel->setPalette(palette);
    m_captionLabel->move(m_captionLabel->x(), twipsToPixels(m_captionTop));
}

QPixmap SkinnedFrame::loadPicture(const QString &file)
{
    QPixmap picture;
    const QString path = DataFolder::locate(m_source.folder + QLatin1Char('/') + file);
    if (!path.isEmpty())
        picture.load(path);
    if (picture.isNull()) {
        picture = QPixmap(fallbackSize(file));
        picture.fill(QColor(0xc9, 0xd5, 0xe4));
    }
    m_images.insert(file, picture);
    return picture;
}

QList<QWidget *> SkinnedFrame::frameParts() const
{
    return {m_leftCaption, m_centerCaption,    m_rightCaption,    m_leftBorder,
            m_rightBorder, m_downBorder,       m_captionLabel,    m_closeBtn,
            m_restoreBtn,  m_minimizeBtnImage, m_maximizeBtnImage};
}

int SkinnedFrame::captionHeight() const
{
    const QPixmap left = m_images.value(m_source.leftCaptionFile);
    return left.isNull() ? 0 : left.height();
}

void SkinnedFrame::LoadSkin(QWidget *window)
{
    if (!window)
        return;
    if (window != m_window) {
        if (m_window)
            m_window->removeEventFilter(this);
        m_window = window;
        window->installEventFilter(this);
    }
    window->setWindowTitle(QStringLiteral("Corvane"));
    // Changing a shown window's flags would hide it, so only a new window gets the flag here.
    if (!(window->windowFlags() & Qt::FramelessWindowHint))
        window->setWindowFlag(Qt::FramelessWindowHint, true);

    m_source = resolveSkinPath(m_skinPath);
    m_images.clear();
    loadPicture(m_source.leftCaptionFile);
    loadPicture(kCenterFile);
    loadPicture(kRightFile);
    const QPixmap close = loadPicture(kCloseFile);
    const QPixmap restore = loadPicture(kRestoreFile);
    const QPixmap minimize = loadPicture(kMinimizeFile);
    loadPicture(kBordersFile);
    const QPixmap closePressed = loadPicture(kClosePressedFile);
    const QPixmap closeReleased = loadPicture(kCloseReleasedFile);
    const QPixmap minimizePressed = loadPicture(kMinimizePressedFile);

    m_closeBtn->setPictures(close, closePressed, closeReleased);
    m_minimizeBtnImage->setPictures(minimize, minimizePressed, minimize);
    m_restoreBtn->setPictures(restore, restore, restore);
    m_maximizeBtnImage->setPictures(restore, restore, restore);

    const QList<QWidget *> alwaysShown{m_leftCaption, m_centerCaption, m_rightCaption, m_leftBorder,
                                       m_rightBorder, m_downBorder,    m_captionLabel, m_closeBtn};
    for (QWidget *part : alwaysShown)
        part->show();
    m_maximizeBtnImage->hide();
    m_loaded = true;
    applyCaptionLabel();
    layoutFrame();
}

void SkinnedFrame::layoutFrame()
{
    if (!m_window || !m_loaded)
        return;
    const int width = m_window->width();
    const int height = m_window->height();
    const QPixmap left = m_images.value(m_source.leftCaptionFile);
    const QPixmap center = m_images.value(kCenterFile);
    const QPixmap right = m_images.value(kRightFile);
    const QPixmap borders = m_images.value(kBordersFile);
    const int captionH = left.height();
    const int tile = kBorderTile;

    m_window->setContentsMargins(tile, captionH, tile, tile);
    m_window->setMinimumWidth(std::max(m_window->minimumWidth(), left.width() + right.width()));

    m_leftCaption->setGeometry(0, 0, left.width(), captionH);
    m_leftCaption->setCopies(left, {{QPoint(0, 0), left.rect()}});
    const int rightX = std::max(left.width(), width - right.width());
    m_rightCaption->setGeometry(rightX, 0, right.width(), captionH);
    m_rightCaption->setCopies(right, {{QPoint(0, 0), right.rect()}});
    const int middleWidth = std::max(0, width - left.width() - right.width());
    m_centerCaption->setGeometry(left.width(), 0, middleWidth, captionH);
    QList<SkinPictureBox::Copy> middle{{QPoint(0, 0), center.rect()}};
    for (int x : captionTileOffsets(middleWidth, kCenterStep))
        middle.append({QPoint(x, 0), center.rect()});
    m_centerCaption->setCopies(center, middle);

    // Buttons from the right end of the caption leftwards, each as wide as its picture.
    const int buttonY = std::max(0, (captionH - 3 - m_closeBtn->height()) / 2);
    int x = width - kButtonsRightMargin - m_closeBtn->width();
    m_closeBtn->move(x, buttonY);
    m_restoreBtn->setVisible(m_maximizeBtn);
    if (m_maximizeBtn) {
        x -= kButtonGap + m_restoreBtn->width();
        m_restoreBtn->move(x, buttonY);
    }
    m_minimizeBtnImage->setVisible(m_minimizeBtn);
    if (m_minimizeBtn) {
        x -= kButtonGap + m_minimizeBtnImage->width();
        m_minimizeBtnImage->move(x, buttonY);
    }

    const int sideHeight = std::max(0, height - captionH);
    QList<SkinPictureBox::Copy> leftTiles, rightTiles;
    for (int y : sideTileOffsets(sideHeight, tile)) {
        leftTiles.append({QPoint(0, y), QRect(kLeftTileX, 0, tile, tile)});
        rightTiles.append({QPoint(0, y), QRect(kRightTileX, 0, tile, tile)});
    }
    m_leftBorder->setGeometry(0, captionH, tile, sideHeight);
    m_leftBorder->setCopies(borders, leftTiles);
    m_rightBorder->setGeometry(width - tile, captionH, tile, sideHeight);
    m_rightBorder->setCopies(borders, rightTiles);

    QList<SkinPictureBox::Copy> bottom;
    for (int bx : bottomTileOffsets(width, kBottomStep))
        bottom.append({QPoint(bx, 0), QRect(kBottomTileX, 0, kBottomStep, tile)});
    bottom.append({QPoint(0, 0), QRect(kBottomLeftTileX, 0, tile, tile)});
    bottom.append({QPoint(width - tile, 0), QRect(kBottomRightTileX, 0, tile, tile)});
    m_downBorder->setGeometry(0, height - tile, width, tile);
    m_downBorder->setCopies(borders, bottom);

    const int labelX = left.width() + kCaptionLabelGap;
    const int labelRight = (m_minimizeBtn   ? m_minimizeBtnImage->x()
                            : m_maximizeBtn ? m_restoreBtn->x()
                                            : m_closeBtn->x()) -
                           kCaptionLabelGap;
    m_captionLabel->setGeometry(labelX, twipsToPixels(m_captionTop),
                                std::max(0, labelRight - labelX),
                                m_captionLabel->sizeHint().height());
    // Never so narrow that the buttons cover the caption text.
    const int buttonsSpan = width - (labelRight + kCaptionLabelGap);
    const int captionNeeds =
        labelX + m_captionLabel->sizeHint().width() + kCaptionLabelGap + buttonsSpan;
    if (!m_captionLabel->text().isEmpty() && m_window->minimumWidth() < captionNeeds)
        m_window->setMinimumWidth(captionNeeds);

    for (QWidget *part : frameParts())
        part->raise();
}

// The one button beside minimise and close: it maximises a normal window and restores a
// maximised one.
void SkinnedFrame::toggleMaximised()
{
    if (!m_window)
        return;
    if (m_window->isMaximized())
        m_window->showNormal();
    else
        m_window->showMaximized();
    LoadSkin(m_window);
}

bool SkinnedFrame::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_window) {
        if (event->type() == QEvent::Resize)
            layoutFrame();
        return false;
    }
    if (watched != m_captionLabel && watched != m_centerCaption)
        return false;
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        if (mouse->button() == Qt::LeftButton) {
            m_pressedAt = mouse->position().toPoint();
            m_dragging = true;
            return true;
        }
        break;
    }
    case QEvent::MouseMove: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        if (m_dragging && (mouse->buttons() & Qt::LeftButton) && m_window) {
            const auto target = dragTarget(m_window->pos(), mouse->position().toPoint(),
                                           m_pressedAt, m_window->isMaximized());
            if (target)
                m_window->move(*target);
            return true;
        }
        break;
    }
    case QEvent::MouseButtonRelease:
        m_dragging = false;
        break;
    default:
        break;
    }
    return false;
}

} // namespace corvane
