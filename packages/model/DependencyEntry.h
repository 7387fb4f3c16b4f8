#pragma once

#include <QString>

namespace Kavo::Models {

/// One thing that a version needs: another package at a minimum version.
struct DependencyEntry
{
    int packageId = 0;
    QString requiredVersion; ///< empty: any version will do

    /// Reads "5:1.2", "5:" or "5"; an id that is not a number reads as 0. An empty entry ends the
    /// process with the log line "Invalid dependency info".
    static DependencyEntry parse(const QString &entry);

    /// Whether a version text meets the minimum.
    bool isMetBy(const QString &version) const;
};

} // namespace Kavo::Models
