#pragma once

#include "packages/catalogue/Catalogue.h"
#include "packages/catalogue/CatalogueParser.h"
#include "packages/installation/Installer.h"
#include "packages/installation/Uninstaller.h"
#include "packages/record/InstalledPackageDatabase.h"

#include <QObject>
#include <QQueue>
#include <QSet>
#include <QTimer>

#include <memory>

namespace Kavo::Models {

/// Loads a catalogue file into the catalogue, in short turns of the event loop:
///
///     read -> parse -> version files -> records and running work -> clean up -> offer
///
/// Nothing is visible before the last step. Several files are loaded one after another, each
/// completely. Work may begin and end between any two turns. Its results are not lost: all records
/// are applied in one turn, and from then on work also updates the new packages. Destroying the
/// loader ends its work. Main thread.
class CatalogueLoader final : public QObject
{
    Q_OBJECT

public:
    CatalogueLoader(Catalogue &catalogue, InstalledPackageDatabase &database, Installer &installer,
                    const Uninstaller &uninstaller, QObject *parent = nullptr);
    ~CatalogueLoader() override;

    /// Reads the file immediately, since it may be replaced at any time, and parses it later. A
    /// file that cannot be opened or is not a catalogue has no packages.
    void load(const QString &path, const QString &language);

signals:
    /// The packages of one file are available.
    void loaded();

private:
    enum class Stage { PARSING, ADOPTING, APPLYING, CLEANING, OFFERING, LETTING_GO };

    void takeTurn();
    bool isLongStep() const;
    void takeStep();
    void parseOne();
    void adoptSome();
    void apply();
    void cleanOne();
    void offer();
    void letGoOfOne();

    Catalogue &m_catalogue;
    InstalledPackageDatabase &m_database;
    Installer &m_installer;
    const Uninstaller &m_uninstaller;

    QQueue<CatalogueParser> m_waiting;
    std::unique_ptr<CatalogueParser> m_parser;
    Stage m_stage = Stage::LETTING_GO;
    PackageList m_packages;
    CatalogueIndex m_index;
    int m_next = 0;       ///< index of the package for the next step of a stage
    QSet<int> m_recorded; ///< ids with a record, known before any version file is read
    PackageList m_former; ///< no longer needed; freed in turns
    QTimer m_turns;
};

} // namespace Kavo::Models
