#pragma once

#include <QByteArray>
#include <QString>

/// What commands write for the shell and whoever sits at it.
namespace Kavo::Tools {

/// To the standard output.
void print(const QByteArray &text);
/// A line to the standard error.
void complain(const QString &line);

} // namespace Kavo::Tools
