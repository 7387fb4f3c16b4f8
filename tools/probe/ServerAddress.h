#pragma once

#include <QString>
#include <QUrl>

namespace Kavo::Tools {

/// The address of a catalogue server as it is built into the program, or the address of its
/// catalogue.
struct ServerAddress
{
    QUrl catalogue; ///< invalid if there is an error
    QString fault;  ///< reason why the address is wrong; empty if it is right

    static ServerAddress of(const QString &text);
};

} // namespace Kavo::Tools
