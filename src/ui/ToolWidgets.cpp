#include "ui/ToolWidgets.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace corvane {

QPushButton *namedButton(QWidget *parent, const QString &objectName, const QString &caption)
{
    auto *button = new QPushButton(caption, parent);
    button->setObjectName(objectName);
    button->setAutoDefault(false);
    return button;
}

QHBoxLayout *leadFileRow(QWidget *parent, QLineEdit *path, QPushButton *browse, QPushButton *fetch)
{
    auto *row = new QHBoxLayout;
    auto *label = new QLabel(QCoreApplication::translate("corvane", "Lead &File:"), parent);
    label->setBuddy(path);
    row->addWidget(label);
    row->addWidget(path, 1);
    row->addWidget(browse);
    row->addWidget(fetch);
    return row;
}

QString chooseLeadSheet(QWidget *parent)
{
    return QFileDialog::getOpenFileName(
        parent, QCoreApplication::translate("corvane", "Open Lead File"), {},
        QCoreApplication::translate("corvane", "Lead files and sheets (*.csv *.txt *.xlsx "
                                               "*.xls);;All files (*)"));
}

} // namespace corvane
