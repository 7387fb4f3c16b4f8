#include "tests/support/Nginx.h"
#include "tests/support/Literals.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <unistd.h>

namespace Kavo::Testing {

namespace {

constexpr int StartLimit = 5000;

/// The path of nginx; empty if it was not found. The scripts unpack nginx into the build folder,
/// because installing the package would start a server. They search the same places.
QString program()
{
    const QStringList candidates = {QStringLiteral(KAVO_UNPACKED_NGINX), "/usr/sbin/nginx"_s,
                                    "/usr/bin/nginx"_s};
    for (const QString &candidate : candidates) {
        if (QFileInfo(candidate).isExecutable())
            return candidate;
    }
    return {};
}

quint16 freePort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost) ? probe.serverPort() : quint16(0);
}

} // namespace

Nginx::Nginx()
{
    QDir(m_root.path()).mkpath("www"_s);
    // Another process may take the port between the probe and the start.
    constexpr int Attempts = 5;
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        m_port = freePort();
        if (start())
            return;
    }
}

Nginx::~Nginx()
{
    stop();
}

bool Nginx::isAvailable()
{
    return !program().isEmpty();
}

QString Nginx::folder() const
{
    return m_root.filePath("www/"_s);
}

QString Nginx::url(const QString &path) const
{
    return "http://127.0.0.1:%1%2"_s.arg(m_port).arg(path);
}

void Nginx::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(StartLimit)) {
        m_process.kill();
        m_process.waitForFinished(StartLimit);
    }
}

bool Nginx::restart()
{
    stop();
    return start();
}

bool Nginx::limitRate(int bytesASecond)
{
    m_rate = bytesASecond;
    return restart();
}

bool Nginx::start()
{
    writeConfiguration();
    m_process.setStandardErrorFile(m_root.filePath("stderr.txt"_s));
    m_process.start(program(), {"-p"_s, m_root.path(), "-c"_s, m_root.filePath("nginx.conf"_s),
                                "-e"_s, "stderr"_s});
    if (m_process.waitForStarted(StartLimit) && waitForAnswer())
        return true;
    stop();
    return false;
}

void Nginx::writeConfiguration() const
{
    // A single process instead of a master with workers, so that none can survive.
    QByteArray text = "daemon off;\nmaster_process off;\npid nginx.pid;\n";
    // As root, nginx would otherwise switch to an account that cannot enter the temporary folder.
    if (::geteuid() == 0)
        text += "user root;\n";
    text += "events { worker_connections 64; }\n"
            "http {\n"
            "  access_log off;\n"
            "  types { }\n"
            "  default_type application/octet-stream;\n"
            "  client_body_temp_path tmp; proxy_temp_path tmp; fastcgi_temp_path tmp;\n"
            "  uwsgi_temp_path tmp; scgi_temp_path tmp;\n"
            "  server { listen 127.0.0.1:" +
            QByteArray::number(m_port) + "; root www; limit_rate " + QByteArray::number(m_rate) +
            "; }\n"
            "}\n";
    QFile file(m_root.filePath("nginx.conf"_s));
    if (file.open(QIODevice::WriteOnly))
        file.write(text);
}

bool Nginx::waitForAnswer() const
{
    const QDeadlineTimer deadline(StartLimit);
    while (!deadline.hasExpired()) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, m_port);
        if (socket.waitForConnected(100))
            return true;
        // A refused connection returns immediately. The process ends if the port is not free.
        if (const_cast<QProcess &>(m_process).waitForFinished(20))
            return false;
    }
    return false;
}

} // namespace Kavo::Testing
