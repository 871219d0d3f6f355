#pragma once

#include "ui/SkinRules.h"

#include <QColor>
#include <QHash>
#include <QObject>
#include <QPixmap>
#include <QPointer>

class QLabel;
class QWidget;

namespace corvane {

class SkinImageButton;
class SkinPictureBox;

// The frame every Corvane window wears instead of the desktop's title bar: picture caption,
// picture borders, close/minimise/restore pictures, and moving the window by its caption.
//
// A window creates one (it becomes the child "objSkinable"), sets SkinPath to its image folder
// with its window number ("Images1" … "Images9") and calls LoadSkin(this) when it loads. The
// frame sets the window's contents margins to the caption and border sizes, so the window's
// own layout fills the inside.
class SkinnedFrame : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool MaximizeBtn READ maximizeBtn WRITE setMaximizeBtn)
    Q_PROPERTY(bool MinimizeBtn READ minimizeBtn WRITE setMinimizeBtn)
    Q_PROPERTY(QString Caption READ caption WRITE setCaption)
    Q_PROPERTY(QString SkinPath READ skinPath WRITE setSkinPath)
    Q_PROPERTY(QColor BackColor READ backColor WRITE setBackColor)
    Q_PROPERTY(QColor ForeColor READ foreColor WRITE setForeColor)
    Q_PROPERTY(int CaptionTop READ captionTop WRITE setCaptionTop)
    Q_PROPERTY(QColor CaptionColor READ captionColor WRITE setCaptionColor)

public:
    explicit SkinnedFrame(QWidget *window);

    bool maximizeBtn() const { return m_maximizeBtn; }
    void setMaximizeBtn(bool on);
    bool minimizeBtn() const { return m_minimizeBtn; }
    void setMinimizeBtn(bool on);
    QString caption() const { return m_caption; }
    void setCaption(const QString &text);
    QString skinPath() const { return m_skinPath; }
    void setSkinPath(const QString &path);
    QColor backColor() const { return m_backColor; }
    void setBackColor(const QColor &colour);
    QColor foreColor() const { return m_foreColor; }
    void setForeColor(const QColor &colour);
    int captionTop() const { return m_captionTop; } // twips
    void setCaptionTop(int twips);
    QColor captionColor() const { return m_captionColor; }
    void setCaptionColor(const QColor &colour);

    // True once any property was set after construction.
    bool isChanged() const { return m_changed; }

    // Dresses the window: loads the pictures named by SkinPath and lays the frame around it.
    // Runs again by itself whenever the window changes size.
    void LoadSkin(QWidget *window);

    // What the last LoadSkin resolved (folder, window number, caption picture).
    const SkinSource &source() const { return m_source; }
    // The pictures loaded by the last LoadSkin, by file name.
    const QHash<QString, QPixmap> &images() const { return m_images; }
    int captionHeight() const;
    static constexpr int kBorderTile = 10;

signals:
    void PropertyChanged(const QString &name);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void markChanged(const char *name);
    QPixmap loadPicture(const QString &file);
    void layoutFrame();
    QList<QWidget *> frameParts() const;
    void applyCaptionLabel();
    void toggleMaximised();

    QPointer<QWidget> m_window;
    SkinSource m_source;
    QHash<QString, QPixmap> m_images;

    bool m_maximizeBtn = true;
    bool m_minimizeBtn = true;
    QString m_caption;
    QString m_skinPath = defaultSkinPath();
    QColor m_backColor = QColor(Qt::black);
    QColor m_foreColor = QColor(Qt::black);
    int m_captionTop = 195;
    QColor m_captionColor = QColor(Qt::black);
    bool m_changed = false;
    bool m_loaded = false;

    QPoint m_pressedAt;
    bool m_dragging = false;

    SkinPictureBox *m_leftCaption = nullptr;
    SkinPictureBox *m_centerCaption = nullptr;
    SkinPictureBox *m_rightCaption = nullptr;
    SkinPictureBox *m_leftBorder = nullptr;
    SkinPictureBox *m_rightBorder = nullptr;
    SkinPictureBox *m_downBorder = nullptr;
    QLabel *m_captionLabel = nullptr;
    SkinImageButton *m_closeBtn = nullptr;
    SkinImageButton *m_minimizeBtnImage = nullptr;
    SkinImageButton *m_restoreBtn = nullptr;
    SkinImageButton *m_maximizeBtnImage = nullptr;
};

} // namespace corvane
