#include "downloads/DownloadManager.h"
#include "tests/packages/EngineTest.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QAbstractEventDispatcher>
#include <QDeadlineTimer>
#include <QJsonArray>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

/// A refresh handles many packages in turns and runs the event loop in between. These tests check
/// events between two turns.
class RefreshInTurnsTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void eventLoopGoesOnMeanwhile()
    {
        // Too many packages for two turns, even on a fast machine.
        constexpr int Packages = 6 * Many;
        offerMany(Packages);
        QVERIFY(refresh());
        QVERIFY(beginRefresh());
        int turns = 0;
        QTimer other;
        connect(&other, &QTimer::timeout, this, [&turns] { ++turns; });
        other.start();
        QVERIFY(waitForList());
        QVERIFY(turns > 2);
        QCOMPARE(controller().packages().size(), Packages);
    }

    void nothingIsOnOfferBeforeTheEnd()
    {
        offer({7});
        offerMany();
        start();
        QVERIFY(beginRefresh());
        bool isShownEarly = false;
        QTimer look;
        connect(&look, &QTimer::timeout, this, [this, &isShownEarly] {
            if (m_list->isEmpty() && !controller().packages().isEmpty())
                isShownEarly = true;
        });
        QSignalSpy updated(&controller(), &PackageController::update);
        connect(&controller(), &PackageController::update, this,
                [this] { QCOMPARE(controller().packages().size(), Many + 1); });
        look.start();
        QVERIFY(waitForList());
        QVERIFY(!isShownEarly);
        QCOMPARE(updated.count(), 1);
    }

    /// Catalogues that arrive during a refresh are applied one after the other, in the order of
    /// their arrival.
    void refreshesMeanwhile()
    {
        offerMany();
        start();
        QVERIFY(beginRefresh());
        QList<int> sizes;
        connect(&controller(), &PackageController::update, this,
                [this, &sizes] { sizes.append(controller().packages().size()); });
        const QString url = server().url("/packages.json"_s);
        for (const int id : {7, 8}) {
            offer({id});
            serveCatalogue();
            controller().refresh();
            // The file arrives without timers, so excluding them prevents further turns.
            const QDeadlineTimer deadline(30000);
            while (downloads().find(url) && !deadline.hasExpired())
                QCoreApplication::processEvents(QEventLoop::X11ExcludeTimers);
            QVERIFY(downloads().find(url).isNull());
            QVERIFY(isUnderWay());
        }
        QVERIFY(controller().packages().isEmpty());
        QVERIFY(runUntil([this] { return m_list->count() == 3; }, 30000));
        QCOMPARE(sizes, QList<int>({Many, Many + 1, Many + 2}));
        QVERIFY(package(7));
        QVERIFY(package(8));
    }

    /// A refresh uses the content that the file had on arrival. Later changes of the file have no
    /// effect.
    void fileThatIsReplacedMeanwhile()
    {
        offerMany();
        start();
        QVERIFY(beginRefresh());
        QVERIFY(writeFile(cached("packages.json"_s), "[]"));
        QVERIFY(waitForList());
        QCOMPARE(controller().packages().size(), Many);
    }

    void malformedEndIsFoundAtTheEnd()
    {
        offerMany();
        serveCatalogue();
        catalogue().body.chop(3);
        QVERIFY(refreshAsServed());
        QVERIFY(controller().packages().isEmpty());
        // The packages before the malformed end are not known either.
        QVERIFY(package(1000).isNull());
        serveCatalogue();
        QVERIFY(refreshAsServed());
        QCOMPARE(controller().packages().size(), Many);
        QCOMPARE(package(1000)->id(), 1000);
    }

    void resetMeanwhile()
    {
        offer({7});
        offerMany();
        QVERIFY(refresh() && installAndWait(7));
        QVERIFY(beginRefresh());
        controller().reset();
        QVERIFY(waitForList());
        QCOMPARE(controller().packages().size(), Many + 1);
        QCOMPARE(state(7), Package::AVAILABLE);
        QVERIFY(!QFile::exists(packageDatabase()));
    }

    void endOfTheProgramMeanwhile()
    {
        offer({7});
        offerMany();
        QVERIFY(refresh() && installAndWait(7));
        for (int turns = 0; turns < 20; turns += 4) {
            QVERIFY(beginRefresh());
            for (int turn = 0; turn < turns; ++turn)
                QCoreApplication::processEvents();
            stop();
            m_list.reset();
            QCOMPARE(recordedStatus(7), 1);
            start();
        }
        QVERIFY(refresh());
        QCOMPARE(state(7), Package::INSTALLED);
    }

    void installationThatEndsMeanwhile()
    {
        const GatedExtractor extractor(engine());
        offer({7});
        offerMany();
        QVERIFY(refresh());
        const PackagePointer working = package(7);
        install(7);
        QVERIFY(extractor.waitUntilReached());
        QVERIFY(beginRefresh());
        extractor.open();
        QVERIFY(waitWithoutTurns([this] { return !controller().isBusy(); }));
        QCOMPARE(working->state(), Package::INSTALLED);
        QVERIFY(isUnderWay());
        QVERIFY(waitForList());
        QVERIFY(package(7) != working);
        QCOMPARE(state(7), Package::INSTALLED);
        QVERIFY(!isUpdateAvailable(7));
        QCOMPARE(wholeVersion(7), "1.0"_s);
        QCOMPARE(recordedStatus(7), 1);
    }

    void installationThatFailsMeanwhile()
    {
        offer({7});
        offer({7, "2.0"_s});
        offerMany();
        QVERIFY(refresh() && installAndWait(7, "1.0"_s));
        holdAndBreak(7, "2.0"_s);
        const PackagePointer working = package(7);
        QVERIFY(installUntilDownloading(7, "2.0"_s));
        QVERIFY(beginRefresh());
        release(7, "2.0"_s);
        QVERIFY(
            runUntil([&working] { return working->state() == Package::DOWNLOAD_ERROR; }, 30000));
        QVERIFY(waitForList());
        // No file of the previous version was removed. The failure is shown only if it came after
        // the records were applied.
        QVERIFY(state(7) == Package::INSTALLED || state(7) == Package::DOWNLOAD_ERROR);
        QVERIFY(refresh());
        QCOMPARE(state(7), Package::INSTALLED);
        QVERIFY(isUpdateAvailable(7));
        QCOMPARE(wholeVersion(7), "1.0"_s);
    }

    void installationThatBeginsMeanwhile()
    {
        offer({7});
        offerMany();
        QVERIFY(refresh());
        const PackagePointer before = package(7);
        hold(7);
        QVERIFY(beginRefresh());
        QString version;
        controller().install(before, version);
        QVERIFY(waitForList());
        QVERIFY(package(7) != before);
        QVERIFY(package(7)->isBusy());
        release(7);
        QVERIFY(waitUntilInstalled(7));
    }

    void removalMeanwhile()
    {
        offer({7});
        offerMany();
        QVERIFY(refresh() && installAndWait(7));
        const PackagePointer before = package(7);
        QVERIFY(beginRefresh());
        controller().uninstall(before);
        QCOMPARE(before->state(), Package::AVAILABLE);
        QVERIFY(isUnderWay());
        QVERIFY(waitForList());
        QVERIFY(package(7) != before);
        QCOMPARE(state(7), Package::AVAILABLE);
    }

    void removalAfterwardsThroughAFormerObject()
    {
        QVERIFY(publish({{7}}) && installAndWait(7));
        const PackagePointer before = package(7);
        QVERIFY(publish({{7, "2.0"_s}}));
        QVERIFY(isUpdateAvailable(7));
        controller().uninstall(before);
        QCOMPARE(state(7), Package::AVAILABLE);
        QVERIFY(!isUpdateAvailable(7));
    }

    void installationAfterwardsThroughAFormerObject()
    {
        QVERIFY(publish({{7}}));
        const PackagePointer before = package(7);
        QVERIFY(refresh());
        QString version;
        controller().install(before, version);
        QVERIFY(package(7)->isBusy());
        QVERIFY(waitUntilInstalled(7));
        QCOMPARE(before->state(), Package::INSTALLED);
    }

    void versionFilesOfManyPackages()
    {
        constexpr int Count = 250;
        for (int id = 1; id <= Count; ++id) {
            const QString folder = "plugins/%1"_s.arg(id);
            offerVersion(id, "2.0"_s, {{"extract"_s, folder}});
            if (id % 3 == 0)
                QVERIFY(writeFile(simulator(folder + "/Kavo_version.txt"_s),
                                  id % 2 == 0 ? "a\nb\n2.0\n" : "a\nb\n1.5\n"));
        }
        QVERIFY(refresh());
        for (int id = 1; id <= Count; ++id) {
            const bool isInstalled = id % 3 == 0;
            QCOMPARE(state(id), isInstalled ? Package::INSTALLED : Package::AVAILABLE);
            QCOMPARE(isUpdateAvailable(id), isInstalled && id % 2 != 0);
            QCOMPARE(recordedStatus(id), isInstalled ? 1 : -1);
        }
    }

    /// The record of running work outweighs a version file.
    void versionFileOfAPackageThatIsInstalledMeanwhile()
    {
        offer(Offer{7, "2.0"_s}.into("plugins/seven"_s));
        offerMany();
        QVERIFY(refresh());
        const PackagePointer before = package(7);
        QVERIFY(writeFile(simulator("plugins/seven/Kavo_version.txt"_s), "a\nb\n1.5\n"));
        hold(7, "2.0"_s);
        QVERIFY(installUntilDownloading(7));
        QVERIFY(beginRefresh());
        QVERIFY(waitForList());
        QCOMPARE(state(7), Package::DOWNLOADING);
        QCOMPARE(recordedVersion(7), "2.0"_s);
        release(7, "2.0"_s);
        QVERIFY(waitUntilInstalled(7));
    }

    void versionFileThatComesAfterACleanUp()
    {
        QVERIFY(putWithKeptFile(7, "mine"));
        QVERIFY(writeFile(copyOf(7), "mine"));
        offerVersion(8, "1.0"_s, {{"extract"_s, "plugins/8"_s}});
        QVERIFY(refresh());
        QVERIFY(!QFile::exists(copyOf(7)));
        QCOMPARE(state(8), Package::AVAILABLE);
        QVERIFY(writeFile(simulator("plugins/8/Kavo_version.txt"_s), "a\nb\n1.0\n") && refresh());
        QCOMPARE(state(8), Package::INSTALLED);
    }

    /// Copies with the same content as their files are left over from a sudden end. They are
    /// deleted before the list is complete.
    void cleanUpOfManyPackages()
    {
        constexpr int Count = 400;
        for (int id = 1; id <= Count; ++id) {
            QVERIFY(putWithKeptFile(id, "mine"));
            QVERIFY(
                writeFile(copyOf(id), id % 2 == 0 ? QByteArray("mine") : QByteArray("another")));
        }
        QVERIFY(refresh());
        for (int id = 1; id <= Count; ++id)
            QCOMPARE(QFile::exists(copyOf(id)), id % 2 != 0);
    }

    /// No copy is deleted while an installation runs, because the installation may be about to
    /// replace a file that still equals its copy.
    void copiesStayWhileAnInstallationRuns()
    {
        const GatedExtractor extractor(engine());
        offer({7});
        QVERIFY(putWithKeptFile(8, "mine"));
        QVERIFY(refresh() && writeFile(copyOf(8), "mine"));
        install(7);
        QVERIFY(extractor.waitUntilReached());
        QVERIFY(refresh());
        QVERIFY(controller().isBusy());
        QVERIFY(QFile::exists(copyOf(8)));
        extractor.open();
        QVERIFY(waitUntilSettled(7) && refresh());
        QVERIFY(!QFile::exists(copyOf(8)));
    }

    void cleanUpEndsWhenAnInstallationBegins()
    {
        // Together, these files take more than one turn to compare.
        constexpr int Count = 100;
        constexpr qint64 Large = 4 * 1024 * 1024;
        const GatedExtractor extractor(engine());
        offer({7});
        for (int id = 1001; id <= 1000 + Count; ++id)
            QVERIFY(putWithKeptFile(id, "mine"));
        QVERIFY(refresh());
        controller().holdInstallations(true);
        install(7);
        QVERIFY(waitForState(7, Package::INSTALLING));
        for (int id = 1001; id <= 1000 + Count; ++id) {
            for (const QString &path : {simulator(keptFile(id)), copyOf(id)}) {
                QVERIFY(writeFile(path, QByteArray()));
                QVERIFY(QFile::resize(path, Large));
            }
        }
        const auto copies = [this] {
            int count = 0;
            for (int id = 1001; id <= 1000 + Count; ++id)
                count += QFile::exists(copyOf(id)) ? 1 : 0;
            return count;
        };
        QVERIFY(beginRefresh());
        QVERIFY(runUntil([&copies] { return copies() < Count; }, 30000));
        QVERIFY(isUnderWay());
        QVERIFY(controller().packages().isEmpty());
        controller().holdInstallations(false);
        QVERIFY(controller().isBusy());
        const int left = copies();
        QVERIFY(left > 0);
        QVERIFY(waitForList());
        QCOMPARE(copies(), left);
        QVERIFY(controller().isBusy());
        extractor.open();
        QVERIFY(waitUntilSettled(7));
    }

    void copiesOfWhatWorkNeedsStay()
    {
        offer(Offer{7}.needing({"8"_s}));
        for (const int id : {8, 9})
            QVERIFY(putWithKeptFile(id, "mine"));
        QVERIFY(refresh());
        for (const int id : {8, 9})
            QVERIFY(writeFile(copyOf(id), "mine"));
        hold(7);
        QVERIFY(installUntilDownloading(7) && refresh());
        QVERIFY(QFile::exists(copyOf(8)));
        QVERIFY(!QFile::exists(copyOf(9)));
        release(7);
        QVERIFY(waitUntilInstalled(7) && refresh());
        QVERIFY(!QFile::exists(copyOf(8)));
    }

    void formerPackagesAreDeleted()
    {
        offerMany();
        QVERIFY(refresh());
        const QWeakPointer<Package> first = package(1000);
        const QWeakPointer<Package> last = package(1000 + Many - 1);
        QVERIFY(refresh());
        QVERIFY(runUntil([&] { return first.isNull() && last.isNull(); }, 30000));
    }

    /// An idle program must not use processor time.
    void nothingGoesOnAfterwards()
    {
        offerMany();
        QVERIFY(refresh());
        const QDeadlineTimer deadline(30000);
        bool isAtRest = false;
        while (!isAtRest && !deadline.hasExpired())
            isAtRest = !QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents);
        QVERIFY(isAtRest);
    }

