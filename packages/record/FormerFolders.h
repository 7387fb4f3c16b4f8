#pragma once

#include <QString>
#include <QStringList>

namespace Kavo::Models {

/// The folders for copies of one kind that were in use before this one, latest first, for copies
/// may still lie there. Remembers the folder in use for the starts to come, in the file
/// "folders.json" of the data folder; the standard folder is always among them and never written.
///
/// A file that cannot be read tells of none; one that cannot be written is logged. `kind` is one
/// word.
QStringList formerFolders(const QString &kind, const QString &current, const QString &standard);

} // namespace Kavo::Models
