#pragma once

#include "tests/integration/TcpRelay.h"
#include "tests/support/ScratchProfile.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

namespace Kavo::Testing {

/// The main job of the program on a real web server: an add-on is installed from a catalogue that
/// lies there, through a network that cuts connections. Each object is for one trial and has an
/// account of its own. Runs the event loop.
class ServerTrial final
{
public:
    /// How an order to install has ended, after some tries.
    enum class Outcome {
        Installed,    ///< at the first try
        Resumed,      ///< at a later one, which fetched no more than was missing
        BegunAnew,    ///< at a later one, which fetched all of it
        OldInstalled, ///< the archive that was replaced in between, and all of it
        Failed,       ///< not at all
        Mixed,        ///< with bytes of several archives
    };

    /// What is put into the folder can be had from the server. Where that takes more than to write
    /// the files, a command does it, with the folder as its argument; else it is empty.
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
