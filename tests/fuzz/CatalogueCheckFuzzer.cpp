// Tests the catalogue check with input from libFuzzer. Aborts the process if the check and the
// clients' parser read different data, or if a finding is not valid.

#include "packages/catalogue/CatalogueParser.h"
#include "tests/fuzz/Require.h"
#include "tools/check/CatalogueCheck.h"
#include "tools/check/CatalogueView.h"
#include "tools/check/JsonTree.h"
#include "tools/check/ReportText.h"

#include <QJsonDocument>

using Kavo::Testing::require;
using namespace Kavo::Models;
using namespace Kavo::Tools;

namespace {

void compare(const CatalogueView &view, const PackageList &packages)
{
    require(static_cast<int>(view.packages().size()) == packages.size(),
            "both read the same number of packages");
    for (int index = 0; index < packages.size(); ++index) {
        const PackageView &seen = view.packages()[static_cast<std::size_t>(index)];
        const Package &read = *packages.at(index);
        require(seen.id == read.id(), "both read the same id of a package");
        require(static_cast<int>(seen.versions.size()) == read.versions().size(),
                "both read the same number of versions");
        if (!seen.newestVersion())
            continue;
        const PackageVersion &newest = *read.versions().constFirst();
        require(seen.newestVersion()->version == newest.version,
                "both read the same newest version");
        require(seen.newestVersion()->link() == newest.link, "both read the same link");
    }
}

void checkFindings(const CheckReport &report, int size)
{
    int offset = 0;
    for (const Finding &finding : report.findings()) {
        require(finding.offset >= offset && finding.offset <= size,
                "findings are ordered by their offsets, which are in the file");
        offset = finding.offset;
        require(finding.line >= 1 && finding.column >= 1, "lines and columns count from 1");
        require(finding.line + finding.column <= finding.offset + 2,
                "line and column are in the file");
        require(!finding.message.isEmpty(), "every finding has a message");
    }
}

} // namespace

// The name is libFuzzer's.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const CheckReport report = checkCatalogue(bytes);
    checkFindings(report, bytes.size());
    require(!reportAsText(report, QStringLiteral("f")).isEmpty(), "the report has a text");
    require(QJsonDocument::fromJson(reportAsJson(report, QStringLiteral("f"))).isObject(),
            "the report is a JSON object");

    CatalogueParser parser(bytes, QStringLiteral("en"));
    PackageList packages;
    while (const PackagePointer package = parser.next())
        packages.append(package);
    const bool isRefused = report.has(Rule::JSON_SYNTAX) || report.has(Rule::JSON_ENCODING) ||
                           report.has(Rule::JSON_NOT_AN_ARRAY);
    require(parser.isWhole() != isRefused,
            "the check refuses exactly those catalogues that clients cannot read");
    if (!isRefused) {
        const JsonTree tree(bytes);
        compare(CatalogueView(tree.root()), packages);
    }
    return 0;
}
