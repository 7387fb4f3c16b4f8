#pragma once

#include "core/DatabaseFile.h"
#include "packages/Package.h"

#include <QHash>
#include <QString>

#include <optional>

namespace Kavo::Models {

/// Remembers across runs which packages are installed and in which version: the file
/// "packages.db". Where it knows nothing of a package, the package's own version file in the
/// simulator folder is read; markInstalled() takes what it says into the database.
///
/// Failing statements are logged and otherwise ignored; while the file is not open nothing is
/// written. Main thread.
class InstalledPackageDatabase final
{
public:
    /// What status() returns for a package of which neither the database nor the disk knows.
    static constexpr int NotRecorded = -1;

    explicit InstalledPackageDatabase(const QString &installationFolder);

    /// Does nothing when it is open already.
    void open();
    /// Closes and deletes the file.
    void reset();

    /// Stores the package's state at this moment together with the version text.
    void record(const Package &package, const QString &version);

    /// For all packages of a new catalogue: those that are installed by the record or by their
    /// version file become INSTALLED and learn whether an update is there. What only a version
    /// file says is recorded.
    void markInstalled(const PackageList &packages);

    /// The recorded state; UNKNOWN while the database is not open. Without a record INSTALLED if
    /// there is a version file, else NotRecorded.
    int status(const Package &package) const;

    /// The recorded version text, or else that of the version file; empty when neither has one.
    /// It is also kept for packages that are not installed.
    QString version(const Package &package) const;

private:
    struct Record
    {
        int status;
        QString version;
    };

    std::optional<bool> isRecorded(const Package &package) const;
    QHash<qint64, Record> records() const;
    QString versionFile(const Package &package) const;
    QString adoptVersionFile(Package &package);

    QString m_installationFolder;
    DatabaseFile m_file;
};

} // namespace Kavo::Models
