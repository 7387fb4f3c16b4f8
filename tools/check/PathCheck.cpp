#include "tools/check/PathCheck.h"

#include "core/SevenZipProcess.h"
#include "packages/installation/CommonPlaces.h"
#include "tools/check/ClientVersion.h"

#include <QDir>

#include <algorithm>
#include <climits>

namespace Kavo::Tools {

namespace {

/// The longest path, in bytes.
constexpr int LongestPath = PATH_MAX - 1;

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

/// A value of another type is reported elsewhere.
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
    if (install && !install->isObject())
        return;
    if (!node) {
        reportWholeSimulator(*version.node);
        return;
    }
    const QString path = node->isText() ? extractPath(*node) : QString();
    if (!path.isEmpty())
        remember(package, path);
}

/// The clean path, empty if the folder leaves the simulator's or cannot exist in a file system.
QString PathCheck::extractPath(const JsonNode &node)
{
    const QString entry = node.text();
    const auto known = m_faultlessFolders.constFind(entry);
    if (known != m_faultlessFolders.constEnd())
        return *known;
    const QString path = ClientVersion::pathOf(entry);
    if (path.isEmpty()) {
        const QString clean = QDir::cleanPath(entry);
        if (clean.isEmpty() || clean == QLatin1String("."))
            reportWholeSimulator(node);
        else
            m_findings.add(Rule::PATH_OUTSIDE, node,
                           QStringLiteral("\"%1\" is no folder in the simulator's.").arg(entry));
        return QString();
    }
    if (!checkLength(node, entry))
        return QString();
    const bool isFaultless = checkSpelling(node, entry);
    if (checkCase(node, path) && isFaultless)
        m_faultlessFolders.insert(entry, path);
    return path;
}

void PathCheck::reportWholeSimulator(const JsonNode &node)
{
    m_findings.add(Rule::EXTRACT_WHOLE_SIMULATOR, node,
                   QStringLiteral("The version names no folder to unpack into."));
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
        remember(package, path);
        if (key == QLatin1String("remove"))
            m_removed.push_back({path, package, &node});
    }
}

QString PathCheck::checkEntry(const JsonNode &node)
{
    const QString entry = node.text();
    // The versions of a package mostly have the same rules.
    const auto known = m_faultless.constFind(entry);
    if (known != m_faultless.constEnd())
        return *known;
    const QString path = ClientVersion::pathOf(entry);
    if (path.isEmpty()) {
        reportOutside(node, entry);
        return QString();
    }
    if (!checkLength(node, entry))
        return QString();
    const bool isFaultless = checkSpelling(node, entry);
    if (m_common.contains(path.toLower())) {
        m_findings.add(Rule::PATH_BELONGS_TO_ALL, node,
                       QStringLiteral("\"%1\" is not the add-on's own.").arg(path));
        return QString();
    }
    if (checkCase(node, path) && isFaultless)
        m_faultless.insert(entry, path);
    return path;
}

/// Reports why clients skip an entry.
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

bool PathCheck::checkLength(const JsonNode &node, const QString &entry)
{
    if (entry.size() <= LongestPath / 3 || entry.toUtf8().size() <= LongestPath)
        return true;
    m_findings.add(Rule::PATH_REFUSED_NAME, node,
                   QStringLiteral("The path has more than %1 bytes.").arg(LongestPath));
    return false;
}

/// Returns whether nothing was found.
bool PathCheck::checkSpelling(const JsonNode &node, const QString &entry)
{
    if (entry.contains(QLatin1Char('\\')))
        m_findings.add(Rule::PATH_BACKSLASH, node,
                       QStringLiteral("There is a backslash in \"%1\".").arg(entry));
    if (Extractors::SevenZipProcess::isPattern(entry))
        m_findings.add(Rule::PATH_WILDCARD, node,
                       QStringLiteral("There is \"*\" or \"?\" in \"%1\".").arg(entry));
    bool isFaultless =
        !entry.contains(QLatin1Char('\\')) && !Extractors::SevenZipProcess::isPattern(entry);
    for (const QStringRef &name : entry.splitRef(QLatin1Char('/'), Qt::SkipEmptyParts))
        isFaultless = checkName(node, entry, name) && isFaultless;
    return isFaultless;
}

bool PathCheck::checkName(const JsonNode &node, const QString &entry, const QStringRef &name)
{
    const bool endsInBlank = name.endsWith(QLatin1Char(' '));
    // A UTF-16 code unit has at most three bytes in UTF-8.
    const bool isTooLong = name.size() > NAME_MAX / 3 && name.toUtf8().size() > NAME_MAX;
    const bool hasControls = std::any_of(name.cbegin(), name.cend(), isControl);
    if (endsInBlank)
        m_findings.add(Rule::PATH_BLANK_AT_END, node,
                       QStringLiteral("In \"%1\" a name ends in a blank.").arg(entry));
    if (isTooLong)
        m_findings.add(Rule::PATH_REFUSED_NAME, node,
                       QStringLiteral("A name has more than %1 bytes.").arg(NAME_MAX));
    else if (hasControls)
        m_findings.add(Rule::PATH_REFUSED_NAME, node,
                       QStringLiteral("There is a control character in a name."));
    return !endsInBlank && !isTooLong && !hasControls;
}

/// Compares each parent folder, too. Returns whether nothing was found.
bool PathCheck::checkCase(const JsonNode &node, const QString &path)
{
    for (int end = path.indexOf(QLatin1Char('/'));; end = path.indexOf(QLatin1Char('/'), end + 1)) {
        const QString part = path.left(end);
        const QString folded = part.toLower();
        const auto known = m_spelt.constFind(folded);
        if (known == m_spelt.constEnd()) {
            m_spelt.insert(folded, part);
        } else if (*known != part) {
            m_findings.add(Rule::PATH_CASE_DIFFERS, node,
                           QStringLiteral("\"%1\" is spelt \"%2\" elsewhere.").arg(part, *known));
            return false;
        }
        if (end < 0)
            return true;
    }
}

void PathCheck::remember(int package, const QString &path)
{
    // The versions of a package mostly name the same paths.
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

/// Finds the files of another package at a path or below it.
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
