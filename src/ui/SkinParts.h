#pragma once

#include <QLabel>
#include <QList>
#include <QPixmap>
#include <QWidget>

namespace corvane {

// A picture box of the frame that is filled by copying pieces of one source picture
// (the caption middle, the side and bottom borders).
class SkinPictureBox : public QWidget
{
    Q_OBJECT
public:
    struct Copy
    {
        QPoint to;
        QRect from;
    };

    explicit SkinPictureBox(const QString &objectName, QWidget *parent);

    void setCopies(const QPixmap &source, QList<Copy> copies);
    const QList<Copy> &copies() const { return m_copies; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap m_source;
    QList<Copy> m_copies;
};

// A picture that behaves as a button: one picture while pressed, another once released,
// and a click when the release happens over it.
class SkinImageButton : public QLabel
{
    Q_OBJECT
public:
    explicit SkinImageButton(const QString &objectName, QWidget *parent);

    void setPictures(const QPixmap &normal, const QPixmap &pressed, const QPixmap &released);
    bool isDown() const { return m_down; }

signals:
    void clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QPixmap m_pressed;
    QPixmap m_released;
    bool m_down = false;
};

} // namespace corvane
