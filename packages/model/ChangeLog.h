#pragma once

#include "packages/model/PackageVersion.h"

#include <QString>
#include <QVector>

namespace Kavo::Models {

/// Change logs as rich text, one block a version in the order of the list. The lines come from the
/// catalogue as they stand and may hold markup.
QString changeLogHtml(const QVector<PackageVersionPointer> &versions);

} // namespace Kavo::Models
