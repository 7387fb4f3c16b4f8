#pragma once

#include "tests/integration/TcpRelay.h"
#include "tests/support/ScratchProfile.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

namespace Kavo::Testing {

/// Installs an add-on from a catalogue on a real web server, through a network that cuts
/// connections. Each object is for one trial and has its own account. Runs the event loop.
class ServerTrial final
{
public:
    /// How an installation has ended, after several tries.
    enum class Outcome {
        Installed,    ///< at the first try
        Resumed,      ///< at a later try, which fetched only what was missing
        BegunAnew,    ///< at a later try, which fetched the whole archive
        OldInstalled, ///< with the whole of the archive that was replaced in between
        Failed,       ///< not at all
        Mixed,        ///< with other bytes
    };

    /// The server serves the folder. If it needs more than the files, `publisher` is a command that
    /// is run with the folder as its argument.
    ServerTrial(const QUrl &server, const QString &folder, const QString &publisher = QString());

    /// Without a fault.
    Outcome mainJob();
    /// The connection is cut in mid-archive.
    Outcome resume();
    /// The connection is cut in mid-archive, and the archive replaced before the next try.
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
