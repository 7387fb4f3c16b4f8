#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "tests/packages/Engine.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>

#include <memory>

#include <sys/stat.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

namespace {

/// The names of the controller's signals in the order in which they come.
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
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}

} // namespace

class RefreshTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup() { m_engine.reset(); }

    void controllerSignalsStandInTheirOrder();
    void refreshEndsWithUpdateAndList();
    void foldersOfParkedFilesAreMade();
    void malformedCatalogueGivesAnEmptyList_data();
    void malformedCatalogueGivesAnEmptyList();
    void failedDownloadRelaysItsErrorAndGivesNoList_data();
    void failedDownloadRelaysItsErrorAndGivesNoList();
    void catalogueMayHave512Mebibytes_data();
    void catalogueMayHave512Mebibytes();
    void twoRefreshesInQuickSuccessionEachEnd();
    void refreshDoesNotWaitForAServerThatHangs();
    void offerIsEmptyWhileTheCatalogueIsOnItsWay();
    void localRepositoryIsReadAfterADelay_data();
    void localRepositoryIsReadAfterADelay();
    void missingLocalCatalogueGivesAnEmptyList();
    void pipeInTheCataloguesPlaceGivesAnEmptyList();
    void recordedPackageIsInstalledWithItsUpdateMark_data();
    void recordedPackageIsInstalledWithItsUpdateMark();
    void recordsOfUnfinishedWorkDoNotCountAsInstalled_data();
    void recordsOfUnfinishedWorkDoNotCountAsInstalled();
    void versionFileMakesThePackageInstalled();
    void versionFileCountsAgainAfterAReset();
    void textsComeInTheLanguageOfTheSettings();
    void unwritableCacheIsAnErrorNotAnEmptyList();
    void changedCacheFolderWaitsForTheNextRun();
    void packageTypes();

private:
    /// Of a file that lies beside the program.
    void expectEmptyLocalList();
    void useUnwritableCache() const;
    void record(int id, Package::State state, const QString &version) const;

    std::unique_ptr<Engine> m_engine;
};

void RefreshTest::record(int id, Package::State state, const QString &version) const
{
    InstalledPackageDatabase database(m_engine->profile().simulatorFolder());
    database.open();
    Package package;
    package.setId(id);
    package.setState(state);
    database.record(package, version);
}

// Fixed, see docs/compatibility.md.
void RefreshTest::controllerSignalsStandInTheirOrder()
{
    const QMetaObject &meta = PackageController::staticMetaObject;
    QList<QByteArray> signatures;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
        signatures.append(meta.method(index).name());
    QCOMPARE(signatures, (QList<QByteArray>{"update", "busy", "empty", "list", "error", "detail"}));
}

void RefreshTest::refreshEndsWithUpdateAndList()
{
    m_engine->offer({7});
    m_engine->offer({3});
    m_engine->serveCatalogue();
    m_engine->start();
    const auto names = follow(m_engine->controller());
    m_engine->controller().refresh();
    QCOMPARE(*names, words("busy"));
    QTRY_COMPARE(*names, words("busy update list"));
    const PackageList &packages = m_engine->controller().packages();
    QCOMPARE(packages.size(), 2);
    QCOMPARE(packages.first()->id(), 7);
    QCOMPARE(packages.last()->id(), 3);
    QCOMPARE(packages.first()->state(), Package::AVAILABLE);
}

void RefreshTest::foldersOfParkedFilesAreMade()
{
    m_engine->start();
    m_engine->serveCatalogue();
    m_engine->controller().refresh();
    QVERIFY(QDir(m_engine->profile().preserveFolder()).exists());
    QVERIFY(QDir(m_engine->profile().backupFolder()).exists());
    QVERIFY(QFile::exists(m_engine->profile().dataFolder() + QStringLiteral("packages.db")));
}

void RefreshTest::malformedCatalogueGivesAnEmptyList_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("page") << QByteArray("<html>no catalogue</html>");
    QTest::newRow("cut off") << QByteArray("[{\"id\": 1},");
}

