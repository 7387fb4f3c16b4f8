#pragma once

#include "packages/DependencyEntry.h"
#include "tools/check/DependencyGraph.h"
#include "tools/check/Findings.h"

namespace Kavo::Tools {

/// Looks at what versions need: each entry, the entries of a version together, and where they lead.
class DependencyCheck final
{
public:
    /// Both are to live as long as the check.
    DependencyCheck(const CatalogueView &catalogue, Findings &findings);

    void check();

private:
    /// An entry that names a package of the catalogue.
    struct Need
    {
        const JsonNode *node = nullptr;
        int package = -1;
    };

    void checkVersion(int package, const VersionView &version);
    /// Whether the entry can be read.
    bool checkForm(const JsonNode &node);
    void checkMinimum(const JsonNode &node, const QString &minimum);
    void checkOffer(int package, const JsonNode &node, std::vector<Need> &needs);
    void checkLast(const std::vector<Need> &needs);
    void checkWayBack(int package, const std::vector<Need> &needs);
    void checkCircles();
    QString names(const std::vector<int> &packages) const;
    const PackageView &at(int package) const;

    const CatalogueView &m_catalogue;
    Findings &m_findings;
    DependencyGraph m_graph;
};

} // namespace Kavo::Tools
