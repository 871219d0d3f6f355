#pragma once

#include <QString>
#include <QStringList>

namespace corvane {

// The search-list provider: the engine list shown in the harvest window, the address of
// each search-engine result page, and the address filter list of e-mail extraction.
//
// Backed by three text files, each taken from the data folder when it has a copy and from
// the bundled defaults otherwise (DataFolder::locate):
//   "search/engines.txt"          the engine list, entries "name$address#" (line breaks and
//                                 lines starting with ";" are ignored)
//   "search/queries.txt"          one line per engine: name$template[$lastPage], where the
//                                 template holds {keyword} (URL-encoded, blanks as "+"),
//                                 {page} (result page number from 0), {page1} (from 1),
//                                 {offset} (page x 10) and {first} (page x 10 + 1); lastPage
//                                 (default 49) is the highest page number answered
//   "search/address-filters.txt"  domain-ending fragments, "#"-terminated or one a line
//                                 (read by readAddressFilterFragments)
//
// The demo search engine of the bundled demo web has "{{HOST}}" where its host and port go:
// call setDemoHost("127.0.0.1:PORT") once the demo server listens. Until then engines whose
// address holds "{{HOST}}" are left out of the list; they are listed last, so the numbers of
// the other engines never change.
//
// Every instance reads the files on first use and keeps them until a Refresh.
class SearchListProvider
{
public:
    SearchListProvider() = default;

    // "name$address#name$address#...", every entry closed by "#".
    QString GetEngineList();
    // Reads the engine files again; when the data folder's copy lists no engine, falls back
    // to the bundled list.
    void RefreshEngineList();

    // The address of result page resultPage (from 0) of engine engineNumber (from 1, as
    // numbered by GetEngineList) for the keyword; empty when there is no such engine, no
    // template for it, the keyword is blank, the page number is negative or past the last
    // page of the engine.
    QString BuildQueryURL(int resultPage, int engineNumber, const QString &keyword);

    // Fragments joined and closed by "#", e.g. ".com#.net#".
    QString GetAddressFilterList();
    // Reads the filter file again, falling back to the bundled one when the data folder's
    // copy gives no fragment.
    void RefreshAddressFilterList();

    // Process-wide: the "host:port" that replaces "{{HOST}}"; empty hides the demo engine.
    static void setDemoHost(const QString &hostAndPort);
    static QString demoHost();

private:
    struct Engine
    {
        QString name;
        QString address;
        QString queryTemplate;
        int lastPage = 49;
    };

    void loadEngines(bool bundledOnly);
    void loadFilters(bool bundledOnly);
    QList<const Engine *> listedEngines(const QString &host) const;

    bool m_enginesLoaded = false;
    QList<Engine> m_engines;
    bool m_filtersLoaded = false;
    QStringList m_filters;
};

} // namespace corvane
