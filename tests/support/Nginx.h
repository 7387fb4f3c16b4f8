#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace Kavo::Testing {

/// Debian's nginx on a free loopback port. It serves a temporary folder while the object exists.
/// The constructor blocks until the server answers; isRunning() is false when it could not be
/// started.
class Nginx final
{
public:
    Nginx();
    ~Nginx();
    Q_DISABLE_COPY_MOVE(Nginx)

    /// Whether there is a program to start.
    static bool isAvailable();

    bool isRunning() const { return m_process.state() == QProcess::Running; }
    /// The folder that is served, with a trailing separator; put files here.
    QString folder() const;
    /// Address of a file; the path begins with a slash.
    QString url(const QString &path) const;

    /// Ends the server; addresses refuse connections from then on.
    void stop();
    /// Starts it on the port it had before. Returns whether it answers.
    bool restart();
    /// Restarts it so that every answer comes no faster than this; 0 lifts the limit.
    bool limitRate(int bytesASecond);

private:
    bool start();
    void writeConfiguration() const;
    bool waitForAnswer() const;

    QTemporaryDir m_root;
    QProcess m_process;
    quint16 m_port = 0;
    int m_rate = 0;
};

} // namespace Kavo::Testing
