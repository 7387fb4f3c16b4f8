#include "packages/model/DependencyEntry.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QProcess>
#include <QTest>

using namespace Kavo::Models;
using Kavo::Testing::ScratchProfile;

class DependencyEntryTest final : public QObject
{
    Q_OBJECT

private slots:
    void splitsIdAndMinimumVersion_data();
    void splitsIdAndMinimumVersion();
    void comparesNumbersSegmentBySegment_data();
    void comparesNumbersSegmentBySegment();
    void emptyEntryEndsTheProcessWithALogLine();
};

// Fixed, see docs/compatibility.md.
void DependencyEntryTest::splitsIdAndMinimumVersion_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("required");
    QTest::newRow("id and version") << "5:1.10" << 5 << "1.10";
    QTest::newRow("no colon: no minimum") << "5" << 5 << "";
    QTest::newRow("nothing after the colon") << "5:" << 5 << "";
    QTest::newRow("minimum without a number") << "5:abc" << 5 << "abc";
    QTest::newRow("id that is no number") << "five:1.0" << 0 << "1.0";
    QTest::newRow("empty id") << ":1.0" << 0 << "1.0";
    QTest::newRow("third part is ignored") << "5:1.0:2.0" << 5 << "1.0";
}

void DependencyEntryTest::splitsIdAndMinimumVersion()
{
    QFETCH(QString, entry);
    QFETCH(int, id);
    QFETCH(QString, required);
    const DependencyEntry parsed = DependencyEntry::parse(entry);
    QCOMPARE(parsed.packageId, id);
    QCOMPARE(parsed.requiredVersion, required);
}

void DependencyEntryTest::comparesNumbersSegmentBySegment_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("met");
    QTest::newRow("2 is less than 10") << "5:1.10"
                                       << "1.2" << false;
    QTest::newRow("equal") << "5:1.10"
                           << "1.10" << true;
    QTest::newRow("newer") << "5:1.10"
                           << "2.0" << true;
    QTest::newRow("no minimum, any version") << "5"
                                             << "0.0.1" << true;
    QTest::newRow("no minimum, version without numbers") << "5"
                                                         << "beta" << true;
    QTest::newRow("minimum without numbers") << "5:abc"
                                             << "0.1" << true;
    QTest::newRow("version without numbers") << "5:0.1"
                                             << "beta" << false;
}

void DependencyEntryTest::comparesNumbersSegmentBySegment()
{
    QFETCH(QString, entry);
    QFETCH(QString, version);
    QFETCH(bool, met);
    QCOMPARE(DependencyEntry::parse(entry).isMetBy(version), met);
}

// Fixed, see docs/compatibility.md.
void DependencyEntryTest::emptyEntryEndsTheProcessWithALogLine()
{
    const ScratchProfile profile;
    QProcess process;
    process.start(QStringLiteral(EMPTY_DEPENDENCY_ENTRY), QStringList());
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QFile log(profile.dataFolder() + QStringLiteral("log.txt"));
    QVERIFY(log.open(QIODevice::ReadOnly));
    QCOMPARE(log.readAll(), QByteArray("Invalid dependency info\n"));
}

KAVO_TEST_MAIN(DependencyEntryTest)
#include "DependencyEntryTest.moc"
