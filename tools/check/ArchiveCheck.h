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

/// Looks into the archives of a catalogue before they are published, by what clients do with them:
/// whether they can be installed, and whether the rules fit to what is in them. Each archive is
/// read once. Nothing is written. Blocks; for one thread at a time.
class ArchiveCheck final
{
public:
    /// `document` is the catalogue and `extractor` the path of 7-Zip. All are to live as long as
    /// the check.
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
    /// The file of an archive and the folder that it is unpacked into.
    using Place = QPair<QString, QString>;
    using Groups = QMap<Place, std::vector<Version>>;

    /// What is known of an archive. It is kept as long as versions are to come that have it.
    struct Known
    {
        QString link; ///< under which it was found first
        int left = 0; ///< versions that are yet to come
        bool isUsable = false;
        std::shared_ptr<StoredArchive> archive;
    };

    void findArchives(const CatalogueView &catalogue);
    void findArchive(const JsonNode &link);
    void checkPackage(const CatalogueView &catalogue, int package, SharedFilesCheck &shared);
    /// Whether all versions have an archive that can be looked into.
    bool group(const PackageView &package, Groups &groups) const;
    void checkTold(const Version &version, StoredArchive &archive);
    /// The archive, null when clients cannot unpack it.
    std::shared_ptr<StoredArchive> open(const Place &place, const std::vector<Version> &versions,
                                        bool &isNew);

    const QByteArray &m_document;
    const ArchiveFolder &m_folder;
    QString m_extractor;
    Findings &m_findings;
    QHash<QString, QString> m_paths; ///< of archives by address, empty where there is none
    QHash<QString, Known> m_known;   ///< by path
};

} // namespace Kavo::Tools
