#include "viewer/SearchPanel.h"

#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QThreadPool>
#include <QVBoxLayout>

namespace corvane {

SearchPanel::SearchPanel(QWidget *parent)
    : QWidget(parent), m_query(new QLineEdit(this)), m_results(new QListWidget(this)),
      m_status(new QLabel(this))
{
    m_query->setObjectName(QStringLiteral("txtSearch"));
    m_results->setObjectName(QStringLiteral("lstSearchResults"));
    m_status->setObjectName(QStringLiteral("lblSearchStatus"));
    m_query->setPlaceholderText(tr("Search the stored pages"));
    m_query->setClearButtonEnabled(true);
    m_query->setToolTip(tr("Pages holding every word; \"quoted words\" stand together, bread* "
                           "also finds longer words"));
    m_results->setMaximumHeight(160);
    m_results->setWordWrap(true);
    m_results->hide();
    m_status->hide();

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_query);
    layout->addWidget(m_status);
    layout->addWidget(m_results);

    connect(m_query, &QLineEdit::returnPressed, this, &SearchPanel::start);
    connect(m_query, &QLineEdit::textChanged, this, [this](const QString &text) {
        if (text.trimmed().isEmpty()) {
            ++m_searchNumber;
            m_results->clear();
            m_results->hide();
            m_status->hide();
        }
    });
    const auto choose = [this](QListWidgetItem *item) {
        const int row = m_results->row(item);
        if (row >= 0 && row < m_pages.size())
            emit pageChosen(m_pages.at(row));
    };
    connect(m_results, &QListWidget::itemActivated, this, choose);
    connect(m_results, &QListWidget::itemClicked, this, choose);
}

void SearchPanel::start()
{
    const QString query = m_query->text();
    if (query.trimmed().isEmpty())
        return;
    const int number = ++m_searchNumber;
    m_status->setText(tr("Searching..."));
    m_status->show();
    const QPointer<SearchPanel> panel(this);
    // Results come back through the application object: the panel may be gone by then.
    const auto onWindowThread = [](auto work) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(work),
                                  Qt::QueuedConnection);
    };
    QThreadPool::globalInstance()->start([=] {
        const RebuildProgress progress = [=](qint64 done, qint64 total) {
            onWindowThread([=] {
                if (panel && panel->m_searchNumber == number)
                    panel->showProgress(done, total);
            });
            return true;
        };
        Result<SearchResults> results = searchKnowledgeBases(query, {}, kShownHits, progress);
        onWindowThread([=] {
            if (panel && panel->m_searchNumber == number)
                panel->showResults(results);
        });
    });
}

void SearchPanel::showProgress(qint64 done, qint64 total)
{
    m_status->setText(tr("Building the search index: %1 of %2 pages").arg(done).arg(total));
}

void SearchPanel::showResults(const Result<SearchResults> &results)
{
    m_results->clear();
    m_pages.clear();
    if (!results) {
        m_status->setText(results.message());
        m_results->hide();
        return;
    }
    for (const SearchHit &hit : results->hits) {
        const QString title = hit.title.trimmed().isEmpty() ? hit.page.address : hit.title;
        auto *item = new QListWidgetItem(QStringLiteral("%1\n%2 / %3 / %4  %5")
                                             .arg(title, hit.page.knowledgeBaseName, hit.page.term)
                                             .arg(hit.page.page)
                                             .arg(hit.snippet),
                                         m_results);
        item->setToolTip(hit.page.address);
        m_pages.append(hit.page);
    }
    m_status->setText(
        results->hits.isEmpty() ? tr("No stored page holds these words")
        : results->manyMatches  ? tr("The best of many matching pages")
        : results->total > kShownHits
            ? tr("The best %1 of %2 matching pages").arg(results->hits.size()).arg(results->total)
        : results->total == 1 ? tr("1 matching page")
                              : tr("%1 matching pages").arg(results->total));
    m_results->setVisible(!results->hits.isEmpty());
}

} // namespace corvane
