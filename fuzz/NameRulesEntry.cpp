// Names taken from pages: a page's title and the site of its address, which become shortcut
// and file names on disk.

#include "FuzzTarget.h"

#include "kb/NameRules.h"
#include "kb/ScrambleLine.h"

using namespace corvane;

// A title is the text between the first title tags and no longer than the page; a site holds
// no "/"; a safe file name is a non-empty plain name of at most 200 characters that the folder
// name rule accepts whenever it can stand in a record, and a name the rule accepts
// is already safe unless it would be hidden.
CORVANE_FUZZ_TARGET(name_rules)
{
    const QByteArray page = input.toByteArray();
    if (const std::optional<QString> title = pageTitle(page)) {
        CORVANE_EXPECT(title->size() <= page.size());
        CORVANE_EXPECT(!title->toUtf8().toLower().contains("</title>"));
    } else {
        const QByteArray lower = page.toLower();
        const qsizetype open = lower.indexOf("<title>");
        CORVANE_EXPECT(open < 0 || lower.indexOf("</title>", open + 7) < 0);
    }

    const QString text = QString::fromUtf8(input);
    const QString site = siteOfAddress(text);
    CORVANE_EXPECT(!site.contains(QLatin1Char('/')) && site.size() <= text.size());

    const QString safe = safeFileName(text);
    CORVANE_EXPECT(!safe.isEmpty() && safe.size() <= 200);
    CORVANE_EXPECT(!safe.startsWith(QLatin1Char('.')) && !safe.endsWith(QLatin1Char('.')) &&
                   !safe.endsWith(QLatin1Char(' ')));
    for (const QChar ch : safe)
        CORVANE_EXPECT(ch.unicode() >= 0x20 && !QStringView(u"<>:\"/\\|?*").contains(ch));
    if (checkRecordText(safe, QStringLiteral("Name")))
        CORVANE_EXPECT(checkFolderName(safe, QStringLiteral("Name")));
    if (checkFolderName(text, QStringLiteral("Name")) && !text.startsWith(QLatin1Char('.')))
        CORVANE_EXPECT(safe == text);
}
