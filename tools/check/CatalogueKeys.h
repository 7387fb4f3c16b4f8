#pragma once

#include <QLatin1String>

#include <vector>

namespace Kavo::Tools {

/// The type of the value of a key in a catalogue.
enum class ValueType {
    TEXT,
    TEXTS,        ///< array of texts
    TRANSLATIONS, ///< object: language to text
    INTEGER,      ///< of 32 bits
    BYTE_COUNT,
    VERSIONS, ///< array of version objects
    INSTALL,
    UNINSTALL,
};

struct CatalogueKey
{
    QLatin1String name;
    ValueType type;
};

/// The keys that clients read in each kind of object.
const std::vector<CatalogueKey> &packageKeys();
const std::vector<CatalogueKey> &versionKeys();
const std::vector<CatalogueKey> &installKeys();
const std::vector<CatalogueKey> &uninstallKeys();

} // namespace Kavo::Tools
