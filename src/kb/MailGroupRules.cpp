#include "kb/MailGroupRules.h"

namespace corvane {

KnowledgeBaseFiling knowledgeBaseFiling(const MailGroupChoice &choice, bool searchEngines)
{
    if (searchEngines && choice.mode == MailGroupChoice::Mode::NewGroup)
        return {choice.newGroupName.trimmed(), choice.newGroupNumber};
    if (searchEngines && choice.mode == MailGroupChoice::Mode::ExistingGroup)
        return {choice.existingGroup.text.trimmed(), choice.existingGroup.number};
    return {choice.knowledgeBaseName, choice.knowledgeBaseGroup};
}

Result<KeywordGroup> mailGroupForKeyword(MailGroupCatalogue &groups, MailGroupChoice &choice,
                                         bool keywordsListed)
{
    if (choice.mode != MailGroupChoice::Mode::NewGroup)
        return KeywordGroup{choice.existingGroup.number, {}};
    if (keywordsListed && choice.newGroupNumber > 0)
        return KeywordGroup{choice.newGroupNumber, {}};

    const QString name = choice.newGroupName.trimmed();
    if (name.isEmpty())
        return KeywordGroup{0, MailGroupMessages::EnterName};
    // Another window may have added groups since this one was loaded.
    if (Result<void> loaded = groups.LoadMailGroups(); !loaded)
        return loaded.error();
    for (const CatalogueEntry &entry : groups.entries())
        if (entry.text == name)
            return KeywordGroup{0, MailGroupMessages::AlreadyExists};
    Result<CatalogueEntry> added = groups.AddMailGroup(name);
    if (!added)
        return added.error();
    choice.newGroupNumber = added->number;
    return KeywordGroup{added->number, {}};
}

Result<CatalogueEntry> nameKnowledgeBase(MailGroupCatalogue &groups, MailGroupChoice &choice,
                                         const QString &name)
{
    // Loaded first, so the new group gets the catalogue's next number.
    if (Result<void> loaded = groups.LoadMailGroups(); !loaded)
        return loaded.error();
    Result<CatalogueEntry> added = groups.AddMailGroup(name);
    if (!added)
        return added;
    choice.knowledgeBaseName = added->text;
    choice.knowledgeBaseGroup = added->number;
    return added;
}

} // namespace corvane
