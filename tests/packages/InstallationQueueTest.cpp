#include "tests/packages/Engine.h"
#include "tests/packages/ExtractionWitness.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/TestMain.h"

#include <QFileInfo>
#include <QTest>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

class InstallationQueueTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup() { m_engine.reset(); }

    void downloadsThatEndTogetherInstallOneAfterTheOther();
    void chainStartsTheDeepestDownloadFirstAndWaits();
    void dependantWaitsWhileItsDependencyDownloads();
    void everyDependantOfAFailedDownloadEnds();
    void dependantThatWaitsEndsWhenTheDownloadFails();
    void chainThatWaitsInAnyOrderEndsWhenTheDownloadFails();
    void dependantOfAFailedInstallationEnds();
    void dependantOfAPackageWithoutVersionsEnds();
    void dependantIsNotHeldUpByWhatOnlyStandsBeforeAnInstalledOne();
    void dependantOfAFailedOneBeforeAnInstalledOneEnds();
    void unknownDependencyEndsThePackage();
    void onlyTheLastDependencyHoldsAPackageBack();
    void packagesThatNeedEachOtherAreBothInstalled();
    void packageThatNeedsItselfIsInstalled();
    void packageThatNeedsItselfAwaitsTheRunningOne();
    void dependencyThatDoesNotDecideIsNotAwaited();
    void tooOldDependencyIsUpgradedToTheNewest();
    void nothingBeginsWhileTheQueueIsHeld();
    void nothingBeginsAfterTheEndOfTheProgram();
    void archiveOfAPackageThatNeverStartedStaysInTheCache();
    void twoHundredPackagesAreEachInstalledOnceInOrder();

private:
    ExtractionWitness makeWitness();
    void offerFailing(int id);
    /// Name of the package that has to be installed before this one.
    QString awaitedBy(int id)
    {
        return m_engine->controller().progress(m_engine->package(id)).waitsFor;
    }

    std::unique_ptr<Engine> m_engine;
};

/// Lets the engine unpack under the eyes of a witness.
ExtractionWitness InstallationQueueTest::makeWitness()
{
    const ExtractionWitness witness(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(witness.program());
    return witness;
}

/// A package whose archive the server does not have.
void InstallationQueueTest::offerFailing(int id)
{
    m_engine->offer({id});
    m_engine->server().removeResource(QStringLiteral("/package-%1-1.0.zip").arg(id));
}

void InstallationQueueTest::downloadsThatEndTogetherInstallOneAfterTheOther()
{
    const ExtractionWitness witness = makeWitness();
    for (int id = 1; id <= 4; ++id)
        m_engine->offer({id});
    QVERIFY(m_engine->refresh());
    for (int id = 1; id <= 4; ++id)
        m_engine->server().resource(QStringLiteral("/package-%1-1.0.zip").arg(id)).holdsGet = true;
    for (int id = 1; id <= 4; ++id)
        m_engine->install(id);
    for (int id = 1; id <= 4; ++id)
        QVERIFY(m_engine->waitForState(id, Package::DOWNLOADING));
    for (int id = 1; id <= 4; ++id)
        m_engine->server().release(QStringLiteral("/package-%1-1.0.zip").arg(id));
    for (int id = 1; id <= 4; ++id)
        QVERIFY(m_engine->waitUntilSettled(id));
    const QStringList lines = witness.lines();
    QCOMPARE(lines.size(), 8);
    QVERIFY(witness.sawOneAtATime());
    for (int id = 1; id <= 4; ++id)
        QCOMPARE(m_engine->recordedStatus(id), 1);
}

void InstallationQueueTest::chainStartsTheDeepestDownloadFirstAndWaits()
{
    const ExtractionWitness witness = makeWitness();
    Offer outer{1};
    outer.depends = QStringList{QStringLiteral("2:1.0")};
    Offer middle{2};
    middle.depends = QStringList{QStringLiteral("3")};
    m_engine->offer(outer);
    m_engine->offer(middle);
    m_engine->offer({3});
    QVERIFY(m_engine->refresh());
    m_engine->server().forgetRequests();
    // Each request has a connection of its own, and may overtake those before it on the way.
    QVector<int> started;
    const QObject listener;
    for (int id = 1; id <= 3; ++id) {
        connect(m_engine->package(id).data(), &Package::stateChanged, &listener,
                [&started, id](Package::State state) {
                    if (state == Package::PREPARING)
                        started.append(id);
                });
    }
    QVERIFY(m_engine->installAndWait(1));
    QCOMPARE(started, (QVector<int>{3, 2, 1}));
    QStringList probes = m_engine->server().log().filter(QStringLiteral("HEAD "));
    probes.sort();
    QCOMPARE(probes, (QStringList{QStringLiteral("HEAD /package-1-1.0.zip"),
                                  QStringLiteral("HEAD /package-2-1.0.zip"),
                                  QStringLiteral("HEAD /package-3-1.0.zip")}));
    QCOMPARE(witness.lines().filter(QStringLiteral("begin")),
             (QStringList{QStringLiteral("begin package-3-1.0.zip"),
                          QStringLiteral("begin package-2-1.0.zip"),
                          QStringLiteral("begin package-1-1.0.zip")}));
}

void InstallationQueueTest::dependantWaitsWhileItsDependencyDownloads()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    m_engine->offer({2});
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(QStringLiteral("/package-2-1.0.zip")).holdsGet = true;
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLING));
    QCOMPARE(m_engine->package(2)->state(), Package::DOWNLOADING);
    QVERIFY(!m_engine->controller().isBusy());
    QCOMPARE(m_engine->recordedStatus(1), 4);
    m_engine->server().release(QStringLiteral("/package-2-1.0.zip"));
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(1));
}

