#pragma once

#include "packages/model/DependencyEntry.h"
#include "tools/check/DependencyGraph.h"
#include "tools/check/Findings.h"

namespace Kavo::Tools {

/// Checks the dependencies of versions: each entry, the entries of a version together, and the
/// chains that they form.
class DependencyCheck final
{
public:
    /// Both must outlive this object.
    DependencyCheck(const CatalogueView &catalogue, Findings &findings);

    void check();

private:
    /// The package that an entry names.
    struct Need
    {
        const JsonNode *node = nullptr;
        int id = 0;       ///< 0 if the entry names nothing
        int package = -1; ///< index, negative if the catalogue has no such package
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
