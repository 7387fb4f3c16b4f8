#pragma once

#include <QString>
#include <QVersionNumber>

namespace Kavo::Tools {

/// The number that a version text begins with, as clients read it.
struct VersionNumber
{
    QVersionNumber number; ///< null when the text does not begin with one
    int end = 0;           ///< where in the text begins what does not count
};

VersionNumber readVersionNumber(const QString &text);

} // namespace Kavo::Tools
