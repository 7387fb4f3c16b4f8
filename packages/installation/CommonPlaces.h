#pragma once

#include <QString>
#include <QStringList>

namespace Kavo {

/// What belongs to the simulator or to all add-ons together, relative to the simulator's folder:
/// its executable, its own top folders and the folder of plug-ins. No rule of an add-on may name
/// one of them; what lies in them is another matter.
QStringList commonPlaces();

/// Whether `path`, an absolute path under the simulator's folder `installation`, is one of the
/// common places: by its name, in whatever case, or because links on the way lead there. A link
/// to one is none itself.
bool isCommonPlace(const QString &installation, const QString &path);

} // namespace Kavo
