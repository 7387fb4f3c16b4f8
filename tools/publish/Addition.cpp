#include "tools/publish/Addition.h"
#include "tools/check/ClientVersion.h"

#include "tools/check/CatalogueCheck.h"
#include "tools/publish/ArchiveAddress.h"
#include "tools/publish/CatalogueEditor.h"
#include "tools/publish/RemovalRules.h"

#include <QSet>

#include <algorithm>
#include <utility>

namespace Kavo::Tools {

namespace {

/// Whether a finding of this rule makes it doubtful what clients read. Rules about versions matter
/// only for the package of the new version.
bool isDoubtful(const Finding &finding, const QString &package)
{
    const RuleText &rule = describe(finding.rule);
    const QString name = QString::fromLatin1(rule.name);
    const QString kind = name.section(QLatin1Char('/'), 0, 0);
    if (rule.severity != Severity::ERROR)
        return false;
    if (kind == QLatin1String("version"))
        return !package.isEmpty() && finding.pointer.startsWith(package + QLatin1Char('/'));
    return kind == QLatin1String("json") || kind == QLatin1String("key") ||
           kind == QLatin1String("type") || kind == QLatin1String("id");
}

template<typename Predicate>
CheckReport filtered(const CheckReport &report, Predicate isWanted)
{
    std::vector<Finding> wanted;
    std::copy_if(report.findings().cbegin(), report.findings().cend(), std::back_inserter(wanted),
                 isWanted);
    return CheckReport(std::move(wanted), 0);
}

bool saysMoreThanId(const PackageDraft &package)
{
    return !package.name.isEmpty() || !package.description.isEmpty() ||
           !package.shortDescription.isEmpty() || !package.icon.isEmpty() ||
           !package.type.isEmpty();
}

QStringList textsIn(const JsonNode *array)
{
    QStringList texts;
    for (const JsonNode &element : JsonChildren(array))
        texts.append(element.text());
    return texts;
}

} // namespace

Addition::Addition(const QByteArray &catalogue, AdditionOrder order)
    : m_catalogue(catalogue)
    , m_order(std::move(order))
    , m_tree(catalogue)
    , m_view(m_tree.root())
    , m_before(checkCatalogue(catalogue))
    , m_package(m_view.find(m_order.package.id))
{}

Addition::Outcome Addition::prepare()
{
    Outcome outcome = checkCatalogueBefore();
    if (outcome == Outcome::GOOD)
        outcome = checkOrder();
    return outcome == Outcome::GOOD ? checkVersionIsNew() : outcome;
}

Addition::Outcome Addition::carryOut(const ArchiveLook &archive)
{
    describeVersion(archive);
    if (m_version.link.isEmpty())
        return end(Outcome::NOT_UNDERSTOOD,
                   QStringLiteral("The address of the archive cannot be told from another version; "
                                  "--link or --link-prefix says it."));
    const TextEdit change = edit();
    m_result = change.appliedTo(m_catalogue);
    return checkResult(change);
}

QString Addition::packageLabel() const
{
    return package()
               ? package()->label()
               : QStringLiteral("\"%1\" (%2)").arg(m_order.package.name).arg(m_order.package.id);
}

Addition::Outcome Addition::end(Outcome outcome, const QString &fault)
{
    m_fault = fault;
    return outcome;
}

Addition::Outcome Addition::checkCatalogueBefore()
{
    const QString pointer = package() ? package()->node->pointer() : QString();
    m_findings = filtered(
        m_before, [&pointer](const Finding &finding) { return isDoubtful(finding, pointer); });
    if (m_findings.findings().empty())
        return Outcome::GOOD;
    return end(Outcome::REFUSED,
               QStringLiteral("It is doubtful what clients read in this catalogue."));
}

Addition::Outcome Addition::checkOrder()
{
    if (package() && saysMoreThanId(m_order.package))
        return end(Outcome::NOT_UNDERSTOOD,
                   QStringLiteral("%1 is in the catalogue already; what is said of the package is "
                                  "for a new one.")
                       .arg(package()->label()));
    if (!package() && m_order.package.name.isEmpty())
        return end(
            Outcome::NOT_UNDERSTOOD,
            QStringLiteral("There is no package %1 in the catalogue; a new one needs --name.")
                .arg(m_order.package.id));
    if (!versionBefore() && !m_order.extract)
        return end(Outcome::NOT_UNDERSTOOD,
                   QStringLiteral("There is no version before this one that says where the archive "
                                  "is unpacked; --extract says it."));
    return Outcome::GOOD;
}

Addition::Outcome Addition::checkVersionIsNew()
{
    const QVersionNumber number = QVersionNumber::fromString(m_order.version);
    if (number.isNull())
        return end(Outcome::NOT_UNDERSTOOD,
                   QStringLiteral("\"%1\" is no version of dotted numbers.").arg(m_order.version));
    if (!package())
        return Outcome::GOOD;
    const auto &versions = package()->versions;
    const auto same =
        std::find_if(versions.cbegin(), versions.cend(), [&number](const VersionView &version) {
            return QVersionNumber::compare(version.number, number) == 0;
        });
    if (same == versions.cend())
        return Outcome::GOOD;
    return end(
        Outcome::REFUSED,
        QStringLiteral("%1 has version \"%2\" already.").arg(package()->label(), same->version));
}

const PackageView *Addition::package() const
{
    return m_package < 0 ? nullptr : &m_view.packages()[static_cast<std::size_t>(m_package)];
}

/// The newest of the older versions, null if there is none.
const VersionView *Addition::versionBefore() const
{
    const VersionView *before = nullptr;
    if (!package())
        return before;
    const QVersionNumber number = QVersionNumber::fromString(m_order.version);
    for (const VersionView &version : package()->versions) {
        const bool isOlder = QVersionNumber::compare(version.number, number) < 0;
        if (isOlder && (!before || QVersionNumber::compare(version.number, before->number) > 0))
            before = &version;
    }
    return before;
}

QString Addition::link(const QString &fileName) const
{
    if (m_order.link)
        return *m_order.link;
    if (m_order.linkPrefix)
        return addressIn(*m_order.linkPrefix, fileName);
    const VersionView *const newest = package() ? package()->newestVersion() : nullptr;
    return newest ? addressBeside(newest->link(), newest->version, fileName) : QString();
}

/// A given value is used; an empty text means an empty list.
QStringList Addition::carried(const std::optional<QStringList> &said, QLatin1String object,
                              QLatin1String key) const
{
    QStringList texts;
    if (said)
        texts = *said;
    else if (const VersionView *const before = versionBefore())
        texts =
            textsIn(object.isEmpty() ? arrayIn(before->node, key) : before->entries(object, key));
    texts.removeAll(QString());
    return texts;
}

void Addition::describeVersion(const ArchiveLook &archive)
{
    const VersionView *const before = versionBefore();
    const JsonNode *const install =
        before ? before->node->member(QLatin1String("install")) : nullptr;
    m_version = Models::PackageVersion();
    m_version.version = m_order.version;
    m_version.link = link(archive.fileName());
    m_version.size = archive.size();
    m_version.sha256 = archive.sha256();
    m_version.depends = carried(m_order.depends, QLatin1String(), QLatin1String("depends"));
    m_version.log = m_order.log;
    m_version.install->extract =
        m_order.extract ? *m_order.extract
                        : readText(install ? install->member(QLatin1String("extract")) : nullptr);
    m_version.install->preserve =
        carried(m_order.preserve, QLatin1String("install"), QLatin1String("preserve"));
    m_version.install->backup =
        carried(m_order.backup, QLatin1String("install"), QLatin1String("backup"));
    m_version.uninstall->remove = removalRules(archive);
}

QStringList Addition::removalRules(const ArchiveLook &archive)
{
    if (m_order.remove)
        return carried(m_order.remove, QLatin1String(), QLatin1String());
    const VersionView *const before = versionBefore();
    const PackagePaths others(m_view, m_package);
    RemovalRules rules(others, before ? ClientVersion::placesIn(before->entries(
                                            QLatin1String("uninstall"), QLatin1String("remove")))
                                      : QStringList());
    const QStringList entries = rules.entriesFor(archive.listing(), m_version.install->extract);
    m_undecided = rules.undecidedFolders();
    return entries;
}

TextEdit Addition::edit() const
{
    const CatalogueEditor editor(m_tree);
    const auto &packages = m_view.packages();
    const PackageView *const other = packages.empty() ? nullptr : &packages.back();
    const PackageView *const likePackage = package() ? package() : other;
    const VersionView *const newest = likePackage ? likePackage->newestVersion() : nullptr;
    const VersionView *const like = versionBefore() ? versionBefore() : newest;
    const JsonDraft version = arrangedAs(like ? like->node : nullptr, draftOf(m_version));
    if (package())
        return editor.addVersion(*package(), QVersionNumber::fromString(m_order.version), version);
    return editor.addPackage(m_order.package.id, arrangedAs(other ? other->node : nullptr,
                                                            draftOf(m_order.package, version)));
}

/// Findings that existed before are not reported.
Addition::Outcome Addition::checkResult(const TextEdit &edit)
{
    QSet<QPair<int, int>> known;
    for (const Finding &finding : m_before.findings())
        known.insert({static_cast<int>(finding.rule), finding.offset});
    m_findings = filtered(checkCatalogue(m_result), [&known, &edit](const Finding &finding) {
        const QPair<int, int> place(static_cast<int>(finding.rule), edit.before(finding.offset));
        return edit.isNew(finding.offset) || !known.contains(place);
    });
    if (m_findings.count(Severity::ERROR) == 0)
        return Outcome::GOOD;
    m_findings = filtered(m_findings, [](const Finding &finding) {
        return describe(finding.rule).severity == Severity::ERROR;
    });
    return end(Outcome::REFUSED, QStringLiteral("With this version the catalogue would be wrong."));
}

} // namespace Kavo::Tools
