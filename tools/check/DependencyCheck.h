#pragma once

#include "packages/model/DependencyEntry.h"
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
    /// What an entry names.
    struct Need
    {
        const JsonNode *node = nullptr;
        int id = 0;       ///< 0 when the entry names nothing
        int package = -1; ///< position, negative when the catalogue has no such package
    };

    void checkVersion(int package, const VersionView &version);
    Need look(const JsonNode &node);
    bool checkForm(const JsonNode &node, const QString &text, const Models::DependencyEntry &entry);
    bool checkOffer(const Need &need, const Models::DependencyEntry &entry);
    void checkLast(const std::vector<Need> &needs);
    void checkWayBack(int package, const std::vector<Need> &needs);
    void checkCircles();
    QString names(const std::vector<int> &packages) const;
    const PackageView &at(int package) const;

    const CatalogueView &m_catalogue;
    Findings &m_findings;
    DependencyGraph m_graph;
    QHash<QString, Need> m_faultless; ///< by entry
};

} // namespace Kavo::Tools
