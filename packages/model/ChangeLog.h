#pragma once

#include "packages/model/PackageVersion.h"

#include <QString>
#include <QVector>

namespace Kavo::Models {

/// Change logs as rich text, one block for each version in the order of the list. The lines are
/// used as the catalogue has them and may contain markup.
QString changeLogHtml(const QVector<PackageVersionPointer> &versions);

} // namespace Kavo::Models
