#pragma once

#include <QString>
#include <QVersionNumber>

namespace Kavo::Tools {

/// The version number at the beginning of a version text, as clients read it.
struct VersionNumber
{
    QVersionNumber number; ///< null if the text does not begin with a number
    int end = 0;           ///< position of the ignored rest of the text
};

VersionNumber readVersionNumber(const QString &text);

} // namespace Kavo::Tools
