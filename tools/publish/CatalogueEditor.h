#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/JsonTree.h"
#include "tools/publish/JsonDraft.h"
#include "tools/publish/TextEdit.h"

namespace Kavo::Tools {

class JsonStyle;

/// Finds the place for something new in a catalogue and writes it the way the rest is written.
/// Nothing of the catalogue is touched; every edit leaves all other bytes as they are.
class CatalogueEditor final
{
public:
    /// Of a catalogue that is an array of objects.
    explicit CatalogueEditor(const JsonTree &tree);

    /// Behind the package with the next lower id where the packages are in the order of their ids,
    /// else at the end.
    TextEdit addPackage(int id, const JsonDraft &package) const;
    /// In the order of the versions that are there. Where these have none, the new version stands
    /// at the end; of a single version it is taken that newer ones stand in front.
    TextEdit addVersion(const PackageView &package, const QVersionNumber &number,
                        const JsonDraft &version) const;

private:
    TextEdit addElement(const JsonNode &array, int position, const JsonDraft &element) const;
    TextEdit addFirst(const JsonNode &array, const JsonDraft &element) const;
    TextEdit addMember(const JsonNode &object, const JsonDraft &member) const;
    QByteArray separator(const JsonNode &array, const JsonNode &neighbour,
                         const JsonStyle &style) const;

    const JsonTree &m_tree;
    CatalogueView m_view;
};

} // namespace Kavo::Tools
