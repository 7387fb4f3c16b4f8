#include "core/Settings.h"
#include "downloads/Download.h"
#include "downloads/DownloadManager.h"
#include "tests/packages/Engine.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QtConcurrent>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

using States = QVector<Package::State>;

/// Every state that the package goes through from now on.
QSharedPointer<States> followStates(const PackagePointer &package, QObject *context)
{
    const auto states = QSharedPointer<States>::create();
    QObject::connect(package.data(), &Package::stateChanged, context,
                     [states](Package::State state) { states->append(state); });
    return states;
}

} // namespace

class PackageInstallationTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup() { m_engine.reset(); }

    void versionGoesThroughItsStatesAndIsRecorded();
    void progressAndArchivePathReachThePackage();
    void resolvedVersionIsHandedBack();
    void olderVersionShowsTheUpdateAtOnce();
    void newestVersionClearsTheUpdateMark();
    void versionTextSurvivesTheRestart();
    void archiveGoesIntoTheExtractFolder();
    void ownLinkOfTheUserIsFollowed();
    void extractOutsideTheSimulatorFails_data();
    void extractOutsideTheSimulatorFails();
    void rulesApplyOnUpdate();
    void reinstallationKeepsTheFirstBackup();
    void damagedArchiveFailsAndIsDeleted();
    void preservedFilesStayParkedWhenUnpackingFails();
    void missingExtractorFails();
    void missingArchiveOnTheServerIsADownloadError();
    void failedProbeIsFinal();
    void retryAfterARefreshSucceeds();
    void secondInstallOfABusyPackageDoesNothing();
    void packageWithoutVersionsDoesNothing();
    void controllerWithoutDownloadManagerDoesNothing();
    void finishedProbeIsNotTakenForARunningDownload();
    void completeArchiveInTheCacheIsNotFetchedAgain();
    void downloadAnnouncedAgainIsInstalledOnce();
    void interruptedDownloadGoesOnWhereItStopped();
    void packagesOfOneAddressShareOneTransfer();
    void archivesOfOneNameDoNotMix();
    void runningDownloadIsThatOfTheVersionOnItsWay();
    void endDuringATaskWaitsAndRecordsTheResult();
    void newestVersionNeedsNoUpdateWhateverItsText();
    void completeDownloadThatIsAnnouncedAgainIsInstalledOnce();
    void unwritableCacheIsNotInstalled();

private:
    std::unique_ptr<Engine> m_engine;
};

void PackageInstallationTest::versionGoesThroughItsStatesAndIsRecorded()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).holdsGet = true;
    const auto states = followStates(m_engine->package(7), this);
    m_engine->install(7);
    QCOMPARE(*states, States{Package::PREPARING});
    QCOMPARE(m_engine->recordedStatus(7), -1);
    QTRY_COMPARE(m_engine->package(7)->state(), Package::DOWNLOADING);
    QCOMPARE(m_engine->recordedStatus(7), 3);
    QCOMPARE(m_engine->recordedVersion(7), QStringLiteral("1.0"));
    QVERIFY(m_engine->controller().installedVersion(m_engine->package(7)).isEmpty());
    m_engine->server().release(QStringLiteral("/package-7-1.0.zip"));
    QVERIFY(m_engine->waitUntilSettled(7));
    QCOMPARE(*states, (States{Package::PREPARING, Package::DOWNLOADING, Package::INSTALLING,
                              Package::INSTALLED}));
    QCOMPARE(m_engine->recordedStatus(7), 1);
    QCOMPARE(readFile(m_engine->simulator(Engine::fileOf(7))),
             Engine::contentOf(7, QStringLiteral("1.0")));
    QVERIFY(!QFile::exists(m_engine->cached(QStringLiteral("package-7-1.0.zip"))));
}

void PackageInstallationTest::progressAndArchivePathReachThePackage()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    const PackagePointer package = m_engine->package(7);
    QSignalSpy totals(package.data(), &Package::totalSize);
    QSignalSpy sizes(package.data(), &Package::downloadedSize);
    QSignalSpy finished(package.data(), &Package::downloadFinished);
    QVERIFY(m_engine->installAndWait(7));
    const qint64 size = m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).size();
    QCOMPARE(totals.first().first().toLongLong(), size);
    QCOMPARE(sizes.last().first().toLongLong(), size);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(QDir::cleanPath(finished.first().first().toString()),
             m_engine->cached(QStringLiteral("package-7-1.0.zip")));
}

