#include "ui/ToolWidgets.h"

#include <QCoreApplication>
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

} // namespace corvane
