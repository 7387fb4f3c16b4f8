#include "tests/support/DamagedDatabase.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

using Damage = DatabaseDamage;

const auto Table = "packages"_s;
const auto Schema =
    "CREATE TABLE packages (id INTEGER PRIMARY KEY AUTOINCREMENT,package_id INTEGER UNIQUE,"
    "version STRING,status INTEGER (1) NOT NULL);"_s;

} // namespace

/// A database that is damaged, foreign or not accessible must not prevent installations. The fault
/// is logged, and the program works without the record.
class DamagedDatabaseTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void programWorksWithoutTheRecordAndRecovers_data()
    {
        Rows<Damage, QString>()
            .row("empty file", Damage::EMPTY, "")
            .row("garbage", Damage::GARBAGE, "SQL Error: file is not a database")
            .row("cut off", Damage::CUT_OFF, "SQL Error: database disk image is malformed")
            .row("folder", Damage::FOLDER, "unable to open database file")
            .row("link to nowhere", Damage::LOST_LINK, "unable to open database file")
            .row("pipe", Damage::PIPE, "No regular file : ")
            .row("full disk", Damage::FULL_DISK, "No regular file : ")
            .row("read-only", Damage::READ_ONLY, "SQL Error: attempt to write a readonly database")
            .row("other columns", Damage::OTHER_COLUMNS, "SQL Error: no such column: package_id")
            .row("a column more that must be given", Damage::MORE_COLUMNS,
                 "SQL Error: NOT NULL constraint failed: packages.owner")
            .row("a view", Damage::VIEW, "SQL Error: packages.db holds more than tables");
    }
    void programWorksWithoutTheRecordAndRecovers()
    {
        const auto [damage, line] = Rows<Damage, QString>::current();
        QVERIFY(makeDamagedDatabase(file(), damage, Table, Schema));
        const LogCapture log;
        QVERIFY(publish({{7}, Offer{8}.removing({"package-8"_s})}));
        QCOMPARE(controller().packages().size(), 2);
        checkThatPackagesCanBeInstalled();
        QCOMPARE(recordedStatus(8), line.isEmpty() ? 1 : -1);
        QVERIFY2(line.isEmpty() ? log.count("SQL Error: "_s) == 0 : log.count(line) > 0,
                 qPrintable(log.lines().join(u'\n')));
        // The package can also be uninstalled, even if no record names its version.
        uninstall(8);
        QVERIFY(!hasFile(8));

        stop();
        recordReturnsWithoutTheFile();
        QVERIFY(restart());
        QCOMPARE(state(8), Package::INSTALLED);
        QCOMPARE(state(7), Package::AVAILABLE);
    }

    void damageDuringARunIsLogged_data()
    {
        Rows<QString>()
            .row("table dropped by another program", "drop")
            .row("file removed", "remove")
            .row("folder in its place", "folder")
            .row("overwritten with garbage", "overwrite")
            .row("emptied", "truncate");
    }
    void damageDuringARunIsLogged()
    {
        const auto [kind] = Rows<QString>::current();
        QVERIFY(publish({{7}, {8}}) && installAndWait(7));
        if (kind == "drop"_s) {
            QVERIFY(executeOn(file(), {"DROP TABLE packages"_s}));
        } else if (kind == "overwrite"_s) {
            QVERIFY(writeFile(file(), QByteArray(20000, 'x')));
        } else if (kind == "truncate"_s) {
            QVERIFY(QFile::resize(file(), 0));
        } else {
            removeFile();
            if (kind == "folder"_s)
                QVERIFY(QDir().mkpath(file()));
        }
        const LogCapture log;
        checkThatPackagesCanBeInstalled();
        QVERIFY(log.count("SQL Error: "_s) > 0);
        QCOMPARE(recordedStatus(8), -1);
        QVERIFY(refresh());
        QCOMPARE(controller().packages().size(), 2);
        // The next start creates the database again if nothing is in its place.
        stop();
        if (QFileInfo::exists(file()))
            removeFile();
        QVERIFY(refresh());
        QCOMPARE(state(7), Package::AVAILABLE);
        QVERIFY(installAndWait(7));
        QCOMPARE(recordedStatus(7), 1);
    }

    void databaseThatMightBlockIsNotUsed_data()
    {
        const QString line = "SQL Error: packages.db holds more than tables"_s;
        Rows<Damage, QString, QString>()
            .row("view", Damage::ENDLESS_VIEW, QString(), line)
            .row("view of another name", Damage::EMPTY,
                 "CREATE VIEW whole_versions AS WITH RECURSIVE c (package_id, version) AS "
                 "(SELECT 1, '' UNION ALL SELECT package_id + 1, '' FROM c) SELECT * "
                 "FROM c"_s,
                 line)
            .row("trigger", Damage::EMPTY,
                 "CREATE TRIGGER t AFTER INSERT ON packages BEGIN UPDATE packages SET "
                 "version = (WITH RECURSIVE c (id) AS (SELECT 1 UNION ALL SELECT id + 1 "
                 "FROM c) SELECT max(id) FROM c); END"_s,
                 line)
            .row("virtual table", Damage::EMPTY, "CREATE VIRTUAL TABLE other USING rtree(a, b, c)",
                 line)
            .row("pipe for a journal", Damage::JOURNAL_PIPE, QString(), "No regular file : ");
    }
    void databaseThatMightBlockIsNotUsed()
    {
        const auto [damage, statement, line] = Rows<Damage, QString, QString>::current();
        QVERIFY(makeDamagedDatabase(file(), damage, Table, Schema));
        QVERIFY(statement.isEmpty() || executeOn(file(), {Schema, statement}));
        const LogCapture log;
        QVERIFY(publish({{7}, {8}}));
        QVERIFY(log.count(line) > 0);
        QCOMPARE(controller().packages().size(), 2);
        checkThatPackagesCanBeInstalled();
        uninstall(8);

        recordReturnsWithoutTheFile();
    }

    void numberOfRowsReadIsLimited()
    {
        QVERIFY(executeOn(file(), {Schema, "INSERT INTO packages (package_id, version, status) "
                                           "WITH RECURSIVE c (id) AS (SELECT 1 UNION ALL SELECT "
                                           "id + 1 FROM c WHERE id < 1000002) SELECT id, '1.0', "
                                           "1 FROM c"_s}));
        QVERIFY(publish({{7}, {1000002}}));
        QCOMPARE(state(7), Package::INSTALLED);
        QCOMPARE(state(1000002), Package::AVAILABLE);
    }

    void foreignValuesAreReadIfPossible_data()
    {
        Rows<State, QString>()
            .row("8, '1.0.0', '1'", Package::INSTALLED, "1.0.0")
            .row("8, '1.0.0', 'installed'", Package::AVAILABLE, "")
            .row("8, '1.0.0', 1.0", Package::INSTALLED, "1.0.0")
            .row("8, '1.0.0', 99", Package::AVAILABLE, "")
            .row("8, '1.0.0', -1", Package::AVAILABLE, "")
            .row("8, NULL, 1", Package::INSTALLED, "")
            .row("8, x'ff00fe', 1", Package::INSTALLED, "?")
            .row("8, 1e300, 1", Package::INSTALLED, "1e+300")
            .row("8, zeroblob(1000000), 1", Package::INSTALLED, "")
            .row("NULL, '1.0.0', 1", Package::AVAILABLE, "")
            .row("'8', '1.0.0', 1", Package::INSTALLED, "1.0.0");
    }
    void foreignValuesAreReadIfPossible()
    {
        const auto [expected, version] = Rows<State, QString>::current();
        QVERIFY(executeOn(file(),
                          {Schema, "INSERT INTO packages (package_id, version, status) "
                                   "VALUES (%1)"_s.arg(QLatin1String(QTest::currentDataTag()))}));
        QVERIFY(publish({{8}}));
        QCOMPARE(state(8), expected);
        const QString read = installedVersion(8);
        // Bytes that are not UTF-8 may be read as any text, but not as an empty one.
        if (version == "?"_s)
            QVERIFY(!read.isEmpty());
        else
            QCOMPARE(read, version);
        QVERIFY(installAndWait(8));
        QCOMPARE(recordedStatus(8), 1);
        QCOMPARE(recordedVersion(8), "1.0"_s);
    }

    void lockedFileDoesNotBlockTheWindow()
    {
        for (int id = 1; id <= 50; ++id)
            offer({id});
        QVERIFY(refresh() && installAndWait(7));
        stop();
        auto lock = std::make_unique<DatabaseLock>(file());
        QVERIFY(lock->isHeld());
        const LogCapture log;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(refresh());
        // Reading the records does not wait for the lock either.
        for (const auto &package : controller().packages())
            QCOMPARE(controller().status(package), -1);
        checkThatPackagesCanBeInstalled();
        // All statements share one time limit for the lock. A separate limit for each of them would
        // add up to minutes.
        QVERIFY2(timer.elapsed() < 30000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(log.count("SQL Error: database is locked"_s) > 50);
        QCOMPARE(controller().packages().size(), 50);
        // A package whose record cannot be read does not count as installed.
        QCOMPARE(state(7), Package::AVAILABLE);

        // Package 8 was installed without a record. After the database is unlocked, records are
        // written and read again.
        lock.reset();
        QCOMPARE(recordedStatus(8), -1);
        QCOMPARE(recordedStatus(7), 1);
        QVERIFY(installAndWait(9));
        QCOMPARE(recordedStatus(9), 1);
        QVERIFY(refresh());
        QCOMPARE(state(7), Package::INSTALLED);
    }

    void lockThatEndsInTimeIsWaitedFor()
    {
        QVERIFY(publish({{8}}));
        // Another program locks the database for half a second.
        QProcess other;
        other.start("sqlite3"_s,
                    {file(), "BEGIN EXCLUSIVE;"_s, ".shell echo locked; sleep 0.5"_s, "COMMIT;"_s});
        if (!other.waitForStarted())
            QSKIP("The program sqlite3 is not installed");
        QVERIFY(other.waitForReadyRead());
        const LogCapture log;
        QCOMPARE(controller().status(package(8)), -1);
        QVERIFY(other.waitForFinished());
        QCOMPARE(log.count("SQL Error: "_s), 0);
    }

private:
    QString file() const { return packageDatabase(); }

    void removeFile() const
    {
        QFile::remove(file() + "-journal"_s);
        if (QFileInfo(file()).isDir())
            QVERIFY(QDir().rmdir(file()));
        else
            QVERIFY(QFile::remove(file()));
    }

    /// Removes the damaged file. The next refresh must create a database in which the installation
    /// of package 8 is recorded.
    void recordReturnsWithoutTheFile()
    {
        removeFile();
        QVERIFY(refresh());
        checkThatPackagesCanBeInstalled();
        QCOMPARE(recordedStatus(8), 1);
    }

    /// Installs package 8, whatever the state of the database.
    void checkThatPackagesCanBeInstalled()
    {
        QCOMPARE(state(8), Package::AVAILABLE);
        QVERIFY(installAndWait(8));
        QCOMPARE(inSimulator(Engine::fileOf(8)), Engine::contentOf(8, "1.0"_s));
    }
};

KAVO_TEST_MAIN(DamagedDatabaseTest)
#include "DamagedDatabaseTest.moc"
