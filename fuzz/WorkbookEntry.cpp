// A lead sheet given to the leads verifier or the export: comma-separated text, an .xlsx
// workbook or an .xls workbook, told apart by its first bytes whatever its name.

#include "FuzzTarget.h"

#include "scan/ReadWorkbook.h"

using namespace corvane;

// Reading ends in leads or in a message; every lead holds an "@". From a text sheet, whose
// cells are the file's own bytes, there are no more leads than lines and no more characters
// than the file has.
CORVANE_FUZZ_TARGET(workbook)
{
    const QString path = fuzz::inputFile(input, QStringLiteral("sheet.csv"));
    if (path.isEmpty())
        return;

    const Result<QStringList> leads = ReadWorkbook(path);
    if (!leads) {
        CORVANE_EXPECT(!leads.message().isEmpty());
        return;
    }
    qsizetype characters = 0;
    for (const QString &lead : *leads) {
        CORVANE_EXPECT(lead.contains(QLatin1Char('@')));
        characters += lead.size();
    }
    const bool text =
        !input.startsWith("PK\x03\x04") && !input.startsWith("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
    if (text) {
        CORVANE_EXPECT(leads->size() <= input.count('\n') + input.count('\r') + 1);
        CORVANE_EXPECT(characters <= input.size());
    }
}
