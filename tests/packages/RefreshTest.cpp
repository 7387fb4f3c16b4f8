#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QScopeGuard>

#include <sys/stat.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

namespace {

/// A list to which the name of each signal is added when the controller emits it.
QSharedPointer<QStringList> follow(PackageController &controller)
{
    const auto names = QSharedPointer<QStringList>::create();
    const auto note = [names](const char *name) {
        return [names, name] { names->append(QLatin1String(name)); };
    };
    QObject::connect(&controller, &PackageController::busy, &controller, note("busy"));
    QObject::connect(&controller, &PackageController::update, &controller, note("update"));
    QObject::connect(&controller, &PackageController::list, &controller, note("list"));
    QObject::connect(&controller, &PackageController::error, &controller, note("error"));
    QObject::connect(&controller, &PackageController::empty, &controller, note("empty"));
    return names;
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(u' ');
}

} // namespace

Q_DECLARE_METATYPE(ResourceChange)

class RefreshTest final : public EngineTest
{
    Q_OBJECT

private slots:
    // Fixed, see docs/compatibility.md.
    void controllerSignalsStandInTheirOrder()
    {
        const QMetaObject &meta = PackageController::staticMetaObject;
        QList<QByteArray> signatures;
        for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
            signatures.append(meta.method(index).name());
        QCOMPARE(signatures,
                 (QList<QByteArray>{"update", "busy", "empty", "list", "error", "detail"}));
    }

    void refreshEndsWithUpdateAndList()
    {
        offer({7});
        offer({3});
        serveCatalogue();
        const auto names = startAndRefresh();
        QCOMPARE(*names, words("busy"));
        // The folders for copies and the database already exist.
        QVERIFY(QDir(profile().preserveFolder()).exists());
        QVERIFY(QDir(profile().backupFolder()).exists());
        QVERIFY(QFile::exists(packageDatabase()));
        QTRY_COMPARE(*names, words("busy update list"));
        const PackageList &packages = controller().packages();
        QCOMPARE(packages.size(), 2);
        QCOMPARE(packages.first()->id(), 7);
        QCOMPARE(packages.last()->id(), 3);
        QCOMPARE(packages.first()->state(), Package::AVAILABLE);
    }

    void malformedCatalogueGivesAnEmptyList_data()
    {
        Rows<QByteArray>()
            .row("nothing", "")
            .row("page", "<html>no catalogue</html>")
            .row("cut off", "[{\"id\": 1},");
    }
    // Fixed, see docs/compatibility.md.
    void malformedCatalogueGivesAnEmptyList()
    {
        const auto [body] = Rows<QByteArray>::current();
        catalogue().body = body;
        listIsEmpty();
    }

    void failedDownloadRelaysItsErrorAndGivesNoList_data()
    {
        Rows<ResourceChange>()
            .row("missing on the server", with(&HttpResource::getStatus, HttpStatus::NOT_FOUND))
            .row("connection reset in the middle", with(&HttpResource::resetAfter, 10))
            .row("a byte more than 512 MiB",
                 with(&HttpResource::generatedSize, Largest + 1, &HttpResource::holdAfter, 1000));
    }
    void failedDownloadRelaysItsErrorAndGivesNoList()
    {
        const auto [fault] = Rows<ResourceChange>::current();
        offer({7});
        serveCatalogue();
        fault(catalogue());
        start();
        QSignalSpy errors(&controller(), &PackageController::error);
        const auto names = follow(controller());
        controller().refresh();
        QVERIFY(errors.wait());
        QCOMPARE(errors.first().first().toString(), "Server Error"_s);
        // The manager releases a transfer when it has ended. No signal may follow the error.
        QTRY_VERIFY(isTransferOver());
        QCOMPARE(*names, words("busy error"));
        QVERIFY(controller().packages().isEmpty());
        QVERIFY(!catalogue().generatedSize || !QFile::exists(cached("packages.json"_s)));
    }

    void catalogueMayHave512Mebibytes()
    {
        // The announced length is enough, so only the beginning of the body is sent.
        server().serveGenerated("/packages.json"_s, Largest).holdAfter = 1000;
        const auto names = startAndRefresh();
        QTRY_COMPARE(QFileInfo(cached("packages.json"_s)).size(), 1000);
        QCOMPARE(*names, words("busy"));
    }

