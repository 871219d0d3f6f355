#pragma once

#include <QString>

namespace corvane::test {

// A generated static site served by nginx on 127.0.0.1 for the life of the object
// (bench/site/make-site.py and bench/site/nginx-site.sh do the work).
class NginxSite
{
public:
    // dir must exist and be empty or hold an earlier site of the same size.
    NginxSite(const QString &sourceDir, const QString &dir, int pages);
    ~NginxSite();
    NginxSite(const NginxSite &) = delete;
    NginxSite &operator=(const NginxSite &) = delete;

    // False (with error()) when python3 or nginx is missing or nginx does not start.
    bool start();
    void stop();

    quint16 port() const { return m_port; }
    QString url(const QString &path) const;
    // The path of page i below the site, e.g. "/pages/000/page-000001.htm".
    static QString pagePath(int i);
    QString error() const { return m_error; }

private:
    bool run(const QString &program, const QStringList &args, QByteArray *out);

    QString m_sourceDir;
    QString m_dir;
    int m_pages;
    quint16 m_port = 0;
    QString m_error;
};

} // namespace corvane::test
