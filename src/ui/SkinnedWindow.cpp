#include "ui/SkinnedWindow.h"

#include "common/DataFolder.h"

#include <QIcon>

namespace corvane {

SkinnedFrame *dressWithSkin(QWidget *window, const QString &skinPath, const QString &caption)
{
    window->setWindowFlag(Qt::FramelessWindowHint, true);
    const QString icon = DataFolder::locate(QStringLiteral("Images/corvane.png"));
    if (!icon.isEmpty())
        window->setWindowIcon(QIcon(icon));
    auto *frame = new SkinnedFrame(window);
    frame->setSkinPath(skinPath);
    frame->setCaption(caption);
    frame->LoadSkin(window);
    return frame;
}

SkinnedWindow::SkinnedWindow(const QString &skinPath, const QString &caption, QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint),
      m_skin(dressWithSkin(this, skinPath, caption))
{
}

SkinnedDialog::SkinnedDialog(const QString &skinPath, const QString &caption, QWidget *parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint),
      m_skin(dressWithSkin(this, skinPath, caption))
{
    // A modal dialog is answered, not put aside: it keeps only its close button.
    m_skin->setMinimizeBtn(false);
    m_skin->setMaximizeBtn(false);
}

} // namespace corvane
