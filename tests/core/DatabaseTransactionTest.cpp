#include "core/DatabaseTransaction.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QSqlQuery>
#include <QVariant>

#include <memory>

using namespace Kavo;
using namespace Kavo::Testing;

namespace {

const auto FileName = "test.db"_s;

} // namespace

class DatabaseTransactionTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void otherConnectionsSeeAllRowsAtOnce();
    void outermostTransactionCommits();
    void failingStatementUndoesNoOther();
    void failedCommitReleasesTheLock();
    void closedFileDoesNothing();

private:
    bool insert(const QString &name);
    int countOfOthers();

    QScopedPointer<ScratchProfile> m_profile;
    std::unique_ptr<DatabaseFile> m_file;
    std::unique_ptr<DatabaseFile> m_other; ///< the connection of another program
};

void DatabaseTransactionTest::init()
{
    m_profile.reset(new ScratchProfile);
    const auto schema = "CREATE TABLE IF NOT EXISTS things (name TEXT UNIQUE)"_s;
    m_file = std::make_unique<DatabaseFile>("one"_s, FileName);
    m_other = std::make_unique<DatabaseFile>("other"_s, FileName);
    QVERIFY(m_file->open(schema));
    QVERIFY(m_other->open(schema));
}

void DatabaseTransactionTest::cleanup()
{
    m_file.reset();
    m_other.reset();
    m_profile.reset();
}

bool DatabaseTransactionTest::insert(const QString &name)
{
    QSqlQuery query = m_file->prepared("INSERT INTO things VALUES (:name)"_s);
    query.bindValue(":name"_s, name);
    return m_file->run(query);
}

int DatabaseTransactionTest::countOfOthers()
{
    QSqlQuery query = m_other->prepared("SELECT count(*) FROM things"_s);
    return m_other->run(query) && query.next() ? query.value(0).toInt() : -1;
}

void DatabaseTransactionTest::otherConnectionsSeeAllRowsAtOnce()
{
    const LogCapture log;
    {
        const DatabaseTransaction together(*m_file);
        QVERIFY(insert("a"_s));
        QVERIFY(insert("b"_s));
        QCOMPARE(countOfOthers(), 0);
    }
    QCOMPARE(countOfOthers(), 2);
    QCOMPARE(log.lines(), QStringList());
}

void DatabaseTransactionTest::outermostTransactionCommits()
{
    const LogCapture log;
    {
        const DatabaseTransaction together(*m_file);
        {
            const DatabaseTransaction inner(*m_file);
            QVERIFY(insert("a"_s));
        }
        QCOMPARE(countOfOthers(), 0);
    }
    QCOMPARE(countOfOthers(), 1);
    QCOMPARE(log.lines(), QStringList());
}

void DatabaseTransactionTest::failingStatementUndoesNoOther()
{
    {
        const DatabaseTransaction together(*m_file);
        QVERIFY(insert("a"_s));
        QVERIFY(!insert("a"_s));
        QVERIFY(insert("b"_s));
    }
    QCOMPARE(countOfOthers(), 2);
}

void DatabaseTransactionTest::failedCommitReleasesTheLock()
{
    {
        // An unfinished query of a reader prevents all writing.
        QSqlQuery reading = m_other->prepared("SELECT 1 FROM sqlite_master"_s);
        QVERIFY(m_other->run(reading) && reading.next());
        const LogCapture log;
        {
            const DatabaseTransaction together(*m_file);
            QVERIFY(insert("a"_s));
        }
        QCOMPARE(log.count("SQL Error: database is locked"_s), 1);
    }
    QCOMPARE(countOfOthers(), 0);
    const LogCapture log;
    QSqlQuery write = m_other->prepared("INSERT INTO things VALUES ('of others')"_s);
    QVERIFY(m_other->run(write));
    QVERIFY(insert("a"_s));
    QCOMPARE(countOfOthers(), 2);
    QCOMPARE(log.lines(), QStringList());
}

void DatabaseTransactionTest::closedFileDoesNothing()
{
    m_file->removeFile();
    const LogCapture log;
    {
        const DatabaseTransaction together(*m_file);
    }
    QCOMPARE(log.lines(), QStringList());
}

KAVO_TEST_MAIN(DatabaseTransactionTest)
#include "DatabaseTransactionTest.moc"
