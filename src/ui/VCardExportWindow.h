#pragma once

#include "exchange/LeadExport.h"
#include "ui/SkinnedWindow.h"

#include <functional>

class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QRadioButton;

namespace corvane {

// "Export Leads to MS Outlook": reads a lead file and writes every lead as a contact of the
// chosen category into a vCard file that Outlook and other mail programs import.
class VCardExportWindow : public SkinnedWindow
{
    Q_OBJECT
public:
    explicit VCardExportWindow(QWidget *parent = nullptr);
    ~VCardExportWindow() override;

    LeadExport &exporter() { return m_export; }

    // The file dialogs, replaceable for window tests; each returns empty when cancelled.
    using Chooser = std::function<QString()>;
    void setFileChooser(Chooser choose) { m_chooseFile = std::move(choose); }
    void setVCardChooser(Chooser choose) { m_chooseVCard = std::move(choose); }

private:
    void buildLayout();
    void showCategories();
    void showNewCategory(bool on);
    void fetch();
    void fetchEnded();
    void addCategory();
    void exportLeads();

    LeadExport m_export;
    Chooser m_chooseFile;
    Chooser m_chooseVCard;

    QLineEdit *m_path;
    QListView *m_email;
    QLabel *m_total;
    QRadioButton *m_optSelect;
    QRadioButton *m_optAdd;
    QComboBox *m_category;
    QLineEdit *m_newCategory;
    QPushButton *m_browse;
    QPushButton *m_fetch;
    QPushButton *m_addCategory;
    QPushButton *m_import;
    QPushButton *m_help;
};

} // namespace corvane
