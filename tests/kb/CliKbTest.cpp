#include "KbTestSupport.h"
#include "support/TestSupport.h"

#include "kb/Catalogues.h"
#include "kb/PageStore.h"
#include "kb/RecordFile.h"
#include "kb/StoredPages.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <gtest/gtest.h>

using namespace corvane;
using namespace corvane::test;

namespace {

QString text(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes);
}

int cli(const TempDataFolder &home, const QStringList &args, QByteArray *out, QByteArray *err)
{
    return runProgram(QStringLiteral("corvane-cli"), QStringList({"--home", home.path()}) + args,
                      out, err);
}

PageStoreSettings shopSettings(const TempDataFolder &home)
{
    PageStoreSettings settings;
    settings.root = home.file(QStringLiteral("KB"));
    settings.baseName = QStringLiteral("Shops");
    settings.selectedTerms = {QStringLiteral("Bread"), QStringLiteral("Cake")};
    return settings;
}

// A knowledge base's pages as "term address" -> stored bytes, page numbers aside.
QMap<QString, QByteArray> pageContents(const QString &namePrefix)
{
    QMap<QString, QByteArray> pages;
    const QList<KnowledgeBaseRecord> bases = KnowledgeBaseCatalogue::knowledgeBases().value();
    for (const KnowledgeBaseRecord &base : bases) {
        if (!base.name.startsWith(namePrefix))
            continue;
        for (const StoredPage &page : storedPagesOf(base))
            pages.insert(page.page.term + QLatin1Char(' ') + page.page.address,
                         readFile(page.file));
    }
    return pages;
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

    // A data folder that is not there is named, and not made, by any kb command.
    const QString missing = home.file(QStringLiteral("missing"));
    for (const QStringList &command :
         {QStringList({"list"}), QStringList({"search", "rye"}), QStringList({"reindex"})}) {
        EXPECT_EQ(runProgram(QStringLiteral("corvane-cli"),
                             QStringList({"--home", missing, "kb"}) + command, &out, &err),
                  2)
            << command.join(' ').toStdString();
        EXPECT_TRUE(err.contains("no data folder")) << err.toStdString();
    }
    EXPECT_FALSE(QFileInfo::exists(missing));
}

TEST(CliKb, SearchPrintsRankedHitsAndRefusesQueriesWithNothingToFind)
{
    TempDataFolder home;
    PageStore store([] { return QDateTime(QDate(2026, 1, 2), QTime(13, 45)); });
    store.setSettings(shopSettings(home));
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://a.test/"),
                                   "<title>Bread</title><p>rye\tand spelt</p>"));
    ASSERT_TRUE(store.SaveTaxonomy(QStringLiteral("http://b.test/"),
                                   "<title>Cake of rye</title><p>sugar</p>"));
    // The index is a cache: a file that is none is replaced and filled from the pages.
    writeFile(home.file(QStringLiteral("search.sqlite")), "not an index");

    QByteArray out, err;
    ASSERT_EQ(cli(home, {"kb", "search", "rye", "--term", "Bread"}, &out, &err), 0)
        << err.toStdString();
    EXPECT_EQ(text(out), "Shops-01-02-26-1345\tBread\t1\thttp://a.test/\tBread\trye and spelt\n");
    ASSERT_EQ(cli(home, {"kb", "search", "RYE", "--format", "jsonl"}, &out, &err), 0);
    const QList<QByteArray> lines = out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 2) << out.toStdString();
    // A title holding the word ranks first.
    EXPECT_EQ(QJsonDocument::fromJson(lines[0]).object()["address"].toString(), "http://b.test/");

    // Query-language syntax is text, never an error of the index.
    for (const char *query : {"rye OR NEAR(sugar", "title:spelt^", "\"spelt"})
        EXPECT_EQ(cli(home, {"kb", "search", query}, &out, &err), 0) << query << err.toStdString();
    for (const char *query : {"\"", "* - :", "r*"}) {
        EXPECT_EQ(cli(home, {"kb", "search", query}, &out, &err), 2) << query;
        EXPECT_EQ(err.count('\n'), 1) << err.toStdString();
        EXPECT_FALSE(err.contains("fts5")) << err.toStdString();
    }
    EXPECT_EQ(cli(home, {"kb", "search", "rye", "--term", "Pie"}, &out, &err), 1);
    EXPECT_TRUE(err.contains("Pie")) << err.toStdString();

    // --quiet leaves the hits and drops the messages and progress.
    ASSERT_EQ(cli(home, {"kb", "search", "spelt", "--quiet"}, &out, &err), 0);
    EXPECT_EQ(out.count('\n'), 1);
    EXPECT_EQ(err, "");
    ASSERT_EQ(cli(home, {"kb", "reindex", "-q"}, &out, &err), 0);
    EXPECT_EQ(err, "");
}

