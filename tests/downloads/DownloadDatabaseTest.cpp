#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

#include <QSqlDatabase>
#include <QSqlQuery>

using namespace Kavo::Testing;

class DownloadDatabaseTest final : public QObject
{
    Q_OBJECT

private slots:
    void tableIsMadeAsPrescribed();
    void tableStaysEmpty();
    void rowsOfOthersSurvive();
    void clearRemovesTheFile();
    void clearTwiceIsHarmless();
    void nextStartMakesItAnew();
    void fileThatCannotBeOpenedIsLogged();
    void fileThatIsNoDatabaseIsLogged();
    void managerWorksWithoutIt();
    void connectionEndsWithTheManager();

private:
    /// The first column of the first row, as another program reads it.
    static QVariant ask(const DownloadSetup &setup, const QString &statement);
    static QString file(const ScratchProfile &profile);
};

QString DownloadDatabaseTest::file(const ScratchProfile &profile)
{
    return profile.dataFolder() + QStringLiteral("download.db");
}

QVariant DownloadDatabaseTest::ask(const DownloadSetup &setup, const QString &statement)
{
    QVariant value;
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("Other"));
        database.setDatabaseName(file(setup.profile()));
        if (database.open()) {
            QSqlQuery query(statement, database);
            value = query.next() ? query.value(0) : QVariant();
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("Other"));
    return value;
}

// Fixed, see docs/compatibility.md.
void DownloadDatabaseTest::tableIsMadeAsPrescribed()
{
    DownloadSetup setup;
    QVERIFY(QSqlDatabase::contains(QStringLiteral("DownloadDatabaseConnection")));
    QCOMPARE(
        ask(setup, QStringLiteral("SELECT sql FROM sqlite_master WHERE name = 'downloads'"))
            .toString(),
        QStringLiteral("CREATE TABLE downloads (id        INTEGER        PRIMARY KEY "
                       "AUTOINCREMENT,url       VARCHAR (1024) UNIQUE,timestamp DATETIME       "
                       "DEFAULT CURRENT_TIMESTAMP)"));
    QCOMPARE(setup.log().lines(), QStringList());
}

// Fixed, see docs/compatibility.md.
void DownloadDatabaseTest::tableStaysEmpty()
{
    DownloadSetup setup;
    setup.server().serve(QStringLiteral("/a"), "a");
    const auto download = DownloadSetup::resumable(setup.server().url(QStringLiteral("/a")));
    DownloadEvents events(download);
    setup.manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(ask(setup, QStringLiteral("SELECT count(*) FROM downloads")).toInt(), 0);
}

void DownloadDatabaseTest::rowsOfOthersSurvive()
{
    DownloadSetup setup;
    ask(setup, QStringLiteral("INSERT INTO downloads(url) VALUES ('x')"));
    setup.restartManager();
    QCOMPARE(ask(setup, QStringLiteral("SELECT url FROM downloads")).toString(),
             QStringLiteral("x"));
}

void DownloadDatabaseTest::clearRemovesTheFile()
{
    DownloadSetup setup;
    QVERIFY(QFile::exists(file(setup.profile())));
    setup.manager().clear();
    QVERIFY(!QFile::exists(file(setup.profile())));
}

void DownloadDatabaseTest::clearTwiceIsHarmless()
{
    DownloadSetup setup;
    setup.manager().clear();
    setup.manager().clear();
    QVERIFY(!QFile::exists(file(setup.profile())));
    QCOMPARE(setup.log().lines(), QStringList());
}

void DownloadDatabaseTest::nextStartMakesItAnew()
{
    DownloadSetup setup;
    setup.manager().clear();
    setup.restartManager();
    QCOMPARE(ask(setup, QStringLiteral("SELECT count(*) FROM downloads")), QVariant(0));
}

void DownloadDatabaseTest::fileThatCannotBeOpenedIsLogged()
{
    DownloadSetup setup;
    setup.endManager();
    QVERIFY(QFile::remove(file(setup.profile())));
    QVERIFY(QDir().mkpath(file(setup.profile())));
    setup.restartManager();
    QCOMPARE(setup.log().lines().size(), 1);
    QVERIFY(setup.log().lines().first().contains(QStringLiteral("unable to open database file")));
    QVERIFY(!setup.log().lines().first().contains(QStringLiteral("SQL Error")));
}

void DownloadDatabaseTest::fileThatIsNoDatabaseIsLogged()
{
    DownloadSetup setup;
    setup.endManager();
    QVERIFY(writeFile(file(setup.profile()), QByteArray(5000, 'x')));
    setup.restartManager();
    QCOMPARE(setup.log().count(QStringLiteral("SQL Error: ")), 1);
    QVERIFY(setup.log().lines().first().contains(QStringLiteral("not a database")));
}

void DownloadDatabaseTest::managerWorksWithoutIt()
{
    DownloadSetup setup;
    setup.endManager();
    QVERIFY(QFile::remove(file(setup.profile())));
    QVERIFY(QDir().mkpath(file(setup.profile())));
    setup.restartManager();
    setup.server().serve(QStringLiteral("/a"), "content");
    const auto download = DownloadSetup::resumable(setup.server().url(QStringLiteral("/a")));
    DownloadEvents events(download);
    setup.manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(setup.content(QStringLiteral("a")), QByteArray("content"));
    setup.manager().clear();
    QVERIFY(QDir(file(setup.profile())).exists());
}

void DownloadDatabaseTest::connectionEndsWithTheManager()
{
    DownloadSetup setup;
    setup.endManager();
    QVERIFY(!QSqlDatabase::contains(QStringLiteral("DownloadDatabaseConnection")));
    QCOMPARE(setup.log().lines(), QStringList());
}

KAVO_TEST_MAIN(DownloadDatabaseTest)
#include "DownloadDatabaseTest.moc"
