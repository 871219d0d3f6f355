#pragma once

#include <QString>

namespace corvane {

// The program's data folder: what the Windows program kept beside its executable
// (IOFiles, Images, HelpFiles, VerifiedSCV, UnVerifiedSCV, ...).
//
// Chosen once per process: an explicit --home, else $CORVANE_HOME, else the platform's
// application-data location. Bundled defaults are compiled in as resources below
// ":/corvane/" and a file of the same relative path in the data folder overrides them.
class DataFolder
{
public:
    // Set by the programs' --home option; tests point it at a temporary folder.
    static void setRoot(const QString &path);
    // The folder, created when missing.
    static QString root();
    // The folder's path, without creating it.
    static QString rootPath();

    // root()/relative, with the folder created on first use.
    static QString subfolder(const QString &relative);
    static QString ioFiles() { return subfolder(QStringLiteral("IOFiles")); }
    static QString helpFiles() { return subfolder(QStringLiteral("HelpFiles")); }
    static QString verified() { return subfolder(QStringLiteral("VerifiedSCV")); }
    static QString unverified() { return subfolder(QStringLiteral("UnVerifiedSCV")); }
    static QString temp() { return subfolder(QStringLiteral("Temp")); }

    // The data folder's copy of a bundled file if it has one, else the bundled resource
    // path (":/corvane/<relative>"). Empty when neither exists.
    static QString locate(const QString &relative);

    // The bundled resource path, whether or not the data folder overrides it.
    static QString bundled(const QString &relative);

    // The program's settings file (INI), root()/corvane.ini.
    static QString settingsFile();
};

} // namespace corvane
