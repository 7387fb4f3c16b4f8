#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"

#include <QHash>

class QUrl;

namespace Kavo::Tools {

/// Looks at every address in a catalogue, and at archives that several versions name.
class AddressCheck final
{
public:
    explicit AddressCheck(Findings &findings);

    void check(const CatalogueView &catalogue);

private:
    /// The first version that names an archive.
    struct Use
    {
        const PackageView *package = nullptr;
        const VersionView *version = nullptr;
    };

    void checkLink(const PackageView &package, const VersionView &version);
    void checkShared(const JsonNode &link, const Use &use);
    bool contradict(const VersionView &first, const VersionView &second) const;
    void checkPage(const JsonNode *node);
    /// Whether it is an address that can be asked for.
    bool checkAddress(const JsonNode &node, const QUrl &url);
    void checkFileName(const JsonNode &node, const QUrl &url, bool isArchive);

    Findings &m_findings;
    QHash<QString, Use> m_uses;
};

} // namespace Kavo::Tools
