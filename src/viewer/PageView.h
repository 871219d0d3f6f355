#pragma once

#include <QUrl>
#include <QWidget>

namespace corvane {

// The viewer's embedded browser: the web engine when it is built in, else a plain rich-text
// browser. Script errors of shown pages are swallowed and pages that ask for a new window
// open inside this one, so browsing never leaves the viewer.
class PageView : public QWidget
{
    Q_OBJECT
public:
    explicit PageView(QWidget *parent = nullptr);

    void navigate(const QUrl &url);
    void back();
    void forward();
    void stop();

    // The address last asked for (the shown page may still be loading).
    QUrl requestedUrl() const { return m_requested; }
    bool canGoBack() const;
    bool canGoForward() const;

signals:
    void loadStarted();
    void loadFinished();
    void historyChanged();

private:
    QWidget *m_view = nullptr;
    QUrl m_requested;
};

} // namespace corvane
