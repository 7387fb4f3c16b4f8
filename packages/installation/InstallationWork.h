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

/// One version of one package on its way into the simulator: the single record of how far it is.
///
///     STARTING -> PREPARING -> DOWNLOADING -> QUEUED -> RUNNING -> REPLACING -> INSTALLED
///                      |           |            |          '-----------'-----> INSTALL_FAILED
///                      |           |            '----------------------------> DEPENDENCY_FAILED
///                      '-----------'-----------------------------------------> DOWNLOAD_FAILED
///
/// moveTo() is the only way from phase to phase. It sets the state of every object that stands for
/// the package: the one that was asked for and, after refreshes, the new ones with its id. Version
/// and rules are those of the catalogue that the work began with.
///
/// Follows its download until the archive is complete or an error came, and keeps the download, so
/// that the archive's path stays its own. Main thread.
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
        REPLACING, ///< the same, about to remove the version before
        INSTALLED,
        INSTALL_FAILED,
        DOWNLOAD_FAILED,
        DEPENDENCY_FAILED,
    };

    InstallationWork(const PackagePointer &package, const PackageVersionPointer &version,
                     const QSharedPointer<Download> &download, Clock clock);

    int packageId() const { return package()->id(); }
    /// The object that the work began with.
    const PackagePointer &package() const { return m_shownBy.first(); }
    const PackageVersionPointer &version() const { return m_version; }
    const QSharedPointer<Download> &download() const { return m_download; }
    /// Whether this version has a dependency entry for the package.
    bool needs(int packageId) const;

    Phase phase() const { return m_phase; }
    bool isEnded() const;
    /// Does nothing once the work has ended.
    void moveTo(Phase phase);
    /// Moves to the end that the task has come to.
    void end(const InstallationResult &result);
    /// What became of the task; nothing is touched before it has ended.
    const InstallationResult &result() const { return m_result; }
    /// How far the download is. What the work waits for only the queue knows.
    WorkProgress progress() const;

    /// Has another object of the same package show the work, too.
    void showBy(const PackagePointer &package);

    /// The claim is kept until somebody takes it or the work is destroyed.
    void keepArchive(ArchiveClaim claim) { m_archive = std::move(claim); }
    ArchiveClaim takeArchive() { return std::move(m_archive); }

signals:
    /// After every moveTo() that did something. All states are set by then.
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
/// What is on its way, by package id.
using InstallationWorks = QMap<int, InstallationWorkPointer>;

} // namespace Kavo::Models
