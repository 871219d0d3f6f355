#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <vector>

// The shared frame of the fuzz targets. Each target is one entry function that feeds an input
// to a reader of outside data and checks what must hold whatever the input; the libFuzzer
// program (FuzzMain.cpp) and the corpus replay test call the very same function.
namespace corvane::fuzz {

// The rules an input broke, in words; none when every rule held.
class Findings
{
public:
    void expect(bool holds, const char *rule, int line)
    {
        if (!holds)
            m_broken << QStringLiteral("line %1: %2").arg(line).arg(QLatin1String(rule));
    }
    bool isEmpty() const { return m_broken.isEmpty(); }
    const QStringList &broken() const { return m_broken; }

private:
    QStringList m_broken;
};

using Entry = void (*)(QByteArrayView input, Findings &findings);

struct Target
{
    const char *name; // also the name of its folders below fuzz/corpus and fuzz/regressions
    Entry entry;
};

// Every target linked into this program, in the order they registered.
std::vector<Target> &targets();
bool registerTarget(const char *name, Entry entry);

// Replaces the file's content by bytes; false when it cannot be written.
bool writeFile(const QString &path, QByteArrayView bytes);

// For readers that take a path: the input as the file `name` in a temporary folder that lasts
// as long as the program. Empty when it cannot be written.
QString inputFile(QByteArrayView input, const QString &name);

} // namespace corvane::fuzz

// Defines the entry of target NAME and registers it; the body sees `input` and `findings`.
#define CORVANE_FUZZ_TARGET(NAME)                                                                  \
    static void NAME##_entry(QByteArrayView input, corvane::fuzz::Findings &findings);             \
    [[maybe_unused]] static const bool NAME##_registered =                                         \
        corvane::fuzz::registerTarget(#NAME, NAME##_entry);                                        \
    static void NAME##_entry([[maybe_unused]] QByteArrayView input,                                \
                             [[maybe_unused]] corvane::fuzz::Findings &findings)

// Records the rule as broken when the condition does not hold.
#define CORVANE_EXPECT(condition) findings.expect(bool(condition), #condition, __LINE__)
