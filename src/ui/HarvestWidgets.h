#pragma once

#include "common/Result.h"
#include "kb/Catalogues.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QString>
#include <QStringList>
#include <QVBoxLayout>

#include <initializer_list>

namespace corvane {
class JobList;
}

namespace corvane::harvest_widgets {

// The harvest window's controls keep the object names users' scripts and tests know.
template <typename W>
W *named(W *widget, const char *name)
{
    widget->setObjectName(QLatin1String(name));
    return widget;
}

QPushButton *button(QWidget *parent, const QString &caption, const char *name);

// A limit or choice box; editable ones accept free text besides their choices.
QComboBox *comboBox(QWidget *parent, const char *name, const QStringList &choices,
                    const QString &text, bool editable);

QLabel *label(const QString &text, QWidget *parent, const char *name = nullptr);

// Buttons stacked beside a list, at its top.
QVBoxLayout *buttonColumn(std::initializer_list<QPushButton *> buttons);

// The help button of a tab: its index picks the help page's anchor.
QPushButton *helpButton(QWidget *parent, int index);

// Lists a catalogue entry the user has just added, selected; a failure is shown as the error
// report of label.
void listAddedEntry(QWidget *parent, JobList &list,
                    const Result<std::optional<CatalogueEntry>> &added, const QString &label);

// The "Next >>" button of a tab with its help button, in one row.
QHBoxLayout *nextRow(QPushButton *help, QPushButton *next);

} // namespace corvane::harvest_widgets
