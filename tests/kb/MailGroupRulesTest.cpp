#include "kb/MailGroupRules.h"
#include "kb/PageStore.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace corvane;

namespace {

QStringList groupNames()
{
    MailGroupCatalogue groups;
    EXPECT_TRUE(groups.LoadMailGroups());
    QStringList names;
    for (const CatalogueEntry &entry : groups.entries())
        names << QStringLiteral("%1@%2").arg(entry.number).arg(entry.text);
    return names;
}

} // namespace

TEST(MailGroupRules, FirstKeywordOfANewGroupAddsItOnceAndRefusesBlankOrListedNames)
{
    test::TempDataFolder home;
    MailGroupCatalogue groups;
    MailGroupChoice choice;
    choice.mode = MailGroupChoice::Mode::NewGroup;
    choice.newGroupName = QStringLiteral("  ");
    EXPECT_EQ(mailGroupForKeyword(groups, choice, false)->refusal, MailGroupMessages::EnterName);

    choice.newGroupName = QStringLiteral(" birds ");
    const Result<KeywordGroup> first = mailGroupForKeyword(groups, choice, false);
    ASSERT_TRUE(first && !first->refused());
    EXPECT_EQ(first->group, 1);
    // Later keywords of the group go to it without adding it again.
    EXPECT_EQ(mailGroupForKeyword(groups, choice, true)->group, 1);
    EXPECT_EQ(groupNames(), QStringList{QStringLiteral("1@birds")});

    // Another window's group is seen, and a listed name is refused.
    MailGroupCatalogue elsewhere;
    ASSERT_TRUE(elsewhere.LoadMailGroups());
    ASSERT_TRUE(elsewhere.AddMailGroup(QStringLiteral("fish")));
    MailGroupChoice again;
    again.mode = MailGroupChoice::Mode::NewGroup;
    again.newGroupName = QStringLiteral("fish");
    EXPECT_EQ(mailGroupForKeyword(groups, again, false)->refusal, MailGroupMessages::AlreadyExists);

    // A chosen group takes the keyword as it is.
    MailGroupChoice existing;
    existing.mode = MailGroupChoice::Mode::ExistingGroup;
    existing.existingGroup = {2, QStringLiteral("fish")};
    EXPECT_EQ(mailGroupForKeyword(groups, existing, false)->group, 2);
    EXPECT_EQ(groupNames().size(), 2);
}

// Alpha, Beta, Alpha: the second Alpha is a group of its own, the last one added, and its
// knowledge base is filed there, not under Beta.
TEST(MailGroupRules, EveryKnowledgeBaseNameIsAddedAndItsKnowledgeBaseFiledUnderIt)
{
    test::TempDataFolder home;
    MailGroupCatalogue groups;
    MailGroupChoice choice;
    for (const char *name : {"Alpha", "Beta", " Alpha "})
        ASSERT_TRUE(nameKnowledgeBase(groups, choice, QString::fromLatin1(name)));
    EXPECT_EQ(groupNames(), (QStringList{"1@Alpha", "2@Beta", "3@Alpha"}));
    const KnowledgeBaseFiling filing = knowledgeBaseFiling(choice, false);
    EXPECT_EQ(filing, (KnowledgeBaseFiling{QStringLiteral("Alpha"), 3}));
    EXPECT_FALSE(nameKnowledgeBase(groups, choice, QStringLiteral("a/b"))); // not a folder name

    PageStore store;
    PageStoreSettings settings;
    settings.root = home.file(QStringLiteral("kb"));
    settings.baseName = filing.baseName;
    settings.mailGroup = filing.mailGroup;
    settings.selectedTerms = {QStringLiteral("Birds")};
    store.setSettings(settings);
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://a.example/p"),
                                   "<html><title>Birds</title></html>"));
    EXPECT_EQ(store.currentMailGroupNumber(), 3);

    // Search engines file under the keyword tab's group and take its name.
    choice.mode = MailGroupChoice::Mode::ExistingGroup;
    choice.existingGroup = {2, QStringLiteral("Beta")};
    EXPECT_EQ(knowledgeBaseFiling(choice, true), (KnowledgeBaseFiling{QStringLiteral("Beta"), 2}));
    choice.mode = MailGroupChoice::Mode::NewGroup;
    choice.newGroupName = QStringLiteral(" Gamma ");
    choice.newGroupNumber = 4;
    EXPECT_EQ(knowledgeBaseFiling(choice, true), (KnowledgeBaseFiling{QStringLiteral("Gamma"), 4}));
    EXPECT_EQ(knowledgeBaseFiling(choice, false).baseName, QStringLiteral("Alpha"));
}
