#include "tools/check/ArchiveNames.h"

#include "packages/installation/CommonPlaces.h"

#include <algorithm>
#include <climits>

namespace Kavo::Tools {

namespace {

bool isForeign(QChar character)
{
    return character.unicode() < 0x20 || QStringLiteral("\\:*?\"<>|").contains(character);
}

/// Whether Windows file systems refuse or change the name.
bool isForeign(const QString &name)
{
    return name.endsWith(QLatin1Char(' ')) || name.endsWith(QLatin1Char('.')) ||
           std::any_of(name.cbegin(), name.cend(), [](QChar letter) { return isForeign(letter); });
}

void checkLength(const ShippedFiles &shipped, const JsonNode &link, Findings &findings)
{
    const PathTree &tree = shipped.tree();
    SomePaths refused;
    for (int node = shipped.firstInside(); node < tree.size(); ++node) {
        if (tree.name(node).toUtf8().size() > NAME_MAX)
            refused.add(refused.isEmpty() ? tree.path(node) : QString());
    }
    if (!refused.isEmpty())
        findings.add(Rule::ARCHIVE_REFUSED_NAME, link,
                     QStringLiteral("A name has more than %1 bytes: ").arg(NAME_MAX) +
                         refused.text() + QLatin1Char('.'));
    if (!shipped.tooLong().isEmpty())
        findings.add(Rule::ARCHIVE_REFUSED_NAME, link,
                     QStringLiteral("A path is too long: ") + shipped.tooLong().text() +
                         QLatin1Char('.'));
}

void checkLetters(const ShippedFiles &shipped, const JsonNode &link, Findings &findings)
{
    const PathTree &tree = shipped.tree();
    SomePaths foreign;
    for (int node = shipped.firstInside(); node < tree.size(); ++node) {
        if (isForeign(tree.name(node)))
            foreign.add(foreign.isEmpty() ? tree.path(node) : QString());
    }
    if (!foreign.isEmpty())
        findings.add(Rule::ARCHIVE_FOREIGN_NAME, link,
                     QStringLiteral("Not every file system takes the name ") + foreign.text() +
                         QLatin1Char('.'));
}

/// Compares only names in the same folder; differences in parent folders are reported there.
void checkCase(const ShippedFiles &shipped, const JsonNode &link, Findings &findings)
{
    const PathTree &tree = shipped.tree();
    QHash<QPair<int, QString>, int> known;
    SomePaths twins;
    QString other;
    for (int node = 1; node < tree.size(); ++node) {
        int &first = known[{tree.parent(node), tree.name(node).toCaseFolded()}];
        if (first == PathTree::Root) {
            first = node;
        } else {
            if (twins.isEmpty())
                other = tree.path(first);
            twins.add(twins.isEmpty() ? tree.path(node) : QString());
        }
    }
    if (!twins.isEmpty())
        findings.add(Rule::ARCHIVE_CASE_DIFFERS, link,
                     QStringLiteral("Beside \"") + other + QStringLiteral("\" there is ") +
                         twins.text() + QLatin1Char('.'));
}

/// A simulator folder in other upper and lower case is another folder, which the simulator ignores.
void checkCommonPlaces(const ShippedFiles &shipped, const JsonNode &link, Findings &findings)
{
    const PathTree &tree = shipped.tree();
    QHash<QString, QString> places;
    for (const QString &place : commonPlaces())
        places.insert(place.toCaseFolded(), place);
    for (int node = 1; node < tree.size(); ++node) {
        const int parent = tree.parent(node);
        // None of these paths is deeper.
        if (parent != PathTree::Root && tree.parent(parent) != PathTree::Root)
            continue;
        const QString path = tree.path(node);
        const QString place = places.value(path.toCaseFolded(), path);
        if (place != path)
            findings.add(
                Rule::ARCHIVE_CASE_DIFFERS, link,
                QStringLiteral("The simulator has \"%1\", and not \"%2\".").arg(place, path));
    }
}

} // namespace

void checkNames(const ShippedFiles &shipped, const JsonNode &link, Findings &findings)
{
    checkLength(shipped, link, findings);
    checkLetters(shipped, link, findings);
    checkCase(shipped, link, findings);
    checkCommonPlaces(shipped, link, findings);
    if (!shipped.clashes().isEmpty())
        findings.add(Rule::ARCHIVE_FILE_AND_FOLDER, link,
                     QStringLiteral("What is a file here is a folder there: ") +
                         shipped.clashes().text() + QLatin1Char('.'));
}

} // namespace Kavo::Tools
