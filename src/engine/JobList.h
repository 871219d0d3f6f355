#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QString>
#include <QStringList>

namespace corvane {

// One entry of a harvest job's list.
struct JobListEntry
{
    QString text;        // what the list shows
    qint32 number = 0;   // what it carries: engine number, catalogue number or item data
    QString address;     // an engine's address; empty in the other lists
    bool marked = false; // selected (multi-select lists) or checked (check-box lists)

    bool operator==(const JobListEntry &) const = default;
};

// A list of the harvest job as the window shows it and the crawl reads it: engines, start
// URLs, keywords, taxonomy terms and the three filter lists. The window's views show the
// model itself, so what the crawl does to a list (a start URL taken out, the engine taken
// unmarked) is on screen at once, and what the user marks counts at the crawl's next look.
class JobList : public QAbstractListModel
{
    Q_OBJECT
public:
    enum Role {
        NumberRole = Qt::UserRole,
        AddressRole = Qt::UserRole + 1,
        MarkedRole = Qt::UserRole + 2,
    };
    // How the mark is shown: as the view's selection, or as a check box in the entry.
    enum class MarkShown { AsSelection, AsCheckBox };

    explicit JobList(MarkShown shown = MarkShown::AsSelection, QObject *parent = nullptr);

    MarkShown markShown() const { return m_shown; }

    // QAbstractListModel
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    qsizetype count() const { return m_entries.size(); }
    bool isEmpty() const { return m_entries.isEmpty(); }
    const JobListEntry &at(qsizetype row) const { return m_entries.at(row); }
    const QList<JobListEntry> &entries() const { return m_entries; }
    QStringList texts() const;

    void setEntries(QList<JobListEntry> entries);
    void append(JobListEntry entry);
    void append(const QString &text, bool marked) { append(JobListEntry{text, 0, {}, marked}); }
    JobListEntry takeAt(qsizetype row);
    void clear() { setEntries({}); }

    void setMarked(qsizetype row, bool marked);
    void setAllMarked(bool marked);
    bool isMarked(qsizetype row) const { return m_entries.at(row).marked; }
    // The first marked entry at or after from, or -1.
    qsizetype firstMarked(qsizetype from = 0) const;
    bool anyMarked() const { return firstMarked() >= 0; }
    QList<JobListEntry> markedEntries() const;
    QStringList markedTexts() const;

private:
    MarkShown m_shown;
    QList<JobListEntry> m_entries;
};

} // namespace corvane
