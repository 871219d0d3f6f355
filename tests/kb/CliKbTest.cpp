#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "kb/Catalogues.h"
#include "kb/PageStore.h"
#include "kb/RecordFile.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

QString text(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes);
}

} // namespace

TEST(CliKb, ListsKnowledgeBasesTermsAndPages)
{
    TempDataFolder home;
    PageStore store([] { return QDateTime(QDate(2026, 1, 2), QTime(13, 45)); });
    PageStoreSettings settings;
    settings.root = home.file(QStringLiteral("KB"));
    settings.baseName = QStringLiteral("Shops");
    settings.selectedTerms = {QStringLiteral("Bread"), QStringLiteral("Cake")};
    store.setSettings(settings);
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://a.test/"), "<title>Bread</title>"));
    ASSERT_TRUE(
        store.SaveTaxonomy(QStringLiteral("http://b.test/"), "<title>Bread and cake</title>"));
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://c.test/"), "<title>Cake</title>"));
    // A second harvest of the same name in the same minute joins the knowledge base.
    PageStore second([] { return QDateTime(QDate(2026, 1, 2), QTime(13, 45)); });
    second.setSettings(settings);
    ASSERT_TRUE(second.SaveTaxonomy(QStringLiteral("http://d.test/"), "<title>Bread</title>"));
    const QString folder = home.file(QStringLiteral("KB/Shops-01-02-26-1345"));
    // A term edited into the catalogue by hand that would lead out of the knowledge base.
    ASSERT_TRUE(RecordFile::appendRecord(CatalogueFiles::kbKeywords(), "9@1@../../victim"));

    QByteArray out, err;
    ASSERT_EQ(runProgram(QStringLiteral("corvane-cli"), {"--home", home.path(), "kb", "list"}, &out,
                         &err),
              0)
        << err.toStdString();
    EXPECT_EQ(text(out),
              QStringLiteral("1\tShops-01-02-26-1345\t%1\n").arg(QDir::toNativeSeparators(folder)));

    ASSERT_EQ(runProgram(QStringLiteral("corvane-cli"),
                         {"--home", home.path(), "kb", "show", "Shops-01-02-26-1345"}, &out, &err),
              0);
    EXPECT_EQ(text(out), QStringLiteral("Bread\t3\nCake\t1\n"));
    EXPECT_TRUE(text(err).contains(QStringLiteral("../../victim"))) << err.toStdString();

    ASSERT_EQ(runProgram(QStringLiteral("corvane-cli"),
                         {"--home", home.path(), "kb", "pages", "Shops-01-02-26-1345", "Bread"},
                         &out, &err),
              0);
    QString expected;
    for (const char *row : {"1\thttp://a.test/", "2\thttp://b.test/", "3\thttp://d.test/"})
        expected +=
            QStringLiteral("%1\t%2\n")
                .arg(QLatin1String(row), QDir::toNativeSeparators(
                                             folder + QStringLiteral("/Bread/%1.htm").arg(row[0])));
    EXPECT_EQ(text(out), expected);

    EXPECT_EQ(
        runProgram(QStringLiteral("corvane-cli"),
                   {"--home", home.path(), "kb", "pages", "Shops-01-02-26-1345", "../../victim"},
                   &out, &err),
        1);
    EXPECT_TRUE(text(err).contains(QStringLiteral("does not name a folder"))) << err.toStdString();
}

TEST(CliKb, UsageErrorsAndUnknownNames)
{
    TempDataFolder home;
    QByteArray out, err;
    for (const QStringList &args :
         {QStringList({"kb"}), QStringList({"kb", "frob"}), QStringList({"kb", "show"}),
          QStringList({"kb", "pages", "x"}), QStringList({"kb", "list", "extra"})}) {
        EXPECT_EQ(runProgram(QStringLiteral("corvane-cli"),
                             QStringList({"--home", home.path()}) + args, &out, &err),
                  2)
            << args.join(' ').toStdString();
        EXPECT_EQ(err.count('\n'), 1) << err.toStdString();
    }
    EXPECT_EQ(runProgram(QStringLiteral("corvane-cli"),
                         {"--home", home.path(), "kb", "show", "Nope"}, &out, &err),
              1);
    EXPECT_TRUE(text(err).contains(QStringLiteral("Nope")));
    writeFile(CatalogueFiles::kbMailGroups(), storedFile({"1@1@Base@" + home.file("KB/Base")}));
    EXPECT_EQ(runProgram(QStringLiteral("corvane-cli"),
                         {"--home", home.path(), "kb", "pages", "Base", "Nope"}, &out, &err),
              1);
    EXPECT_TRUE(text(err).contains(QStringLiteral("Nope")));
}