// Fixed, see docs/compatibility.md.
void PackageInstallationTest::resolvedVersionIsHandedBack()
{
    m_engine->offer({7, QStringLiteral("1.2")});
    m_engine->offer({7, QStringLiteral("1.10")});
    m_engine->offer({8, QStringLiteral("3.0")});
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->install(7), QStringLiteral("1.10"));
    QCOMPARE(m_engine->install(8, QStringLiteral("unheard of")), QStringLiteral("3.0"));
    QVERIFY(m_engine->waitUntilSettled(7) && m_engine->waitUntilSettled(8));
    QCOMPARE(m_engine->recordedVersion(7), QStringLiteral("1.10"));
}

void PackageInstallationTest::olderVersionShowsTheUpdateAtOnce()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    m_engine->offer({7, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(!m_engine->package(7)->isUpdateAvailable());
    bool markWhenAnnounced = false;
    connect(m_engine->package(7).data(), &Package::stateChanged, this,
            [this, &markWhenAnnounced](Package::State state) {
                if (state == Package::INSTALLED)
                    markWhenAnnounced = m_engine->package(7)->isUpdateAvailable();
            });
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    QTRY_VERIFY(markWhenAnnounced);
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(7)), QStringLiteral("1.0"));
}

void PackageInstallationTest::newestVersionClearsTheUpdateMark()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    m_engine->offer({7, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(m_engine->package(7)->isUpdateAvailable());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(!m_engine->package(7)->isUpdateAvailable());
}

void PackageInstallationTest::versionTextSurvivesTheRestart()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    m_engine->offer({8, QStringLiteral("1.10")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7) && m_engine->installAndWait(8));
    m_engine->stop();
    QVERIFY(m_engine->refresh());
    for (const int id : {7, 8}) {
        QCOMPARE(m_engine->package(id)->state(), Package::INSTALLED);
        QVERIFY(!m_engine->package(id)->isUpdateAvailable());
    }
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(8)), QStringLiteral("1.10"));
}

void PackageInstallationTest::archiveGoesIntoTheExtractFolder()
{
    Offer offer{7};
    offer.extract = QStringLiteral("Custom Scenery/New Field");
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(QFile::exists(
        m_engine->simulator(QStringLiteral("Custom Scenery/New Field/") + Engine::fileOf(7))));
}

void PackageInstallationTest::ownLinkOfTheUserIsFollowed()
{
    const QString disk = m_engine->profile().folder(QStringLiteral("second disk"));
    QVERIFY(QFile::link(disk, m_engine->simulator(QStringLiteral("Custom Scenery"))));
    Offer offer{7};
    offer.extract = QStringLiteral("Custom Scenery");
    offer.remove = QStringList{QStringLiteral("Custom Scenery/package-7")};
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(QFile::exists(disk + Engine::fileOf(7)));
    m_engine->controller().uninstall(m_engine->package(7));
    QVERIFY(!QFile::exists(disk + QStringLiteral("package-7")));
    QVERIFY(QFileInfo(m_engine->simulator(QStringLiteral("Custom Scenery"))).isSymLink());
}

void PackageInstallationTest::extractOutsideTheSimulatorFails_data()
{
    QTest::addColumn<QString>("extract");
    QTest::newRow("parent") << "../outside";
    QTest::newRow("absolute") << "@OUTSIDE@";
}

void PackageInstallationTest::extractOutsideTheSimulatorFails()
{
    QFETCH(QString, extract);
    const QString outside = m_engine->profile().folder(QStringLiteral("outside"));
    Offer offer{7};
    offer.extract = extract.replace(QStringLiteral("@OUTSIDE@"), outside);
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    QVERIFY(!m_engine->installAndWait(7));
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALL_ERROR);
    QVERIFY(fileTree(outside).isEmpty());
    QVERIFY(!QFile::exists(outside + QStringLiteral("../") + Engine::fileOf(7)));
}

