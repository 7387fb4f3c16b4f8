#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/Findings.h"

#include <QHash>
#include <QSet>

namespace Kavo::Tools {

/// Checks all paths in the rules of versions: where they lead, how they are spelt, and whether they
/// belong to the simulator or another package.
class PathCheck final
{
public:
    explicit PathCheck(Findings &findings);

    void check(const CatalogueView &catalogue);

private:
    /// A path that a package names.
    struct Named
    {
        QString path; ///< clean, relative to the simulator's folder
        int package;
    };
    /// A path that a package removes.
    struct Removed
    {
        QString path;
        int package;
        const JsonNode *node;
    };

    void checkVersion(int package, const VersionView &version);
    void checkRemoval(const VersionView &version);
    void checkExtract(int package, const VersionView &version);
    QString extractPath(const JsonNode &node);
    void reportWholeSimulator(const JsonNode &node);
    void checkList(int package, const VersionView &version, QLatin1String object,
                   QLatin1String key);
    /// The clean path, empty if clients skip the entry.
    QString checkEntry(const JsonNode &node);
    bool checkLength(const JsonNode &node, const QString &entry);
    bool checkSpelling(const JsonNode &node, const QString &entry);
    bool checkName(const JsonNode &node, const QString &entry, const QStringRef &name);
    bool checkCase(const JsonNode &node, const QString &path);
    void reportOutside(const JsonNode &node, const QString &entry);
    void checkHeldByOthers(const CatalogueView &catalogue);
    const Named *otherIn(const Removed &removed) const;
    void remember(int package, const QString &path);

    Findings &m_findings;
    QHash<QString, QString> m_faultlessFolders; ///< folders to unpack into, clean paths by entry
    QHash<QString, QString> m_faultless;        ///< clean paths by entry
    QSet<QString> m_common;                     ///< in lower case
    QHash<QString, QString> m_spelt;            ///< by lower case
    QHash<QString, int> m_lastPackage;          ///< packages that name a path
    std::vector<Named> m_named;
    std::vector<Removed> m_removed;
};

} // namespace Kavo::Tools
