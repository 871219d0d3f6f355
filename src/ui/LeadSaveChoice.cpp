#include "ui/LeadSaveChoice.h"

#include <QCoreApplication>
#include <QFileDialog>

namespace corvane {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("corvane::LeadSaveChoice", text);
}

} // namespace

LeadSaveChoice askLeadSaveChoice(QWidget *parent)
{
    const QString leadFile = tr("Lead files (*.csv)");
    const QString withSources = tr("CSV with the source of each lead (*.csv)");
    QString chosenFilter = leadFile;
    const QString path = QFileDialog::getSaveFileName(
        parent, tr("Save Leads"), {}, leadFile + QStringLiteral(";;") + withSources, &chosenFilter);
    return {path, chosenFilter == withSources};
}

} // namespace corvane