private:
    static constexpr int Many = 1000;

    /// Offers a version without an archive, because no test requests it.
    void offerVersion(int id, const QString &version, const QJsonObject &install)
    {
        const QJsonObject object{{"version"_s, version}, {"install"_s, install}};
        offerObject({{"id"_s, id}, {"versions"_s, QJsonArray{object}}});
    }

    /// Offers so many packages that a refresh takes several turns.
    void offerMany(int count = Many)
    {
        QJsonArray versions;
        for (int number = 0; number < 4; ++number) {
            const QString version = "1.%1"_s.arg(number);
            versions.append(QJsonObject{{"version"_s, version}, {"depends"_s, QJsonArray{"7"_s}}});
        }
        for (int id = 1000; id < 1000 + count; ++id)
            offerObject({{"id"_s, id}, {"versions"_s, versions}});
    }

    /// Starts a refresh and waits until its file has arrived. Returns whether it arrived and is not
    /// applied yet.
    bool beginRefresh()
    {
        serveCatalogue();
        const QString url = server().url("/packages.json"_s);
        m_list = std::make_unique<QSignalSpy>(&controller(), &PackageController::list);
        controller().refresh();
        return runUntil([this, &url] { return downloads().find(url).isNull(); }, 30000) &&
               isUnderWay();
    }

    bool isUnderWay() const { return m_list->isEmpty(); }
    bool waitForList()
    {
        return runUntil([this] { return !m_list->isEmpty(); }, 30000);
    }
    /// Waits for a condition and delivers posted events, such as those of the worker thread. The
    /// refresh takes no turn meanwhile. Returns whether the condition is met.
    static bool waitWithoutTurns(const std::function<bool()> &condition)
    {
        const QDeadlineTimer deadline(30000);
        while (!condition() && !deadline.hasExpired()) {
            QCoreApplication::sendPostedEvents();
            QThread::yieldCurrentThread();
        }
        return condition();
    }

    /// Path of the kept file of a package, relative to the simulator's folder.
    static QString keptFile(int id) { return "plugins/%1/kept.ini"_s.arg(id); }
    QString copyOf(int id) const { return profile().preserveFolder() + keptFile(id); }
    /// Offers a package with a kept file. Its version file and the kept file are in the simulator,
    /// but nothing is recorded.
    bool putWithKeptFile(int id, const QByteArray &content)
    {
        const QString folder = "plugins/%1/"_s.arg(id);
        offerVersion(id, "1.0"_s,
                     {{"extract"_s, folder}, {"preserve"_s, QJsonArray{keptFile(id)}}});
        return writeFile(simulator(folder + "Kavo_version.txt"_s), "a\nb\n1.0\n") &&
               writeFile(simulator(keptFile(id)), content);
    }
    std::unique_ptr<QSignalSpy> m_list;
};

KAVO_TEST_MAIN(RefreshInTurnsTest)
#include "RefreshInTurnsTest.moc"