// An exported archive reads back whole in warcio, an independent reader, and importing it
// gives the same pages under the same terms.
TEST(CliKb, ExportedArchivesReadInWarcioAndImportBackToTheSamePages)
{
    TempDataFolder home;
    PageStore store([] { return QDateTime(QDate(2026, 1, 2), QTime(13, 45)); });
    store.setSettings(shopSettings(home));
    const QList<std::pair<QString, QByteArray>> stored = {
        {"http://a.test/?q=1&r=2", "<title>Bread</title>caf\xe9 in Windows-1252"},
        {"https://b.test/x", "<title>Cake and bread</title>\r\n\r\nWARC/1.1\r\nWARC-Type: x\r\n"},
        {"http://c.test/", "<title>Bread</title>" + QByteArray(300000, 'z')},
        {"http://d.test/", "<TITLE>Cake</TITLE>\0binary\x1f\x8b"},
        {QStringLiteral("http://e.test/gr\u00fc\u00dfe?b=\u00e4"), "<title>Bread</title>"}};
    for (const auto &[address, html] : stored)
        ASSERT_TRUE(store.SaveTaxonomy(address, html));
    const QMap<QString, QByteArray> original = pageContents(QStringLiteral("Shops-"));
    ASSERT_EQ(original.size(), stored.size());

    QByteArray out, err;
    const QString archive = home.file(QStringLiteral("shops.warc.gz"));
    ASSERT_EQ(cli(home, {"kb", "export-warc", "Shops-01-02-26-1345", archive}, &out, &err), 0)
        << err.toStdString();

    // The import below is checked whether or not warcio can run here.
    if (const QString missing = warcioMissing(); !missing.isEmpty()) {
        if (warcioRequired())
            ADD_FAILURE() << missing.toStdString();
    } else {
        const QJsonArray records = readWithWarcio(archive);
        ASSERT_EQ(records.size(), stored.size() + 1);
        EXPECT_EQ(records[0]["type"].toString(), "warcinfo");
        QMap<QString, QByteArray> read;
        for (qsizetype i = 1; i < records.size(); ++i) {
            EXPECT_EQ(records[i]["type"].toString(), "response");
            EXPECT_TRUE(records[i]["payloadDigestOk"].toBool()) << i;
            EXPECT_TRUE(records[i]["blockDigestOk"].toBool()) << i;
            // The archive holds URIs: letters beyond ASCII come escaped.
            read.insert(QUrl::fromPercentEncoding(records[i]["uri"].toString().toUtf8()),
                        QByteArray::fromBase64(records[i]["payload"].toString().toLatin1()));
        }
        QMap<QString, QByteArray> expected;
        for (const auto &[address, html] : stored)
            expected.insert(address, html);
        EXPECT_EQ(read, expected);
    }

    ASSERT_EQ(
        cli(home, {"kb", "import-warc", archive, "Copy", "--taxonomy", "Bread,Cake"}, &out, &err),
        0)
        << err.toStdString();
    EXPECT_EQ(pageContents(QStringLiteral("Copy-")), original);
    // Imported pages are found like harvested ones.
    ASSERT_EQ(cli(home, {"kb", "search", "cafe", "--format", "jsonl"}, &out, &err), 0);
    EXPECT_EQ(out.count('\n'), 2) << out.toStdString();

    // A cut archive stops with a message; the pages before the cut stay.
    const QString cut = home.file(QStringLiteral("cut.warc.gz"));
    writeFile(cut, readFile(archive).chopped(40));
    EXPECT_EQ(cli(home, {"kb", "import-warc", cut, "Cut", "--taxonomy", "Bread,Cake"}, &out, &err),
              1);
    EXPECT_EQ(pageContents(QStringLiteral("Cut-")).size(), stored.size() - 1) << err.toStdString();

    for (const QStringList &args :
         {QStringList({"kb", "import-warc", archive, "Copy"}),
          QStringList({"kb", "import-warc", archive, "a/b", "--taxonomy", "Bread"}),
          QStringList({"kb", "import-warc", archive, "--taxonomy", "Bread"}),
          QStringList({"kb", "export-warc", "Shops-01-02-26-1345"})})
        EXPECT_EQ(cli(home, args, &out, &err), 2) << args.join(' ').toStdString();
    EXPECT_EQ(cli(home, {"kb", "export-warc", "Nope", archive}, &out, &err), 1);
}
