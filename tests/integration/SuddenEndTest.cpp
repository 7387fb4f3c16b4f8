#include "tests/packages/Engine.h"
#include "tests/support/TestMain.h"

#include <QFileInfo>
#include <QProcess>
#include <QTest>

using namespace Kavo::Testing;

class SuddenEndTest final : public QObject
{
    Q_OBJECT

private slots:
    void killedDownloadIsResumedForExactlyTheMissingBytes();
};

void SuddenEndTest::killedDownloadIsResumedForExactlyTheMissingBytes()
{
    constexpr qint64 FirstPart = 123457;
    Engine engine;
    Offer offer{7};
    QByteArray content;
    for (int number = 0; content.size() < 2000000; ++number)
        content.append(QByteArray::number(qHash(number))).append('\n');
    offer.files = {{QStringLiteral("a/one.txt"), content},
                   {QStringLiteral("a/two.txt"), content.left(500000)}};
    engine.offer(offer);
    engine.serveCatalogue();
    const QString path = QStringLiteral("/package-7-1.0.zip");
    engine.server().resource(path).holdAfter = FirstPart;
    const QStringList arguments{engine.server().url(QString()), engine.profile().simulatorFolder(),
                                QStringLiteral("install"), QStringLiteral("7")};

    QProcess driver;
    driver.start(QStringLiteral(ENGINE_DRIVER), arguments);
    const QString cached = engine.cached(QStringLiteral("package-7-1.0.zip"));
    QTRY_COMPARE_WITH_TIMEOUT(QFileInfo(cached).size(), FirstPart, 20000);
    driver.kill();
    QTRY_COMPARE(driver.state(), QProcess::NotRunning);
    QCOMPARE(driver.exitStatus(), QProcess::CrashExit);
    QCOMPARE(engine.recordedStatus(7), 3);

    engine.server().resource(path).holdAfter.reset();
    engine.server().forgetRequests();
    driver.start(QStringLiteral(ENGINE_DRIVER), arguments);
    QTRY_COMPARE_WITH_TIMEOUT(driver.state(), QProcess::NotRunning, 30000);
    QCOMPARE(driver.exitCode(), 0);
    QCOMPARE(engine.server().last("GET", path).header("Range"),
             "bytes=" + QByteArray::number(FirstPart) + '-');
    QCOMPARE(engine.recordedStatus(7), 1);
    QCOMPARE(fileTree(engine.simulator(QStringLiteral("a"))),
             expectedTree({{QStringLiteral("one.txt"), content},
                           {QStringLiteral("two.txt"), content.left(500000)}}));
}

KAVO_TEST_MAIN(SuddenEndTest)
#include "SuddenEndTest.moc"
