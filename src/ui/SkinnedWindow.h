#pragma once

#include "ui/SkinnedFrame.h"

#include <QDialog>
#include <QWidget>

namespace corvane {

// A frameless top-level window dressed with the skin. Give it a layout as usual; the frame
// keeps it inside the caption and borders. The caption text is for windows that share a
// caption picture; a window with a picture of its own leaves it empty, as the picture
// carries its title.
//
//   auto *w = new SkinnedWindow(QStringLiteral("Images3"), tr("Leads Scan"));
//   auto *layout = new QVBoxLayout(w);
class SkinnedWindow : public QWidget
{
    Q_OBJECT
public:
    explicit SkinnedWindow(const QString &skinPath, const QString &caption = {},
                           QWidget *parent = nullptr);
    SkinnedFrame *skin() const { return m_skin; }

private:
    SkinnedFrame *m_skin;
};

// The same for modal dialogs, with the close button only; Escape rejects and the default
// button takes Enter, as QDialog does.
class SkinnedDialog : public QDialog
{
    Q_OBJECT
public:
    explicit SkinnedDialog(const QString &skinPath, const QString &caption = {},
                           QWidget *parent = nullptr);
    SkinnedFrame *skin() const { return m_skin; }

private:
    SkinnedFrame *m_skin;
};

// Puts a frame on any window (for windows that derive from something else).
SkinnedFrame *dressWithSkin(QWidget *window, const QString &skinPath, const QString &caption = {});

} // namespace corvane
