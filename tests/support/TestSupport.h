#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace corvane::test {

// A fresh data folder for one test, made the process's data folder while it lives.
class TempDataFolder
{
public:
    TempDataFolder();
    ~TempDataFolder();
    TempDataFolder(const TempDataFolder &) = delete;
    TempDataFolder &operator=(const TempDataFolder &) = delete;

    QString path() const { return m_dir.path(); }
    QString file(const QString &relative) const { return m_dir.filePath(relative); }

private:
    QTemporaryDir m_dir;
};

// Whole-file helpers for assertions.
QByteArray readFile(const QString &path);
void writeFile(const QString &path, const QByteArray &bytes);

// The list in sorted order, for comparing sets that arrive in any order.
QStringList sorted(QStringList list);

// Source and build folders, for tests that run the programs or read fixtures.
QString sourceDir();
QString binaryDir();

// Runs a program of the build with arguments; returns exit code, fills stdout/stderr.
int runProgram(const QString &program, const QStringList &args, QByteArray *out = nullptr,
               QByteArray *err = nullptr, const QByteArray &input = {}, int timeoutMs = 120000);
// The same, with this process's event loop running meanwhile, so servers of the test answer
// the program.
int runProgramServing(const QString &program, const QStringList &args, QByteArray *out = nullptr,
                      QByteArray *err = nullptr, int timeoutMs = 120000);

// One run of corvane-cli with the data folder home: its exit code and what it printed.
struct CliOutput
{
    int code = -1;
    QByteArray out;
    QByteArray err;
};
CliOutput runCli(const QString &home, const QStringList &args);

// warcio, an independent WARC reader (tests/exchange/warcio, fetched by scripts/setup).
// Why it cannot run here (node or warcio missing); empty when it can.
QString warcioMissing();
// Whether a missing warcio fails the test rather than skipping its check (CI sets
// CORVANE_REQUIRE_WARCIO).
bool warcioRequired();
// warcio's reading of the archive at path: one JSON object per record (type, uri, status,
// payload in base64, payloadDigestOk, blockDigestOk). A failing read fails the test.
QJsonArray readWithWarcio(const QString &path);

} // namespace corvane::test
