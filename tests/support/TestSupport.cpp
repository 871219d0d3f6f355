#include "support/TestSupport.h"

#include "common/DataFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

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

int runProgram(const QString &program, const QStringList &args, QByteArray *out, QByteArray *err,
               const QByteArray &input, int timeoutMs)
{
    QProcess process;
    QString path = program;
    if (!QFileInfo(path).isAbsolute())
        path = binaryDir() + QStringLiteral("/bin/") + program;
    process.start(path, args);
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
    if (out)
        *out = process.readAllStandardOutput();
    if (err)
        *err = process.readAllStandardError();
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -3;
}

} // namespace corvane::test
