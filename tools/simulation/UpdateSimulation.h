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

/// Tries what users will do: installs each version of each package where nothing is installed, and
/// over each older version of the package, with the engine of clients. Packages are tried one by
/// one, without those that they need. An update is to leave what an installation of the newer
/// version leaves, but for files that its rules keep.
///
/// Writes nothing outside of a temporary folder, which is gone when the object is. Blocks; for the
/// main thread.
class UpdateSimulation final
{
public:
    /// `document` is the catalogue that the view is of. All but the latter are to live as long as
    /// the simulation.
    UpdateSimulation(const QByteArray &document, const CatalogueView &catalogue,
                     const ArchiveFolder &folder, const QString &extractor, Findings &findings);

    /// How many there are to be tried.
    int installations() const;
    int updates() const;

    /// Tries all of them, unless a signal asks the program to end (EndRequest).
    void run();

    /// What of it could not be tried on this machine, and why: a sentence each.
    const QStringList &untried() const { return m_untried; }

private:
    struct Version
    {
        const VersionView *view;
        Models::PackageVersionPointer version;
        QString archive;
        QString name; ///< of the file that clients make of the archive
        bool isInstalled = false;
        QSet<QString> files;   ///< where only this is installed
        QStringList originals; ///< those of them that it leaves alone
    };
    struct Candidate
    {
        Models::PackagePointer package;
        std::vector<Version> versions; ///< newest first
        QStringList originals;         ///< files of the simulator that some of them replace
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
