#include "tests/packages/EngineTest.h"
#include "tests/packages/ExtractionWitness.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QFileInfo>
#include <QTest>
#include <QThreadPool>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

using Fault = void (*)(Engine &);

} // namespace

Q_DECLARE_METATYPE(Fault)

class InstallationQueueTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void downloadsThatEndTogetherInstallOneAfterTheOther()
    {
        const ExtractionWitness witness = makeWitness();
        const QVector<int> all{1, 2, 3, 4};
        QVERIFY(publish({{1}, {2}, {3}, {4}}));
        for (const int id : all)
            hold(id);
        for (const int id : all)
            install(id);
        for (const int id : all)
            QVERIFY(waitForState(id, Package::DOWNLOADING));
        for (const int id : all)
            release(id);
        for (const int id : all)
            QVERIFY(waitUntilInstalled(id));
        QCOMPARE(witness.lines().size(), 8);
        QVERIFY(witness.sawOneAtATime());
        for (const int id : all)
            QCOMPARE(recordedStatus(id), int(Package::INSTALLED));
    }

    void chainStartsTheDeepestDownloadFirstAndWaits()
    {
        const ExtractionWitness witness = makeWitness();
        QVERIFY(publish({Offer{1}.needing({"2:1.0"_s}), Offer{2}.needing({"3"_s}), {3}}));
        server().forgetRequests();
        // The order of the starts is observed here and not on the server: each request has its own
        // connection and may arrive before earlier ones.
        QVector<int> started;
        const QObject listener;
        for (int id = 1; id <= 3; ++id) {
            connect(package(id).data(), &Package::stateChanged, &listener,
                    [&started, id](State state) {
                        if (state == Package::PREPARING)
                            started.append(id);
                    });
        }
        QVERIFY(installAndWait(1));
        QCOMPARE(started, (QVector<int>{3, 2, 1}));
        QStringList probes = server().log().filter("HEAD "_s);
        probes.sort();
        QCOMPARE(probes, (QStringList{"HEAD /package-1-1.0.zip"_s, "HEAD /package-2-1.0.zip"_s,
                                      "HEAD /package-3-1.0.zip"_s}));
        QCOMPARE(witness.lines().filter("begin"_s),
                 (QStringList{"begin package-3-1.0.zip"_s, "begin package-2-1.0.zip"_s,
                              "begin package-1-1.0.zip"_s}));
    }

    void dependantWaitsWhileItsDependencyDownloads()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s}), {2}}));
        hold(2);
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLING));
        QCOMPARE(state(2), Package::DOWNLOADING);
        QVERIFY(!controller().isBusy());
        QCOMPARE(recordedStatus(1), int(Package::INSTALLING));
        release(2);
        QVERIFY(waitUntilInstalled(1));
    }

    void dependantOfAFailureEnds_data()
    {
        const auto isMissing = [](Engine &engine) { engine.archive(2).getStatus = 404; };
        const auto isDamaged = [](Engine &engine) { engine.archive(2).body = "no archive"; };
        const auto nothing = [](Engine &) {};
        Rows<QString, Fault, int>()
            .row("download", "2", isMissing, Package::DOWNLOAD_ERROR)
            .row("installation", "2", isDamaged, Package::INSTALL_ERROR)
            .row("without versions", "3", nothing, Package::AVAILABLE)
            .row("not in the catalogue", "77", nothing, Package::AVAILABLE);
    }
    void dependantOfAFailureEnds()
    {
        const auto [dependency, fault, end] = Rows<QString, Fault, int>::current();
        offerObject({{"id"_s, 3}});
        // Package 9 waits for the dependent package 1.
        QVERIFY(publish({Offer{9}.needing({"1"_s}), Offer{1}.needing({dependency}), {2}}));
        fault(engine());
        install(9);
        for (const int id : {9, 1}) {
            QVERIFY(waitForState(id, Package::DEPENDENCY_ERROR));
            QCOMPARE(recordedStatus(id), int(Package::DEPENDENCY_ERROR));
            // An archive that was not unpacked is kept for the next try.
            QVERIFY(QFile::exists(cachedArchive(id)));
        }
        QCOMPARE(int(state(2)), end);
    }

    void chainThatWaitsInAnyOrderEndsWhenTheDownloadFails()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s}), Offer{2}.needing({"3"_s}), {3}}));
        hold(2);
        holdAndBreak(3);
        install(1);
        // Package 1 enters the queue before package 2, on which it depends.
        QVERIFY(waitForState(1, Package::INSTALLING));
        release(2);
        QVERIFY(waitForState(2, Package::INSTALLING));
        QTRY_COMPARE(QFileInfo(cachedArchive(3)).size(), 10);
        release(3);
        QVERIFY(waitForState(2, Package::DEPENDENCY_ERROR));
        QCOMPARE(state(1), Package::DEPENDENCY_ERROR);
        QCOMPARE(state(3), Package::DOWNLOAD_ERROR);
    }

    void dependantDoesNotWaitForADependencyBeforeAnInstalledOne()
    {
        offerObject({{"id"_s, 2}});
        QVERIFY(publish({Offer{1}.needing({"2"_s, "3"_s}), {3}}));
        QVERIFY(installAndWait(3) && installAndWait(1));
    }

    void dependantFailsIfADependencyBeforeAnInstalledOneFails()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s, "3"_s}), {2}, {3}}) && installAndWait(3));
        archive(2).getStatus = 404;
        hold(1);
        install(1);
        QVERIFY(waitForState(2, Package::DOWNLOAD_ERROR));
        release(1);
        QVERIFY(waitUntilSettled(1));
        QCOMPARE(state(1), Package::DEPENDENCY_ERROR);
    }

    // Fixed, see docs/compatibility.md.
    void onlyTheLastDependencyHoldsAPackageBack()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s, "3"_s}), {2}, {3}}));
        hold(2);
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLED));
        QCOMPARE(state(2), Package::DOWNLOADING);
        release(2);
        QVERIFY(waitUntilSettled(2));
    }

    void packagesThatNeedEachOtherAreAllInstalled()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s}), Offer{2}.needing({"3"_s}),
                         Offer{3}.needing({"1"_s}), Offer{4}.needing({"4"_s})}));
        install(1);
        for (int id = 1; id <= 3; ++id)
            QVERIFY(waitUntilInstalled(id));
        QVERIFY(installAndWait(4));
    }

    void packageThatNeedsItselfAwaitsTheRunningOne()
    {
        const GatedExtractor gate(engine());
        QVERIFY(publish({Offer{1}.needing({"1"_s}), {2}}));
        install(2);
        QVERIFY(gate.waitUntilReached());
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLING));
        QCOMPARE(awaitedBy(1), "package-2"_s);
        QCOMPARE(awaitedBy(2), QString());
        gate.open();
        QVERIFY(waitUntilInstalled(1));
        QCOMPARE(awaitedBy(1), QString());
    }

    void dependencyThatDoesNotDecideIsNotAwaited()
    {
        QVERIFY(publish({Offer{1}.needing({"2"_s, "3"_s}), {2}, {3}, {4}}) && installAndWait(3));
        const GatedExtractor gate(engine());
        QVERIFY(restart());
        install(4);
        QVERIFY(gate.waitUntilReached());
        hold(2);
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLING));
        // Its last dependency is installed, so only the running task delays it.
        QCOMPARE(state(2), Package::DOWNLOADING);
        QCOMPARE(awaitedBy(1), "package-4"_s);
        gate.open();
        QVERIFY(waitForState(1, Package::INSTALLED));
        release(2);
        QVERIFY(waitUntilSettled(2));
    }

    void tooOldDependencyIsUpgradedToTheNewest()
    {
        QVERIFY(
            publish({Offer{1}.needing({"2:1.10"_s}), {2, "1.2"_s}, {2, "1.10"_s}, {2, "3.0"_s}}));
        QVERIFY(installAndWait(2, "1.2"_s) && installAndWait(1));
        QCOMPARE(recordedVersion(2), "3.0"_s);
    }

    void nothingBeginsWhileTheQueueIsHeld()
    {
        QVERIFY(publish({{1}}));
        controller().holdInstallations(true);
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLING));
        QVERIFY(!controller().isBusy());
        controller().holdInstallations(false);
        QVERIFY(controller().isBusy());
        QVERIFY(waitUntilInstalled(1));
    }

    /// At the end of the program, the running task is completed and recorded. No waiting task
    /// starts.
    void nothingBeginsAfterTheEndOfTheProgram()
    {
        const GatedExtractor gate(engine());
        QVERIFY(publish({{1}, {2}}));
        install(1);
        QVERIFY(gate.waitUntilReached());
        install(2);
        QVERIFY(waitForState(2, Package::INSTALLING));
        gate.open();
        stop();
        // If another task had been started, this would wait for it.
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(hasFile(1) && !hasFile(2));
        QVERIFY(QFile::exists(cachedArchive(2)));
        QCOMPARE(recordedStatus(1), int(Package::INSTALLED));
        QCOMPARE(recordedStatus(2), int(Package::INSTALLING));
    }

    void twoHundredPackagesAreEachInstalledOnceInOrder()
    {
        const ExtractionWitness witness = makeWitness();
        constexpr int Count = 200;
        for (int id = 1; id <= Count; ++id) {
            // Package n depends on package n / 2.
            offer(Offer{id}.needing(id > 1 ? QStringList(QString::number(id / 2)) : QStringList()));
        }
        QVERIFY(refresh());
        for (int id = Count; id >= 1; --id)
            install(id);
        for (int id = 1; id <= Count; ++id)
            QVERIFY(waitForState(id, Package::INSTALLED));
        QVERIFY(waitUntilSettled(Count));

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
            QCOMPARE(recordedStatus(id), 1);
            QCOMPARE(inSimulator(Engine::fileOf(id)), Engine::contentOf(id, "1.0"_s));
        }
    }

private:
    /// Makes the engine use a 7-Zip that records its extractions.
    ExtractionWitness makeWitness()
    {
        const ExtractionWitness witness(profile().folder("tools"_s));
        setExtractor(witness.program());
        return witness;
    }
    /// Name of the package that this one waits for, empty if there is none.
    QString awaitedBy(int id) { return controller().progress(package(id)).waitsFor; }
};

KAVO_TEST_MAIN(InstallationQueueTest)
#include "InstallationQueueTest.moc"
