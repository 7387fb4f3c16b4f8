#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"

#include <QHash>

class QUrl;

namespace Kavo::Tools {

/// Checks all addresses in a catalogue, and archives that several versions use.
class AddressCheck final
{
public:
    explicit AddressCheck(Findings &findings);

    void check(const CatalogueView &catalogue);

private:
    /// The first version that uses an archive.
    struct Use
    {
        const PackageView *package = nullptr;
        const VersionView *version = nullptr;
    };

    void checkLink(const PackageView &package, const VersionView &version);
    void checkShared(const JsonNode &link, const Use &use);
    bool contradict(const VersionView &first, const VersionView &second) const;
    void checkPage(const JsonNode *node);
    /// Whether a client can request the address.
    bool checkAddress(const JsonNode &node, const QUrl &url);
    void checkFileName(const JsonNode &node, const QUrl &url, bool isArchive);

    Findings &m_findings;
    QHash<QString, Use> m_uses;
};

} // namespace Kavo::Tools