void InstallationQueueTest::everyDependantOfAFailedDownloadEnds()
{
    Offer outer{1};
    outer.depends = QStringList{QStringLiteral("2")};
    Offer middle{2};
    middle.depends = QStringList{QStringLiteral("3")};
    m_engine->offer(outer);
    m_engine->offer(middle);
    offerFailing(3);
    QVERIFY(m_engine->refresh());
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::DEPENDENCY_ERROR));
    QCOMPARE(m_engine->package(2)->state(), Package::DEPENDENCY_ERROR);
    QCOMPARE(m_engine->package(3)->state(), Package::DOWNLOAD_ERROR);
    QCOMPARE(m_engine->recordedStatus(1), 8);
    QCOMPARE(m_engine->recordedStatus(2), 8);
}

void InstallationQueueTest::dependantThatWaitsEndsWhenTheDownloadFails()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    m_engine->offer({2});
    QVERIFY(m_engine->refresh());
    HttpResource &archive = m_engine->server().resource(QStringLiteral("/package-2-1.0.zip"));
    archive.holdAfter = 10;
    archive.resetAfter = 20;
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLING));
    QTRY_COMPARE(QFileInfo(m_engine->cached(QStringLiteral("package-2-1.0.zip"))).size(), 10);
    m_engine->server().release(QStringLiteral("/package-2-1.0.zip"));
    QVERIFY(m_engine->waitForState(1, Package::DEPENDENCY_ERROR));
    QCOMPARE(m_engine->package(2)->state(), Package::DOWNLOAD_ERROR);
}

void InstallationQueueTest::chainThatWaitsInAnyOrderEndsWhenTheDownloadFails()
{
    Offer outer{1};
    outer.depends = QStringList{QStringLiteral("2")};
    Offer middle{2};
    middle.depends = QStringList{QStringLiteral("3")};
    m_engine->offer(outer);
    m_engine->offer(middle);
    m_engine->offer({3});
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(QStringLiteral("/package-2-1.0.zip")).holdsGet = true;
    HttpResource &deepest = m_engine->server().resource(QStringLiteral("/package-3-1.0.zip"));
    deepest.holdAfter = 10;
    deepest.resetAfter = 20;
    m_engine->install(1);
    // The outer one stands before the middle one in the queue.
    QVERIFY(m_engine->waitForState(1, Package::INSTALLING));
    m_engine->server().release(QStringLiteral("/package-2-1.0.zip"));
    QVERIFY(m_engine->waitForState(2, Package::INSTALLING));
    QTRY_COMPARE(QFileInfo(m_engine->cached(QStringLiteral("package-3-1.0.zip"))).size(), 10);
    m_engine->server().release(QStringLiteral("/package-3-1.0.zip"));
    QVERIFY(m_engine->waitForState(2, Package::DEPENDENCY_ERROR));
    QCOMPARE(m_engine->package(1)->state(), Package::DEPENDENCY_ERROR);
}

