#include "tests/packages/Engine.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

namespace {

constexpr int PackageCount = 9;
constexpr int Rounds = 24;
constexpr int Deeds = 30;
constexpr int Patience = 60000; ///< in milliseconds

QString archiveOfPackage(int id, const QString &version)
{
    return QStringLiteral("/package-%1-%2.zip").arg(id).arg(version);
}

QStringList versions()
{
    return {QStringLiteral("1.0"), QStringLiteral("2.0")};
}

} // namespace

/// Whatever the user does in whatever order, every piece of work ends as soon as its downloads do.
/// Few packages that need each other at random, in circles, too, and what cannot be installed;
/// KAVO_WORK_SEED=NUMBER does everything in the same order again.
class WorkEndsTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup();

    void everyPieceOfWorkEndsWhateverComesInBetween_data();
    void everyPieceOfWorkEndsWhateverComesInBetween();

private:
    void offerPackages();
    Offer randomOffer(int id, const QString &version);
    bool begin();
    void act();
    void install();
    void uninstall();
    void refresh();
    void quit();
    void hold();
    void release();
    void spoil();
    void letSomethingHappen();
    bool isQuiet() const;
    QString wrongs() const;

    PackagePointer anyCard() { return m_cards.at(below(m_cards.size())); }
    QString anyArchive();
    int below(int limit) { return m_random.bounded(limit); }

    quint32 m_seed = 0;
    QRandomGenerator m_random;
    std::unique_ptr<Engine> m_engine;
    PackageList m_cards; ///< what a window would show
    int m_refreshes = 0;
    QString m_refusal; ///< a removal that went wrong
};

void WorkEndsTest::initTestCase()
{
    const QByteArray wanted = qgetenv("KAVO_WORK_SEED");
    m_seed = wanted.isEmpty() ? QRandomGenerator::system()->generate() : wanted.toUInt();
    qInfo("KAVO_WORK_SEED=%u", m_seed);
}

void WorkEndsTest::cleanup()
{
    m_engine.reset();
    m_cards.clear();
    m_refreshes = 0;
    m_refusal.clear();
}

void WorkEndsTest::offerPackages()
{
    for (int id = 1; id <= PackageCount; ++id) {
        if (below(8) == 0) {
            m_engine->offerObject({{QStringLiteral("id"), id}});
            continue;
        }
        for (const QString &version : versions())
            m_engine->offer(randomOffer(id, version));
    }
}

Offer WorkEndsTest::randomOffer(int id, const QString &version)
{
    Offer offer{id, version};
    offer.remove = QStringList{QStringLiteral("package-%1").arg(id)};
    for (int wanted = below(3); wanted > 0; --wanted) {
        // One in a while is not in the catalogue.
        const QString dependency = QString::number(1 + below(PackageCount * 8) / 7);
        offer.depends.append(below(3) == 0 ? dependency + QStringLiteral(":2.0") : dependency);
    }
    return offer;
}

/// Starts the program and waits for its list.
bool WorkEndsTest::begin()
{
    m_engine->start();
    connect(&m_engine->controller(), &PackageController::list, this, [this] {
        --m_refreshes;
        m_cards = m_engine->controller().packages();
    });
    refresh();
    return runUntil([this] { return m_refreshes == 0; }, Patience);
}

void WorkEndsTest::act()
{
    const int choice = below(20);
    if (choice < 7)
        install();
    else if (choice < 10)
        uninstall();
    else if (choice < 12)
        refresh();
    else if (choice < 13)
        quit();
    else if (choice < 15)
        hold();
    else if (choice < 18)
        release();
    else
        spoil();
}

void WorkEndsTest::install()
{
    const QStringList wishes{QString(), QStringLiteral("1.0"), QStringLiteral("2.0")};
    QString version = wishes.at(below(wishes.size()));
    m_engine->controller().install(anyCard(), version);
}

void WorkEndsTest::uninstall()
{
    const PackagePointer card = anyCard();
    if (card->state() != Package::INSTALLED)
        return;
    const bool free = m_engine->controller().removalBlockers(card).isEmpty();
    m_engine->controller().uninstall(card);
    if ((card->state() == Package::AVAILABLE) != free)
        m_refusal = card->name();
}

void WorkEndsTest::refresh()
{
    ++m_refreshes;
    m_engine->controller().refresh();
}

void WorkEndsTest::quit()
{
    m_engine->stop();
    m_refreshes = 0;
    QVERIFY(begin());
}

QString WorkEndsTest::anyArchive()
{
    return archiveOfPackage(1 + below(PackageCount), versions().at(below(versions().size())));
}

void WorkEndsTest::hold()
{
    m_engine->server().resource(anyArchive()).holdsGet = true;
}

void WorkEndsTest::release()
{
    m_engine->server().release(anyArchive());
}

/// From now on one archive fails, in one way or another.
void WorkEndsTest::spoil()
{
    HttpResource &archive = m_engine->server().resource(anyArchive());
    switch (below(3)) {
    case 0:
        archive.getStatus = 404;
        break;
    case 1:
        archive.body = "no archive";
        break;
    default:
        archive.resetAfter = archive.body.size() / 2;
        break;
    }
}

/// A few turns of the event loop, more or less of what is under way.
void WorkEndsTest::letSomethingHappen()
{
    for (int turns = below(12); turns > 0; --turns)
        QCoreApplication::processEvents();
    if (below(4) == 0)
        runUntil([this] { return !m_engine->controller().isBusy(); }, Patience);
}

bool WorkEndsTest::isQuiet() const
{
    return m_refreshes == 0 && !m_engine->controller().isBusy() &&
           std::none_of(m_cards.cbegin(), m_cards.cend(),
                        [](const PackagePointer &package) { return package->isBusy(); });
}

/// What does not agree once all is quiet: nothing is on its way, and the record and the disk say
/// the same.
QString WorkEndsTest::wrongs() const
{
    QStringList wrongs;
    for (const PackagePointer &package : m_cards) {
        const int id = package->id();
        const bool installed = package->state() == Package::INSTALLED;
        if (installed != (m_engine->recordedStatus(id) == Package::INSTALLED))
            wrongs.append(QStringLiteral("package %1: other record").arg(id));
        if (installed && !QFile::exists(m_engine->simulator(Engine::fileOf(id))))
            wrongs.append(QStringLiteral("package %1: no files").arg(id));
        if (!m_engine->controller().removalBlockers(package).isEmpty())
            wrongs.append(QStringLiteral("package %1: still blocked").arg(id));
    }
    return wrongs.join(QStringLiteral("; "));
}

void WorkEndsTest::everyPieceOfWorkEndsWhateverComesInBetween_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 round = 0; round < Rounds; ++round)
        QTest::addRow("seed %u", m_seed + round) << m_seed + round;
}

void WorkEndsTest::everyPieceOfWorkEndsWhateverComesInBetween()
{
    QFETCH(quint32, seed);
    m_random.seed(seed);
    offerPackages();
    m_engine->serveCatalogue();
    QVERIFY(begin());
    for (int deed = 0; deed < Deeds; ++deed) {
        act();
        letSomethingHappen();
    }
    // Nothing is held back any more; not a single further deed of the user's must be needed.
    for (int id = 1; id <= PackageCount; ++id) {
        for (const QString &version : versions())
            m_engine->server().release(archiveOfPackage(id, version));
    }
    QVERIFY(runUntil([this] { return isQuiet(); }, Patience));
    QCOMPARE(wrongs(), QString());
    QCOMPARE(m_refusal, QString());
}

KAVO_TEST_MAIN(WorkEndsTest)
#include "WorkEndsTest.moc"