// Fixed, see docs/compatibility.md.
void PackageInstallationTest::rulesApplyOnUpdate()
{
    const QString settings = QStringLiteral("plugin/settings.ini");
    const QString lights = QStringLiteral("lights.txt");
    const QString disc = QStringLiteral("plugin/disc.txt");
    QVERIFY(writeFile(m_engine->simulator(lights), "original"));
    for (const QString &version : {QStringLiteral("1.0"), QStringLiteral("2.0")}) {
        Offer offer{7, version};
        offer.files = {{disc, version.toUtf8()}, {lights, "package " + version.toUtf8()}};
        offer.preserve = QStringList{settings};
        offer.backup = QStringList{lights};
        offer.remove = QStringList{QStringLiteral("plugin"), lights};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    const QString backup = m_engine->profile().backupFolder() + lights;
    QCOMPARE(readFile(backup), QByteArray("original"));
    QVERIFY(writeFile(m_engine->simulator(settings), "user's"));
    QVERIFY(writeFile(m_engine->simulator(QStringLiteral("plugin/old.txt")), "left over"));

    QVERIFY(m_engine->installAndWait(7));
    QCOMPARE(readFile(m_engine->simulator(disc)), QByteArray("2.0"));
    QCOMPARE(readFile(m_engine->simulator(lights)), QByteArray("package 2.0"));
    QCOMPARE(readFile(m_engine->simulator(settings)), QByteArray("user's"));
    QVERIFY(!QFile::exists(m_engine->simulator(QStringLiteral("plugin/old.txt"))));
    QCOMPARE(readFile(backup), QByteArray("original"));
    QVERIFY(!QFile::exists(m_engine->profile().preserveFolder() + settings));

    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(readFile(m_engine->simulator(lights)), QByteArray("original"));
    QVERIFY(!QFile::exists(m_engine->simulator(QStringLiteral("plugin"))));
}

void PackageInstallationTest::reinstallationKeepsTheFirstBackup()
{
    // Without a removal rule the package's file stands where the original has to come back.
    const QString lights = QStringLiteral("lights.txt");
    QVERIFY(writeFile(m_engine->simulator(lights), "original"));
    Offer offer{7};
    offer.files = {{lights, "package's"}};
    offer.backup = QStringList{lights};
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(m_engine->installAndWait(7));
    QCOMPARE(readFile(m_engine->profile().backupFolder() + lights), QByteArray("original"));
    QCOMPARE(readFile(m_engine->simulator(lights)), QByteArray("package's"));
}

void PackageInstallationTest::damagedArchiveFailsAndIsDeleted()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    HttpResource &archive = m_engine->server().resource(QStringLiteral("/package-7-1.0.zip"));
    archive.body = damagedArchiveOf({});
    const LogCapture log;
    QVERIFY(!m_engine->installAndWait(7));
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALL_ERROR);
    QCOMPARE(m_engine->recordedStatus(7), 6);
    QVERIFY(!QFile::exists(m_engine->cached(QStringLiteral("package-7-1.0.zip"))));
    QCOMPARE(log.count(QStringLiteral("Extractor Error : ")), 2);
    QCOMPARE(log.count(QStringLiteral("Removing file : ")), 1);
}

void PackageInstallationTest::preservedFilesStayParkedWhenUnpackingFails()
{
    const QString settings = QStringLiteral("plugin/settings.ini");
    QVERIFY(writeFile(m_engine->simulator(settings), "user's"));
    Offer offer{7};
    offer.preserve = QStringList{settings};
    offer.remove = QStringList{QStringLiteral("plugin")};
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    HttpResource &archive = m_engine->server().resource(QStringLiteral("/package-7-1.0.zip"));
    const QByteArray healthy = archive.body;
    archive.body = damagedArchiveOf({});
    QVERIFY(!m_engine->installAndWait(7));
    QCOMPARE(readFile(m_engine->profile().preserveFolder() + settings), QByteArray("user's"));
    QVERIFY(!QFile::exists(m_engine->simulator(settings)));

    m_engine->server().serve(QStringLiteral("/package-7-1.0.zip"), healthy);
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QCOMPARE(readFile(m_engine->simulator(settings)), QByteArray("user's"));
}

