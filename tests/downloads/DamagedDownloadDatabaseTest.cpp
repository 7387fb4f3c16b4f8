#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/DamagedDatabase.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

using namespace Kavo::Testing;

namespace {

const auto Table = QStringLiteral("downloads");
const auto Schema =
    QStringLiteral("CREATE TABLE downloads (id INTEGER PRIMARY KEY AUTOINCREMENT,"
                   "url VARCHAR (1024) UNIQUE,timestamp DATETIME DEFAULT CURRENT_TIMESTAMP);");

} // namespace

/// Nothing of a download depends on its database, so nothing that happens to that may stop one.
class DamagedDownloadDatabaseTest final : public QObject
{
    Q_OBJECT

private slots:
    void transfersGoOnAndTheNextStartRecovers_data();
    void transfersGoOnAndTheNextStartRecovers();
    void lockedFileIsWaitedForOnce();
    void damageDuringARunIsNotNoticed_data();
    void damageDuringARunIsNotNoticed();

private:
    static QString file(const DownloadSetup &setup);
    static void checkThatFilesCanBeFetched(DownloadSetup &setup);
};

QString DamagedDownloadDatabaseTest::file(const DownloadSetup &setup)
{
    return setup.profile().dataFolder() + QStringLiteral("download.db");
}

void DamagedDownloadDatabaseTest::checkThatFilesCanBeFetched(DownloadSetup &setup)
{
    setup.server().serve(QStringLiteral("/a"), "content");
    QFile::remove(setup.path(QStringLiteral("a")));
    const auto download = DownloadSetup::resumable(setup.server().url(QStringLiteral("/a")));
    DownloadEvents events(download);
    setup.manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(setup.content(QStringLiteral("a")), QByteArray("content"));
}

void DamagedDownloadDatabaseTest::transfersGoOnAndTheNextStartRecovers_data()
{
    QTest::addColumn<DatabaseDamage>("damage");
    QTest::addColumn<QString>("line");
    const auto row = [](const char *name, DatabaseDamage damage, const char *line) {
        QTest::newRow(name) << damage << QString::fromLatin1(line);
    };
    row("empty file", DatabaseDamage::EMPTY, "");
    row("garbage", DatabaseDamage::GARBAGE, "SQL Error: file is not a database");
    row("cut off", DatabaseDamage::CUT_OFF, "SQL Error: database disk image is malformed");
    row("folder", DatabaseDamage::FOLDER, "unable to open database file");
    row("link to nowhere", DatabaseDamage::LOST_LINK, "unable to open database file");
    row("pipe", DatabaseDamage::PIPE, "No regular file : ");
    row("full disk", DatabaseDamage::FULL_DISK, "No regular file : ");
    // The one statement finds its table and has nothing to write.
    row("read-only", DatabaseDamage::READ_ONLY, "");
    row("other columns", DatabaseDamage::OTHER_COLUMNS, "");
    row("a column more that must be given", DatabaseDamage::MORE_COLUMNS, "");
    row("a view", DatabaseDamage::VIEW, "SQL Error: download.db holds more than tables");
    row("a view without an end", DatabaseDamage::ENDLESS_VIEW,
        "SQL Error: download.db holds more than tables");
}

void DamagedDownloadDatabaseTest::transfersGoOnAndTheNextStartRecovers()
{
    QFETCH(DatabaseDamage, damage);
    QFETCH(QString, line);
    DownloadSetup setup;
    setup.endManager();
    QVERIFY(makeDamagedDatabase(file(setup), damage, Table, Schema));
    setup.restartManager();
    QCOMPARE(setup.log().lines().size(), line.isEmpty() ? 0 : 1);
    QVERIFY2(line.isEmpty() || setup.log().count(line) == 1,
             qPrintable(setup.log().lines().join(QLatin1Char('\n'))));
    checkThatFilesCanBeFetched(setup);
    // A reset takes whatever it is out of the way, but for a folder and a link to nowhere.
    setup.manager().clear();
    QVERIFY(QFileInfo(file(setup)).isDir() == (damage == DatabaseDamage::FOLDER));
    setup.endManager();
    QDir().rmdir(file(setup));
    QFile::remove(file(setup));
    setup.log().clear();
    setup.restartManager();
    QCOMPARE(setup.log().lines(), QStringList());
    QVERIFY(executeOn(file(setup), {QStringLiteral("SELECT url, timestamp FROM downloads")}));
    checkThatFilesCanBeFetched(setup);
}

void DamagedDownloadDatabaseTest::lockedFileIsWaitedForOnce()
{
    DownloadSetup setup;
    setup.endManager();
    const DatabaseLock lock(file(setup));
    QVERIFY(lock.isHeld());
    QElapsedTimer timer;
    timer.start();
    setup.restartManager();
    QVERIFY2(timer.elapsed() < 4500, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(setup.log().lines().size(), 1);
    QCOMPARE(setup.log().count(QStringLiteral("SQL Error: database is locked")), 1);
    checkThatFilesCanBeFetched(setup);
}

void DamagedDownloadDatabaseTest::damageDuringARunIsNotNoticed_data()
{
    QTest::addColumn<bool>("folder");
    QTest::newRow("removed") << false;
    QTest::newRow("folder in its place") << true;
}

void DamagedDownloadDatabaseTest::damageDuringARunIsNotNoticed()
{
    QFETCH(bool, folder);
    DownloadSetup setup;
    QVERIFY(QFile::remove(file(setup)));
    if (folder)
        QVERIFY(QDir().mkpath(file(setup)));
    checkThatFilesCanBeFetched(setup);
    setup.manager().clear();
    checkThatFilesCanBeFetched(setup);
    QCOMPARE(setup.log().count(QStringLiteral("SQL Error: ")), 0);
}

KAVO_TEST_MAIN(DamagedDownloadDatabaseTest)
#include "DamagedDownloadDatabaseTest.moc"
