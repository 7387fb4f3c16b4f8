#pragma once

#include "core/DatabaseFile.h"
#include "packages/model/Package.h"
#include "packages/record/WholeVersions.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

namespace Kavo::Models {

/// Remembers which packages are installed and in which version, in the file "packages.db". If it
/// has no record of a package, the package's own version file in the simulator folder is read;
/// markInstalled() adds its content to the database.
///
/// A row names a version as soon as its installation begins. A second table (WholeVersions) names
/// the version that is completely on the disk, so that an installation that ended before it removed
/// anything leaves the previous version installed.
///
/// Failing statements are logged and otherwise ignored. While the file is not open, nothing is
/// written. Main thread.
class InstalledPackageDatabase final
{
public:
    /// The result of status() for a package that is neither in the database nor on the disk.
    static constexpr int NotRecorded = -1;

    explicit InstalledPackageDatabase(const QString &installationFolder);

    /// Does nothing if the database is open.
    void open();
    /// Closes the database and deletes its file.
    void reset();

    /// Stores the present state of the package and the version text. An INSTALLED version counts as
    /// completely on the disk from then on.
    void record(const Package &package, const QString &version);

    /// To be called before the first file of the package is removed: no version of it counts as
    /// complete any more. The change is on the disk when the call returns.
    void forgetWhole(const Package &package);

    /// The first part of markInstalled(). It reads a file for each package and may be called in
    /// advance for some packages at a time: for those without a record it records what their
    /// version files say. `recorded` holds the ids that are known to have a record.
    void adoptVersionFiles(const PackageList &packages, const QSet<int> &recorded);
    /// The second part, for all packages at once: work that ends between two calls would be missed.
    void applyRecords(const PackageList &packages, const QSet<int> &concerned);
    /// The ids with a record.
    QSet<int> recordedIds() const;

    /// Sets the states of the packages of a new catalogue. A package becomes INSTALLED, with its
    /// update mark, if its record or its version file says so, or if a version is known to be
    /// complete whatever happened to later work. New facts are recorded. The rule about complete
    /// versions is not applied to the ids in `concerned`, which running work is about.
    void markInstalled(const PackageList &packages, const QSet<int> &concerned = {});

    /// The recorded state; UNKNOWN while the database is not open. Without a record it is INSTALLED
    /// if there is a version file, else NotRecorded.
    int status(const Package &package) const;

    /// Whether files of a package that is not in the catalogue may be in the simulator: there is a
    /// record, and not of a removal. True while the database is not open.
    bool mayBeThere(int packageId) const;

    /// The recorded version text, or else that of the version file; empty if neither exists. It is
    /// kept for packages that are not installed, too.
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
    void writeRow(const Package &package, const QString &version);
    QString adoptVersionFile(Package &package);
    void adopt(Package &package, const QString &version);
    void adoptWhole(Package &package, const QString &whole, Record &known);
    bool rememberRecorded(const Package &package, const Record &known,
                          const WholeVersions::Texts &whole);

    QString m_installationFolder;
    DatabaseFile m_file;
    WholeVersions m_wholeVersions;
};

} // namespace Kavo::Models