    void twoRefreshesInQuickSuccessionEachEnd()
    {
        offer({7});
        serveCatalogue();
        const auto names = startAndRefresh();
        controller().refresh();
        QTRY_COMPARE(*names, words("busy busy update list update list"));
        QCOMPARE(controller().packages().size(), 1);
    }

    void refreshDoesNotWaitForAServerThatHangs()
    {
        offer({7});
        serveCatalogue();
        catalogue().holdsGet = true;
        const auto names = startAndRefresh();
        QVERIFY(server().waitForRequests(1));
        serveCatalogue();
        controller().refresh();
        QTRY_COMPARE(*names, words("busy busy update list"));
        QCOMPARE(controller().packages().size(), 1);
        server().release("/packages.json"_s);
        QTRY_COMPARE(*names, words("busy busy update list update list"));
        QCOMPARE(controller().packages().size(), 1);
    }

    void offerIsEmptyWhileTheCatalogueIsOnItsWay()
    {
        QVERIFY(publish({{7}}));
        controller().refresh();
        QVERIFY(controller().packages().isEmpty());
        QVERIFY(package(7).isNull());
    }

    void localRepositoryIsReadAfterADelay_data()
    {
        Rows<QString>().row("small letters", "true").row("capitals", "TRUE");
    }
    // Fixed, see docs/compatibility.md.
    void localRepositoryIsReadAfterADelay()
    {
        const auto [setting] = Rows<QString>::current();
        const auto end = qScopeGuard([] { QFile::remove(besideTheProgram()); });
        QVERIFY(writeFile(besideTheProgram(), R"([{"id": 5}])"));
        set(Kavo::Settings::LOCAL_REPO, setting);
        QElapsedTimer clock;
        clock.start();
        const auto names = startAndRefresh();
        QCOMPARE(*names, words("busy"));
        QTRY_COMPARE(*names, words("busy update list"));
        // The delay is one second, but a timer may fire a few percent early.
        QVERIFY(clock.elapsed() >= 900);
        QVERIFY(server().requests().isEmpty());
        QVERIFY(!package(5).isNull());
    }

    void missingLocalCatalogueGivesAnEmptyList()
    {
        set(Kavo::Settings::LOCAL_REPO, "true"_s);
        listIsEmpty();
    }

    /// Reading a pipe blocks until something is written.
    void pipeInTheCataloguesPlaceGivesAnEmptyList()
    {
        const auto end = qScopeGuard([] { QFile::remove(besideTheProgram()); });
        QCOMPARE(::mkfifo(QFile::encodeName(besideTheProgram()).constData(), 0600), 0);
        set(Kavo::Settings::LOCAL_REPO, "true"_s);
        listIsEmpty();
    }

    void recordedPackageIsInstalledWithItsUpdateMark_data()
    {
        Rows<QString, bool>()
            .row("older", "1.2", true)
            .row("the newest", "1.10", false)
            .row("newer than the catalogue", "2.0", false)
            .row("without numbers", "final", true);
    }
    void recordedPackageIsInstalledWithItsUpdateMark()
    {
        const auto [recorded, update] = Rows<QString, bool>::current();
        record(Package::INSTALLED, recorded);
        QVERIFY(publish({{7, "1.2"_s}, {7, "1.10"_s}}));
        QCOMPARE(state(7), Package::INSTALLED);
        QCOMPARE(isUpdateAvailable(7), update);
        QCOMPARE(installedVersion(7), recorded);
        QCOMPARE(controller().status(package(7)), int(Package::INSTALLED));
    }

    void recordsOfUnfinishedWorkDoNotCountAsInstalled_data()
    {
        Rows<State> rows;
        for (const State state :
             {Package::AVAILABLE, Package::DOWNLOADING, Package::INSTALLING, Package::INSTALL_ERROR,
              Package::DOWNLOAD_ERROR, Package::DEPENDENCY_ERROR})
            rows.row(QMetaEnum::fromType<State>().valueToKey(state), state);
    }
    void recordsOfUnfinishedWorkDoNotCountAsInstalled()
    {
        const auto [recorded] = Rows<State>::current();
        record(recorded, "1.0"_s);
        QVERIFY(publish({{7}}));
        QCOMPARE(state(7), Package::AVAILABLE);
        // The record contains a version, but nothing is installed.
        QVERIFY(installedVersion(7).isEmpty());
    }

