#pragma once

#include <QString>

#include <utility>

class QWidget;

namespace corvane {

// What Save Leads is told: the file, and whether it is the CSV with each lead's source rather
// than the lead file.
struct LeadSaveChoice
{
    LeadSaveChoice(QString chosenPath = {}, bool sources = false)
        : path(std::move(chosenPath)), withSources(sources)
    {
    }
    QString path;
    bool withSources;
};

// Save Leads' file dialog: a lead file, or "CSV with the source of each lead". An empty path
// when cancelled.
LeadSaveChoice askLeadSaveChoice(QWidget *parent);

} // namespace corvane