void InstallationQueueTest::dependantOfAPackageWithoutVersionsEnds()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    m_engine->offerObject({{QStringLiteral("id"), 2}});
    QVERIFY(m_engine->refresh());
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::DEPENDENCY_ERROR));
    QCOMPARE(m_engine->recordedStatus(1), 8);
}

void InstallationQueueTest::dependantIsNotHeldUpByWhatOnlyStandsBeforeAnInstalledOne()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2"), QStringLiteral("3")};
    m_engine->offer(dependant);
    m_engine->offerObject({{QStringLiteral("id"), 2}});
    m_engine->offer({3});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(3));
    QVERIFY(m_engine->installAndWait(1));
}

void InstallationQueueTest::dependantOfAFailedInstallationEnds()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    m_engine->offer({2});
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(QStringLiteral("/package-2-1.0.zip")).body = "no archive";
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::DEPENDENCY_ERROR));
    QCOMPARE(m_engine->package(2)->state(), Package::INSTALL_ERROR);
}

void InstallationQueueTest::dependantOfAFailedOneBeforeAnInstalledOneEnds()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2"), QStringLiteral("3")};
    m_engine->offer(dependant);
    offerFailing(2);
    m_engine->offer({3});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(3));
    m_engine->server().resource(QStringLiteral("/package-1-1.0.zip")).holdsGet = true;
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(2, Package::DOWNLOAD_ERROR));
    m_engine->server().release(QStringLiteral("/package-1-1.0.zip"));
    QVERIFY(m_engine->waitUntilSettled(1));
    QCOMPARE(m_engine->package(1)->state(), Package::DEPENDENCY_ERROR);
}

void InstallationQueueTest::unknownDependencyEndsThePackage()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("77")};
    m_engine->offer(dependant);
    QVERIFY(m_engine->refresh());
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::DEPENDENCY_ERROR));
    QCOMPARE(m_engine->recordedStatus(1), 8);
}

// Fixed, see docs/compatibility.md.
void InstallationQueueTest::onlyTheLastDependencyHoldsAPackageBack()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2"), QStringLiteral("3")};
    m_engine->offer(dependant);
    m_engine->offer({2});
    m_engine->offer({3});
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(QStringLiteral("/package-2-1.0.zip")).holdsGet = true;
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    QCOMPARE(m_engine->package(2)->state(), Package::DOWNLOADING);
    m_engine->server().release(QStringLiteral("/package-2-1.0.zip"));
    QVERIFY(m_engine->waitUntilSettled(2));
}

void InstallationQueueTest::packagesThatNeedEachOtherAreBothInstalled()
{
    Offer first{1};
    first.depends = QStringList{QStringLiteral("2")};
    Offer second{2};
    second.depends = QStringList{QStringLiteral("3")};
    Offer third{3};
    third.depends = QStringList{QStringLiteral("1")};
    m_engine->offer(first);
    m_engine->offer(second);
    m_engine->offer(third);
    QVERIFY(m_engine->refresh());
    m_engine->install(1);
    for (int id = 1; id <= 3; ++id)
        QVERIFY(m_engine->waitForState(id, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(1));
}

void InstallationQueueTest::packageThatNeedsItselfIsInstalled()
{
    Offer offer{1};
    offer.depends = QStringList{QStringLiteral("1")};
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
}

void InstallationQueueTest::packageThatNeedsItselfAwaitsTheRunningOne()
{
    const GatedExtractor gate(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(gate.program());
    Offer offer{1};
    offer.depends = QStringList{QStringLiteral("1")};
    m_engine->offer(offer);
    m_engine->offer({2});
    QVERIFY(m_engine->refresh());
    m_engine->install(2);
    QVERIFY(gate.waitUntilReached());
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLING));
    QCOMPARE(awaitedBy(1), QStringLiteral("package-2"));
    QCOMPARE(awaitedBy(2), QString());
    gate.open();
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(1));
    QCOMPARE(awaitedBy(1), QString());
}

