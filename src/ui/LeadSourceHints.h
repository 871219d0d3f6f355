#pragma once

#include "leads/LeadRecords.h"

#include <QObject>
#include <QUrl>

#include <functional>
#include <optional>

class QAbstractItemView;
class QModelIndex;

namespace corvane {

// Shows where each lead of a list was found: its tooltip names the page (with its title) or
// the file, and a double click opens it, the page in the browser and a file's folder in the
// file manager. What to open is leadSourceLink's rule; this only shows it.
class LeadSourceHints : public QObject
{
    Q_OBJECT
public:
    // Where the lead of a row was found, if known.
    using Lookup = std::function<std::optional<LeadSource>(const QModelIndex &row)>;
    using Opener = std::function<void(const QUrl &link)>;

    // Attaches to view, whose model lists one lead per row; lives as long as the view.
    LeadSourceHints(QAbstractItemView *view, Lookup lookup);

    // The tooltip of a row; empty when its source is not known.
    QString toolTip(const QModelIndex &index) const;
    // Opens the source of a row, if it has one that is safe to open.
    void open(const QModelIndex &index) const;
    // QDesktopServices by default; tests watch what would be opened.
    void setOpener(Opener opener) { m_opener = std::move(opener); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::optional<LeadSource> sourceOf(const QModelIndex &index) const;

    QAbstractItemView *m_view;
    Lookup m_lookup;
    Opener m_opener;
};

} // namespace corvane
