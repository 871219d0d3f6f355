#include "ui/SkinParts.h"

#include <QMouseEvent>
#include <QPainter>

namespace corvane {

SkinPictureBox::SkinPictureBox(const QString &objectName, QWidget *parent) : QWidget(parent)
{
    setObjectName(objectName);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void SkinPictureBox::setCopies(const QPixmap &source, QList<Copy> copies)
{
    m_source = source;
    m_copies = std::move(copies);
    update();
}

void SkinPictureBox::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().window());
    for (const Copy &copy : std::as_const(m_copies))
        painter.drawPixmap(copy.to, m_source, copy.from);
}

SkinImageButton::SkinImageButton(const QString &objectName, QWidget *parent) : QLabel(parent)
{
    setObjectName(objectName);
    setCursor(Qt::ArrowCursor);
}

void SkinImageButton::setPictures(const QPixmap &normal, const QPixmap &pressed,
                                  const QPixmap &released)
{
    m_pressed = pressed.isNull() ? normal : pressed;
    m_released = released.isNull() ? normal : released;
    setPixmap(normal);
    resize(normal.size());
}

void SkinImageButton::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return QLabel::mousePressEvent(event);
    m_down = true;
    setPixmap(m_pressed);
}

void SkinImageButton::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !m_down)
        return QLabel::mouseReleaseEvent(event);
    m_down = false;
    setPixmap(m_released);
    if (rect().contains(event->position().toPoint()))
        emit clicked();
}

} // namespace corvane
