#include "tools/check/PathCheck.h"

#include "core/SevenZipProcess.h"
#include "packages/CommonPlaces.h"
#include "packages/ContainedPath.h"

#include <QDir>

#include <algorithm>

namespace Kavo::Tools {

namespace {

/// Stands for the simulator's folder, which a catalogue knows nothing of.
const QString Simulator = QStringLiteral("/simulator");

/// The longest name of a file, in bytes.
constexpr int LongestName = 255;

QString relative(const QString &path)
{
    return path.mid(Simulator.size() + 1);
}

bool isControl(QChar character)
{
    return character.unicode() < 0x20 || character.unicode() == 0x7f;
}

} // namespace

PathCheck::PathCheck(Findings &findings) : m_findings(findings)
{
    for (const QString &place : commonPlaces())
        m_common.insert(place.toLower());
}

void PathCheck::check(const CatalogueView &catalogue)
{
    const auto &packages = catalogue.packages();
    for (std::size_t package = 0; package < packages.size(); ++package) {
        for (const VersionView &version : packages[package].versions) {
            if (version.node->isObject())
                checkVersion(static_cast<int>(package), version);
        }
    }
    checkHeldByOthers(catalogue);
}

void PathCheck::checkVersion(int package, const VersionView &version)
{
    checkExtract(package, version);
    checkList(package, version, QLatin1String("install"), QLatin1String("preserve"));
    checkList(package, version, QLatin1String("install"), QLatin1String("backup"));
    checkList(package, version, QLatin1String("uninstall"), QLatin1String("remove"));
    checkRemoval(version);
}

/// A value of another type is another finding.
void PathCheck::checkRemoval(const VersionView &version)
{
    const JsonNode *const rules = version.node->member(QLatin1String("uninstall"));
    const JsonNode *const list =
        rules && rules->isObject() ? rules->member(QLatin1String("remove")) : nullptr;
    const bool isMissing = !rules || (rules->isObject() && !list);
    if (isMissing || (list && list->isArray() && !list->firstChild))
        m_findings.add(Rule::REMOVE_NONE, isMissing ? *version.node : *list,
                       QStringLiteral("The version has no removal rule."));
}

void PathCheck::checkExtract(int package, const VersionView &version)
{
    const JsonNode *const install = version.node->member(QLatin1String("install"));
    const JsonNode *const node = install ? install->member(QLatin1String("extract")) : nullptr;
    if ((install && !install->isObject()) || (node && !node->isText()))
        return;
    const QString entry = readText(node);
    const QString inside = containedPath(Simulator, entry);
    if (!inside.isEmpty()) {
        checkSpelling(*node, entry);
        checkCase(*node, relative(inside));
        remember(package, relative(inside));
        return;
    }
    const QString clean = QDir::cleanPath(entry);
    if (clean.isEmpty() || clean == QLatin1String("."))
        m_findings.add(Rule::EXTRACT_WHOLE_SIMULATOR, node ? *node : *version.node,
                       QStringLiteral("The version names no folder to unpack into."));
    else
        m_findings.add(Rule::PATH_OUTSIDE, *node,
                       QStringLiteral("\"%1\" is no folder in the simulator's.").arg(entry));
}

void PathCheck::checkList(int package, const VersionView &version, QLatin1String object,
                          QLatin1String key)
{
    QSet<QString> known;
    for (const JsonNode &node : JsonChildren(version.entries(object, key))) {
        const QString path = node.isText() ? checkEntry(node) : QString();
        if (path.isEmpty())
            continue;
        if (known.contains(path))
            m_findings.add(Rule::PATH_TWICE, node,
                           QStringLiteral("\"%1\" stands in this list already.").arg(path));
        known.insert(path);
        checkCase(node, path);
        remember(package, path);
        if (key == QLatin1String("remove"))
            m_removed.push_back({path, package, &node});
    }
}

QString PathCheck::checkEntry(const JsonNode &node)
{
    const QString entry = node.text();
    const QString inside = containedPath(Simulator, entry);
    if (inside.isEmpty()) {
        reportOutside(node, entry);
        return QString();
    }
    checkSpelling(node, entry);
    const QString path = relative(inside);
    if (!m_common.contains(path.toLower()))
        return path;
    m_findings.add(Rule::PATH_BELONGS_TO_ALL, node,
                   QStringLiteral("\"%1\" is not the add-on's own.").arg(path));
    return QString();
}

/// Tells why clients do not follow an entry.
void PathCheck::reportOutside(const JsonNode &node, const QString &entry)
{
    const QString clean = QDir::cleanPath(entry);
    if (entry.isEmpty())
        m_findings.add(Rule::PATH_EMPTY, node, QStringLiteral("The path is empty."));
    else if (entry.contains(QChar::Null))
        m_findings.add(Rule::PATH_REFUSED_NAME, node,
                       QStringLiteral("There is a NUL character in the path."));
    else if (entry.startsWith(QLatin1Char('/')))
        m_findings.add(Rule::PATH_ABSOLUTE, node,
                       QStringLiteral("\"%1\" begins with a slash.").arg(entry));
    else if (clean == QLatin1String("."))
        m_findings.add(Rule::PATH_WHOLE_SIMULATOR, node,
                       QStringLiteral("\"%1\" is the simulator's whole folder.").arg(entry));
    else
        m_findings.add(Rule::PATH_CLIMBS, node,
                       QStringLiteral("\"%1\" leads out of the simulator's folder.").arg(entry));
}

void PathCheck::checkSpelling(const JsonNode &node, const QString &entry)
{
    if (entry.contains(QLatin1Char('\\')))
        m_findings.add(Rule::PATH_BACKSLASH, node,
                       QStringLiteral("There is a backslash in \"%1\".").arg(entry));
    if (Extractors::SevenZipProcess::isPattern(entry))
        m_findings.add(Rule::PATH_WILDCARD, node,
                       QStringLiteral("There is \"*\" or \"?\" in \"%1\".").arg(entry));
    int start = 0;
    while (start <= entry.size()) {
        const int slash = entry.indexOf(QLatin1Char('/'), start);
        const int end = slash < 0 ? entry.size() : slash;
        checkName(node, entry, entry.mid(start, end - start));
        start = end + 1;
    }
}

void PathCheck::checkName(const JsonNode &node, const QString &entry, const QString &name)
{
    if (name.endsWith(QLatin1Char(' ')))
        m_findings.add(Rule::PATH_BLANK_AT_END, node,
                       QStringLiteral("In \"%1\" a name ends in a blank.").arg(entry));
    if (name.toUtf8().size() > LongestName)
        m_findings.add(Rule::PATH_REFUSED_NAME, node,
                       QStringLiteral("A name has more than %1 bytes.").arg(LongestName));
    else if (std::any_of(name.cbegin(), name.cend(), isControl))
        m_findings.add(Rule::PATH_REFUSED_NAME, node,
                       QStringLiteral("There is a control character in a name."));
}

/// Compares each folder on the way, too.
void PathCheck::checkCase(const JsonNode &node, const QString &path)
{
    if (m_wellSpelt.contains(path))
        return;
    for (int end = path.indexOf(QLatin1Char('/'));; end = path.indexOf(QLatin1Char('/'), end + 1)) {
        const QString part = path.left(end);
        const QString &known = *m_spelt.insert(part.toLower(), m_spelt.value(part.toLower(), part));
        if (known != part) {
            m_findings.add(Rule::PATH_CASE_DIFFERS, node,
                           QStringLiteral("\"%1\" is spelt \"%2\" elsewhere.").arg(part, known));
            return;
        }
        if (end < 0)
            break;
    }
    m_wellSpelt.insert(path);
}

void PathCheck::remember(int package, const QString &path)
{
    // The versions of a package mostly name the same.
    if (m_lastPackage.value(path, -1) == package)
        return;
    m_lastPackage.insert(path, package);
    m_named.push_back({path, package});
}

void PathCheck::checkHeldByOthers(const CatalogueView &catalogue)
{
    std::sort(m_named.begin(), m_named.end(), [](const Named &first, const Named &second) {
        return first.path != second.path ? first.path < second.path
                                         : first.package < second.package;
    });
    for (const Removed &removed : m_removed) {
        const Named *const other = otherIn(removed);
        if (other)
            m_findings.add(
                Rule::PATH_HOLDS_OTHERS, *removed.node,
                QStringLiteral("%1 has \"%2\".")
                    .arg(catalogue.packages()[static_cast<std::size_t>(other->package)].label(),
                         other->path));
    }
}

/// What another package has at a path or in it.
const PathCheck::Named *PathCheck::otherIn(const Removed &removed) const
{
    const auto find = [this](const QString &path) {
        return std::lower_bound(
            m_named.cbegin(), m_named.cend(), path,
            [](const Named &named, const QString &wanted) { return named.path < wanted; });
    };
    for (auto at = find(removed.path); at != m_named.cend() && at->path == removed.path; ++at) {
        if (at->package != removed.package)
            return &*at;
    }
    const QString folder = removed.path + QLatin1Char('/');
    for (auto at = find(folder); at != m_named.cend() && at->path.startsWith(folder); ++at) {
        if (at->package != removed.package)
            return &*at;
    }
    return nullptr;
}

} // namespace Kavo::Tools
