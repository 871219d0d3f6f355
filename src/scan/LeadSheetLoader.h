#pragma once

#include "common/Result.h"

#include <QFutureWatcher>
#include <QObject>
#include <QStringList>

#include <memory>

class QThread;

namespace corvane {

// Reads a lead sheet (ReadWorkbook) on a thread of its own, so a window stays responsive
// however large the sheet; progress and the outcome arrive as signals on the thread that
// owns the loader. Deleting the loader stops a read under way and waits for it.
class LeadSheetLoader : public QObject
{
    Q_OBJECT
public:
    explicit LeadSheetLoader(QObject *parent = nullptr);
    ~LeadSheetLoader() override;

    // Starts reading; ignored while a read is under way.
    void start(const QString &path);
    bool isLoading() const { return m_thread != nullptr; }

signals:
    // Rows of the first column walked so far, a few times a second during a long read.
    void progress(int rows);
    void loaded(const QStringList &leads);
    void failed(const QString &message);

private:
    void finish();

    QFutureWatcher<Result<QStringList>> m_watcher;
    std::unique_ptr<QThread> m_thread;
};

} // namespace corvane
