#include "tests/packages/Engine.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

class PackageControllerTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup() { m_engine.reset(); }

    void changeLogTellsWhatComesAfterTheInstalledVersion();
    void changeLogOfAnUpToDatePackageIsEmpty();
    void changeLogOfAPackageThatIsNotInstalledIsEmpty();
    void changeLogOfAnOlderTargetIsEmpty();
    void resetDeletesBothDatabasesAndLeavesFiles();
    void resetWithoutDatabasesDoesNothing();
    void refreshAfterAResetStartsAfresh();
    void showListAnnouncesTheList();
    void damagedDatabaseStillLetsPackagesBeInstalled();
    void databaseDeletedWhileRunningIsNoLie();

private:
    void offerThreeVersions();

    std::unique_ptr<Engine> m_engine;
};

void PackageControllerTest::offerThreeVersions()
{
    for (const QString &version :
         {QStringLiteral("1.0"), QStringLiteral("1.2"), QStringLiteral("1.10")}) {
        Offer offer{7, version};
        if (version != QLatin1String("1.2"))
            offer.log = QStringList{QStringLiteral("news of ") + version};
        m_engine->offer(offer);
    }
}

void PackageControllerTest::changeLogTellsWhatComesAfterTheInstalledVersion()
{
    offerThreeVersions();
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    const QString newest = QStringLiteral("<strong>1.10</strong><ul><li>news of 1.10</li></ul>");
    const QString middle = QStringLiteral("<strong>1.2</strong><p>Not available></p>");
    PackageController &controller = m_engine->controller();
    QCOMPARE(controller.changeLog(m_engine->package(7), QString()), newest + middle);
    QCOMPARE(controller.changeLog(m_engine->package(7), QStringLiteral("1.2")), middle);
}

void PackageControllerTest::changeLogOfAnUpToDatePackageIsEmpty()
{
    offerThreeVersions();
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(m_engine->controller().changeLog(m_engine->package(7), QString()).isEmpty());
}

void PackageControllerTest::changeLogOfAPackageThatIsNotInstalledIsEmpty()
{
    offerThreeVersions();
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->controller().changeLog(m_engine->package(7), QString()).isEmpty());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    m_engine->controller().uninstall(m_engine->package(7));
    QVERIFY(m_engine->controller().changeLog(m_engine->package(7), QString()).isEmpty());
}

void PackageControllerTest::changeLogOfAnOlderTargetIsEmpty()
{
    offerThreeVersions();
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.2")));
    QVERIFY(
        m_engine->controller().changeLog(m_engine->package(7), QStringLiteral("1.0")).isEmpty());
}

void PackageControllerTest::resetDeletesBothDatabasesAndLeavesFiles()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    const QString packages = m_engine->profile().dataFolder() + QStringLiteral("packages.db");
    const QString downloads = m_engine->profile().dataFolder() + QStringLiteral("download.db");
    QVERIFY(QFile::exists(packages) && QFile::exists(downloads));
    m_engine->controller().reset();
    QVERIFY(!QFile::exists(packages));
    QVERIFY(!QFile::exists(downloads));
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(7))));
}

void PackageControllerTest::resetWithoutDatabasesDoesNothing()
{
    m_engine->start();
    m_engine->controller().reset();
    m_engine->controller().reset();
    QVERIFY(!QFile::exists(m_engine->profile().dataFolder() + QStringLiteral("packages.db")));
}

void PackageControllerTest::refreshAfterAResetStartsAfresh()
{
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    m_engine->controller().reset();
    QCOMPARE(m_engine->controller().status(m_engine->package(7)), 9);
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QCOMPARE(m_engine->recordedStatus(7), -1);
}

void PackageControllerTest::showListAnnouncesTheList()
{
    m_engine->start();
    QSignalSpy listed(&m_engine->controller(), &PackageController::list);
    QSignalSpy updated(&m_engine->controller(), &PackageController::update);
    m_engine->controller().showList();
    QCOMPARE(listed.count(), 1);
    QCOMPARE(updated.count(), 0);
}

void PackageControllerTest::damagedDatabaseStillLetsPackagesBeInstalled()
{
    QVERIFY(writeFile(m_engine->profile().dataFolder() + QStringLiteral("packages.db"),
                      QByteArray(4096, 'x')));
    m_engine->offer({7});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(7))));
}

void PackageControllerTest::databaseDeletedWhileRunningIsNoLie()
{
    m_engine->offer({7});
    m_engine->offer({8});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    QVERIFY(QFile::remove(m_engine->profile().dataFolder() + QStringLiteral("packages.db")));
    const LogCapture log;
    QVERIFY(m_engine->installAndWait(8));
    QVERIFY(log.count(QStringLiteral("SQL Error: ")) > 0);
    QVERIFY(QFile::exists(m_engine->simulator(Engine::fileOf(8))));
    // The next run knows of nothing, which is what the disk has.
    m_engine->stop();
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(8)->state(), Package::AVAILABLE);
}

KAVO_TEST_MAIN(PackageControllerTest)
#include "PackageControllerTest.moc"
