#pragma once

#include "common/Result.h"
#include "kb/Catalogues.h"

#include <QString>

namespace corvane {

// The mail groups of a harvest, as the job keeps them: the keyword tab's choice (a new group
// named there or one from the catalogue) and the name given to the knowledge base when
// "Build Knowledge Base" was switched on.
struct MailGroupChoice
{
    enum class Mode {
        None,          // no keyword tab (the command line): the knowledge base's own name counts
        NewGroup,      // "Add New Mail Group"
        ExistingGroup, // "Select Mail Group"
    };
    Mode mode = Mode::None;
    QString newGroupName;          // as typed
    qint32 newGroupNumber = 0;     // the group its first keyword added; 0 until then
    CatalogueEntry existingGroup;  // the chosen catalogue entry
    QString knowledgeBaseName;     // trimmed
    qint32 knowledgeBaseGroup = 0; // the mail group that name was added as
};

// Where a run's knowledge base is filed: the base of its folder name and its mail group.
struct KnowledgeBaseFiling
{
    QString baseName;
    qint32 mailGroup = 0; // 0: the mail group added last
    bool operator==(const KnowledgeBaseFiling &) const = default;
};

// Search engines with a keyword-tab choice file under that group and take its name; every
// other run files under the knowledge base's own name and the mail group it was added as.
KnowledgeBaseFiling knowledgeBaseFiling(const MailGroupChoice &choice, bool searchEngines);

namespace MailGroupMessages {
inline const QString EnterName = QStringLiteral("Please enter Mail Group name");
inline const QString AlreadyExists = QStringLiteral("Mail Group already exist");
} // namespace MailGroupMessages

// The mail group a new keyword goes to, or why the user is refused (in the user's words).
struct KeywordGroup
{
    qint32 group = 0;
    QString refusal;
    bool refused() const { return !refusal.isEmpty(); }
};

// Add Keyword. With "Add New Mail Group" the first keyword adds the group itself: its
// trimmed name must be given and must not be listed yet. Later keywords go to that group,
// and with "Select Mail Group" to the chosen one. Fails when the catalogue cannot be read
// or written.
Result<KeywordGroup> mailGroupForKeyword(MailGroupCatalogue &groups, MailGroupChoice &choice,
                                         bool keywordsListed);

// "Build Knowledge Base" switched on with this name. The name is added as a mail group
// every time, even when a group of that name exists, so that the group added last is the
// knowledge base's; choice remembers both.
Result<CatalogueEntry> nameKnowledgeBase(MailGroupCatalogue &groups, MailGroupChoice &choice,
                                         const QString &name);

} // namespace corvane
