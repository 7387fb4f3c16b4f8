#include "tests/support/DamagedDatabase.h"
#include "tests/packages/Engine.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

const auto Table = QStringLiteral("packages");
const auto Schema = QStringLiteral(
    "CREATE TABLE packages (id INTEGER PRIMARY KEY AUTOINCREMENT,package_id INTEGER UNIQUE,"
    "version STRING,status INTEGER (1) NOT NULL);");

} // namespace

/// A record of installed packages that is broken, foreign or out of reach must not keep anybody
/// from installing packages: it is logged, and the program goes on without what it cannot have.
class DamagedDatabaseTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_engine = std::make_unique<Engine>(); }
    void cleanup() { m_engine.reset(); }

    void programGoesOnAndRecoversWithTheFile_data();
    void programGoesOnAndRecoversWithTheFile();
    void damageDuringARunIsLogged_data();
    void damageDuringARunIsLogged();
    void whatMayHaveNoEndIsNotUsed_data();
    void whatMayHaveNoEndIsNotUsed();
    void rowsWithoutMeasureAreNotRead();
    void foreignValuesAreReadAsFarAsTheyGo_data();
    void foreignValuesAreReadAsFarAsTheyGo();
    void lockedFileDoesNotHoldUpTheWindow();
    void lockThatEndsInTimeIsWaitedFor();

private:
    QString file() const
    {
        return m_engine->profile().dataFolder() + QStringLiteral("packages.db");
    }
    void removeFile() const;
    /// Installs and removes package 8, whatever the record has to say.
    void checkThatPackagesCanBeInstalled();

    std::unique_ptr<Engine> m_engine;
};

void DamagedDatabaseTest::removeFile() const
{
    QFile::remove(file() + QStringLiteral("-journal"));
    if (QFileInfo(file()).isDir())
        QVERIFY(QDir().rmdir(file()));
    else
        QVERIFY(QFile::remove(file()));
}

void DamagedDatabaseTest::checkThatPackagesCanBeInstalled()
{
    QCOMPARE(m_engine->package(8)->state(), Package::AVAILABLE);
    QVERIFY(m_engine->installAndWait(8));
    QCOMPARE(readFile(m_engine->simulator(Engine::fileOf(8))),
             Engine::contentOf(8, QStringLiteral("1.0")));
}

void DamagedDatabaseTest::programGoesOnAndRecoversWithTheFile_data()
{
    QTest::addColumn<DatabaseDamage>("damage");
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("records");
    const auto row = [](const char *name, DatabaseDamage damage, const char *line,
                        bool records = false) {
        QTest::newRow(name) << damage << QString::fromLatin1(line) << records;
    };
    row("empty file", DatabaseDamage::EMPTY, "", true);
    row("garbage", DatabaseDamage::GARBAGE, "SQL Error: file is not a database");
    row("cut off", DatabaseDamage::CUT_OFF, "SQL Error: database disk image is malformed");
    row("folder", DatabaseDamage::FOLDER, "unable to open database file");
    row("link to nowhere", DatabaseDamage::LOST_LINK, "unable to open database file");
    row("pipe", DatabaseDamage::PIPE, "No regular file : ");
    row("full disk", DatabaseDamage::FULL_DISK, "No regular file : ");
    row("read-only", DatabaseDamage::READ_ONLY, "SQL Error: attempt to write a readonly database");
    row("other columns", DatabaseDamage::OTHER_COLUMNS, "SQL Error: no such column: package_id");
    row("a column more that must be given", DatabaseDamage::MORE_COLUMNS,
        "SQL Error: NOT NULL constraint failed: packages.owner");
    row("a view", DatabaseDamage::VIEW, "SQL Error: packages.db holds more than tables");
}

void DamagedDatabaseTest::programGoesOnAndRecoversWithTheFile()
{
    QFETCH(DatabaseDamage, damage);
    QFETCH(QString, line);
    QFETCH(bool, records);
    QVERIFY(makeDamagedDatabase(file(), damage, Table, Schema));
    m_engine->offer({7});
    Offer offer{8};
    offer.remove = QStringList{QStringLiteral("package-8")};
    m_engine->offer(offer);
    const LogCapture log;
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->controller().packages().size(), 2);
    checkThatPackagesCanBeInstalled();
    QCOMPARE(m_engine->recordedStatus(8), records ? 1 : -1);
    QVERIFY2(line.isEmpty() ? log.count(QStringLiteral("SQL Error: ")) == 0 : log.count(line) > 0,
             qPrintable(log.lines().join(QLatin1Char('\n'))));
    // Without a record there is no telling which version it is, but nothing keeps it.
    m_engine->controller().uninstall(m_engine->package(8));
    QVERIFY(!QFile::exists(m_engine->simulator(Engine::fileOf(8))));

    m_engine->stop();
    removeFile();
    QVERIFY(m_engine->refresh());
    checkThatPackagesCanBeInstalled();
    QCOMPARE(m_engine->recordedStatus(8), 1);
    m_engine->stop();
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(8)->state(), Package::INSTALLED);
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
}

