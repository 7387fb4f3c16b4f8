#include "tests/support/StandInLocate.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QProcess>

using namespace Kavo::Testing;

class StandInLocateTest final : public QObject
{
    Q_OBJECT

private slots:
    void standInTakesThePlaceOfLocate()
    {
        const QByteArray path = qgetenv("PATH");
        {
            StandInLocate locate({"/a b/c"_s, "/d"_s}, 3);
            QProcess process;
            process.start("locate"_s, {"x y"_s});
            QVERIFY(process.waitForFinished());
            QCOMPARE(process.exitCode(), 3);
            QCOMPARE(process.readAllStandardOutput(), QByteArray("/a b/c\n/d\n"));
            QCOMPARE(locate.arguments(), QStringList("x y"_s));
            locate.setMissing();
            process.start("locate"_s, QStringList());
            QVERIFY(!process.waitForStarted());
        }
        QCOMPARE(qgetenv("PATH"), path);
    }
};

KAVO_TEST_MAIN(StandInLocateTest)
#include "StandInLocateTest.moc"
