#pragma once

#include <QString>
#include <QStringList>

namespace Kavo {

/// The paths that belong to the simulator or to all add-ons, relative to the simulator's folder:
/// its executable, its own top folders and the folder of plug-ins. No rule of an add-on may name
/// one of them; entries below them are allowed.
QStringList commonPlaces();

/// Whether `path`, an absolute path in the simulator's folder `installation`, is a common place: by
/// its name, ignoring case, or by links in its path. A link to a common place is not one itself.
bool isCommonPlace(const QString &installation, const QString &path);

} // namespace Kavo