// Fixed, see docs/compatibility.md.
void RefreshTest::malformedCatalogueGivesAnEmptyList()
{
    QFETCH(QByteArray, body);
    m_engine->server().serve(QStringLiteral("/packages.json"), body);
    m_engine->start();
    const auto names = follow(m_engine->controller());
    m_engine->controller().refresh();
    QTRY_COMPARE(*names, words("busy update list"));
    QVERIFY(m_engine->controller().packages().isEmpty());
}

void RefreshTest::failedDownloadRelaysItsErrorAndGivesNoList_data()
{
    QTest::addColumn<QString>("fault");
    QTest::newRow("missing on the server") << "404";
    QTest::newRow("connection reset in the middle") << "reset";
}

void RefreshTest::failedDownloadRelaysItsErrorAndGivesNoList()
{
    QFETCH(QString, fault);
    m_engine->offer({7});
    m_engine->serveCatalogue();
    HttpResource &catalogue = m_engine->server().resource(QStringLiteral("/packages.json"));
    if (fault == QLatin1String("404"))
        catalogue.getStatus = 404;
    else
        catalogue.resetAfter = 10;
    m_engine->start();
    const auto names = follow(m_engine->controller());
    QSignalSpy errors(&m_engine->controller(), &PackageController::error);
    m_engine->controller().refresh();
    QVERIFY(errors.wait());
    QCOMPARE(errors.first().first().toString(), QStringLiteral("Server Error"));
    // The transfer is over when the manager has let it go; nothing may follow the error.
    const QString url = m_engine->server().url(QStringLiteral("/packages.json"));
    QTRY_VERIFY(m_engine->downloads()->find(url).isNull());
    QCOMPARE(*names, words("busy error"));
    QVERIFY(m_engine->controller().packages().isEmpty());
}

void RefreshTest::catalogueMayHave512Mebibytes_data()
{
    constexpr qint64 Largest = Q_INT64_C(512) * 1024 * 1024;
    QTest::addColumn<qint64>("size");
    QTest::addColumn<bool>("taken");
    QTest::newRow("512 MiB") << Largest << true;
    QTest::newRow("a byte more") << Largest + 1 << false;
}

/// The length alone tells; hardly any of the body is sent.
void RefreshTest::catalogueMayHave512Mebibytes()
{
    QFETCH(qint64, size);
    QFETCH(bool, taken);
    const QString path = QStringLiteral("/packages.json");
    m_engine->server().serveGenerated(path, size).holdAfter = 1000;
    m_engine->start();
    const auto names = follow(m_engine->controller());
    m_engine->controller().refresh();
    const QString url = m_engine->server().url(path);
    const QString place = m_engine->cached(QStringLiteral("packages.json"));
    if (taken)
        QTRY_COMPARE(QFileInfo(place).size(), 1000);
    else
        QTRY_VERIFY(m_engine->downloads()->find(url).isNull());
    QCOMPARE(*names, words(taken ? "busy" : "busy error"));
    QCOMPARE(QFile::exists(place), taken);
}

void RefreshTest::twoRefreshesInQuickSuccessionEachEnd()
{
    m_engine->offer({7});
    m_engine->serveCatalogue();
    m_engine->start();
    const auto names = follow(m_engine->controller());
    m_engine->controller().refresh();
    m_engine->controller().refresh();
    QTRY_COMPARE(*names, words("busy busy update list update list"));
    QCOMPARE(m_engine->controller().packages().size(), 1);
}

void RefreshTest::refreshDoesNotWaitForAServerThatHangs()
{
    m_engine->offer({7});
    m_engine->serveCatalogue();
    m_engine->server().resource(QStringLiteral("/packages.json")).holdsGet = true;
    m_engine->start();
    const auto names = follow(m_engine->controller());
    m_engine->controller().refresh();
    QVERIFY(m_engine->server().waitForRequests(1));
    m_engine->serveCatalogue();
    m_engine->controller().refresh();
    QTRY_COMPARE(*names, words("busy busy update list"));
    QCOMPARE(m_engine->controller().packages().size(), 1);
    m_engine->server().release(QStringLiteral("/packages.json"));
    QTRY_COMPARE(*names, words("busy busy update list update list"));
    QCOMPARE(m_engine->controller().packages().size(), 1);
}

