#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"

namespace Kavo::Tools {

/// Checks the texts of versions, each of them and in comparison, and what the catalogue says about
/// their archives.
class VersionsCheck final
{
public:
    explicit VersionsCheck(Findings &findings);

    void check(const CatalogueView &catalogue);

private:
    void checkText(const VersionView &version);
    void checkChecksum(const VersionView &version);
    void compare(const PackageView &package);
    void compare(const VersionView &older, const VersionView &newer);

    Findings &m_findings;
};

} // namespace Kavo::Tools
