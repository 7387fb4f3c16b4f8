#include "core/DatabaseFile.h"
#include "tests/support/DamagedDatabase.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

using namespace Kavo;
using namespace Kavo::Testing;

namespace {

const auto Connection = "TestConnection"_s;
const auto FileName = "test.db"_s;
const auto Schema = "CREATE TABLE IF NOT EXISTS things (name TEXT UNIQUE)"_s;

} // namespace

class DatabaseFileTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_profile.reset(new ScratchProfile); }
    void cleanup() { m_profile.reset(); }

    void constructionTouchesNothing();
    void openMakesTheFileInTheDataFolder();
    void secondOpenDoesNothing();
    void dataSurvives();
    void failingStatementIsLogged();
    void failingSchemaIsLogged();
    void fileThatIsNoDatabaseIsLogged();
    void fileThatCannotBeOpenedIsLogged();
    void whatHoldsNoPlainTablesIsNotUsed_data();
    void whatHoldsNoPlainTablesIsNotUsed();
    void lockIsWaitedForOnce();
    void removedFileIsMadeAnew();
    void removeWithoutAFileDoesNothing();
    void connectionEndsWithTheObject();

private:
    static bool insert(DatabaseFile &database, const QString &name);
    static int countThings(DatabaseFile &database);
    QString path() const { return m_profile->dataFolder() + FileName; }

    QScopedPointer<ScratchProfile> m_profile;
};

bool DatabaseFileTest::insert(DatabaseFile &database, const QString &name)
{
    QSqlQuery query = database.prepared("INSERT INTO things VALUES (:name)"_s);
    query.bindValue(":name"_s, name);
    return database.run(query);
}

int DatabaseFileTest::countThings(DatabaseFile &database)
{
    QSqlQuery query = database.prepared("SELECT count(*) FROM things"_s);
    return database.run(query) && query.next() ? query.value(0).toInt() : -1;
}

void DatabaseFileTest::constructionTouchesNothing()
{
    const DatabaseFile database(Connection, FileName);
    QVERIFY(!database.isOpen());
    QVERIFY(!QFile::exists(path()));
}

void DatabaseFileTest::openMakesTheFileInTheDataFolder()
{
    const LogCapture log;
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QVERIFY(database.isOpen());
    QVERIFY(QFile::exists(path()));
    QVERIFY(QSqlDatabase::contains(Connection));
    QCOMPARE(countThings(database), 0);
    QCOMPARE(log.lines(), QStringList());
}

void DatabaseFileTest::secondOpenDoesNothing()
{
    const LogCapture log;
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QVERIFY(insert(database, "a"_s));
    database.open("DROP TABLE things"_s);
    QCOMPARE(countThings(database), 1);
    QCOMPARE(log.lines(), QStringList());
}

void DatabaseFileTest::dataSurvives()
{
    {
        DatabaseFile database(Connection, FileName);
        database.open(Schema);
        QVERIFY(insert(database, "a"_s));
    }
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QCOMPARE(countThings(database), 1);
}

void DatabaseFileTest::failingStatementIsLogged()
{
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QVERIFY(insert(database, "a"_s));
    const LogCapture log;
    QVERIFY(!insert(database, "a"_s));
    QCOMPARE(log.lines().size(), 1);
    // Fixed, see docs/compatibility.md.
    QVERIFY(log.lines().first().startsWith("SQL Error: UNIQUE constraint"_s));
    QVERIFY(insert(database, "b"_s));
}

void DatabaseFileTest::failingSchemaIsLogged()
{
    const LogCapture log;
    DatabaseFile database(Connection, FileName);
    database.open("CREATE NONSENSE"_s);
    QVERIFY(database.isOpen());
    QCOMPARE(log.count("SQL Error: "_s), 1);
    QVERIFY(log.lines().last().size() > int(qstrlen("SQL Error: ")));
}

void DatabaseFileTest::fileThatIsNoDatabaseIsLogged()
{
    const QByteArray garbage(5000, 'x');
    QVERIFY(writeFile(path(), garbage));
    const LogCapture log;
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QCOMPARE(log.count("SQL Error: "_s), 1);
    QVERIFY(log.lines().last().contains("not a database"_s));
    QCOMPARE(readFile(path()), garbage);
}

void DatabaseFileTest::fileThatCannotBeOpenedIsLogged()
{
    QVERIFY(QDir().mkpath(path()));
    const LogCapture log;
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QVERIFY(!database.isOpen());
    QCOMPARE(log.lines().size(), 1);
    QVERIFY(log.lines().first().contains("unable to open database file"_s));
    QVERIFY(!log.lines().first().startsWith("SQL Error: "_s));
}

void DatabaseFileTest::whatHoldsNoPlainTablesIsNotUsed_data()
{
    QTest::addColumn<DatabaseDamage>("damage");
    QTest::newRow("pipe") << DatabaseDamage::PIPE;
    QTest::newRow("pipe as the journal") << DatabaseDamage::JOURNAL_PIPE;
    QTest::newRow("view without an end") << DatabaseDamage::ENDLESS_VIEW;
}

void DatabaseFileTest::whatHoldsNoPlainTablesIsNotUsed()
{
    QFETCH(DatabaseDamage, damage);
    QVERIFY(makeDamagedDatabase(path(), damage, "things"_s, Schema));
    const LogCapture log;
    DatabaseFile database(Connection, FileName);
    QVERIFY(!database.open(Schema));
    QVERIFY(!database.isOpen());
    QCOMPARE(log.lines().size(), 1);
}

void DatabaseFileTest::lockIsWaitedForOnce()
{
    DatabaseFile database(Connection, FileName);
    QVERIFY(database.open(Schema));
    const DatabaseLock lock(path());
    QVERIFY(lock.isHeld());
    QElapsedTimer timer;
    timer.start();
    for (int number = 0; number < 6; ++number)
        QVERIFY(!insert(database, QString::number(number)));
    // Each wait takes two seconds.
    QVERIFY(timer.elapsed() >= 1900);
    QVERIFY(timer.elapsed() < 8000);
}

void DatabaseFileTest::removedFileIsMadeAnew()
{
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QVERIFY(insert(database, "a"_s));
    database.removeFile();
    QVERIFY(!database.isOpen());
    QVERIFY(!QFile::exists(path()));
    database.open(Schema);
    QCOMPARE(countThings(database), 0);
}

void DatabaseFileTest::removeWithoutAFileDoesNothing()
{
    const LogCapture log;
    DatabaseFile database(Connection, FileName);
    database.removeFile();
    database.open(Schema);
    QVERIFY(QFile::remove(path()));
    database.removeFile();
    QVERIFY(database.isOpen());
    QCOMPARE(log.lines(), QStringList());
}

void DatabaseFileTest::connectionEndsWithTheObject()
{
    const LogCapture log;
    {
        DatabaseFile database(Connection, FileName);
        database.open(Schema);
        DatabaseFile other("OtherConnection"_s, "other.db"_s);
        other.open(Schema);
        QVERIFY(insert(other, "a"_s));
        QCOMPARE(countThings(database), 0);
    }
    QVERIFY(!QSqlDatabase::contains(Connection));
    QVERIFY(!QSqlDatabase::contains("OtherConnection"_s));
    // Qt warns if a connection is removed while something still uses it.
    QCOMPARE(log.lines(), QStringList());
}

KAVO_TEST_MAIN(DatabaseFileTest)
#include "DatabaseFileTest.moc"
