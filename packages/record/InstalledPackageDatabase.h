#pragma once

#include "core/DatabaseFile.h"
#include "packages/model/Package.h"
#include "packages/record/WholeVersions.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

namespace Kavo::Models {

/// Remembers across runs which packages are installed and in which version: the file
/// "packages.db". Where it knows nothing of a package, the package's own version file in the
/// simulator folder is read; markInstalled() takes what it says into the database.
///
/// A row names the version that is on its way as soon as one is. Which version is wholly on the
/// disk stands beside it (WholeVersions), so that work that has ended before it removed anything
/// leaves the version before installed.
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

    /// Stores the package's state at this moment together with the version text. An INSTALLED
    /// version is known to be whole from then on.
    void record(const Package &package, const QString &version);

    /// To be called before the first file of the package goes: no version of it is known to be
    /// whole any more. On the disk when it returns.
    void forgetWhole(const Package &package);

    /// The first half of markInstalled(), which reads a file for each package and may be done ahead
    /// for some packages at a time: records what the version files of those tell that have no
    /// record. `recorded` are the ids that are known to have one.
    void adoptVersionFiles(const PackageList &packages, const QSet<int> &recorded);
    /// The other half, for all packages in one go: a work that ends meanwhile would be missed.
    void applyRecords(const PackageList &packages, const QSet<int> &concerned);
    /// The ids that have a record.
    QSet<int> recordedIds() const;

    /// For all packages of a new catalogue: those that are installed by the record or by their
    /// version file become INSTALLED and learn whether an update is there; so do those of which a
    /// version is known to be whole whatever became of later work. What the record does not say is
    /// recorded. The latter does not hold for the ids `concerned` by work that is going on.
    void markInstalled(const PackageList &packages, const QSet<int> &concerned = {});

    /// The recorded state; UNKNOWN while the database is not open. Without a record INSTALLED if
    /// there is a version file, else NotRecorded.
    int status(const Package &package) const;

    /// Whether files of a package that is not on offer may be in the simulator: there is a record,
    /// and not of a removal. True while the database is not open.
    bool mayBeThere(int packageId) const;

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
