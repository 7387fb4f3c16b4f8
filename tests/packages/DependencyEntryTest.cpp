#include "packages/model/DependencyEntry.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QProcess>
#include <QTest>

using namespace Kavo::Models;
using namespace Kavo::Testing;

class DependencyEntryTest final : public QObject
{
    Q_OBJECT

private slots:
    // Fixed, see docs/compatibility.md.
    void splitsIdAndMinimumVersion_data()
    {
        Rows<QString, int, QString>()
            .row("id and version", "5:1.10", 5, "1.10")
            .row("no colon: no minimum", "5", 5, QString())
            .row("nothing after the colon", "5:", 5, QString())
            .row("minimum without a number", "5:abc", 5, "abc")
            .row("id that is no number", "five:1.0", 0, "1.0")
            .row("empty id", ":1.0", 0, "1.0")
            .row("third part is ignored", "5:1.0:2.0", 5, "1.0");
    }
    void splitsIdAndMinimumVersion()
    {
        const auto [entry, id, required] = Rows<QString, int, QString>::current();
        const DependencyEntry parsed = DependencyEntry::parse(entry);
        QCOMPARE(parsed.packageId, id);
        QCOMPARE(parsed.requiredVersion, required);
    }

    void comparesNumbersSegmentBySegment_data()
    {
        Rows<QString, QString, bool>()
            .row("2 is less than 10", "5:1.10", "1.2", false)
            .row("equal", "5:1.10", "1.10", true)
            .row("newer", "5:1.10", "2.0", true)
            .row("no minimum, any version", "5", "0.0.1", true)
            .row("no minimum, version without numbers", "5", "beta", true)
            .row("minimum without numbers", "5:abc", "0.1", true)
            .row("version without numbers", "5:0.1", "beta", false);
    }
    void comparesNumbersSegmentBySegment()
    {
        const auto [entry, version, met] = Rows<QString, QString, bool>::current();
        QCOMPARE(DependencyEntry::parse(entry).isMetBy(version), met);
    }

    // Fixed, see docs/compatibility.md.
    void emptyEntryEndsTheProcessWithALogLine()
    {
        const ScratchProfile profile;
        QProcess process;
        process.start(QStringLiteral(EMPTY_DEPENDENCY_ENTRY), QStringList());
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QFile log(profile.dataFolder() + "log.txt"_s);
        QVERIFY(log.open(QIODevice::ReadOnly));
        QCOMPARE(log.readAll(), "Invalid dependency info\n");
    }
};

KAVO_TEST_MAIN(DependencyEntryTest)
#include "DependencyEntryTest.moc"
