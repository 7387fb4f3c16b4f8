#pragma once

#include <QString>

namespace Kavo {

/// Returns a path as a single line of plain text. A file name may hold any character but a slash;
/// characters that would break the line or change the reading direction are replaced by question
/// marks.
QString oneLine(const QString &path);

} // namespace Kavo
