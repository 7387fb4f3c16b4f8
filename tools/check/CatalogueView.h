#pragma once

#include "tools/check/JsonNode.h"

#include <QHash>
#include <QString>
#include <QVersionNumber>

#include <vector>

namespace Kavo::Tools {

/// A version in a catalogue as clients read it, with the positions of its values.
struct VersionView
{
    const JsonNode *node = nullptr;
    QString version;
    QVersionNumber number;
    int numberEnd = 0; ///< position after the numbers in the text

    const JsonNode *entries(QLatin1String object, QLatin1String key) const;
    QString link() const;
};

/// A package in a catalogue as clients read it, with the positions of its values.
struct PackageView
{
    const JsonNode *node = nullptr;
    int id = 0;
    std::vector<VersionView> versions; ///< in the order of the file
    int newest = -1;                   ///< index of the newest version, negative if there is none

    /// The name of the package for people.
    QString label() const;
    const VersionView *newestVersion() const;
};

/// The packages of a catalogue. Valid during the lifetime of the tree.
class CatalogueView final
{
public:
    /// `root` is the top-level array, or null for a catalogue without packages.
    explicit CatalogueView(const JsonNode *root);

    const std::vector<PackageView> &packages() const { return m_packages; }

    /// The index of the package that clients find by this id, negative if there is none.
    int find(int id) const { return m_positions.value(id, -1); }

private:
    std::vector<PackageView> m_packages;
    QHash<int, int> m_positions;
};

/// An integer as clients read it, 0 for any other value.
int readInteger(const JsonNode *node);

/// The text of a node, empty for any other value.
QString readText(const JsonNode *node);

/// The array with a key, null if there is none.
const JsonNode *arrayIn(const JsonNode *object, QLatin1String key);

} // namespace Kavo::Tools