    void versionFileMakesThePackageInstalled_data()
    {
        Rows<bool>().row("without a record", false).row("after a reset", true);
    }
    void versionFileMakesThePackageInstalled()
    {
        const auto [resets] = Rows<bool>::current();
        const auto offered = Offer{7, "2.0"_s}.into("plugins/seven"_s);
        if (resets) {
            QVERIFY(publish({offered}) && installAndWait(7) && refresh());
            controller().reset();
        } else {
            offer(offered);
        }
        QVERIFY(writeFile(simulator("plugins/seven/Kavo_version.txt"_s), "Seven\nplugin\n1.5.0\n"));
        QVERIFY(refresh());
        QCOMPARE(state(7), Package::INSTALLED);
        QVERIFY(isUpdateAvailable(7));
        QCOMPARE(recordedStatus(7), int(Package::INSTALLED));
        QCOMPARE(recordedVersion(7), "1.5.0"_s);
    }

    void textsComeInTheLanguageOfTheSettings()
    {
        offerObject(
            {{"id"_s, 7}, {"name"_s, QJsonObject{{"en"_s, "Trees"_s}, {"de"_s, "Wald"_s}}}});
        set(Kavo::Settings::LANGUAGE, "de"_s);
        QVERIFY(refresh());
        QCOMPARE(package(7)->name(), "Wald"_s);
    }

    void unwritableCacheIsAnErrorNotAnEmptyList()
    {
        useUnwritableCache();
        offer({7});
        serveCatalogue();
        const auto names = startAndRefresh();
        QTRY_VERIFY(isTransferOver());
        QCOMPARE(*names, words("busy error"));
        QVERIFY(controller().packages().isEmpty());
    }

    // Fixed, see docs/compatibility.md.
    void changedCacheFolderWaitsForTheNextRun()
    {
        offer({7});
        serveCatalogue();
        start();
        useUnwritableCache();
        QVERIFY(refresh());
        QCOMPARE(controller().packages().size(), 1);
        QVERIFY(QFile::exists(profile().cacheFolder() + "packages.json"_s));
    }

    // Fixed, see docs/compatibility.md.
    void packageTypes()
    {
        QCOMPARE(PackageController::packageTypes(), (QStringList{"PLUGIN"_s, "LIBRARY"_s}));
    }

private:
    static constexpr qint64 Largest = Q_INT64_C(512) * 1024 * 1024;

    void set(Kavo::Settings::Key key, const QString &value)
    {
        settings()->setPending(key, value);
        settings()->apply();
    }
    void useUnwritableCache()
    {
        // A file in the place of the folder prevents writing, even for root.
        const QString place = profile().folder("place"_s) + "cache"_s;
        QVERIFY(writeFile(place, "in the way"));
        set(Kavo::Settings::CACHE, place + QDir::separator());
    }
    /// The catalogue of a local repository. No other test runs in this folder.
    static QString besideTheProgram()
    {
        return QCoreApplication::applicationDirPath() + "/packages.json"_s;
    }
    QSharedPointer<QStringList> startAndRefresh()
    {
        start();
        const auto names = follow(controller());
        controller().refresh();
        return names;
    }
    void listIsEmpty()
    {
        const auto names = startAndRefresh();
        QTRY_COMPARE(*names, words("busy update list"));
        QVERIFY(controller().packages().isEmpty());
    }
    bool isTransferOver() { return downloads().find(server().url("/packages.json"_s)).isNull(); }
    /// Records package 7 in this state and version.
    void record(State state, const QString &version)
    {
        InstalledPackageDatabase database(profile().simulatorFolder());
        database.open();
        Package package;
        package.setId(7);
        package.setState(state);
        database.record(package, version);
    }
};

KAVO_TEST_MAIN(RefreshTest)
#include "RefreshTest.moc"
