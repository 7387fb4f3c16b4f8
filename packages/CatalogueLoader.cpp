#include "packages/CatalogueLoader.h"

#include "core/RegularFile.h"

#include <QElapsedTimer>
#include <QFile>

namespace Kavo::Models {

namespace {

/// The length of a turn in milliseconds: half a frame at 60 Hz.
constexpr int TurnLength = 8;
/// The number of packages whose version files are recorded in one step, and so in one transaction.
constexpr int AdoptedAtOnce = 100;

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return openRegular(file, QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

CatalogueLoader::CatalogueLoader(Catalogue &catalogue, InstalledPackageDatabase &database,
                                 Installer &installer, const Uninstaller &uninstaller,
                                 QObject *parent)
    : QObject(parent)
    , m_catalogue(catalogue)
    , m_database(database)
    , m_installer(installer)
    , m_uninstaller(uninstaller)
{
    connect(&m_turns, &QTimer::timeout, this, &CatalogueLoader::takeTurn);
}

CatalogueLoader::~CatalogueLoader() = default;

void CatalogueLoader::load(const QString &path, const QString &language)
{
    m_waiting.enqueue(CatalogueParser(contentOf(path), language));
    m_turns.start();
}

void CatalogueLoader::takeTurn()
{
    QElapsedTimer turn;
    turn.start();
    do {
        takeStep();
    } while (m_turns.isActive() && !isLongStep() && turn.elapsed() < TurnLength);
}

/// Whether the next step takes longer than a turn and should have a turn of its own.
bool CatalogueLoader::isLongStep() const
{
    return m_stage == Stage::APPLYING || m_stage == Stage::OFFERING;
}

void CatalogueLoader::takeStep()
{
    switch (m_stage) {
    case Stage::PARSING:
        parseOne();
        return;
    case Stage::ADOPTING:
        adoptSome();
        return;
    case Stage::APPLYING:
        apply();
        return;
    case Stage::CLEANING:
        cleanOne();
        return;
    case Stage::OFFERING:
        offer();
        return;
    case Stage::LETTING_GO:
        letGoOfOne();
        return;
    }
}

void CatalogueLoader::parseOne()
{
    if (const PackagePointer package = m_parser->next()) {
        m_packages.append(package);
        m_index.add(*package);
        return;
    }
    if (!m_parser->isWhole()) {
        m_former += std::exchange(m_packages, {});
        m_index = {};
    }
    m_parser.reset();
    m_recorded = m_database.recordedIds();
    m_next = 0;
    m_stage = Stage::ADOPTING;
}

void CatalogueLoader::adoptSome()
{
    m_database.adoptVersionFiles(m_packages.mid(m_next, AdoptedAtOnce), m_recorded);
    m_next += AdoptedAtOnce;
    if (m_next >= m_packages.size())
        m_stage = Stage::APPLYING;
}

/// In one step, so that nothing is lost between the records and the running work.
void CatalogueLoader::apply()
{
    m_database.applyRecords(m_packages, m_installer.concerned());
    m_former += m_catalogue.renew(std::exchange(m_packages, {}), std::exchange(m_index, {}));
    m_installer.showOn(m_catalogue);
    m_next = 0;
    // There are almost never any copies, and then no package has to be checked.
    m_stage = m_uninstaller.hasCopies() ? Stage::CLEANING : Stage::OFFERING;
}

void CatalogueLoader::cleanOne()
{
    const PackageList &packages = m_catalogue.known();
    if (m_next == packages.size() || m_installer.isBusy()) {
        m_stage = Stage::OFFERING;
        return;
    }
    const Package &package = *packages.at(m_next++);
    if (!m_installer.isConcerned(package.id()))
        m_uninstaller.clearUp(package);
}

void CatalogueLoader::offer()
{
    m_stage = Stage::LETTING_GO;
    m_catalogue.offer();
    emit loaded();
}

void CatalogueLoader::letGoOfOne()
{
    if (!m_former.isEmpty()) {
        m_former.removeLast();
        return;
    }
    if (m_waiting.isEmpty()) {
        m_turns.stop();
        return;
    }
    m_parser = std::make_unique<CatalogueParser>(m_waiting.dequeue());
    m_stage = Stage::PARSING;
}

} // namespace Kavo::Models
