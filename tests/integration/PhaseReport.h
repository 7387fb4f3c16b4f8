#pragma once

#include "packages/installation/PackageFiles.h"
#include "packages/model/Package.h"

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QVector>

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Testing {

/// Announces the phases of package management on standard output, one line "phase NAME" each:
///
///     starting, header, downloading, queued, preserving, backing up, removing, extracting,
///     restoring, recording, uninstalling
///
/// The phases are derived from the states of the packages, the lines of the log, and the files on
/// the disk. Main thread, except for announce() and readLog(), which any thread may call.
class PhaseReport final : public QObject
{
    Q_OBJECT

public:
    PhaseReport(Controllers::PackageController &controller, Models::PackageFolders folders);

    /// Begins to observe all packages of the catalogue.
    void followAll();
    /// Sets the version of a package that is about to be installed.
    void expect(const Models::PackagePointer &package,
                const Models::PackageVersionPointer &version);

    void announce(const QString &phase);
    /// Evaluates one line of the program's log.
    void readLog(const QString &line);

private:
    void onState(int id, Models::Package::State state);
    void look();
    QString phaseBeforeExtraction() const;
    bool areCopied(const QStringList &entries, const QString &folder) const;

    Controllers::PackageController &m_controller;
    Models::PackageFolders m_folders;
    QHash<int, Models::PackageVersionPointer> m_expected; ///< by package id
    QHash<int, QString> m_archives;                       ///< by package id
    QVector<int> m_waiting; ///< ids of packages with complete archives
    QMutex m_mutex;         ///< of the following members
    QString m_phase;
    QString m_unpacking; ///< log line that names the archive being unpacked
};

} // namespace Kavo::Testing
