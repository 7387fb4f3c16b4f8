#pragma once

#include <QString>

namespace Kavo {

/// A path as one line of a plain text. A name of a file may hold anything but a slash: what would
/// break the line, or turn the order of what follows, is shown as a question mark.
QString oneLine(const QString &path);

} // namespace Kavo
