#pragma once

#include <QString>

namespace Kavo::Tools {

/// The address of a file in a folder of a server.
QString addressIn(const QString &folder, const QString &fileName);

/// The address of a file beside that of another version. Empty where it cannot be told: the address
/// does not end in the name of a file, or the folder is one for that version.
QString addressBeside(const QString &link, const QString &version, const QString &fileName);

} // namespace Kavo::Tools
