#include "tools/check/ArchiveCheck.h"

#include "tools/check/ArchiveFaults.h"
#include "tools/check/ArchiveNames.h"
#include "tools/check/ArchiveRulesCheck.h"

#include <utility>

namespace Kavo::Tools {

namespace {

/// The address of a version's archive, null if clients have none to request.
const JsonNode *linkOf(const VersionView &version)
{
    const JsonNode *const link = version.node->member(QLatin1String("link"));
    return link && !ArchiveFolder::fileNameOf(link->text()).isEmpty() ? link : nullptr;
}

} // namespace

ArchiveCheck::ArchiveCheck(const QByteArray &document, const ArchiveFolder &folder,
                           QString extractor, Findings &findings)
    : m_document(document)
    , m_folder(folder)
    , m_extractor(std::move(extractor))
    , m_findings(findings)
{}

void ArchiveCheck::check(const CatalogueView &catalogue)
{
    findArchives(catalogue);
    SharedFilesCheck shared(catalogue, m_findings);
    for (int package = 0; package < static_cast<int>(catalogue.packages().size()); ++package)
        checkPackage(catalogue, package, shared);
}

void ArchiveCheck::findArchives(const CatalogueView &catalogue)
{
    for (const PackageView &package : catalogue.packages()) {
        for (const VersionView &version : package.versions) {
            const JsonNode *const link = linkOf(version);
            if (!link)
                continue;
            if (!m_paths.contains(link->text()))
                findArchive(*link);
            const QString path = m_paths.value(link->text());
            if (!path.isEmpty())
                ++m_known[path].left;
        }
    }
}

void ArchiveCheck::findArchive(const JsonNode &link)
{
    const QString address = link.text();
    const ArchiveFolder::Place place = m_folder.find(address);
    m_paths.insert(address, place.path);
    if (place.path.isEmpty()) {
        m_findings.add(Rule::ARCHIVE_MISSING, link,
                       QStringLiteral("\"%1\" is not in the folder of archives.")
                           .arg(ArchiveFolder::fileNameOf(address)));
        return;
    }
    Known &known = m_known[place.path];
    if (known.link.isEmpty())
        known.link = address;
    else
        m_findings.add(
            Rule::ARCHIVE_AMBIGUOUS, link,
            QStringLiteral("In the folder there is one file for this and %1.").arg(known.link));
}

void ArchiveCheck::checkPackage(const CatalogueView &catalogue, int package,
                                SharedFilesCheck &shared)
{
    const PackageView &view = catalogue.packages()[static_cast<std::size_t>(package)];
    ArchiveRulesCheck rules(view, m_findings);
    Groups groups;
    bool isComplete = group(view, groups);
    for (auto versions = groups.cbegin(); versions != groups.cend(); ++versions) {
        bool isNew = false;
        const auto archive = open(versions.key(), *versions, isNew);
        if (!archive) {
            isComplete = false;
            continue;
        }
        const ShippedFiles shipped(archive->listing(), versions.key().second);
        if (isNew)
            checkNames(shipped, *versions->front().link, m_findings);
        rules.remember(shipped);
        for (const Version &version : *versions) {
            rules.check(*version.view, shipped);
            shared.add(package, version.isNewest, *version.link, shipped);
        }
    }
    // An archive that is not in the folder may contain what the others lack.
    if (isComplete)
        rules.finish();
    shared.finishPackage();
}

bool ArchiveCheck::group(const PackageView &package, Groups &groups) const
{
    bool isComplete = true;
    for (const VersionView &view : package.versions) {
        const JsonNode *const link = linkOf(view);
        const QString path = link ? m_paths.value(link->text()) : QString();
        const ClientVersion version(m_document, view);
        const auto target = version.extractFolder();
        if (!path.isEmpty() && target)
            groups[{path, *target}].push_back(
                {&view, link, &view == package.newestVersion(), version.version()});
        else
            isComplete = false;
    }
    return isComplete;
}

std::shared_ptr<StoredArchive> ArchiveCheck::open(const Place &place,
                                                  const std::vector<Version> &versions, bool &isNew)
{
    Known &known = m_known[place.first];
    isNew = !known.archive;
    if (isNew) {
        known.archive = std::make_shared<StoredArchive>(place.first, m_extractor);
        known.isUsable = checkArchive(*known.archive, *versions.front().link, m_findings);
    }
    const auto archive = known.archive;
    for (const Version &version : versions)
        checkTold(version, *archive);
    known.left -= static_cast<int>(versions.size());
    if (known.left == 0)
        known.archive.reset();
    return known.isUsable ? archive : nullptr;
}

/// Each is reported, because a repacked archive mostly differs in both.
void ArchiveCheck::checkTold(const Version &version, StoredArchive &archive)
{
    const auto report = [this, &version](Rule rule, const char *key, const QString &message) {
        const JsonNode *const told = version.view->node->member(QLatin1String(key));
        m_findings.add(rule, told ? *told : *version.view->node, message);
    };
    Models::PackageVersion size = *version.read;
    size.sha256.clear();
    if (!archive.isThatOf(size))
        report(Rule::ARCHIVE_SIZE_DIFFERS, "size",
               QStringLiteral("The archive has %1 bytes.").arg(archive.size()));
    Models::PackageVersion checksum = *version.read;
    checksum.size.reset();
    if (!archive.isThatOf(checksum))
        report(Rule::ARCHIVE_CHECKSUM_DIFFERS, "sha256",
               QStringLiteral("The archive has %1.")
                   .arg(QString::fromLatin1(archive.digest().toHex())));
}

} // namespace Kavo::Tools
