#pragma once

#include <QString>
#include <QUrl>

namespace Kavo::Tools {

/// The address of a catalogue server as the program is built with it, or that of its catalogue.
struct ServerAddress
{
    QUrl catalogue; ///< not valid when there is a fault
    QString fault;  ///< why it is no such address; empty when it is one

    static ServerAddress of(const QString &text);
};

} // namespace Kavo::Tools
