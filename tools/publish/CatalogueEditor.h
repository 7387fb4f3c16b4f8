#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/JsonTree.h"
#include "tools/publish/JsonDraft.h"
#include "tools/publish/TextEdit.h"

namespace Kavo::Tools {

class JsonStyle;

/// Finds the position of an insertion in a catalogue and writes it in the style of the rest. It
/// returns edits; each leaves all other bytes unchanged.
class CatalogueEditor final
{
public:
    /// For a catalogue that is an array of objects.
    explicit CatalogueEditor(const JsonTree &tree);

    /// Inserts a package after the one with the next lower id if the packages are sorted by id,
    /// else at the end.
    TextEdit addPackage(int id, const JsonDraft &package) const;
    /// Inserts a version in the order of the existing ones. If they have no order, the new version
    /// comes last; after a single version, newest first is assumed.
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
