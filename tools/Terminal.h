#pragma once

#include <QByteArray>
#include <QString>

/// The output of commands.
namespace Kavo::Tools {

/// Writes to standard output.
void print(const QByteArray &text);
/// Writes a line to standard error.
void complain(const QString &line);

} // namespace Kavo::Tools
