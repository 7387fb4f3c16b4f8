#pragma once

#include "core/DatabaseFile.h"

#include <QHash>
#include <QString>

#include <optional>

namespace Kavo::Models {

/// Names the version of each package that is completely on the disk. It is a table of its own
/// beside the one of installed packages, whose rows name a version as soon as its installation
/// begins. If this table cannot be created, read or written, only this information is missing. Main
/// thread.
class WholeVersions final
{
public:
    /// Version texts by package id. An empty text means that files of the package may be missing.
    using Texts = QHash<qint64, QString>;

    explicit WholeVersions(const DatabaseFile &file) : m_file(file) {}

    void makeTable();

    /// All rows; nothing if they cannot be read.
    std::optional<Texts> read() const;

    /// Stores a complete version. Returns whether it was written.
    bool remember(int packageId, const QString &version);
    /// Stores that files of the package may be missing. The change is on the disk when the call
    /// returns.
    void forget(int packageId) { remember(packageId, QString()); }

private:
    const DatabaseFile &m_file;
};

} // namespace Kavo::Models
