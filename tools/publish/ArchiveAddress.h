#pragma once

#include <QString>

namespace Kavo::Tools {

/// Returns the address of a file in a folder of a server.
QString addressIn(const QString &folder, const QString &fileName);

/// Returns the address of a file in the same folder as that of another version. Empty if it cannot
/// be derived, because the address does not end in a file name or the folder belongs to one
/// version.
QString addressBeside(const QString &link, const QString &version, const QString &fileName);

} // namespace Kavo::Tools
