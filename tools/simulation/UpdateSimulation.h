#pragma once

#include "packages/model/Package.h"
#include "tools/check/ArchiveFolder.h"
#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"
#include "tools/simulation/LogHold.h"
#include "tools/simulation/ScratchSimulator.h"

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>

#include <vector>

namespace Kavo::Tools {

/// Simulates what users will do with the clients' engine: installs each version of each package
/// into an empty simulator and over each older version. Packages are tried one by one, without
/// their dependencies. An update should leave the same files as an installation of the newer
/// version, except for files that its rules preserve.
///
/// Writes nothing outside of a temporary folder, which is deleted with the object. Blocks; for the
/// main thread.
class UpdateSimulation final
{
public:
    /// `document` is the catalogue of the view. All arguments but the last must outlive this
    /// object.
    UpdateSimulation(const QByteArray &document, const CatalogueView &catalogue,
                     const ArchiveFolder &folder, const QString &extractor, Findings &findings);

    /// The number of installations and updates.
    int installations() const;
    int updates() const;

    /// Runs all of them, unless a signal asks the program to end (EndRequest).
    void run();

    /// What could not be tried on this machine and why, one sentence each.
    const QStringList &untried() const { return m_untried; }

private:
    struct Version
    {
        const VersionView *view;
        Models::PackageVersionPointer version;
        QString archive;
        QString name; ///< name of the file that clients store the archive in
        bool isInstalled = false;
        QSet<QString> files;   ///< files after an installation alone
        QStringList originals; ///< originals that it leaves in place
    };
    struct Candidate
    {
        Models::PackagePointer package;
        std::vector<Version> versions; ///< newest first
        QStringList originals;         ///< files of the simulator that some versions replace
    };

    static bool isOlder(const Version &older, const Version &newer);
    QStringList originalsOf(const Candidate &candidate) const;
    void tryPackage(Candidate &candidate);
    void tryInstallation(const Candidate &candidate, Version &version);
    void tryUpdates(const Candidate &candidate, const Version &older);
    void tryUpdate(const Candidate &candidate, const Version &older, const Version &newer);
    void compare(const Version &older, const Version &newer);
    bool install(const Candidate &candidate, const Version &version, Rule rule,
                 const QString &situation);
    QString explained(const Models::FailureReason &reason) const;

    Findings &m_findings;
    QString m_extractor;
    LogHold m_log;
    ScratchSimulator m_simulator;
    std::vector<Candidate> m_candidates;
    QStringList m_untried;
};

} // namespace Kavo::Tools
