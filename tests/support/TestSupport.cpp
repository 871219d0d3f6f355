#include "support/TestSupport.h"

#include "common/DataFolder.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>

#include <gtest/gtest.h>

namespace corvane::test {

TempDataFolder::TempDataFolder()
{
    DataFolder::setRoot(m_dir.path());
}

TempDataFolder::~TempDataFolder()
{
    DataFolder::setRoot(QString());
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QString sourceDir()
{
    return qEnvironmentVariable("CORVANE_SOURCE_DIR", QStringLiteral(CORVANE_SOURCE_DIR_DEFAULT));
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QString binaryDir()
{
    return qEnvironmentVariable("CORVANE_BINARY_DIR", QStringLiteral(CORVANE_BINARY_DIR_DEFAULT));
}

namespace {

QString programPath(const QString &program)
{
    return QFileInfo(program).isAbsolute() ? program
                                           : binaryDir() + QStringLiteral("/bin/") + program;
}

int exitCodeOf(QProcess &process, QByteArray *out, QByteArray *err)
{
    if (out)
        *out = process.readAllStandardOutput();
    if (err)
        *err = process.readAllStandardError();
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -3;
}

} // namespace

int runProgramServing(const QString &program, const QStringList &args, QByteArray *out,
                      QByteArray *err, int timeoutMs)
{
    QProcess process;
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    process.start(programPath(program), args);
    process.closeWriteChannel();
    if (process.state() != QProcess::NotRunning)
        loop.exec();
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
        return -2;
    }
    return exitCodeOf(process, out, err);
}

int runProgram(const QString &program, const QStringList &args, QByteArray *out, QByteArray *err,
               const QByteArray &input, int timeoutMs)
{
    QProcess process;
    process.start(programPath(program), args);
    if (!process.waitForStarted(10000))
        return -1;
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return -2;
    }
    return exitCodeOf(process, out, err);
}

CliOutput runCli(const QString &home, const QStringList &args)
{
    CliOutput run;
    run.code = runProgram(QStringLiteral("corvane-cli"),
                          QStringList{QStringLiteral("--home"), home} + args, &run.out, &run.err);
    return run;
}

namespace {

QString warcioFolder()
{
    return sourceDir() + QStringLiteral("/tests/exchange/warcio");
}

} // namespace

QString warcioMissing()
{
    if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty())
        return QStringLiteral("node is not installed; the warcio check needs it");
    if (!QFile::exists(warcioFolder() + QStringLiteral("/node_modules/warcio")))
        return QStringLiteral(
            "warcio is not installed: run scripts/setup (npm ci in tests/exchange/warcio)");
    return {};
}

bool warcioRequired()
{
    return qEnvironmentVariableIsSet("CORVANE_REQUIRE_WARCIO");
}

QJsonArray readWithWarcio(const QString &path)
{
    QByteArray out;
    QByteArray err;
    const int code =
        runProgram(QStandardPaths::findExecutable(QStringLiteral("node")),
                   {warcioFolder() + QStringLiteral("/read-warc.mjs"), path}, &out, &err);
    if (code != 0) {
        ADD_FAILURE() << "warcio could not read " << path.toStdString() << ": "
                      << err.toStdString();
        return {};
    }
    return QJsonDocument::fromJson(out).array();
}

} // namespace corvane::test
