#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"
#include "tools/check/ShippedFiles.h"

#include <QMap>

#include <vector>

namespace Kavo::Tools {

/// Finds files that two packages bring to one place.
class SharedFilesCheck final
{
public:
    /// Both are to live as long as the check.
    SharedFilesCheck(const CatalogueView &catalogue, Findings &findings);

    /// Puts in what a version brings. Packages, by their positions, come one after another. `link`
    /// is where findings stand.
    void add(int package, bool isNewest, const JsonNode &link, const ShippedFiles &shipped);
    /// Tells what the package that was put in last shares with those before it.
    void finishPackage();

private:
    /// The first packages that bring a file, None where no package does.
    struct Owners
    {
        int any = None;
        int newest = None; ///< with their newest versions
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
