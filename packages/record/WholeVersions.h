#pragma once

#include "core/DatabaseFile.h"

#include <QHash>
#include <QString>

#include <optional>

namespace Kavo::Models {

/// Which version of a package is wholly on the disk: a table of its own beside that of the
/// installed packages, whose rows name the version that is on its way as soon as one is. Where it
/// cannot be made, read or written, only this is not known. Main thread.
class WholeVersions final
{
public:
    /// By package id. An empty text means that files of the package may be missing.
    using Texts = QHash<qint64, QString>;

    explicit WholeVersions(const DatabaseFile &file) : m_file(file) {}

    void makeTable();

    /// Nothing when it cannot be read.
    std::optional<Texts> read() const;

    /// Returns whether it is written.
    bool remember(int packageId, const QString &version);
    /// Says that files of the package may be missing from now on. On the disk when it returns.
    void forget(int packageId) { remember(packageId, QString()); }

private:
    const DatabaseFile &m_file;
};

} // namespace Kavo::Models
