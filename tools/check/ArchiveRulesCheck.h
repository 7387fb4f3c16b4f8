#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"
#include "tools/check/ShippedFiles.h"

#include <vector>

namespace Kavo::Tools {

/// Compares the rules of one package with what its archives bring.
class ArchiveRulesCheck final
{
public:
    /// Both are to live as long as the check.
    ArchiveRulesCheck(const PackageView &package, Findings &findings);

    /// What stands for itself in a version with this archive.
    void check(const VersionView &version, const ShippedFiles &shipped);
    /// To be called for what every version brings.
    void remember(const ShippedFiles &shipped);
    /// Tells of entries that no version brings anything for. An update removes by the rules of the
    /// newer version, so these may well name what only an older one has brought.
    void finish();

private:
    /// An entry that is to name something.
    struct Entry
    {
        Rule rule;
        const JsonNode *node;
        QString place;
    };

    void collect(const VersionView &version);
    void checkKept(const VersionView &version, const ShippedFiles &shipped);
    void checkBackups(const VersionView &version, const ShippedFiles &shipped);
    void checkLeftBehind(const VersionView &version, const ShippedFiles &shipped);

    Findings &m_findings;
    std::vector<Entry> m_unmet;
};

} // namespace Kavo::Tools
