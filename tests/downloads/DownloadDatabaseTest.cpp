#include "tests/downloads/DownloadFixture.h"
#include "tests/support/DamagedDatabase.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QElapsedTimer>
#include <QSqlDatabase>
#include <QSqlQuery>

using namespace Kavo::Testing;

/// Tests the database of downloads. No download depends on it, so damage to it must not stop any.
class DownloadDatabaseTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    // Fixed, see docs/compatibility.md.
    void tableIsMadeAsPrescribed()
    {
        QVERIFY(QSqlDatabase::contains("DownloadDatabaseConnection"_s));
        QCOMPARE(ask("SELECT sql FROM sqlite_master WHERE name = 'downloads'"_s).toString(),
                 "CREATE TABLE downloads (id        INTEGER        PRIMARY KEY "
                 "AUTOINCREMENT,url       VARCHAR (1024) UNIQUE,timestamp DATETIME       "
                 "DEFAULT CURRENT_TIMESTAMP)"_s);
        QCOMPARE(log().lines(), QStringList());
    }

    // Fixed, see docs/compatibility.md.
    void tableStaysEmpty()
    {
        QVERIFY(fetches());
        QCOMPARE(ask("SELECT count(*) FROM downloads"_s), QVariant(0));
    }

    void rowsOfOthersSurvive()
    {
        ask("INSERT INTO downloads(url) VALUES ('x')"_s);
        setup().restartManager();
        QCOMPARE(ask("SELECT url FROM downloads"_s).toString(), "x"_s);
    }

    void clearRemovesTheFile()
    {
        QVERIFY(QFile::exists(file()));
        for (int time = 0; time < 2; ++time) {
            manager().clear();
            QVERIFY(!QFile::exists(file()));
        }
        QCOMPARE(log().lines(), QStringList());
    }

    void nextStartMakesItAnew()
    {
        manager().clear();
        setup().restartManager();
        QCOMPARE(ask("SELECT count(*) FROM downloads"_s), QVariant(0));
    }

    void connectionEndsWithTheManager()
    {
        setup().endManager();
        QVERIFY(!QSqlDatabase::contains("DownloadDatabaseConnection"_s));
        QCOMPARE(log().lines(), QStringList());
    }

    void transfersGoOnAndTheNextStartRecovers_data()
    {
        Rows<DatabaseDamage, QString>()
            .row("empty file", DatabaseDamage::EMPTY, "")
            .row("garbage", DatabaseDamage::GARBAGE, "SQL Error: file is not a database")
            .row("cut off", DatabaseDamage::CUT_OFF, "SQL Error: database disk image is malformed")
            .row("folder", DatabaseDamage::FOLDER, "unable to open database file")
            .row("link to nowhere", DatabaseDamage::LOST_LINK, "unable to open database file")
            .row("pipe", DatabaseDamage::PIPE, "No regular file : ")
            .row("full disk", DatabaseDamage::FULL_DISK, "No regular file : ")
            // The program's only statement finds its table and writes nothing.
            .row("read-only", DatabaseDamage::READ_ONLY, "")
            .row("other columns", DatabaseDamage::OTHER_COLUMNS, "")
            .row("a column more that must be given", DatabaseDamage::MORE_COLUMNS, "")
            .row("a view", DatabaseDamage::VIEW, "SQL Error: download.db holds more than tables")
            .row("a view without an end", DatabaseDamage::ENDLESS_VIEW,
                 "SQL Error: download.db holds more than tables");
    }

    void transfersGoOnAndTheNextStartRecovers()
    {
        const auto [damage, line] = Rows<DatabaseDamage, QString>::current();
        setup().endManager();
        QVERIFY(makeDamagedDatabase(
            file(), damage, "downloads"_s,
            "CREATE TABLE downloads (id INTEGER PRIMARY KEY AUTOINCREMENT,"
            "url VARCHAR (1024) UNIQUE,timestamp DATETIME DEFAULT CURRENT_TIMESTAMP);"_s));
        setup().restartManager();
        QCOMPARE(log().lines().size(), line.isEmpty() ? 0 : 1);
        QVERIFY2(line.isEmpty() || log().count(line) == 1,
                 qPrintable(log().lines().join(QLatin1Char('\n'))));
        QVERIFY(fetches());
        // clear() removes everything but a folder and a dangling link.
        manager().clear();
        QVERIFY(QFileInfo(file()).isDir() == (damage == DatabaseDamage::FOLDER));
        setup().endManager();
        QDir().rmdir(file());
        QFile::remove(file());
        log().clear();
        setup().restartManager();
        QCOMPARE(log().lines(), QStringList());
        QVERIFY(executeOn(file(), {"SELECT url, timestamp FROM downloads"_s}));
        QVERIFY(fetches());
    }

    void lockedFileIsWaitedForOnce()
    {
        setup().endManager();
        const DatabaseLock lock(file());
        QVERIFY(lock.isHeld());
        QElapsedTimer timer;
        timer.start();
        setup().restartManager();
        QVERIFY2(timer.elapsed() < 4500, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(log().lines().size(), 1);
        QCOMPARE(log().count("SQL Error: database is locked"_s), 1);
        QVERIFY(fetches());
    }

    void damageDuringARunIsNotNoticed_data()
    {
        Rows<bool>().row("removed", false).row("folder in its place", true);
    }

    void damageDuringARunIsNotNoticed()
    {
        const auto [folder] = Rows<bool>::current();
        QVERIFY(QFile::remove(file()));
        QVERIFY(!folder || QDir().mkpath(file()));
        QVERIFY(fetches());
        manager().clear();
        QVERIFY(fetches());
        QCOMPARE(log().count("SQL Error: "_s), 0);
    }

private:
    QString file() const { return setup().profile().dataFolder() + "download.db"_s; }
    /// Executes a statement on a separate connection, like another program. Returns the first
    /// column of the first row, or an invalid value.
    QVariant ask(const QString &statement) const
    {
        QVariant value;
        {
            QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE"_s, "Other"_s);
            database.setDatabaseName(file());
            if (database.open()) {
                QSqlQuery query(statement, database);
                value = query.next() ? query.value(0) : QVariant();
            }
        }
        QSqlDatabase::removeDatabase("Other"_s);
        return value;
    }
    /// Fetches a file and returns whether it is complete.
    bool fetches() const
    {
        serve("content");
        QFile::remove(path());
        return transfer(resumable()) == resumableEvents(7, path()) && content() == "content";
    }
};

KAVO_TEST_MAIN(DownloadDatabaseTest)
#include "DownloadDatabaseTest.moc"
