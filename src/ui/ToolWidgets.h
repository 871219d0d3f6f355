#pragma once

#include <QString>

class QHBoxLayout;
class QLineEdit;
class QPushButton;
class QWidget;

namespace corvane {

// A push button carrying its control name. It is never an auto-default button, so Enter
// stays with the field or dialog that has the focus.
QPushButton *namedButton(QWidget *parent, const QString &objectName, const QString &caption);

// The "Lead &File:" row of the lead windows: label (buddy of the path), path, Browse, Fetch.
QHBoxLayout *leadFileRow(QWidget *parent, QLineEdit *path, QPushButton *browse, QPushButton *fetch);

// The open dialog of the lead windows' Browse button; empty when cancelled.
QString chooseLeadSheet(QWidget *parent);

} // namespace corvane
