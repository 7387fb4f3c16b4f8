#pragma once

#include <QString>
#include <QStringList>

namespace Kavo::Models {

/// Returns the folders for one kind of copies that were in use before, latest first, since copies
/// may still be there. Stores the present folder for later starts in the file "folders.json" of the
/// data folder. The default folder is always in the result and never stored.
///
/// If the file cannot be read, there are no former folders; if it cannot be written, that is
/// logged. `kind` is a single word.
QStringList formerFolders(const QString &kind, const QString &current, const QString &standard);

} // namespace Kavo::Models
