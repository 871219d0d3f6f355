#include "common/LeadFile.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

// The written form is checked byte for byte where leads are saved and replaced.
TEST(LeadFile, ReadsFilesWithoutHeaderOrWithExtraColumns)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("in.csv");
    writeFile(path, "x@y.com,Name\n\n  z@w.net  \r\n");
    const auto leads = LeadFile::read(path);
    ASSERT_TRUE(leads.ok());
    EXPECT_EQ(leads.value(), QStringList({"x@y.com", "z@w.net"}));
}

TEST(LeadFile, FailuresAreReportedNotThrown)
{
    EXPECT_FALSE(LeadFile::read("/nonexistent/leads.csv").ok());
    EXPECT_FALSE(LeadFile::write("/nonexistent/dir/leads.csv", {"a@b.com"}).ok());
}
