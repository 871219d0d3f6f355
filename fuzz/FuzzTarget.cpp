#include "FuzzTarget.h"

#include <QFile>
#include <QTemporaryDir>

namespace corvane::fuzz {

std::vector<Target> &targets()
{
    static std::vector<Target> all;
    return all;
}

bool registerTarget(const char *name, Entry entry)
{
    targets().push_back({name, entry});
    return true;
}

bool writeFile(const QString &path, QByteArrayView bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes.data(), bytes.size()) == bytes.size();
}

QString inputFile(QByteArrayView input, const QString &name)
{
    static QTemporaryDir folder;
    const QString path = folder.filePath(name);
    return writeFile(path, input) ? path : QString();
}

} // namespace corvane::fuzz
