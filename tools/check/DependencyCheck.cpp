#include "tools/check/DependencyCheck.h"

#include "tools/check/VersionNumber.h"

#include <QSet>

#include <algorithm>

namespace Kavo::Tools {

using Models::DependencyEntry;

namespace {

/// The first entry that names a package.
const JsonNode *entryFor(const VersionView &version, int id)
{
    for (const JsonNode &entry : JsonChildren(arrayIn(version.node, QLatin1String("depends")))) {
        const QString text = entry.text();
        if (!text.isEmpty() && DependencyEntry::parse(text).packageId == id)
            return &entry;
    }
    return nullptr;
}

} // namespace

DependencyCheck::DependencyCheck(const CatalogueView &catalogue, Findings &findings)
    : m_catalogue(catalogue)
    , m_findings(findings)
    , m_graph(catalogue)
{}

void DependencyCheck::check()
{
    for (std::size_t package = 0; package < m_catalogue.packages().size(); ++package) {
        for (const VersionView &version : m_catalogue.packages()[package].versions)
            checkVersion(static_cast<int>(package), version);
    }
    checkCircles();
}

void DependencyCheck::checkVersion(int package, const VersionView &version)
{
    std::vector<Need> needs;
    QSet<int> known;
    for (const JsonNode &node : JsonChildren(arrayIn(version.node, QLatin1String("depends")))) {
        const Need need = look(node);
        if (need.id == 0)
            continue;
        if (known.contains(need.id))
            m_findings.add(Rule::DEPENDENCY_TWICE, node,
                           QStringLiteral("An entry before this one names the package, too."));
        known.insert(need.id);
        if (need.id == at(package).id)
            m_findings.add(Rule::DEPENDENCY_ITSELF, node,
                           QStringLiteral("The entry names the package that it belongs to."));
        else if (need.package >= 0)
            needs.push_back(need);
    }
    checkLast(needs);
    if (&version != at(package).newestVersion())
        checkWayBack(package, needs);
}

/// Equal entries have equal results.
DependencyCheck::Need DependencyCheck::look(const JsonNode &node)
{
    const QString text = node.text();
    const auto known = m_faultless.constFind(text);
    if (known != m_faultless.constEnd())
        return {&node, known->id, known->package};
    if (text.isEmpty()) {
        m_findings.add(Rule::DEPENDENCY_EMPTY, node,
                       node.isText() ? QStringLiteral("The entry is empty.")
                                     : QStringLiteral("Clients read this as an empty entry."));
        return {};
    }
    const DependencyEntry entry = DependencyEntry::parse(text);
    if (entry.packageId == 0) {
        m_findings.add(
            Rule::DEPENDENCY_NOT_A_NUMBER, node,
            QStringLiteral("\"%1\" does not begin with the number of a package.").arg(text));
        return {};
    }
    const Need need{&node, entry.packageId, m_catalogue.find(entry.packageId)};
    const bool isWellFormed = checkForm(node, text, entry);
    if (checkOffer(need, entry) && isWellFormed)
        m_faultless.insert(text, need);
    return need;
}

/// Returns whether nothing was found.
bool DependencyCheck::checkForm(const JsonNode &node, const QString &text,
                                const DependencyEntry &entry)
{
    const QString &minimum = entry.requiredVersion;
    const VersionNumber read = readVersionNumber(minimum);
    const bool hasThirdPart = text.count(QLatin1Char(':')) > 1;
    if (!minimum.isEmpty() && read.number.isNull())
        m_findings.add(Rule::DEPENDENCY_MINIMUM_IGNORED, node,
                       QStringLiteral("\"%1\" does not begin with a number.").arg(minimum));
    else if (read.end != minimum.size())
        m_findings.add(Rule::DEPENDENCY_END_IGNORED, node,
                       QStringLiteral("Of the minimum \"%1\" the end \"%2\" does not count.")
                           .arg(minimum, minimum.mid(read.end)));
    if (hasThirdPart)
        m_findings.add(
            Rule::DEPENDENCY_END_IGNORED, node,
            QStringLiteral("What follows the second colon of \"%1\" does not count.").arg(text));
    return read.end == minimum.size() && !hasThirdPart;
}

/// Returns whether nothing was found.
bool DependencyCheck::checkOffer(const Need &need, const DependencyEntry &entry)
{
    if (need.package < 0) {
        m_findings.add(
            Rule::DEPENDENCY_UNKNOWN_PACKAGE, *need.node,
            QStringLiteral("There is no package %1 in the catalogue.").arg(entry.packageId));
        return false;
    }
    const PackageView &package = at(need.package);
    const VersionView *const newest = package.newestVersion();
    const bool isTooOld = newest && !entry.isMetBy(newest->version);
    if (isTooOld)
        m_findings.add(Rule::DEPENDENCY_MINIMUM_NOT_OFFERED, *need.node,
                       QStringLiteral("The newest version of %1 is \"%2\".")
                           .arg(package.label(), newest->version));
    else if (!m_graph.isInstallable(need.package))
        m_findings.add(Rule::DEPENDENCY_NOT_INSTALLABLE, *need.node,
                       newest ? QStringLiteral("%1 needs something that cannot be installed.")
                                    .arg(package.label())
                              : QStringLiteral("%1 has no version.").arg(package.label()));
    return !isTooOld && m_graph.isInstallable(need.package);
}

/// Clients only wait for the last entry.
void DependencyCheck::checkLast(const std::vector<Need> &needs)
{
    if (needs.size() < 2)
        return;
    const Need &last = needs.back();
    for (auto need = needs.cbegin(); need + 1 != needs.cend(); ++need) {
        if (need->package == last.package)
            continue;
        const std::vector<int> way = m_graph.way(need->package, last.package);
        if (way.empty())
            continue;
        m_findings.add(Rule::DEPENDENCY_LAST_DECIDES, *last.node,
                       QStringLiteral("%1, which stands before it, is installed after it: %2.")
                           .arg(at(need->package).label(), names(way)));
        return;
    }
}

/// A version that is not the newest is not part of a circle itself, but may lead into one.
void DependencyCheck::checkWayBack(int package, const std::vector<Need> &needs)
{
    for (const Need &need : needs) {
        std::vector<int> way = m_graph.way(need.package, package);
        if (way.empty())
            continue;
        way.insert(way.begin(), package);
        m_findings.add(Rule::DEPENDENCY_CIRCLE, *need.node, names(way) + QLatin1Char('.'));
        return;
    }
}

void DependencyCheck::checkCircles()
{
    for (const std::vector<int> &circle : m_graph.circles()) {
        const int first = circle.front();
        const std::vector<int> way = m_graph.way(first, first);
        if (way.size() < 2)
            continue;
        const JsonNode *const entry = entryFor(*at(first).newestVersion(), at(way[1]).id);
        m_findings.add(Rule::DEPENDENCY_CIRCLE, *entry, names(way) + QLatin1Char('.'));
    }
}

/// "A needs B needs C".
QString DependencyCheck::names(const std::vector<int> &packages) const
{
    QStringList labels;
    for (const int package : packages)
        labels.append(at(package).label());
    return labels.join(QStringLiteral(" needs "));
}

const PackageView &DependencyCheck::at(int package) const
{
    return m_catalogue.packages()[static_cast<std::size_t>(package)];
}

} // namespace Kavo::Tools
