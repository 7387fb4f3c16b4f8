#pragma once

#include <QString>

namespace Kavo::Models {

/// One dependency of a version: another package and its minimum version.
struct DependencyEntry
{
    int packageId = 0;
    QString requiredVersion; ///< empty: any version

    /// Parses "5:1.2", "5:" or "5". An id that is not a number is 0. An empty entry ends the
    /// process with the log line "Invalid dependency info".
    static DependencyEntry parse(const QString &entry);

    /// Whether a version satisfies the minimum.
    bool isMetBy(const QString &version) const;
};

} // namespace Kavo::Models
