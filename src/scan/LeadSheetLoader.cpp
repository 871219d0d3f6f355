#include "scan/LeadSheetLoader.h"

#include "scan/ReadWorkbook.h"

#include <QPromise>
#include <QThread>

namespace corvane {

LeadSheetLoader::LeadSheetLoader(QObject *parent) : QObject(parent)
{
    connect(&m_watcher, &QFutureWatcherBase::progressValueChanged, this,
            &LeadSheetLoader::progress);
    connect(&m_watcher, &QFutureWatcherBase::finished, this, &LeadSheetLoader::finish);
}

LeadSheetLoader::~LeadSheetLoader()
{
    if (!m_thread)
        return;
    m_watcher.disconnect(this);
    m_watcher.cancel();
    m_thread->wait();
}

void LeadSheetLoader::start(const QString &path)
{
    if (m_thread)
        return;
    QPromise<Result<QStringList>> promise;
    m_watcher.setFuture(promise.future());
    m_thread.reset(QThread::create([promise = std::move(promise), path]() mutable {
        promise.start();
        LeadSheetWatch watch;
        watch.progress = [&promise](int rows) { promise.setProgressValue(rows); };
        watch.cancelled = [&promise] { return promise.isCanceled(); };
        promise.addResult(readLeadSheet(path, watch));
        promise.finish();
    }));
    m_thread->start();
}

void LeadSheetLoader::finish()
{
    m_thread->wait();
    m_thread.reset();
    const QFuture<Result<QStringList>> future = m_watcher.future();
    if (future.resultCount() == 0)
        return;
    const Result<QStringList> leads = future.result();
    if (leads)
        emit loaded(*leads);
    else
        emit failed(leads.message());
}

} // namespace corvane
