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

/// Brings a catalogue file into the catalogue, in short turns of the event loop:
///
///     read -> parse -> version files -> records and the work that is going on -> clean up -> offer
///
/// Nothing of it is to be seen before it is offered. Several files are taken in one after another,
/// each to its end. Work may begin and end between any two turns: what it records counts, since the
/// records are applied in one go and work shows itself by the new packages from then on. Destroying
/// the loader ends what it is doing. Main thread.
class CatalogueLoader final : public QObject
{
    Q_OBJECT

public:
    CatalogueLoader(Catalogue &catalogue, InstalledPackageDatabase &database, Installer &installer,
                    const Uninstaller &uninstaller, QObject *parent = nullptr);
    ~CatalogueLoader() override;

    /// Reads the file at once, since it may be replaced at any time, and takes it in later. A file
    /// that cannot be opened and one that is no catalogue give no packages.
    void load(const QString &path, const QString &language);

signals:
    /// The packages of one file are on offer.
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
    int m_next = 0;       ///< package that the next step of a stage is about
    QSet<int> m_recorded; ///< ids that have a record, known before their version file is read
    PackageList m_former; ///< packages that are no longer needed; freeing all at once takes long
    QTimer m_turns;
};

} // namespace Kavo::Models
