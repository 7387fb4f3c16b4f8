#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"
#include "tools/check/ShippedFiles.h"

#include <QMap>

#include <vector>

namespace Kavo::Tools {

/// Finds paths that two packages both install.
class SharedFilesCheck final
{
public:
    /// Both must outlive this object.
    SharedFilesCheck(const CatalogueView &catalogue, Findings &findings);

    /// Adds the files of a version. Packages, given by index, must come one after another. `link`
    /// is the place of the findings.
    void add(int package, bool isNewest, const JsonNode &link, const ShippedFiles &shipped);
    /// Reports the files that the last package shares with those before it.
    void finishPackage();

private:
    /// The first packages with a file, None if there is none.
    struct Owners
    {
        int any = None;
        int newest = None; ///< in their newest versions
    };
    struct Shared
    {
        const JsonNode *link = nullptr;
        SomePaths files;
    };

    static constexpr int None = -1;

    void addFile(int package, bool isNewest, const JsonNode &link, int node);
    void note(QMap<int, Shared> &shared, int other, const JsonNode &link, int node) const;
    void report(Rule rule, int other, const Shared &shared, const QString &message);

    const CatalogueView &m_catalogue;
    Findings &m_findings;
    PathTree m_tree;
    std::vector<Owners> m_owners;     ///< by node
    QMap<int, Shared> m_sharedNewest; ///< by the other package
    QMap<int, Shared> m_sharedAny;
};

} // namespace Kavo::Tools
