#include "tools/check/CatalogueCheck.h"

#include "packages/catalogue/CatalogueFeed.h"
#include "tools/check/AddressCheck.h"
#include "tools/check/DependencyCheck.h"
#include "tools/check/IdentityCheck.h"
#include "tools/check/KeysCheck.h"
#include "tools/check/NotationCheck.h"
#include "tools/check/PathCheck.h"
#include "tools/check/VersionsCheck.h"

namespace Kavo::Tools {

namespace {

void checkContent(const CatalogueView &catalogue, const JsonNode &root, Findings &findings)
{
    KeysCheck(findings).check(root);
    IdentityCheck(findings).check(catalogue);
    VersionsCheck(findings).check(catalogue);
    AddressCheck(findings).check(catalogue);
    DependencyCheck(catalogue, findings).check();
    PathCheck(findings).check(catalogue);
}

} // namespace

CheckReport checkCatalogue(const QByteArray &bytes, const FurtherCheck &further)
{
    const JsonTree tree(bytes);
    Findings findings(bytes);
    checkNotation(tree, findings);
    if (tree.root() && tree.root()->isArray()) {
        const CatalogueView catalogue(tree.root());
        checkContent(catalogue, *tree.root(), findings);
        if (further)
            further(tree.bytes(), catalogue, findings);
    }
    return findings.report();
}

CheckReport reportOfTooLarge(qint64 size)
{
    Findings findings{QByteArray()};
    findings.addAt(Rule::JSON_TOO_LARGE, 0,
                   QStringLiteral("The file has %1 bytes; clients take %2 at most.")
                       .arg(size)
                       .arg(Models::LargestCatalogue));
    return findings.report();
}

} // namespace Kavo::Tools
