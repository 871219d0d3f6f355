#include "NginxSite.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace corvane::test {

NginxSite::NginxSite(const QString &sourceDir, const QString &dir, int pages)
    : m_sourceDir(sourceDir), m_dir(dir), m_pages(pages)
{
}

NginxSite::~NginxSite()
{
    stop();
}

bool NginxSite::run(const QString &program, const QStringList &args, QByteArray *out)
{
    QProcess p;
    p.start(program, args);
    if (!p.waitForFinished(300000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0) {
        m_error = program + QStringLiteral(": ") + QString::fromLocal8Bit(p.readAllStandardError());
        return false;
    }
    if (out)
        *out = p.readAllStandardOutput();
    return true;
}

bool NginxSite::start()
{
    if (QStandardPaths::findExecutable(QStringLiteral("nginx")).isEmpty() &&
        !QFileInfo(QStringLiteral("/usr/sbin/nginx")).isExecutable()) {
        m_error = QStringLiteral("nginx is not installed");
        return false;
    }
    const QString site = m_sourceDir + QStringLiteral("/bench/site/");
    if (!QFileInfo::exists(m_dir + pagePath(m_pages - 1)) &&
        !run(QStringLiteral("python3"),
             {site + QStringLiteral("make-site.py"), m_dir, QStringLiteral("--pages"),
              QString::number(m_pages)},
             nullptr))
        return false;
    QByteArray out;
    if (!run(site + QStringLiteral("nginx-site.sh"), {QStringLiteral("start"), m_dir}, &out))
        return false;
    m_port = static_cast<quint16>(out.trimmed().toUInt());
    return m_port != 0;
}

void NginxSite::stop()
{
    if (m_port == 0)
        return;
    run(m_sourceDir + QStringLiteral("/bench/site/nginx-site.sh"), {QStringLiteral("stop"), m_dir},
        nullptr);
    m_port = 0;
}

QString NginxSite::url(const QString &path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path);
}

QString NginxSite::pagePath(int i)
{
    return QStringLiteral("/pages/%1/page-%2.htm")
        .arg(i / 1000, 3, 10, QLatin1Char('0'))
        .arg(i, 6, 10, QLatin1Char('0'));
}

} // namespace corvane::test