void RefreshTest::offerIsEmptyWhileTheCatalogueIsOnItsWay()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    m_engine->controller().refresh();
    QVERIFY(m_engine->controller().packages().isEmpty());
    QVERIFY(m_engine->package(7).isNull());
}

void RefreshTest::localRepositoryIsReadAfterADelay_data()
{
    QTest::addColumn<QString>("setting");
    QTest::newRow("small letters") << "true";
    QTest::newRow("capitals") << "TRUE";
}

// Fixed, see docs/compatibility.md.
void RefreshTest::localRepositoryIsReadAfterADelay()
{
    QFETCH(QString, setting);
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/packages.json");
    QVERIFY(writeFile(path, R"([{"id": 5}])"));
    m_engine->settings()->setPending(Kavo::Settings::LOCAL_REPO, setting);
    m_engine->settings()->apply();
    m_engine->start();
    const auto names = follow(m_engine->controller());
    QElapsedTimer clock;
    clock.start();
    m_engine->controller().refresh();
    QCOMPARE(*names, words("busy"));
    QTRY_COMPARE(*names, words("busy update list"));
    // Timers may be early by a few in a hundred.
    QVERIFY(clock.elapsed() >= 900);
    QVERIFY(m_engine->server().requests().isEmpty());
    QVERIFY(!m_engine->package(5).isNull());
    QVERIFY(QFile::remove(path));
}

void RefreshTest::expectEmptyLocalList()
{
    m_engine->settings()->setPending(Kavo::Settings::LOCAL_REPO, QStringLiteral("true"));
    m_engine->settings()->apply();
    m_engine->start();
    const auto names = follow(m_engine->controller());
    m_engine->controller().refresh();
    QTRY_COMPARE(*names, words("busy update list"));
    QVERIFY(m_engine->controller().packages().isEmpty());
}

void RefreshTest::missingLocalCatalogueGivesAnEmptyList()
{
    expectEmptyLocalList();
}

/// Whoever reads a pipe waits until somebody writes.
void RefreshTest::pipeInTheCataloguesPlaceGivesAnEmptyList()
{
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/packages.json");
    QFile::remove(path);
    QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    const auto remove = qScopeGuard([&path] { QFile::remove(path); });
    expectEmptyLocalList();
}

void RefreshTest::recordedPackageIsInstalledWithItsUpdateMark_data()
{
    QTest::addColumn<QString>("recorded");
    QTest::addColumn<bool>("update");
    QTest::newRow("older") << "1.2" << true;
    QTest::newRow("the newest") << "1.10" << false;
    QTest::newRow("newer than the catalogue") << "2.0" << false;
    QTest::newRow("without numbers") << "final" << true;
}

void RefreshTest::recordedPackageIsInstalledWithItsUpdateMark()
{
    QFETCH(QString, recorded);
    QFETCH(bool, update);
    m_engine->offer({7, QStringLiteral("1.2")});
    m_engine->offer({7, QStringLiteral("1.10")});
    record(7, Package::INSTALLED, recorded);
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QCOMPARE(m_engine->package(7)->isUpdateAvailable(), update);
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(7)), recorded);
    QCOMPARE(m_engine->controller().status(m_engine->package(7)), 1);
}

void RefreshTest::recordsOfUnfinishedWorkDoNotCountAsInstalled_data()
{
    QTest::addColumn<int>("state");
    for (const Package::State state :
         {Package::AVAILABLE, Package::DOWNLOADING, Package::INSTALLING, Package::INSTALL_ERROR,
          Package::DOWNLOAD_ERROR, Package::DEPENDENCY_ERROR})
        QTest::newRow(QMetaEnum::fromType<Package::State>().valueToKey(state)) << int(state);
}

