#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"
#include "tools/check/ShippedFiles.h"

#include <vector>

namespace Kavo::Tools {

/// Compares the rules of one package with the content of its archives.
class ArchiveRulesCheck final
{
public:
    /// Both must outlive this object.
    ArchiveRulesCheck(const PackageView &package, Findings &findings);

    /// Checks one version with its archive.
    void check(const VersionView &version, const ShippedFiles &shipped);
    /// To be called for the files of every version.
    void remember(const ShippedFiles &shipped);
    /// Reports entries that match no file of any version. An update removes by the rules of the
    /// newer version, so an entry may name a file of an older version.
    void finish();

private:
    /// An entry that has to match a file.
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
