#include "downloads/DownloadManager.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Models;
using namespace Kavo::Testing;

Q_DECLARE_METATYPE(ResourceChange)

/// Starts an installation after a download has reported an error and before its transfer has ended.
class OrderAfterFailureTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void archiveIsFetchedOnceTheFailedTransferHasEnded_data()
    {
        Rows<ResourceChange>()
            .row("the server refuses the archive",
                 with(&HttpResource::getStatus, HttpStatus::SERVICE_UNAVAILABLE,
                      &HttpResource::failsOnlyGet, true))
            .row("the connection is cut", with(&HttpResource::cutAfter, 10));
    }
    /// Two packages share the archive. Neither may use the partial file of the failed transfer.
    void archiveIsFetchedOnceTheFailedTransferHasEnded()
    {
        const auto [fault] = Rows<ResourceChange>::current();
        const QString file = "Custom Scenery/shared/a.txt"_s;
        QVERIFY(publish({Offer{1}.bringing({{file, "a"}}).at("/shared.7z"_s),
                         Offer{2}.bringing({{file, "a"}}).at("/shared.7z"_s)}));
        HttpResource &archive = server().resource("/shared.7z"_s);
        const HttpResource healthy = archive;
        fault(archive);

        int orders = 0;
        QObject context;
        connect(&controller().installer(), &Installer::ended, &context, [&] {
            if (++orders > 1)
                return;
            QCOMPARE(state(1), Package::DOWNLOAD_ERROR);
            archive = healthy;
            install(1);
            install(2);
            // A further start() must not begin the transfer early.
            downloads().start();
        });
        install(1);
        QVERIFY(waitForState(1, Package::INSTALLED));
        QVERIFY(waitForState(2, Package::INSTALLED));
        QTRY_COMPARE(orders, 3);
        QCOMPARE(inSimulator(file), "a");
        QVERIFY(!QFile::exists(cached("shared.7z"_s)));
    }
};

KAVO_TEST_MAIN(OrderAfterFailureTest)
#include "OrderAfterFailureTest.moc"
