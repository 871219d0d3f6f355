#pragma once

#include <QAbstractListModel>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

namespace corvane {

// One of the harvest's lists (`lstResult`, `lstDetails`, `lstURLList`, `lstMailList`) as a
// list model, so a window can show it in a view and the command line can drive it alike.
//
// Appending, taking the front and exact membership tests are O(1) (amortised): the crawl
// appends at the back and takes from the front, and lead extraction asks "is this exact text
// already listed?" for every candidate, so a list of 10^5 entries must not be walked.
//
// Each row also carries a selected mark (Qt::CheckStateRole / setSelected), because the URL
// list and the engine list are consumed by "first selected entry".
class TextListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit TextListModel(QObject *parent = nullptr);

    // QAbstractListModel
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    qsizetype count() const { return m_rows.size(); }
    bool isEmpty() const { return m_rows.isEmpty(); }
    const QString &at(qsizetype row) const { return m_rows.at(row).text; }
    QStringList texts() const;
    // Every entry in UTF-8, each followed by a line feed: the list as a script reads it.
    QByteArray toLines() const;

    // Exact (case-sensitive) equality with any entry.
    bool contains(const QString &text) const { return m_index.contains(text); }

    void append(const QString &text, bool selected = false);
    // One insertion notice for the whole batch; cheaper with a view attached.
    void append(const QStringList &texts, bool selected = false);

    // Removes and returns the first entry; empty text when the list is empty.
    QString takeFirst();
    void removeAt(qsizetype row);
    void clear();

    // While a batch is open, appended rows are in the list at once for everything above
    // (count, at, contains, takeFirst) but views hear of them in one insertion when the
    // outermost batch closes: one page's analysis may append thousands of links, and a view
    // lays itself out again at every notice.
    class Batch
    {
    public:
        explicit Batch(TextListModel &model);
        ~Batch();
        Batch(const Batch &) = delete;
        Batch &operator=(const Batch &) = delete;

    private:
        TextListModel &m_model;
    };

    bool isSelected(qsizetype row) const { return m_rows.at(row).selected; }
    void setSelected(qsizetype row, bool selected);
    // Index of the first selected entry at or after `from`, or -1.
    qsizetype firstSelected(qsizetype from = 0) const;

private:
    struct Row
    {
        QString text;
        bool selected = false;
    };

    void indexAdd(const QString &text);
    void indexRemove(const QString &text);
    void announceRows();
    QString takeAt(qsizetype row);

    QList<Row> m_rows;
    QHash<QString, int> m_index; // text -> number of rows holding it
    // The first m_announced rows are the ones views know of; the rest wait for the batch.
    qsizetype m_announced = 0;
    int m_batchDepth = 0;
};

} // namespace corvane
