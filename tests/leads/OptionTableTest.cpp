#include "OptionTable.h"
#include "Command.h"

#include <gtest/gtest.h>

using namespace corvane::cli;

namespace {

const OptionTable &table()
{
    static const OptionTable table({
        .name = "tool go",
        .summary = "Go somewhere.",
        .options = {{.name = "count",
                     .valueName = "N",
                     .help = "how many",
                     .kind = NumberValue{1, 10},
                     .defaultValue = "3"},
                    {.name = "mode",
                     .valueName = "MODE",
                     .help = "how",
                     .kind = ChoiceValue{{"fast", "slow"}}},
                    {.name = "out",
                     .valueName = "FILE",
                     .help = "where to",
                     .kind = FileValue{},
                     .required = true},
                    {.name = "dry", .help = "change nothing"},
                    {.name = "tag",
                     .valueName = "T",
                     .help = "a tag",
                     .kind = TextValue{},
                     .repeatable = true}},
        .examples = {"tool go --out a-file.txt"},
    });
    return table;
}

} // namespace

TEST(OptionTable, ParsesCheckedValuesAndDefaults)
{
    const auto parsed = table().parse(
        {"--out", "x.txt", "--dry", "--mode=slow", "-q", "--tag", "a", "--tag", "b,c"});
    ASSERT_TRUE(std::holds_alternative<OptionValues>(parsed));
    EXPECT_TRUE(isQuiet());
    setQuiet(false);
    const OptionValues &values = std::get<OptionValues>(parsed);
    EXPECT_EQ(values.values("tag"), QStringList({"a", "b,c"}));
    EXPECT_EQ(values.values("mode"), QStringList{"slow"});
    EXPECT_EQ(values.number("count"), 3);
    EXPECT_FALSE(values.isSet("count"));
    EXPECT_TRUE(values.isSet("dry"));
    EXPECT_EQ(values.value("mode"), "slow");
    EXPECT_EQ(values.value("out"), "x.txt");

    for (const QStringList &bad : QList<QStringList>{{"--count", "2"},
                                                     {"--out", "x", "--count", "11"},
                                                     {"--out", "x", "--count", "1.5"},
                                                     {"--out", "x", "--mode", "medium"},
                                                     {"--out", ""},
                                                     {"--out", "x", "stray"},
                                                     {"--out", "x", "--unknown"}}) {
        const auto refused = table().parse(bad);
        ASSERT_TRUE(std::holds_alternative<ExitNow>(refused)) << bad.join(' ').toStdString();
        EXPECT_EQ(std::get<ExitNow>(refused).code, 2);
    }
}

TEST(OptionTable, HelpManualAndCompletionShowEveryOption)
{
    EXPECT_EQ(table().usageLine(),
              "corvane-cli tool go [--count N] [--mode MODE] --out FILE [--dry] [--tag T]");
    const QString help = table().helpText();
    for (const char *line :
         {"  --count N    how many (default: 3)\n", "  --mode MODE  how: fast or slow\n",
          "  --out FILE   where to (required)\n", "  --dry        change nothing\n",
          "  --tag T      a tag; may be given more than once\n",
          "  -q, --quiet  no progress and no messages, only errors\n",
          "  -h, --help   show this help\n", "Example:\n  corvane-cli tool go --out a-file.txt\n",
          "Exit status: 0 done, 1 failed, 2 bad call, 130 interrupted.\n"})
        EXPECT_TRUE(help.contains(line)) << line << "\n" << help.toStdString();

    const QString man = table().manSection();
    EXPECT_TRUE(man.startsWith(".SS \"corvane\\-cli tool go\"\n"));
    EXPECT_TRUE(man.contains(".TP\n\\fB\\-\\-count\\fR \\fIN\\fR\nhow many (default: 3)\n"));
    EXPECT_TRUE(man.contains("corvane\\-cli tool go \\-\\-out a\\-file.txt\n"));

    EXPECT_EQ(table().completionWords(),
              QStringList({"--count", "--mode", "--out", "--dry", "--tag", "--quiet", "--help"}));
    EXPECT_EQ(table().completionWords("--mode"), QStringList({"fast", "slow"}));
    EXPECT_TRUE(table().completionWords("--out").isEmpty());
    EXPECT_EQ(table().completionWords("--dry").size(), 7);
}
