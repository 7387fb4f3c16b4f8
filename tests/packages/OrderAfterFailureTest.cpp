#include "downloads/DownloadManager.h"
#include "tests/packages/Engine.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Models;
using namespace Kavo::Testing;

/// Orders an installation between the error of a download and the end of its transfer.
class OrderAfterFailureTest final : public QObject
{
    Q_OBJECT

private slots:
    void archiveIsFetchedOnceTheFailedTransferHasEnded_data();
    void archiveIsFetchedOnceTheFailedTransferHasEnded();
};

void OrderAfterFailureTest::archiveIsFetchedOnceTheFailedTransferHasEnded_data()
{
    QTest::addColumn<bool>("answers");

    QTest::newRow("the server refuses the archive") << true;
    QTest::newRow("the connection is cut") << false;
}

/// Two packages share the archive: neither may use what the failed transfer left.
void OrderAfterFailureTest::archiveIsFetchedOnceTheFailedTransferHasEnded()
{
    QFETCH(bool, answers);
    Engine engine;
    for (const int id : {1, 2}) {
        Offer offer;
        offer.id = id;
        offer.link = QStringLiteral("/shared.7z");
        offer.files = {{QStringLiteral("Custom Scenery/shared/a.txt"), "a"}};
        engine.offer(offer);
    }
    QVERIFY(engine.refresh());
    HttpResource &archive = engine.server().resource(QStringLiteral("/shared.7z"));
    const HttpResource healthy = archive;
    if (answers) {
        archive.getStatus = HttpStatus::SERVICE_UNAVAILABLE;
        archive.failsOnlyGet = true;
    } else {
        archive.cutAfter = 10;
    }

    int orders = 0;
    QObject context;
    connect(&engine.controller().installer(), &Installer::ended, &context, [&] {
        if (++orders > 1)
            return;
        QCOMPARE(engine.package(1)->state(), Package::DOWNLOAD_ERROR);
        engine.server().resource(QStringLiteral("/shared.7z")) = healthy;
        engine.install(1);
        engine.install(2);
        // Nothing else may start the transfer early.
        engine.downloads()->start();
    });
    engine.install(1);
    QVERIFY(engine.waitForState(1, Package::INSTALLED));
    QVERIFY(engine.waitForState(2, Package::INSTALLED));
    QTRY_COMPARE(orders, 3);
    QCOMPARE(readFile(engine.simulator(QStringLiteral("Custom Scenery/shared/a.txt"))),
             QByteArray("a"));
    QVERIFY(!QFile::exists(engine.cached(QStringLiteral("shared.7z"))));
}

KAVO_TEST_MAIN(OrderAfterFailureTest)
#include "OrderAfterFailureTest.moc"
