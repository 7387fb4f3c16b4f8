#include "core/DatabaseFile.h"
#include "tests/support/DamagedDatabase.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <optional>

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
    void whatHoldsNoPlainTablesIsNotUsed_data();
    void whatHoldsNoPlainTablesIsNotUsed();
    void lockIsWaitedForOnce();
    void removedFileIsMadeAnew();
    void removeWithoutAFileDoesNothing();
    void connectionEndsWithTheObject();

private:
    static bool insert(DatabaseFile &database, const QString &name);
    bool insert(const QString &name) { return insert(*m_database, name); }
    int countThings();
    QString path() const { return m_profile->dataFolder() + FileName; }
    QStringList logged() const { return m_log->lines(); }

    std::optional<ScratchProfile> m_profile;
    std::optional<LogCapture> m_log;
    std::optional<DatabaseFile> m_database;
};

void DatabaseFileTest::init()
{
    m_profile.emplace();
    m_log.emplace();
    m_database.emplace(Connection, FileName);
}

void DatabaseFileTest::cleanup()
{
    m_database.reset();
    m_log.reset();
    m_profile.reset();
}

bool DatabaseFileTest::insert(DatabaseFile &database, const QString &name)
{
    QSqlQuery query = database.prepared("INSERT INTO things VALUES (:name)"_s);
    query.bindValue(":name"_s, name);
    return database.run(query);
}

int DatabaseFileTest::countThings()
{
    QSqlQuery query = m_database->prepared("SELECT count(*) FROM things"_s);
    return m_database->run(query) && query.next() ? query.value(0).toInt() : -1;
}

void DatabaseFileTest::constructionTouchesNothing()
{
    QVERIFY(!m_database->isOpen());
    QVERIFY(!QFile::exists(path()));
}

void DatabaseFileTest::openMakesTheFileInTheDataFolder()
{
    m_database->open(Schema);
    QVERIFY(m_database->isOpen());
    QVERIFY(QFile::exists(path()));
    QVERIFY(QSqlDatabase::contains(Connection));
    QCOMPARE(countThings(), 0);
    QCOMPARE(logged(), QStringList());
}

void DatabaseFileTest::secondOpenDoesNothing()
{
    m_database->open(Schema);
    QVERIFY(insert("a"_s));
    m_database->open("DROP TABLE things"_s);
    QCOMPARE(countThings(), 1);
    QCOMPARE(logged(), QStringList());
}

void DatabaseFileTest::dataSurvives()
{
    m_database->open(Schema);
    QVERIFY(insert("a"_s));
    m_database.reset();
    m_database.emplace(Connection, FileName);
    m_database->open(Schema);
    QCOMPARE(countThings(), 1);
}

void DatabaseFileTest::failingStatementIsLogged()
{
    m_database->open(Schema);
    QVERIFY(insert("a"_s));
    m_log->clear();
    QVERIFY(!insert("a"_s));
    QCOMPARE(logged().size(), 1);
    // Fixed, see docs/compatibility.md.
    QVERIFY(logged().first().startsWith("SQL Error: UNIQUE constraint"_s));
    QVERIFY(insert("b"_s));
}

void DatabaseFileTest::failingSchemaIsLogged()
{
    m_database->open("CREATE NONSENSE"_s);
    QVERIFY(m_database->isOpen());
    QCOMPARE(m_log->count("SQL Error: "_s), 1);
    QVERIFY(logged().last().size() > int(qstrlen("SQL Error: ")));
}

void DatabaseFileTest::fileThatIsNoDatabaseIsLogged()
{
    const QByteArray garbage(5000, 'x');
    QVERIFY(writeFile(path(), garbage));
    m_database->open(Schema);
    QCOMPARE(m_log->count("SQL Error: "_s), 1);
    QVERIFY(logged().last().contains("not a database"_s));
    QCOMPARE(readFile(path()), garbage);
}

void DatabaseFileTest::fileThatCannotBeOpenedIsLogged()
{
    QVERIFY(QDir().mkpath(path()));
    m_database->open(Schema);
    QVERIFY(!m_database->isOpen());
    QCOMPARE(logged().size(), 1);
    QVERIFY(logged().first().contains("unable to open database file"_s));
    QVERIFY(!logged().first().startsWith("SQL Error: "_s));
}

void DatabaseFileTest::whatHoldsNoPlainTablesIsNotUsed_data()
{
    Rows<DatabaseDamage>()
        .row("pipe", DatabaseDamage::PIPE)
        .row("pipe as the journal", DatabaseDamage::JOURNAL_PIPE)
        .row("view without an end", DatabaseDamage::ENDLESS_VIEW);
}

void DatabaseFileTest::whatHoldsNoPlainTablesIsNotUsed()
{
    const auto [damage] = Rows<DatabaseDamage>::current();
    QVERIFY(makeDamagedDatabase(path(), damage, "things"_s, Schema));
    m_log->clear();
    QVERIFY(!m_database->open(Schema));
    QVERIFY(!m_database->isOpen());
    QCOMPARE(logged().size(), 1);
}

void DatabaseFileTest::lockIsWaitedForOnce()
{
    QVERIFY(m_database->open(Schema));
    const DatabaseLock lock(path());
    QVERIFY(lock.isHeld());
    QElapsedTimer timer;
    timer.start();
    for (int number = 0; number < 6; ++number)
        QVERIFY(!insert(QString::number(number)));
    // Each wait takes two seconds.
    QVERIFY(timer.elapsed() >= 1900);
    QVERIFY(timer.elapsed() < 8000);
}

void DatabaseFileTest::removedFileIsMadeAnew()
{
    m_database->open(Schema);
    QVERIFY(insert("a"_s));
    m_database->removeFile();
    QVERIFY(!m_database->isOpen());
    QVERIFY(!QFile::exists(path()));
    m_database->open(Schema);
    QCOMPARE(countThings(), 0);
}

void DatabaseFileTest::removeWithoutAFileDoesNothing()
{
    m_database->removeFile();
    m_database->open(Schema);
    QVERIFY(QFile::remove(path()));
    m_database->removeFile();
    QVERIFY(m_database->isOpen());
    QCOMPARE(logged(), QStringList());
}

void DatabaseFileTest::connectionEndsWithTheObject()
{
    m_database->open(Schema);
    {
        DatabaseFile other("OtherConnection"_s, "other.db"_s);
        other.open(Schema);
        QVERIFY(insert(other, "a"_s));
        QCOMPARE(countThings(), 0);
    }
    m_database.reset();
    QVERIFY(!QSqlDatabase::contains(Connection));
    QVERIFY(!QSqlDatabase::contains("OtherConnection"_s));
    // Qt warns if a connection is removed while something still uses it.
    QCOMPARE(logged(), QStringList());
}

KAVO_TEST_MAIN(DatabaseFileTest)
#include "DatabaseFileTest.moc"