void DamagedDatabaseTest::damageDuringARunIsLogged_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("table dropped by another program") << QStringLiteral("drop");
    QTest::newRow("file removed") << QStringLiteral("remove");
    QTest::newRow("folder in its place") << QStringLiteral("folder");
    QTest::newRow("overwritten with garbage") << QStringLiteral("overwrite");
    QTest::newRow("emptied") << QStringLiteral("truncate");
}

void DamagedDatabaseTest::damageDuringARunIsLogged()
{
    QFETCH(QString, kind);
    m_engine->offer({7});
    m_engine->offer({8});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    if (kind == QLatin1String("drop")) {
        QVERIFY(executeOn(file(), {QStringLiteral("DROP TABLE packages")}));
    } else if (kind == QLatin1String("overwrite")) {
        QVERIFY(writeFile(file(), QByteArray(20000, 'x')));
    } else if (kind == QLatin1String("truncate")) {
        QVERIFY(QFile::resize(file(), 0));
    } else {
        removeFile();
        if (kind == QLatin1String("folder"))
            QVERIFY(QDir().mkpath(file()));
    }
    const LogCapture log;
    checkThatPackagesCanBeInstalled();
    QVERIFY(log.count(QStringLiteral("SQL Error: ")) > 0);
    QCOMPARE(m_engine->recordedStatus(8), -1);
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->controller().packages().size(), 2);
    // The next start has a record again as soon as nothing stands in its place.
    m_engine->stop();
    if (QFileInfo::exists(file()))
        removeFile();
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);
    QVERIFY(m_engine->installAndWait(7));
    QCOMPARE(m_engine->recordedStatus(7), 1);
}

void DamagedDatabaseTest::whatMayHaveNoEndIsNotUsed_data()
{
    const QString line = QStringLiteral("SQL Error: packages.db holds more than tables");
    QTest::addColumn<DatabaseDamage>("damage");
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("line");
    QTest::newRow("view") << DatabaseDamage::ENDLESS_VIEW << QString() << line;
    QTest::newRow("view of another name")
        << DatabaseDamage::EMPTY
        << QStringLiteral("CREATE VIEW whole_versions AS WITH RECURSIVE c (package_id, version) AS "
                          "(SELECT 1, '' UNION ALL SELECT package_id + 1, '' FROM c) SELECT * "
                          "FROM c")
        << line;
    QTest::newRow("trigger")
        << DatabaseDamage::EMPTY
        << QStringLiteral("CREATE TRIGGER t AFTER INSERT ON packages BEGIN UPDATE packages SET "
                          "version = (WITH RECURSIVE c (id) AS (SELECT 1 UNION ALL SELECT id + 1 "
                          "FROM c) SELECT max(id) FROM c); END")
        << line;
    QTest::newRow("virtual table")
        << DatabaseDamage::EMPTY
        << QStringLiteral("CREATE VIRTUAL TABLE other USING rtree(a, b, c)") << line;
    QTest::newRow("pipe for a journal")
        << DatabaseDamage::JOURNAL_PIPE << QString() << QStringLiteral("No regular file : ");
}

void DamagedDatabaseTest::whatMayHaveNoEndIsNotUsed()
{
    QFETCH(DatabaseDamage, damage);
    QFETCH(QString, statement);
    QFETCH(QString, line);
    QVERIFY(makeDamagedDatabase(file(), damage, Table, Schema));
    QVERIFY(statement.isEmpty() || executeOn(file(), {Schema, statement}));
    m_engine->offer({7});
    m_engine->offer({8});
    const LogCapture log;
    QVERIFY(m_engine->refresh());
    QVERIFY(log.count(line) > 0);
    QCOMPARE(m_engine->controller().packages().size(), 2);
    checkThatPackagesCanBeInstalled();
    m_engine->controller().uninstall(m_engine->package(8));

    // As soon as it is out of the way there is a record again.
    removeFile();
    QVERIFY(m_engine->refresh());
    checkThatPackagesCanBeInstalled();
    QCOMPARE(m_engine->recordedStatus(8), 1);
}

void DamagedDatabaseTest::rowsWithoutMeasureAreNotRead()
{
    QVERIFY(executeOn(file(),
                      {Schema, QStringLiteral("INSERT INTO packages (package_id, version, status) "
                                              "WITH RECURSIVE c (id) AS (SELECT 1 UNION ALL SELECT "
                                              "id + 1 FROM c WHERE id < 1000002) SELECT id, '1.0', "
                                              "1 FROM c")}));
    m_engine->offer({7});
    m_engine->offer({1000002});
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
    QCOMPARE(m_engine->package(1000002)->state(), Package::AVAILABLE);
}