void PackageInstallationTest::missingExtractorFails()
{
    m_engine->offer({7});
    m_engine->setExtractor(QStringLiteral("/no/such/7z"));
    QVERIFY(m_engine->refresh());
    const LogCapture log;
    QVERIFY(!m_engine->installAndWait(7));
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALL_ERROR);
    QVERIFY(log.contains(QStringLiteral(
        "Installation failed : 7-Zip, which unpacks the archives, could not be run.")));
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(7))));
}

void PackageInstallationTest::missingArchiveOnTheServerIsADownloadError()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    m_engine->server().removeResource(QStringLiteral("/package-7-1.0.zip"));
    const auto states = followStates(m_engine->package(7), this);
    m_engine->install(7);
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOAD_ERROR));
    QCOMPARE(m_engine->recordedStatus(7), 7);
    const QString url = m_engine->server().url(QStringLiteral("/package-7-1.0.zip"));
    QTRY_VERIFY(m_engine->downloads()->find(url).isNull());
    // The transfer went on after the error; the package did not.
    QCOMPARE(*states, (States{Package::PREPARING, Package::DOWNLOAD_ERROR}));
    QCOMPARE(m_engine->recordedStatus(7), 7);
}

void PackageInstallationTest::failedProbeIsFinal()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).headStatus = 500;
    const auto states = followStates(m_engine->package(7), this);
    QSignalSpy finished(m_engine->package(7).data(), &Package::downloadFinished);
    m_engine->install(7);
    const QString url = m_engine->server().url(QStringLiteral("/package-7-1.0.zip"));
    QTRY_VERIFY(m_engine->downloads()->find(url).isNull());
    QCOMPARE(m_engine->server().last("GET", QStringLiteral("/package-7-1.0.zip")).method,
             QByteArray("GET"));
    QCOMPARE(*states, (States{Package::PREPARING, Package::DOWNLOAD_ERROR}));
    QCOMPARE(finished.count(), 0);
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(7))));
}

void PackageInstallationTest::retryAfterARefreshSucceeds()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).resetAfter = 20;
    m_engine->install(7);
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOAD_ERROR));
    m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).resetAfter.reset();
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QVERIFY(m_engine->installAndWait(7));
    QCOMPARE(m_engine->server().last("GET", QStringLiteral("/package-7-1.0.zip")).header("Range"),
             QByteArray("bytes=20-"));
}

void PackageInstallationTest::secondInstallOfABusyPackageDoesNothing()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    const auto states = followStates(m_engine->package(7), this);
    m_engine->install(7);
    m_engine->install(7);
    QVERIFY(m_engine->waitUntilSettled(7));
    QCOMPARE(states->count(Package::INSTALLING), 1);
    QCOMPARE(m_engine->server().requests(QStringLiteral("/package-7-1.0.zip")).size(), 2);
}

void PackageInstallationTest::packageWithoutVersionsDoesNothing()
{
    m_engine->offerObject({{QStringLiteral("id"), 7}});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->install(7).isEmpty());
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QVERIFY(m_engine->controller().installedVersion(m_engine->package(7)).isEmpty());
    QVERIFY(m_engine->controller().changeLog(m_engine->package(7), QString()).isEmpty());
    QVERIFY(m_engine->controller().resolvedDependencies(m_engine->package(7), QString()).isEmpty());
    QVERIFY(m_engine->controller().dependents(m_engine->package(7), QString()).isEmpty());
    QVERIFY(m_engine->controller().runningDownload(m_engine->package(7)).isNull());
    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
}

void PackageInstallationTest::controllerWithoutDownloadManagerDoesNothing()
{
    Kavo::Controllers::PackageController controller(m_engine->settings(), {});
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    QString version;
    controller.install(m_engine->package(7), version);
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QVERIFY(controller.runningDownload(m_engine->package(7)).isNull());
}