void InstallationQueueTest::dependencyThatDoesNotDecideIsNotAwaited()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2"), QStringLiteral("3")};
    m_engine->offer(dependant);
    for (int id = 2; id <= 4; ++id)
        m_engine->offer({id});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(3));
    m_engine->stop();
    const GatedExtractor gate(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(gate.program());
    QVERIFY(m_engine->refresh());
    m_engine->install(4);
    QVERIFY(gate.waitUntilReached());
    m_engine->server().resource(QStringLiteral("/package-2-1.0.zip")).holdsGet = true;
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLING));
    // Its last dependency is there, so that nothing but the running task holds it up.
    QCOMPARE(m_engine->package(2)->state(), Package::DOWNLOADING);
    QCOMPARE(awaitedBy(1), QStringLiteral("package-4"));
    gate.open();
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    m_engine->server().release(QStringLiteral("/package-2-1.0.zip"));
    QVERIFY(m_engine->waitUntilSettled(2));
}

void InstallationQueueTest::tooOldDependencyIsUpgradedToTheNewest()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2:1.10")};
    m_engine->offer(dependant);
    for (const QString &version :
         {QStringLiteral("1.2"), QStringLiteral("1.10"), QStringLiteral("3.0")})
        m_engine->offer({2, version});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(2, QStringLiteral("1.2")));
    QVERIFY(m_engine->installAndWait(1));
    QCOMPARE(m_engine->recordedVersion(2), QStringLiteral("3.0"));
}

void InstallationQueueTest::nothingBeginsWhileTheQueueIsHeld()
{
    m_engine->offer({1});
    QVERIFY(m_engine->refresh());
    m_engine->controller().holdInstallations(true);
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLING));
    QVERIFY(!m_engine->controller().isBusy());
    m_engine->controller().holdInstallations(false);
    QVERIFY(m_engine->controller().isBusy());
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(1));
}

/// What runs is finished and recorded, what waits is not begun.
void InstallationQueueTest::nothingBeginsAfterTheEndOfTheProgram()
{
    const GatedExtractor gate(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(gate.program());
    for (int id = 1; id <= 2; ++id)
        m_engine->offer({id});
    QVERIFY(m_engine->refresh());
    m_engine->install(1);
    QVERIFY(gate.waitUntilReached());
    m_engine->install(2);
    QVERIFY(m_engine->waitForState(2, Package::INSTALLING));
    gate.open();
    m_engine->stop();
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(1))));
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(2))));
    QCOMPARE(m_engine->recordedStatus(1), 1);
    QCOMPARE(m_engine->recordedStatus(2), 4);
}

void InstallationQueueTest::archiveOfAPackageThatNeverStartedStaysInTheCache()
{
    Offer dependant{1};
    dependant.depends = QStringList{QStringLiteral("2")};
    m_engine->offer(dependant);
    offerFailing(2);
    QVERIFY(m_engine->refresh());
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::DEPENDENCY_ERROR));
    QVERIFY(QFile::exists(m_engine->cached(QStringLiteral("package-1-1.0.zip"))));
}

void InstallationQueueTest::twoHundredPackagesAreEachInstalledOnceInOrder()
{
    const ExtractionWitness witness = makeWitness();
    constexpr int Count = 200;
    for (int id = 1; id <= Count; ++id) {
        Offer offer{id};
        // Every package needs one half as far down the list.
        if (id > 1)
            offer.depends = QStringList{QString::number(id / 2)};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
    for (int id = Count; id >= 1; --id)
        m_engine->install(id);
    for (int id = 1; id <= Count; ++id)
        QVERIFY(m_engine->waitForState(id, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(Count));

    const QStringList lines = witness.lines();
    QCOMPARE(lines.size(), 2 * Count);
    QHash<int, int> turns;
    QVERIFY(witness.sawOneAtATime());
    for (int line = 0; line < lines.size(); line += 2) {
        const QString name = lines.at(line).mid(6);
        const int id = name.section(QLatin1Char('-'), 1, 1).toInt();
        QVERIFY(!turns.contains(id));
        turns.insert(id, line);
        if (id > 1)
            QVERIFY(turns.contains(id / 2));
    }
    for (int id = 1; id <= Count; ++id) {
        QCOMPARE(m_engine->recordedStatus(id), 1);
        QCOMPARE(readFile(m_engine->simulator(Engine::fileOf(id))),
                 Engine::contentOf(id, QStringLiteral("1.0")));
    }
}

KAVO_TEST_MAIN(InstallationQueueTest)
#include "InstallationQueueTest.moc"
