#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"

#include <QHash>

namespace Kavo::Tools {

/// Checks what identifies a package: its id, its names and texts in each language, and its type.
class IdentityCheck final
{
public:
    explicit IdentityCheck(Findings &findings);

    void check(const CatalogueView &catalogue);

private:
    void checkId(const PackageView &package);
    void checkName(const PackageView &package);
    void checkLanguages(const PackageView &package, QLatin1String key);
    void checkKind(const PackageView &package);
    void checkOffer(const PackageView &package);

    Findings &m_findings;
    QHash<int, const PackageView *> m_known;
};

} // namespace Kavo::Tools