void PackageInstallationTest::finishedProbeIsNotTakenForARunningDownload()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    const QByteArray body = m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).body;
    QVERIFY(writeFile(m_engine->cached(QStringLiteral("package-7-1.0.zip")), body));
    QVERIFY(m_engine->installAndWait(7));
    // The probe found the archive complete; its download stays queued without a file.
    const QString url = m_engine->server().url(QStringLiteral("/package-7-1.0.zip"));
    QVERIFY(!m_engine->downloads()->find(url).isNull());
    m_engine->controller().uninstall(m_engine->package(7));
    QVERIFY(m_engine->installAndWait(7));
    QCOMPARE(m_engine->server().log().filter(QStringLiteral("GET /package-7")).size(), 1);
}

void PackageInstallationTest::completeArchiveInTheCacheIsNotFetchedAgain()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    const QByteArray body = m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).body;
    QVERIFY(writeFile(m_engine->cached(QStringLiteral("package-7-1.0.zip")), body));
    const auto states = followStates(m_engine->package(7), this);
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(m_engine->server().log().filter(QStringLiteral("GET /package-7")).isEmpty());
    QTRY_COMPARE(*states, (States{Package::PREPARING, Package::INSTALLING, Package::INSTALLED}));
}

void PackageInstallationTest::downloadAnnouncedAgainIsInstalledOnce()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    const QByteArray body = m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).body;
    QVERIFY(writeFile(m_engine->cached(QStringLiteral("package-7-1.0.zip")), body));
    const LogCapture log;
    m_engine->install(7);
    const auto download =
        m_engine->downloads()->find(m_engine->server().url(QStringLiteral("/package-7-1.0.zip")));
    connect(download.data(), &Download::finished, this, [&download] { download->announce(); });
    QVERIFY(m_engine->waitUntilSettled(7));
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QCOMPARE(log.count(QStringLiteral("Extract paramenter : ")), 1);
}

void PackageInstallationTest::interruptedDownloadGoesOnWhereItStopped()
{
    Offer offer{7};
    QByteArray content;
    for (int number = 0; content.size() < 400000; ++number)
        content.append(QByteArray::number(number * 7919)).append('\n');
    offer.files = {{Engine::fileOf(7), content}};
    m_engine->offer(offer);
    QVERIFY(m_engine->refresh());
    const QString path = QStringLiteral("/package-7-1.0.zip");
    m_engine->server().resource(path).holdAfter = 30000;
    m_engine->install(7);
    const QString cached = m_engine->cached(QStringLiteral("package-7-1.0.zip"));
    QTRY_COMPARE(QFileInfo(cached).size(), 30000);
    m_engine->stop();

    m_engine->server().resource(path).holdAfter.reset();
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QVERIFY(m_engine->installAndWait(7));
    QCOMPARE(m_engine->server().last("GET", path).header("Range"), QByteArray("bytes=30000-"));
    QCOMPARE(readFile(m_engine->simulator(Engine::fileOf(7))), content);
}

void PackageInstallationTest::packagesOfOneAddressShareOneTransfer()
{
    Offer first{7};
    first.link = QStringLiteral("/shared.zip");
    Offer second{8};
    second.link = first.link;
    m_engine->offer(first);
    m_engine->offer(second);
    QVERIFY(m_engine->refresh());
    m_engine->install(7);
    m_engine->install(8);
    QVERIFY(m_engine->waitUntilSettled(7) && m_engine->waitUntilSettled(8));
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QCOMPARE(m_engine->package(8)->state(), Package::INSTALLED);
    QCOMPARE(m_engine->server().log().filter(QStringLiteral("GET /shared")).size(), 1);
    QVERIFY(!QFile::exists(m_engine->cached(QStringLiteral("shared.zip"))));
}

