#pragma once

#include "tools/check/JsonNode.h"

#include <QHash>
#include <QString>
#include <QVersionNumber>

#include <vector>

namespace Kavo::Tools {

/// A version in a catalogue, as clients read it, with the places of what is read.
struct VersionView
{
    const JsonNode *node = nullptr;
    QString version;
    QVersionNumber number;
    int numberEnd = 0; ///< where in the text the numbers end

    const JsonNode *entries(QLatin1String object, QLatin1String key) const;
    QString link() const;
};

/// A package in a catalogue, likewise.
struct PackageView
{
    const JsonNode *node = nullptr;
    int id = 0;
    std::vector<VersionView> versions; ///< in the order of the file
    int newest = -1;                   ///< of them, negative when there is none

    /// What people know the package by.
    QString label() const;
    const VersionView *newestVersion() const;
};

/// The packages of a catalogue. Valid as long as the tree that it was made of.
class CatalogueView final
{
public:
    /// `root` is the array at the top, or null for a catalogue without packages.
    explicit CatalogueView(const JsonNode *root);

    const std::vector<PackageView> &packages() const { return m_packages; }

    /// Position of the package that clients find under this id, negative when there is none.
    int find(int id) const { return m_positions.value(id, -1); }

private:
    std::vector<PackageView> m_packages;
    QHash<int, int> m_positions;
};

/// A whole number as clients read it, 0 for anything else.
int readInteger(const JsonNode *node);

/// The text of a node, empty for anything else.
QString readText(const JsonNode *node);

/// The array under a key, null when there is none.
const JsonNode *arrayIn(const JsonNode *object, QLatin1String key);

} // namespace Kavo::Tools
