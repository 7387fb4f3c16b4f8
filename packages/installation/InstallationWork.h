#pragma once

#include "core/Clock.h"
#include "downloads/Download.h"
#include "downloads/TransferRate.h"
#include "packages/installation/ArchiveClaim.h"
#include "packages/installation/InstallationResult.h"
#include "packages/model/Package.h"
#include "packages/model/WorkProgress.h"

#include <QMap>
#include <QObject>
#include <QSharedPointer>

namespace Kavo::Models {

/// The installation of one version of a package: the single record of its progress.
///
///     STARTING -> PREPARING -> DOWNLOADING -> QUEUED -> RUNNING -> REPLACING -> INSTALLED
///                      |           |            |          '-----------'-----> INSTALL_FAILED
///                      |           |            '----------------------------> DEPENDENCY_FAILED
///                      '-----------'-----------------------------------------> DOWNLOAD_FAILED
///
/// Only moveTo() changes the phase. It sets the state of every object of the package: the one that
/// was requested and, after refreshes, the new ones with its id. Version and rules are those of the
/// catalogue that the work began with.
///
/// The work follows its download until the archive is complete or an error occurs. It keeps the
/// download alive, so that no other download gets its path. Main thread.
class InstallationWork final : public QObject
{
    Q_OBJECT

public:
    enum class Phase {
        STARTING,
        PREPARING,
        DOWNLOADING,
        QUEUED,    ///< the archive is complete
        RUNNING,   ///< on the worker thread
        REPLACING, ///< on the worker thread, about to remove the previous version
        INSTALLED,
        INSTALL_FAILED,
        DOWNLOAD_FAILED,
        DEPENDENCY_FAILED,
    };

    InstallationWork(const PackagePointer &package, const PackageVersionPointer &version,
                     const QSharedPointer<Download> &download, Clock clock);

    int packageId() const { return package()->id(); }
    /// The package object that the work began with.
    const PackagePointer &package() const { return m_shownBy.first(); }
    const PackageVersionPointer &version() const { return m_version; }
    const QSharedPointer<Download> &download() const { return m_download; }
    /// Whether this version has a dependency entry for the package.
    bool needs(int packageId) const;

    Phase phase() const { return m_phase; }
    bool isEnded() const;
    /// Changes the phase. Does nothing after the work has ended.
    void moveTo(Phase phase);
    /// Moves to the final phase for the result of the task.
    void end(const InstallationResult &result);
    /// The result of the task; a default before it has ended.
    const InstallationResult &result() const { return m_result; }
    /// The progress of the download. Only the queue knows what the work waits for.
    WorkProgress progress() const;

    /// Adds another object of the same package whose state follows the work.
    void showBy(const PackagePointer &package);

    /// Keeps the claim until it is taken or the work is destroyed.
    void keepArchive(ArchiveClaim claim) { m_archive = std::move(claim); }
    ArchiveClaim takeArchive() { return std::move(m_archive); }

signals:
    /// Emitted after every change of phase, when all states are set.
    void moved();

private:
    void onProcessChanged(Download::Process process);
    void onError();
    void onGrown(qint64 size);

    QVector<PackagePointer> m_shownBy;
    PackageVersionPointer m_version;
    QSharedPointer<Download> m_download;
    Clock m_clock;
    Managers::TransferRate m_rate;
    ArchiveClaim m_archive;
    Phase m_phase = Phase::STARTING;
    InstallationResult m_result;
};

using InstallationWorkPointer = QSharedPointer<InstallationWork>;
/// The running work by package id.
using InstallationWorks = QMap<int, InstallationWorkPointer>;

} // namespace Kavo::Models
