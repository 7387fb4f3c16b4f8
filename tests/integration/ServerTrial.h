#pragma once

#include "tests/integration/TcpRelay.h"
#include "tests/support/ScratchProfile.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

namespace Kavo::Testing {

/// Installs an add-on from a catalogue on a real web server, through a relay that can cut
/// connections. Each object is for one trial and has its own account. Its functions run the event
/// loop.
class ServerTrial final
{
public:
    /// The result of an installation, after one or several tries.
    enum class Outcome {
        Installed,    ///< installed at the first try
        Resumed,      ///< installed by a later try, which fetched only the missing part
        BegunAnew,    ///< installed by a later try, which fetched the whole archive
        OldInstalled, ///< the complete old archive was installed, although it had been replaced
        Failed,       ///< not installed
        Mixed,        ///< installed with wrong content
    };

    /// `folder` is the folder that the server serves. If the server does not serve changed files by
    /// itself, `publisher` is a command that is run with the folder as its argument.
    ServerTrial(const QUrl &server, const QString &folder, const QString &publisher = QString());

    /// Installs without a disturbance.
    Outcome mainJob();
    /// Cuts the connection in mid-archive.
    Outcome resume();
    /// Cuts the connection in mid-archive, and replaces the archive before the next try.
    Outcome replacement();

    static QString nameOf(Outcome outcome);

private:
    enum class Content { First, Second };

    static QByteArray contentOf(Content content);
    bool publish(Content content);
    bool waitUntilServed() const;
    bool install();
    Outcome tryAgain(Content wanted);
    QByteArray installed() const;

    QString m_folder;
    QString m_publisher;
    TcpRelay m_relay;
    ScratchProfile m_profile;
    QByteArray m_archive; ///< as it was published last
};

} // namespace Kavo::Testing
