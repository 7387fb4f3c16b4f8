#include "core/DatabaseFile.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

using namespace Kavo;
using namespace Kavo::Testing;

namespace {

const auto Connection = QStringLiteral("TestConnection");
const auto FileName = QStringLiteral("test.db");
const auto Schema = QStringLiteral("CREATE TABLE IF NOT EXISTS things (name TEXT UNIQUE)");

} // namespace

class DatabaseFileTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void constructionTouchesNothing();
    void openMakesTheFileInTheDataFolder();
    void secondOpenDoesNothing();
    void dataSurvives();
    void failingStatementIsLogged();
    void failingSchemaIsLogged();
    void fileThatIsNoDatabaseIsLogged();
    void fileThatCannotBeOpenedIsLogged();
    void removedFileIsMadeAnew();
    void removeWithoutAFileDoesNothing();
    void connectionEndsWithTheObject();

private:
    static bool insert(DatabaseFile &database, const QString &name);
    static int countThings(DatabaseFile &database);
    QString path() const { return m_profile->dataFolder() + FileName; }

    QScopedPointer<ScratchProfile> m_profile;
};

void DatabaseFileTest::init()
{
    m_profile.reset(new ScratchProfile);
}

void DatabaseFileTest::cleanup()
{
    m_profile.reset();
}

bool DatabaseFileTest::insert(DatabaseFile &database, const QString &name)
{
    QSqlQuery query = database.prepared(QStringLiteral("INSERT INTO things VALUES (:name)"));
    query.bindValue(QStringLiteral(":name"), name);
    return database.run(query);
}

int DatabaseFileTest::countThings(DatabaseFile &database)
{
    QSqlQuery query = database.prepared(QStringLiteral("SELECT count(*) FROM things"));
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
    QVERIFY(insert(database, QStringLiteral("a")));
    database.open(QStringLiteral("DROP TABLE things"));
    QCOMPARE(countThings(database), 1);
    QCOMPARE(log.lines(), QStringList());
}

void DatabaseFileTest::dataSurvives()
{
    {
        DatabaseFile database(Connection, FileName);
        database.open(Schema);
        QVERIFY(insert(database, QStringLiteral("a")));
    }
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QCOMPARE(countThings(database), 1);
}

void DatabaseFileTest::failingStatementIsLogged()
{
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QVERIFY(insert(database, QStringLiteral("a")));
    const LogCapture log;
    QVERIFY(!insert(database, QStringLiteral("a")));
    QCOMPARE(log.lines().size(), 1);
    // Fixed, see docs/compatibility.md.
    QVERIFY(log.lines().first().startsWith(QStringLiteral("SQL Error: UNIQUE constraint")));
    QVERIFY(insert(database, QStringLiteral("b")));
}

void DatabaseFileTest::failingSchemaIsLogged()
{
    const LogCapture log;
    DatabaseFile database(Connection, FileName);
    database.open(QStringLiteral("CREATE NONSENSE"));
    QVERIFY(database.isOpen());
    QCOMPARE(log.count(QStringLiteral("SQL Error: ")), 1);
    QVERIFY(log.lines().last().size() > int(qstrlen("SQL Error: ")));
}

void DatabaseFileTest::fileThatIsNoDatabaseIsLogged()
{
    const QByteArray garbage(5000, 'x');
    QVERIFY(writeFile(path(), garbage));
    const LogCapture log;
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QCOMPARE(log.count(QStringLiteral("SQL Error: ")), 1);
    QVERIFY(log.lines().last().contains(QStringLiteral("not a database")));
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
    QVERIFY(log.lines().first().contains(QStringLiteral("unable to open database file")));
    QVERIFY(!log.lines().first().startsWith(QStringLiteral("SQL Error: ")));
}

void DatabaseFileTest::removedFileIsMadeAnew()
{
    DatabaseFile database(Connection, FileName);
    database.open(Schema);
    QVERIFY(insert(database, QStringLiteral("a")));
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
        DatabaseFile other(QStringLiteral("OtherConnection"), QStringLiteral("other.db"));
        other.open(Schema);
        QVERIFY(insert(other, QStringLiteral("a")));
        QCOMPARE(countThings(database), 0);
    }
    QVERIFY(!QSqlDatabase::contains(Connection));
    QVERIFY(!QSqlDatabase::contains(QStringLiteral("OtherConnection")));
    // Qt warns when a connection goes while something still holds it.
    QCOMPARE(log.lines(), QStringList());
}

KAVO_TEST_MAIN(DatabaseFileTest)
#include "DatabaseFileTest.moc"