void DamagedDatabaseTest::foreignValuesAreReadAsFarAsTheyGo_data()
{
    QTest::addColumn<QString>("values");
    QTest::addColumn<Package::State>("state");
    QTest::addColumn<QString>("version");
    const auto row = [](const char *values, Package::State state, const char *version = "") {
        QTest::newRow(values) << QString::fromLatin1(values) << state
                              << QString::fromLatin1(version);
    };
    row("8, '1.0.0', '1'", Package::INSTALLED, "1.0.0");
    row("8, '1.0.0', 'installed'", Package::AVAILABLE);
    row("8, '1.0.0', 1.0", Package::INSTALLED, "1.0.0");
    row("8, '1.0.0', 99", Package::AVAILABLE);
    row("8, '1.0.0', -1", Package::AVAILABLE);
    row("8, NULL, 1", Package::INSTALLED);
    row("8, x'ff00fe', 1", Package::INSTALLED, "?");
    row("8, 1e300, 1", Package::INSTALLED, "1e+300");
    row("8, zeroblob(1000000), 1", Package::INSTALLED);
    row("NULL, '1.0.0', 1", Package::AVAILABLE);
    row("'8', '1.0.0', 1", Package::INSTALLED, "1.0.0");
}

void DamagedDatabaseTest::foreignValuesAreReadAsFarAsTheyGo()
{
    QFETCH(QString, values);
    QFETCH(Package::State, state);
    QFETCH(QString, version);
    QVERIFY(executeOn(file(), {Schema, QStringLiteral("INSERT INTO packages (package_id, version, "
                                                      "status) VALUES (%1)")
                                           .arg(values)}));
    m_engine->offer({8});
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(8)->state(), state);
    const QString read = m_engine->controller().installedVersion(m_engine->package(8));
    // Bytes that are no text read as some text or other.
    if (version == QLatin1String("?"))
        QVERIFY(!read.isEmpty());
    else
        QCOMPARE(read, version);
    QVERIFY(m_engine->installAndWait(8));
    QCOMPARE(m_engine->recordedStatus(8), 1);
    QCOMPARE(m_engine->recordedVersion(8), QStringLiteral("1.0"));
}

void DamagedDatabaseTest::lockedFileDoesNotHoldUpTheWindow()
{
    for (int id = 1; id <= 50; ++id)
        m_engine->offer({id});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7));
    m_engine->stop();
    auto lock = std::make_unique<DatabaseLock>(file());
    QVERIFY(lock->isHeld());
    const LogCapture log;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(m_engine->refresh());
    // Whoever asks for a package's record does not wait either.
    for (const auto &package : m_engine->controller().packages())
        QCOMPARE(m_engine->controller().status(package), -1);
    checkThatPackagesCanBeInstalled();
    // One wait for all statements; with one for each it would be minutes.
    QVERIFY2(timer.elapsed() < 30000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(log.count(QStringLiteral("SQL Error: database is locked")) > 50);
    QCOMPARE(m_engine->controller().packages().size(), 50);
    // What cannot be read is not known to be installed.
    QCOMPARE(m_engine->package(7)->state(), Package::AVAILABLE);

    // Once it is free, everything is written and read again.
    lock.reset();
    QCOMPARE(m_engine->recordedStatus(8), -1);
    QCOMPARE(m_engine->recordedStatus(7), 1);
    QVERIFY(m_engine->installAndWait(9));
    QCOMPARE(m_engine->recordedStatus(9), 1);
    QVERIFY(m_engine->refresh());
    QCOMPARE(m_engine->package(7)->state(), Package::INSTALLED);
}

void DamagedDatabaseTest::lockThatEndsInTimeIsWaitedFor()
{
    m_engine->offer({8});
    QVERIFY(m_engine->refresh());
    // The other program has it for a moment.
    QProcess other;
    other.start(QStringLiteral("sqlite3"),
                {file(), QStringLiteral("BEGIN EXCLUSIVE;"),
                 QStringLiteral(".shell echo locked; sleep 0.5"), QStringLiteral("COMMIT;")});
    if (!other.waitForStarted())
        QSKIP("The program sqlite3 is not installed");
    QVERIFY(other.waitForReadyRead());
    const LogCapture log;
    QCOMPARE(m_engine->controller().status(m_engine->package(8)), -1);
    QVERIFY(other.waitForFinished());
    QCOMPARE(log.count(QStringLiteral("SQL Error: ")), 0);
}

KAVO_TEST_MAIN(DamagedDatabaseTest)
#include "DamagedDatabaseTest.moc"