void RefreshTest::recordsOfUnfinishedWorkDoNotCountAsInstalled()
{
    QFETCH(int, state);
    m_engine->offer({7});
    record(7, static_cast<Package::State>(state), QStringLiteral("1.0"));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    // The record keeps a version, but nothing is installed.
    QVERIFY(m_engine->controller().installedVersion(m_engine->package(7)).isEmpty());
}

void RefreshTest::versionFileMakesThePackageInstalled()
{
    Offer offer{7, QStringLiteral("2.0")};
    offer.extract = QStringLiteral("plugins/seven");
    m_engine->offer(offer);
    QVERIFY(writeFile(m_engine->simulator(QStringLiteral("plugins/seven/Kavo_version.txt")),
                      "Seven\nplugin\n1.5.0\n"));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    QCOMPARE(m_engine->recordedStatus(7), 1);
    QCOMPARE(m_engine->recordedVersion(7), QStringLiteral("1.5.0"));
}

void RefreshTest::versionFileCountsAgainAfterAReset()
{
    Offer offer{7, QStringLiteral("2.0")};
    offer.extract = QStringLiteral("plugins/seven");
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(m_engine->refresh());
    m_engine->controller().reset();
    QVERIFY(writeFile(m_engine->simulator(QStringLiteral("plugins/seven/Kavo_version.txt")),
                      "Seven\nplugin\n1.5.0\n"));
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    QCOMPARE(m_engine->recordedVersion(7), QStringLiteral("1.5.0"));
}

void RefreshTest::textsComeInTheLanguageOfTheSettings()
{
    m_engine->offerObject(
        {{QStringLiteral("id"), 7},
         {QStringLiteral("name"), QJsonObject{{QStringLiteral("en"), QStringLiteral("Trees")},
                                              {QStringLiteral("de"), QStringLiteral("Wald")}}}});
    m_engine->settings()->setPending(Kavo::Settings::LANGUAGE, QStringLiteral("de"));
    m_engine->settings()->apply();
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->name(), QStringLiteral("Wald"));
}

void RefreshTest::useUnwritableCache() const
{
    // A file in the place of the folder: nothing can be written there, whoever runs the test.
    const QString place = m_engine->profile().folder(QStringLiteral("place"));
    QVERIFY(writeFile(place + QStringLiteral("cache"), "in the way"));
    m_engine->settings()->setPending(Kavo::Settings::CACHE,
                                     place + QStringLiteral("cache") + QDir::separator());
    m_engine->settings()->apply();
}

void RefreshTest::unwritableCacheIsAnErrorNotAnEmptyList()
{
    useUnwritableCache();
    m_engine->offer({7});
    m_engine->serveCatalogue();
    m_engine->start();
    const auto names = follow(m_engine->controller());
    m_engine->controller().refresh();
    const QString url = m_engine->server().url(QStringLiteral("/packages.json"));
    QTRY_VERIFY(m_engine->downloads()->find(url).isNull());
    QCOMPARE(*names, words("busy error"));
    QVERIFY(m_engine->controller().packages().isEmpty());
}

// Fixed, see docs/compatibility.md.
void RefreshTest::changedCacheFolderWaitsForTheNextRun()
{
    m_engine->offer({7});
    m_engine->serveCatalogue();
    m_engine->start();
    useUnwritableCache();
    const auto names = follow(m_engine->controller());
    m_engine->controller().refresh();
    QTRY_COMPARE(*names, words("busy update list"));
    QCOMPARE(m_engine->controller().packages().size(), 1);
    QVERIFY(QFile::exists(m_engine->cached(QStringLiteral("packages.json"))));
}

// Fixed, see docs/compatibility.md.
void RefreshTest::packageTypes()
{
    QCOMPARE(PackageController::packageTypes(),
             (QStringList{QStringLiteral("PLUGIN"), QStringLiteral("LIBRARY")}));
}

KAVO_TEST_MAIN(RefreshTest)
#include "RefreshTest.moc"
