#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace Kavo::Testing {

/// Runs Debian's nginx on a free loopback port, where it serves a temporary folder while the object
/// exists. The constructor blocks until the server answers. isRunning() is false if it could not be
/// started.
class Nginx final
{
public:
    Nginx();
    ~Nginx();
    Q_DISABLE_COPY_MOVE(Nginx)

    /// Whether nginx was found.
    static bool isAvailable();

    bool isRunning() const { return m_process.state() == QProcess::Running; }
    /// The served folder, with a trailing separator. Tests put their files there.
    QString folder() const;
    /// The URL of a file. The path begins with a slash.
    QString url(const QString &path) const;

    /// Stops the server. Its URLs refuse connections from then on.
    void stop();
    /// Starts the server again on the same port. Returns whether it answers.
    bool restart();
    /// Restarts the server with a limit for the rate of each answer; 0 means no limit. Returns
    /// whether it answers.
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