void PackageInstallationTest::archivesOfOneNameDoNotMix()
{
    Offer first{7};
    first.link = QStringLiteral("/a/data.zip");
    Offer second{8};
    second.link = QStringLiteral("/b/data.zip");
    m_engine->offer(first);
    m_engine->offer(second);
    QVERIFY(m_engine->refresh());
    m_engine->install(7);
    m_engine->install(8);
    QVERIFY(m_engine->waitUntilSettled(7) && m_engine->waitUntilSettled(8));
    QCOMPARE(readFile(m_engine->simulator(Engine::fileOf(7))),
             Engine::contentOf(7, QStringLiteral("1.0")));
    QCOMPARE(readFile(m_engine->simulator(Engine::fileOf(8))),
             Engine::contentOf(8, QStringLiteral("1.0")));
    QCOMPARE(m_engine->package(8)->state(), Package::INSTALLED);
}

void PackageInstallationTest::runningDownloadIsThatOfTheVersionOnItsWay()
{
    m_engine->offer({7, QStringLiteral("1.0")});
    m_engine->offer({7, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    const PackagePointer package = m_engine->package(7);
    QVERIFY(m_engine->controller().runningDownload(package).isNull());
    m_engine->server().resource(QStringLiteral("/package-7-1.0.zip")).holdsGet = true;
    m_engine->install(7, QStringLiteral("1.0"));
    QVERIFY(m_engine->waitForState(7, Package::DOWNLOADING));
    const auto download = m_engine->controller().runningDownload(package);
    QVERIFY(!download.isNull());
    QCOMPARE(download->getRequest()->url().toString(),
             m_engine->server().url(QStringLiteral("/package-7-1.0.zip")));
    m_engine->server().release(QStringLiteral("/package-7-1.0.zip"));
    QVERIFY(m_engine->waitUntilSettled(7));
    QVERIFY(m_engine->controller().runningDownload(package).isNull());
}

void PackageInstallationTest::endDuringATaskWaitsAndRecordsTheResult()
{
    const GatedExtractor extractor(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(extractor.program());
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    const PackagePointer package = m_engine->package(7);
    m_engine->install(7);
    QVERIFY(extractor.waitUntilReached());
    QVERIFY(m_engine->controller().isBusy());
    QCOMPARE(m_engine->recordedStatus(7), 4);

    auto opening = QtConcurrent::run([&extractor] { extractor.open(); });
    m_engine->stop();
    opening.waitForFinished();
    QCOMPARE(package->state(), Package::INSTALLED);
    QCOMPARE(m_engine->recordedStatus(7), 1);
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(7))));
}

void PackageInstallationTest::newestVersionNeedsNoUpdateWhateverItsText()
{
    // Without a number it counts as older than everything.
    m_engine->offer({7, QStringLiteral("nightly")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(!m_engine->package(7)->isUpdateAvailable());
}

void PackageInstallationTest::completeDownloadThatIsAnnouncedAgainIsInstalledOnce()
{
    const GatedExtractor extractor(m_engine->profile().folder(QStringLiteral("tools")));
    m_engine->setExtractor(extractor.program());
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    // The probe finds it complete on the disk, and the download stays in the manager's queue.
    const QString archive = QStringLiteral("package-7-1.0.zip");
    QVERIFY(writeFile(m_engine->cached(archive),
                      m_engine->server().resource(QLatin1Char('/') + archive).body));
    const PackagePointer package = m_engine->package(7);
    m_engine->install(7);
    QVERIFY(extractor.waitUntilReached());
    const auto download = m_engine->controller().runningDownload(package);
    QVERIFY(!download.isNull());
    const LogCapture log;
    download->announce();
    extractor.open();
    QVERIFY(m_engine->waitUntilSettled(7));
    QCOMPARE(package->state(), Package::INSTALLED);
    QCOMPARE(log.count(QStringLiteral("Removing file : ")), 1);
    QCOMPARE(log.count(QStringLiteral("Extract paramenter : ")), 0);
}

void PackageInstallationTest::unwritableCacheIsNotInstalled()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    // A folder in the place of the archive: nothing can be written there, whoever runs the test.
    QVERIFY(QDir().mkpath(m_engine->cached(QStringLiteral("package-7-1.0.zip"))));
    QVERIFY(!m_engine->installAndWait(7));
    QCOMPARE(m_engine->package(7)->state(), Package::DOWNLOAD_ERROR);
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(7))));
}

KAVO_TEST_MAIN(PackageInstallationTest)
#include "PackageInstallationTest.moc"
