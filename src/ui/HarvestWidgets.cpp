#include "ui/HarvestWidgets.h"

#include "engine/JobList.h"
#include "ui/HelpWindow.h"
#include "ui/MessageDialog.h"

#include <QHBoxLayout>

namespace corvane::harvest_widgets {

namespace {
const char *const kHelpAnchors[] = {"#search", "#Setting", "#keyword", "#filter", "#result"};
}

QPushButton *button(QWidget *parent, const QString &caption, const char *name)
{
    return named(new QPushButton(caption, parent), name);
}

QComboBox *comboBox(QWidget *parent, const char *name, const QStringList &choices,
                    const QString &text, bool editable)
{
    auto *box = named(new QComboBox(parent), name);
    box->setEditable(editable);
    box->addItems(choices);
    // Room for the longest limit a user types, not only for the longest choice.
    box->setMinimumContentsLength(8);
    if (editable)
        box->setEditText(text);
    else
        box->setCurrentIndex(qMax(0, choices.indexOf(text)));
    return box;
}

QLabel *label(const QString &text, QWidget *parent, const char *name)
{
    auto *l = new QLabel(text, parent);
    if (name)
        l->setObjectName(QLatin1String(name));
    return l;
}

QVBoxLayout *buttonColumn(std::initializer_list<QPushButton *> buttons)
{
    auto *column = new QVBoxLayout;
    for (QPushButton *b : buttons)
        column->addWidget(b);
    column->addStretch();
    return column;
}

QPushButton *helpButton(QWidget *parent, int index)
{
    auto *help = new QPushButton(QObject::tr("&Help"), parent);
    help->setObjectName(QStringLiteral("cmdHelp%1").arg(index));
    QObject::connect(help, &QPushButton::clicked, parent, [parent, index] {
        HelpWindow::showHelp(QStringLiteral("Corvane.htm"), QLatin1String(kHelpAnchors[index]),
                             parent);
    });
    return help;
}

void listAddedEntry(QWidget *parent, JobList &list,
                    const Result<std::optional<CatalogueEntry>> &added, const QString &label)
{
    if (!added) {
        showErrorReport(parent, label, added.message());
        return;
    }
    if (*added)
        list.append(JobListEntry{(*added)->text, (*added)->number, {}, true});
}

QHBoxLayout *nextRow(QPushButton *help, QPushButton *next)
{
    auto *row = new QHBoxLayout;
    row->addWidget(help);
    row->addStretch();
    if (next)
        row->addWidget(next);
    return row;
}

} // namespace corvane::harvest_widgets
