#include "common/LeadFile.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

// The written form is checked byte for byte where leads are saved and replaced, and read
// back through the lead-sheet reader in the scan tests.
TEST(LeadFile, WriteFailuresAreReportedNotThrown)
{
    EXPECT_FALSE(LeadFile::write("/nonexistent/dir/leads.csv", {"a@b.com"}).ok());
}
