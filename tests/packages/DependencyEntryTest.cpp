#include "packages/model/DependencyEntry.h"
#include "tests/support/Literals.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/Table.h"
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
        table<QString, int, QString>({"entry", "id", "required"},
                                     {{"id and version", "5:1.10"_s, 5, "1.10"_s},
                                      {"no colon: no minimum", "5"_s, 5, QString()},
                                      {"nothing after the colon", "5:"_s, 5, QString()},
                                      {"minimum without a number", "5:abc"_s, 5, "abc"_s},
                                      {"id that is no number", "five:1.0"_s, 0, "1.0"_s},
                                      {"empty id", ":1.0"_s, 0, "1.0"_s},
                                      {"third part is ignored", "5:1.0:2.0"_s, 5, "1.0"_s}});
    }
    void splitsIdAndMinimumVersion()
    {
        QFETCH(QString, entry);
        QFETCH(int, id);
        QFETCH(QString, required);
        const DependencyEntry parsed = DependencyEntry::parse(entry);
        QCOMPARE(parsed.packageId, id);
        QCOMPARE(parsed.requiredVersion, required);
    }

    void comparesNumbersSegmentBySegment_data()
    {
        table<QString, QString, bool>(
            {"entry", "version", "met"},
            {{"2 is less than 10", "5:1.10"_s, "1.2"_s, false},
             {"equal", "5:1.10"_s, "1.10"_s, true},
             {"newer", "5:1.10"_s, "2.0"_s, true},
             {"no minimum, any version", "5"_s, "0.0.1"_s, true},
             {"no minimum, version without numbers", "5"_s, "beta"_s, true},
             {"minimum without numbers", "5:abc"_s, "0.1"_s, true},
             {"version without numbers", "5:0.1"_s, "beta"_s, false}});
    }
    void comparesNumbersSegmentBySegment()
    {
        QFETCH(QString, entry);
        QFETCH(QString, version);
        QFETCH(bool, met);
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
