#pragma once

#include "tools/check/ArchiveFolder.h"
#include "tools/check/ClientVersion.h"
#include "tools/check/Findings.h"
#include "tools/check/SharedFilesCheck.h"
#include "tools/check/StoredArchive.h"

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QPair>

#include <memory>
#include <vector>

namespace Kavo::Tools {

class ArchiveRulesCheck;

/// Checks the archives of a catalogue before they are published: whether clients can install them,
/// and whether the rules match their content. Each archive is read once. Nothing is written.
/// Blocks; for one thread at a time.
class ArchiveCheck final
{
public:
    /// `document` is the catalogue and `extractor` the path of 7-Zip. All must outlive this object.
    ArchiveCheck(const QByteArray &document, const ArchiveFolder &folder, QString extractor,
                 Findings &findings);

    void check(const CatalogueView &catalogue);

private:
    /// A version with an archive.
    struct Version
    {
        const VersionView *view;
        const JsonNode *link;
        bool isNewest;
        Models::PackageVersionPointer read;
    };
    /// The file of an archive and the folder to unpack into.
    using Place = QPair<QString, QString>;
    using Groups = QMap<Place, std::vector<Version>>;

    /// The cached facts about an archive, kept while further versions use it.
    struct Known
    {
        QString link; ///< address of its first use
        int left = 0; ///< remaining versions that use it
        bool isUsable = false;
        std::shared_ptr<StoredArchive> archive;
    };

    void findArchives(const CatalogueView &catalogue);
    void findArchive(const JsonNode &link);
    void checkPackage(const CatalogueView &catalogue, int package, SharedFilesCheck &shared);
    /// Whether the archives of all versions can be read.
    bool group(const PackageView &package, Groups &groups) const;
    void checkTold(const Version &version, StoredArchive &archive);
    /// The archive, null if clients cannot unpack it.
    std::shared_ptr<StoredArchive> open(const Place &place, const std::vector<Version> &versions,
                                        bool &isNew);

    const QByteArray &m_document;
    const ArchiveFolder &m_folder;
    QString m_extractor;
    Findings &m_findings;
    QHash<QString, QString> m_paths; ///< paths of archives by address, empty if there is none
    QHash<QString, Known> m_known;   ///< by path
};

} // namespace Kavo::Tools
