#include "tests/packages/EngineTest.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

class PackageControllerTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void changeLogContainsNewerVersionsThanTheInstalledOne_data()
    {
        const QString newest = "<strong>1.10</strong><ul><li>news of 1.10</li></ul>"_s;
        const QString middle = "<strong>1.2</strong><p>Not available></p>"_s;
        Rows<QString, QString, QString>()
            .row("the newest", "1.0", QString(), newest + middle)
            .row("up to the target", "1.0", "1.2", middle)
            .row("up to date", "1.10", QString(), QString())
            .row("not installed", QString(), QString(), QString())
            .row("older target", "1.2", "1.0", QString());
    }
    void changeLogContainsNewerVersionsThanTheInstalledOne()
    {
        const auto [installed, target, log] = Rows<QString, QString, QString>::current();
        QVERIFY(publish({Offer{7, "1.0"_s}.telling({"news of 1.0"_s}),
                         {7, "1.2"_s},
                         Offer{7, "1.10"_s}.telling({"news of 1.10"_s})}));
        QVERIFY(installed.isEmpty() || installAndWait(7, installed));
        QCOMPARE(controller().changeLog(package(7), target), log);
        uninstall(7);
        QCOMPARE(controller().changeLog(package(7), QString()), QString());
    }

    void resetDeletesBothDatabasesAndLeavesFiles()
    {
        const QString downloads = profile().dataFolder() + "download.db"_s;
        QVERIFY(publish({{7}}) && installAndWait(7));
        QVERIFY(QFile::exists(packageDatabase()) && QFile::exists(downloads));
        controller().reset();
        QVERIFY(!QFile::exists(packageDatabase()) && !QFile::exists(downloads));
        QVERIFY(hasFile(7));
        QCOMPARE(controller().status(package(7)), int(Package::UNKNOWN));
        // The next refresh finds no records.
        QVERIFY(refresh());
        QCOMPARE(state(7), Package::AVAILABLE);
        QCOMPARE(recordedStatus(7), -1);
    }

    void resetWithoutDatabasesDoesNothing()
    {
        start();
        controller().reset();
        controller().reset();
        QVERIFY(!QFile::exists(packageDatabase()));
    }

    void showListAnnouncesTheList()
    {
        start();
        QSignalSpy listed(&controller(), &PackageController::list);
        QSignalSpy updated(&controller(), &PackageController::update);
        controller().showList();
        QCOMPARE(listed.count(), 1);
        QCOMPARE(updated.count(), 0);
    }
};

KAVO_TEST_MAIN(PackageControllerTest)
#include "PackageControllerTest.moc"
