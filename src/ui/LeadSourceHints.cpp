#include "ui/LeadSourceHints.h"

#include "leads/LeadFormats.h"

#include <QAbstractItemView>
#include <QDesktopServices>
#include <QHelpEvent>
#include <QToolTip>

namespace corvane {

LeadSourceHints::LeadSourceHints(QAbstractItemView *view, Lookup lookup)
    : QObject(view), m_view(view), m_lookup(std::move(lookup)),
      m_opener([](const QUrl &link) { QDesktopServices::openUrl(link); })
{
    view->viewport()->installEventFilter(this);
    connect(view, &QAbstractItemView::doubleClicked, this, &LeadSourceHints::open);
}

std::optional<LeadSource> LeadSourceHints::sourceOf(const QModelIndex &index) const
{
    if (!index.isValid())
        return std::nullopt;
    return m_lookup(index);
}

QString LeadSourceHints::toolTip(const QModelIndex &index) const
{
    const std::optional<LeadSource> source = sourceOf(index);
    return source ? leadSourceText(*source) : QString();
}

void LeadSourceHints::open(const QModelIndex &index) const
{
    if (const std::optional<LeadSource> source = sourceOf(index)) {
        if (const QUrl link = leadSourceLink(*source); !link.isEmpty())
            m_opener(link);
    }
}

bool LeadSourceHints::eventFilter(QObject *watched, QEvent *event)
{
    // The lead lists grow as a run goes, so the text is looked up when it is asked for.
    if (event->type() == QEvent::ToolTip && watched == m_view->viewport()) {
        const auto *help = static_cast<QHelpEvent *>(event);
        const QString text = toolTip(m_view->indexAt(help->pos()));
        if (text.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), text, m_view->viewport());
        return true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace corvane
