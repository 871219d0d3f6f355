#include "FuzzTarget.h"
#include "support/TestSupport.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace corvane;

namespace corvane::fuzz {
// Names the target in the test's name instead of printing its bytes.
void PrintTo(const Target &target, std::ostream *out)
{
    *out << target.name;
}
} // namespace corvane::fuzz

namespace {

QDir fuzzDir(const QString &relative)
{
    return QDir(QStringLiteral(CORVANE_FUZZ_DIR "/") + relative);
}

QStringList targetNames()
{
    QStringList names;
    for (const fuzz::Target &target : fuzz::targets())
        names << QLatin1String(target.name);
    return names;
}

class CorpusReplay : public testing::TestWithParam<fuzz::Target>
{
};

} // namespace

TEST(CorpusFolders, EachTargetHasSeedsAndEachFolderATarget)
{
    const QStringList names = targetNames();
    ASSERT_FALSE(names.isEmpty());
    for (const QString &name : names) {
        EXPECT_GE(fuzzDir(QStringLiteral("corpus/") + name).entryList(QDir::Files).size(), 3)
            << name.toStdString();
    }
    for (const QString &kind : {QStringLiteral("corpus"), QStringLiteral("regressions")}) {
        for (const QString &folder : fuzzDir(kind).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            EXPECT_TRUE(names.contains(folder)) << (kind + u'/' + folder).toStdString();
    }
}

TEST_P(CorpusReplay, EveryInputKeepsTheTargetsRules)
{
    const fuzz::Target target = GetParam();
    for (const QString &kind : {QStringLiteral("corpus/"), QStringLiteral("regressions/")}) {
        const QDir folder = fuzzDir(kind + QLatin1String(target.name));
        for (const QString &name : folder.entryList(QDir::Files, QDir::Name)) {
            fuzz::Findings findings;
            target.entry(test::readFile(folder.filePath(name)), findings);
            EXPECT_TRUE(findings.isEmpty())
                << (kind + target.name + u'/' + name).toStdString() << ": "
                << findings.broken().join(QStringLiteral("; ")).toStdString();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, CorpusReplay, testing::ValuesIn(fuzz::targets()),
                         [](const testing::TestParamInfo<fuzz::Target> &info) {
                             return std::string(info.param.name);
                         });
