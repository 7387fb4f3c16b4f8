#include "tools/simulation/UpdateSimulation.h"

#include "tools/check/ClientVersion.h"
#include "tools/check/ShippedFiles.h"
#include "tools/check/StoredArchive.h"
#include "tools/simulation/EndRequest.h"

#include <algorithm>

namespace Kavo::Tools {

using Models::FailureReason;

namespace {

SomePaths someOf(QStringList paths)
{
    SomePaths some;
    paths.sort();
    for (const QString &path : qAsConst(paths))
        some.add(path);
    return some;
}

/// Who is responsible for a failed installation.
enum class Told {
    ALREADY, ///< the check of catalogue and archive reports it already
    USER,    ///< this machine, not the catalogue
    FINDING,
};

Told toBeTold(FailureReason::Kind kind)
{
    using Kind = FailureReason::Kind;
    switch (kind) {
    case Kind::NONE:
    case Kind::FOLDER_OUTSIDE:
    case Kind::ARCHIVE_MISSING:
    case Kind::ARCHIVE_UNREADABLE:
    case Kind::ARCHIVE_ENCRYPTED:
    case Kind::ENTRY_LEADS_OUT:
    case Kind::SIZE_DIFFERS:
    case Kind::CHECKSUM_DIFFERS:
        return Told::ALREADY;
    case Kind::SIMULATOR_MISSING:
    case Kind::EXTRACTOR_MISSING:
    case Kind::ROOM_MISSING:
        return Told::USER;
    case Kind::COPY_FAILED:
    case Kind::UNPACKING_FAILED:
        return Told::FINDING;
    }
    Q_UNREACHABLE();
}

} // namespace

UpdateSimulation::UpdateSimulation(const QByteArray &document, const CatalogueView &catalogue,
                                   const ArchiveFolder &folder, const QString &extractor,
                                   Findings &findings)
    : m_findings(findings)
    , m_extractor(extractor)
    , m_simulator(extractor)
{
    for (const PackageView &view : catalogue.packages()) {
        Candidate candidate;
        candidate.package = Models::PackagePointer::create();
        candidate.package->setId(view.id);
        QVector<Models::PackageVersionPointer> versions;
        for (const VersionView &version : view.versions) {
            const Models::PackageVersionPointer read = ClientVersion(document, version).version();
            const QString archive = folder.find(read->link).path;
            if (archive.isEmpty())
                continue;
            candidate.versions.push_back(
                {&version, read, archive, ArchiveFolder::fileNameOf(read->link), false, {}, {}});
            versions.append(read);
        }
        std::stable_sort(
            candidate.versions.begin(), candidate.versions.end(),
            [](const Version &first, const Version &second) { return isOlder(second, first); });
        Models::sortNewestFirst(versions);
        candidate.package->setVersions(versions);
        if (!candidate.versions.empty())
            m_candidates.push_back(std::move(candidate));
    }
}

bool UpdateSimulation::isOlder(const Version &older, const Version &newer)
{
    return Models::compareVersions(older.version->version, newer.version->version) < 0;
}

int UpdateSimulation::installations() const
{
    int count = 0;
    for (const Candidate &candidate : m_candidates)
        count += static_cast<int>(candidate.versions.size());
    return count;
}

int UpdateSimulation::updates() const
{
    int count = 0;
    for (const Candidate &candidate : m_candidates) {
        for (const Version &older : candidate.versions)
            count += static_cast<int>(
                std::count_if(candidate.versions.cbegin(), candidate.versions.cend(),
                              [&older](const Version &newer) { return isOlder(older, newer); }));
    }
    return count;
}

void UpdateSimulation::run()
{
    for (Candidate &candidate : m_candidates) {
        if (EndRequest::signal() != 0)
            return;
        candidate.originals = originalsOf(candidate);
        tryPackage(candidate);
        candidate.versions.clear();
    }
}

/// A simulator has a file for every backup that an archive replaces. Without it the engine would
/// treat the add-on's file as the original.
QStringList UpdateSimulation::originalsOf(const Candidate &candidate) const
{
    QSet<QString> places;
    for (const Version &version : candidate.versions) {
        for (const QString &place : ClientVersion::placesIn(version.version->install->backup))
            places.insert(place);
    }
    QStringList originals;
    for (const Version &version : candidate.versions) {
        if (places.isEmpty())
            break;
        const auto target = ClientVersion(version.version).extractFolder();
        const StoredArchive archive(version.archive, m_extractor);
        if (!target || archive.wayOut())
            continue;
        const ShippedFiles shipped(archive.listing(), *target);
        for (const QString &place : places.values()) {
            if (shipped.kindOf(place) == ShippedFiles::Kind::FILE && places.remove(place))
                originals.append(place);
        }
    }
    // Sorted, so that of a file and a path below it the same one exists each time.
    originals.sort();
    return originals;
}

/// From the newest one: the target of an update has been installed alone before.
void UpdateSimulation::tryPackage(Candidate &candidate)
{
    for (Version &version : candidate.versions) {
        if (EndRequest::signal() != 0)
            return;
        tryInstallation(candidate, version);
        if (version.isInstalled)
            tryUpdates(candidate, version);
    }
}

void UpdateSimulation::tryInstallation(const Candidate &candidate, Version &version)
{
    if (!m_simulator.reset()) {
        m_untried.append(QStringLiteral("no simulator could be made to try version \"%1\" in")
                             .arg(version.version->version));
        return;
    }
    for (const QString &place : candidate.originals)
        m_simulator.putOriginal(place);
    version.isInstalled = install(candidate, version, Rule::INSTALLATION_FAILS, QString());
    if (!version.isInstalled)
        return;
    version.files = m_simulator.files();
    for (const QString &place : candidate.originals) {
        if (m_simulator.hasOriginal(place))
            version.originals.append(place);
    }
}

void UpdateSimulation::tryUpdates(const Candidate &candidate, const Version &older)
{
    std::vector<const Version *> newer;
    for (const Version &version : candidate.versions) {
        if (version.isInstalled && isOlder(older, version))
            newer.push_back(&version);
    }
    // The last one may use the existing state.
    bool isReady = newer.size() < 2 || m_simulator.keep();
    for (std::size_t position = 0; position < newer.size(); ++position) {
        if (EndRequest::signal() != 0)
            return;
        isReady = isReady && (position == 0 || m_simulator.restore());
        if (isReady)
            tryUpdate(candidate, older, *newer[position]);
        else
            m_untried.append(QStringLiteral("version \"%1\" could not be copied to update it")
                                 .arg(older.version->version));
    }
}

void UpdateSimulation::tryUpdate(const Candidate &candidate, const Version &older,
                                 const Version &newer)
{
    const QString situation = QStringLiteral("Over \"%1\": ").arg(older.version->version);
    if (install(candidate, newer, Rule::UPDATE_FAILS, situation))
        compare(older, newer);
}

void UpdateSimulation::compare(const Version &older, const Version &newer)
{
    const QSet<QString> files = m_simulator.files();
    const QStringList kept = ClientVersion::placesIn(newer.version->install->preserve);
    QSet<QString> left = files - newer.files - QSet<QString>(kept.cbegin(), kept.cend());
    for (const QString &place : newer.originals) {
        if (files.contains(place) && !m_simulator.hasOriginal(place))
            left.insert(place);
    }
    if (!left.isEmpty())
        m_findings.add(Rule::UPDATE_LEFT_OVER, *newer.view->node,
                       QStringLiteral("Of \"%1\" there stays ").arg(older.version->version) +
                           someOf(left.values()).text() + QLatin1Char('.'));
    const QSet<QString> lost = newer.files - files;
    if (!lost.isEmpty())
        m_findings.add(Rule::UPDATE_LACKS_FILE, *newer.view->node,
                       QStringLiteral("Over \"%1\" there is not ").arg(older.version->version) +
                           someOf(lost.values()).text() + QLatin1Char('.'));
}

bool UpdateSimulation::install(const Candidate &candidate, const Version &version, Rule rule,
                               const QString &situation)
{
    m_log.clear();
    const Models::InstallationResult result =
        m_simulator.install(candidate.package, version.version, version.archive, version.name);
    if (result.succeeded)
        return true;
    const QString explanation = situation + explained(result.reason);
    switch (toBeTold(result.reason.kind())) {
    case Told::ALREADY:
        break;
    case Told::USER:
        m_untried.append(QStringLiteral("version \"%1\" could not be tried: %2")
                             .arg(version.version->version, explanation));
        break;
    case Told::FINDING:
        m_findings.add(rule, *version.view->node, explanation);
        break;
    }
    return false;
}

/// The text of the log, which is not shown here.
QString UpdateSimulation::explained(const FailureReason &reason) const
{
    const QString complaint = m_log.complaint();
    QString text = reason.kind() == FailureReason::Kind::UNPACKING_FAILED
                       ? QStringLiteral("7-Zip could not unpack the archive. ") + complaint
                       : reason.logText();
    return text.remove(m_simulator.folder()).trimmed();
}

} // namespace Kavo::Tools
