#include "downloads/AnswerCache.h"
#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/FullDisk.h"
#include "tests/support/TestMain.h"
#include "tests/support/WithoutRights.h"

#include <QDirIterator>
#include <QLocale>
#include <QScopeGuard>

#include <algorithm>
#include <ctime>
#include <memory>

using Kavo::Managers::AnswerCache;
using Kavo::Models::Download;
using namespace Kavo::Testing;

/// What of the servers' answers is kept from one start of the program to the next, and what is made
/// of it.
class AnswerCacheTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void serverIsAskedWhetherItHasChanged_data();
    void serverIsAskedWhetherItHasChanged();
    void changedFileIsFetched();
    void emptyFileComesAgain();
    void freshAnswerIsNotAskedFor_data();
    void freshAnswerIsNotAskedFor();
    void answerThatIsNotFreshIsAskedFor_data();
    void answerThatIsNotFreshIsAskedFor();
    void datesAreThoseOfGreenwich_data();
    void datesAreThoseOfGreenwich();
    void answerBecomesFreshAgain();
    void unchangedAnswerMayForbidToGoWithoutAsking();
    void unchangedAnswerIsNotWrittenAnew();
    void whatIsAlwaysAskedIsAsked();
    void answersThatAreNotKept_data();
    void answersThatAreNotKept();
    void answerIsKeptWhenItsFileHasRested();
    void tagIsEnoughToKeepAnAnswer();
    void answerThatTellsNothingIsNotKept();
    void oldestAnswersGoWhenThereAreTooMany();
    void archivesAreNeitherKeptNorRead();
    void archiveOfAnAddressThatIsKeptComesFromTheServer();
    void redirectedFileIsKept();
    void bodyThatIsCutIsNotKept_data();
    void bodyThatIsCutIsNotKept();
    void fetchesOfOneAddressAtTheSameTime();
    void failureOfOneFetchHurtsNoOther();
    void unchangedForNobody();

    void damagedEntryIsFetchedAnew_data();
    void damagedEntryIsFetchedAnew();
    void foreignFilesAreNoEntries();
    void folderThatCannotBeMade();
    void folderThatCannotBeWritten();
    void fullDisk_data();
    void fullDisk();
    void fullDiskWhileTheTimeIsWritten();
    void resetClearsIt();

private:
    static QByteArray picture() { return HttpResource::generated(0, 50000); }
    static QString folder() { return AnswerCache::defaultFolder(); }
    QString url(const char *path) const { return server().url(QString::fromLatin1(path)); }
    TestHttpServer &server() const { return m_setup->server(); }
    HttpResource &serve(const QByteArray &body) const;
    /// The files with what is kept.
    static QStringList entries();
    /// Whether a file of the folder is open, be it one without a name.
    static bool isAnyOpen();
    /// Fetches the file as the next start of the program does, and compares it.
    void fetch(const QByteArray &body);
    void fetchFrom(const QString &address, const QByteArray &body);
    int requests() const { return server().requests().size(); }

    QScopedPointer<DownloadSetup> m_setup;
};

void AnswerCacheTest::init()
{
    m_setup.reset(new DownloadSetup);
}

void AnswerCacheTest::cleanup()
{
    m_setup.reset();
}

HttpResource &AnswerCacheTest::serve(const QByteArray &body) const
{
    HttpResource &resource = server().serve(QStringLiteral("/icon.png"), body);
    resource.knowsWhatIsUnchanged = true;
    return resource;
}

QStringList AnswerCacheTest::entries()
{
    QStringList found;
    QDirIterator files(folder(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext())
        found.append(files.next());
    return found;
}

bool AnswerCacheTest::isAnyOpen()
{
    const QFileInfoList open =
        QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::Files | QDir::System);
    return std::any_of(open.begin(), open.end(), [](const QFileInfo &file) {
        return file.symLinkTarget().startsWith(folder());
    });
}

void AnswerCacheTest::fetch(const QByteArray &body)
{
    fetchFrom(url("/icon.png"), body);
}

void AnswerCacheTest::fetchFrom(const QString &address, const QByteArray &body)
{
    m_setup->restartManager();
    const auto download = DownloadSetup::restart(address);
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    // Of a redirect Qt sometimes tells the size, too.
    if (server().resource(QUrl(address).path()).redirect.isEmpty())
        QCOMPARE(events.list(), restartEvents(body.size(), download->getPath()));
    QVERIFY(readFile(download->getPath()) == body);
    QVERIFY(m_setup->manager().find(address).isNull());
}

void AnswerCacheTest::serverIsAskedWhetherItHasChanged_data()
{
    QTest::addColumn<QByteArray>("tag");
    QTest::addColumn<QByteArray>("header");
    QTest::newRow("tag") << QByteArray("\"one\"") << QByteArray("If-None-Match");
    QTest::newRow("weak tag") << QByteArray("W/\"one\"") << QByteArray("If-None-Match");
    QTest::newRow("date") << QByteArray() << QByteArray("If-Modified-Since");
}

void AnswerCacheTest::serverIsAskedWhetherItHasChanged()
{
    QFETCH(QByteArray, tag);
    QFETCH(QByteArray, header);
    serve(picture()).entityTag = tag;
    fetch(picture());
    QVERIFY(!server().requests().last().hasHeader(header));
    for (int start = 2; start < 5; ++start) {
        fetch(picture());
        QCOMPARE(requests(), start);
        QVERIFY(server().requests().last().hasHeader(header));
        QVERIFY(!server().requests().last().hasHeader("Cache-Control"));
    }
    QCOMPARE(m_setup->log().lines(), QStringList());
    QCOMPARE(entries().size(), 1);
}

void AnswerCacheTest::changedFileIsFetched()
{
    serve(picture()).entityTag = "\"one\"";
    fetch(picture());
    serve("another").entityTag = "\"two\"";
    fetch("another");
    fetch("another");
    QCOMPARE(requests(), 3);
    QCOMPARE(server().requests().last().header("If-None-Match"), QByteArray("\"two\""));
    QCOMPARE(entries().size(), 1);
}

void AnswerCacheTest::emptyFileComesAgain()
{
    serve("").entityTag = "\"none\"";
    for (int start = 0; start < 3; ++start) {
        m_setup->restartManager();
        const auto download = DownloadSetup::restart(url("/icon.png"));
        DownloadEvents events(download);
        m_setup->manager().add(download, false);
        QVERIFY(events.waitForFinished());
        QVERIFY(!events.list().contains(QStringLiteral("error Server Error")));
        QCOMPARE(QFileInfo(download->getPath()).size(), 0);
    }
}

void AnswerCacheTest::freshAnswerIsNotAskedFor_data()
{
    using Headers = QList<QPair<QByteArray, QByteArray>>;
    QTest::addColumn<Headers>("headers");
    const auto row = [](const char *name, const char *control) {
        QTest::newRow(name) << Headers{{"Cache-Control", control}};
    };
    row("time", "public, max-age=3600");
    row("time in quotes", "max-age=\"3600\"");
    row("capitals and blanks", "Public , MAX-AGE = 3600 ");
    row("longer than anybody lives", "max-age=9223372036854775807");
    QTest::newRow("date") << Headers{{"Expires", "Sat, 01 Jan 2050 00:00:00 GMT"}};
    QTest::newRow("time before date")
        << Headers{{"Cache-Control", "max-age=3600"}, {"Expires", "Thu, 01 Jan 2015 00:00:00 GMT"}};
}

void AnswerCacheTest::freshAnswerIsNotAskedFor()
{
    using Headers = QList<QPair<QByteArray, QByteArray>>;
    QFETCH(Headers, headers);
    serve(picture()).headers = headers;
    fetch(picture());
    fetch(picture());
    fetch(picture());
    QCOMPARE(requests(), 1);
    QCOMPARE(m_setup->log().lines(), QStringList());
}

void AnswerCacheTest::answerThatIsNotFreshIsAskedFor_data()
{
    using Headers = QList<QPair<QByteArray, QByteArray>>;
    QTest::addColumn<Headers>("headers");
    QTest::newRow("nothing said") << Headers();
    QTest::newRow("no time") << Headers{{"Cache-Control", "max-age=0"}};
    QTest::newRow("no number") << Headers{{"Cache-Control", "max-age=long"}};
    QTest::newRow("to be asked for") << Headers{{"Cache-Control", "no-cache, max-age=3600"}};
    QTest::newRow("old already") << Headers{{"Cache-Control", "max-age=60"}, {"Age", "61"}};
    QTest::newRow("expired") << Headers{{"Expires", "Thu, 01 Jan 2015 00:00:00 GMT"}};
    QTest::newRow("no date") << Headers{{"Expires", "0"}};
    QTest::newRow("time before date")
        << Headers{{"Cache-Control", "max-age=0"}, {"Expires", "Sat, 01 Jan 2050 00:00:00 GMT"}};
    QTest::newRow("to be asked for, with blanks")
        << Headers{{"Cache-Control", "max-age=3600 , No-Cache "}};
}

void AnswerCacheTest::answerThatIsNotFreshIsAskedFor()
{
    using Headers = QList<QPair<QByteArray, QByteArray>>;
    QFETCH(Headers, headers);
    serve(picture()).headers = headers;
    fetch(picture());
    fetch(picture());
    QCOMPARE(requests(), 2);
    QVERIFY(server().requests().last().hasHeader("If-Modified-Since"));
}

void AnswerCacheTest::datesAreThoseOfGreenwich_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("hours");
    QTest::newRow("fresh in the east") << QByteArray("EAST-5") << 1;
    QTest::newRow("stale in the west") << QByteArray("WEST5") << -1;
}

void AnswerCacheTest::datesAreThoseOfGreenwich()
{
    QFETCH(QByteArray, zone);
    QFETCH(int, hours);
    const QByteArray before = qgetenv("TZ");
    const auto restore = qScopeGuard([&before] {
        before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
        ::tzset();
    });
    qputenv("TZ", zone);
    ::tzset();
    const QDateTime expiration = QDateTime::currentDateTimeUtc().addSecs(hours * 3600);
    const QString date =
        QLocale::c().toString(expiration, QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"));
    serve(picture()).headers = {{"Expires", date.toLatin1()}};
    fetch(picture());
    fetch(picture());
    QCOMPARE(requests(), hours > 0 ? 1 : 2);
}

void AnswerCacheTest::answerBecomesFreshAgain()
{
    serve(picture()).headers = {{"Cache-Control", "max-age=0"}};
    fetch(picture());
    server().resource(QStringLiteral("/icon.png")).headers = {{"Cache-Control", "max-age=3600"}};
    fetch(picture());
    QCOMPARE(requests(), 2);
    fetch(picture());
    fetch(picture());
    QCOMPARE(requests(), 2);
}

void AnswerCacheTest::unchangedAnswerMayForbidToGoWithoutAsking()
{
    serve(picture()).headers = {{"Cache-Control", "max-age=0"}};
    fetch(picture());
    server().resource(QStringLiteral("/icon.png")).headers = {
        {"Cache-Control", "no-store, max-age=3600"}};
    fetch(picture());
    fetch(picture());
    QCOMPARE(requests(), 3);
}

/// There may be thousands at each start of the program.
void AnswerCacheTest::unchangedAnswerIsNotWrittenAnew()
{
    serve(picture()).headers = {{"Expires", "Thu, 01 Jan 2015 00:00:00 GMT"}};
    fetch(picture());
    QCOMPARE(entries().size(), 1);
    QFile entry(entries().first());
    const QDateTime before = QDateTime::currentDateTimeUtc().addDays(-1);
    QVERIFY(entry.open(QIODevice::ReadWrite));
    QVERIFY(entry.setFileTime(before, QFile::FileModificationTime));
    entry.close();
    fetch(picture());
    QCOMPARE(requests(), 2);
    QCOMPARE(QFileInfo(entry).lastModified().toSecsSinceEpoch(), before.toSecsSinceEpoch());
}

void AnswerCacheTest::whatIsAlwaysAskedIsAsked()
{
    serve(picture()).headers = {{"Cache-Control", "max-age=3600"}};
    for (int start = 1; start < 5; ++start) {
        m_setup->restartManager();
        const auto download = DownloadSetup::restart(url("/icon.png"));
        download->setAlwaysAsked(true);
        DownloadEvents events(download);
        m_setup->manager().add(download, false);
        QVERIFY(events.waitForFinished());
        QVERIFY(readFile(download->getPath()) == picture());
        QCOMPARE(requests(), start);
        QCOMPARE(server().requests().last().hasHeader("If-Modified-Since"), start > 1);
    }
}

void AnswerCacheTest::answersThatAreNotKept_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("not to be stored") << QByteArray("Cache-Control") << QByteArray("No-Store");
    QTest::newRow("different each time") << QByteArray("Vary") << QByteArray("*");
    QTest::newRow("changed in the second of the answer")
        << QByteArray("Date") << QByteArray("Mon, 01 Jan 2024 00:00:00 GMT");
    QTest::newRow("changed in the second before")
        << QByteArray("Date") << QByteArray("Mon, 01 Jan 2024 00:00:01 GMT");
}

void AnswerCacheTest::answersThatAreNotKept()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, value);
    serve(picture());
    fetch(picture());
    QCOMPARE(entries().size(), 1);
    // What was kept before goes, too.
    serve("another").lastModified = QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
    server().resource(QStringLiteral("/icon.png")).headers = {{name, value}};
    fetch("another");
    QCOMPARE(entries(), QStringList());
}

void AnswerCacheTest::answerIsKeptWhenItsFileHasRested()
{
    HttpResource &resource = serve(picture());
    resource.lastModified = QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
    resource.headers = {{"Date", "Mon, 01 Jan 2024 00:00:02 GMT"}};
    fetch(picture());
    QCOMPARE(entries().size(), 1);
}

void AnswerCacheTest::tagIsEnoughToKeepAnAnswer()
{
    HttpResource &resource = serve(picture());
    resource.entityTag = "\"one\"";
    resource.lastModified = QDateTime();
    fetch(picture());
    QCOMPARE(entries().size(), 1);
    fetch(picture());
    QCOMPARE(server().requests().last().header("If-None-Match"), QByteArray("\"one\""));
    QVERIFY(!server().requests().last().hasHeader("If-Modified-Since"));
}

/// There is nothing by which it could be asked again.
void AnswerCacheTest::answerThatTellsNothingIsNotKept()
{
    serve(picture()).lastModified = QDateTime();
    fetch(picture());
    QCOMPARE(entries(), QStringList());
}

void AnswerCacheTest::oldestAnswersGoWhenThereAreTooMany()
{
    // Without content, so that it takes no room on the disk.
    QFile old(folder() + QStringLiteral("old.d"));
    QVERIFY(QDir().mkpath(folder()));
    QVERIFY(old.open(QIODevice::WriteOnly));
    QVERIFY(old.resize(Q_INT64_C(300) * 1024 * 1024));
    QVERIFY(
        old.setFileTime(QDateTime::currentDateTimeUtc().addDays(-1), QFile::FileModificationTime));
    old.close();
    serve(picture());
    fetch(picture());
    QTRY_VERIFY(!old.exists());
    QCOMPARE(entries().size(), 1);
}

void AnswerCacheTest::archivesAreNeitherKeptNorRead()
{
    serve(picture()).entityTag = "\"one\"";
    for (int start = 0; start < 2; ++start) {
        const auto download = DownloadSetup::resumable(url("/icon.png"));
        DownloadEvents events(download);
        m_setup->manager().add(download, false);
        QVERIFY(events.waitForFinished());
        QVERIFY(QFile::remove(download->getPath()));
    }
    QCOMPARE(entries(), QStringList());
    QCOMPARE(requests(), 4);
    QVERIFY(!server().requests().last().hasHeader("If-None-Match"));
    QCOMPARE(server().requests().last().header("Cache-Control"), QByteArray("no-transform"));
    QVERIFY(!server().requests().last().hasHeader("Pragma"));
}

void AnswerCacheTest::archiveOfAnAddressThatIsKeptComesFromTheServer()
{
    HttpResource &resource = serve(picture());
    resource.entityTag = "\"one\"";
    resource.headers = {{"Cache-Control", "max-age=3600"}};
    fetch(picture());
    QVERIFY(QFile::remove(m_setup->path(QStringLiteral("icon.png"))));
    server().forgetRequests();
    const auto download = DownloadSetup::resumable(url("/icon.png"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(server().log(),
             QStringList({QStringLiteral("HEAD /icon.png"), QStringLiteral("GET /icon.png")}));
    QVERIFY(!server().requests().last().hasHeader("If-None-Match"));
    QVERIFY(readFile(download->getPath()) == picture());
    QCOMPARE(entries().size(), 1);
}

void AnswerCacheTest::redirectedFileIsKept()
{
    serve(picture()).headers = {{"Cache-Control", "max-age=3600"}};
    HttpResource &old = server().serve(QStringLiteral("/old"), QByteArray());
    old.redirect = url("/icon.png").toLatin1();
    old.headers = {{"Cache-Control", "max-age=3600"}};
    fetchFrom(url("/old"), picture());
    fetchFrom(url("/old"), picture());
    // Qt sometimes asks for a redirect twice.
    QVERIFY(server().requests(QStringLiteral("/old")).size() >= 2);
    const QList<HttpRequest> asked = server().requests(QStringLiteral("/icon.png"));
    QCOMPARE(asked.size(), 2);
    QVERIFY(asked.last().hasHeader("If-Modified-Since"));
}

void AnswerCacheTest::bodyThatIsCutIsNotKept_data()
{
    QTest::addColumn<bool>("chunked");
    QTest::addColumn<bool>("withoutLength");
    QTest::addColumn<bool>("compressed");
    QTest::addColumn<int>("cut");
    for (const int cut : {0, 1, 1000, 49999}) {
        const auto row = [cut](const char *kind) -> QTestData & {
            return QTest::addRow("%s after %d", kind, cut);
        };
        row("with a length") << false << false << false << cut;
        row("in chunks") << true << false << false << cut;
        row("until the connection ends") << false << true << false << cut;
        row("compressed") << false << false << true << cut / 100;
        row("compressed in chunks") << true << false << true << cut / 100;
    }
}

void AnswerCacheTest::bodyThatIsCutIsNotKept()
{
    QFETCH(bool, chunked);
    QFETCH(bool, withoutLength);
    QFETCH(bool, compressed);
    QFETCH(int, cut);
    HttpResource &resource = serve(picture());
    resource.entityTag = "\"one\"";
    resource.chunked = chunked;
    resource.getWithoutLength = withoutLength;
    resource.compresses = compressed;
    resource.cutAfter = cut;
    {
        const auto download = DownloadSetup::restart(url("/icon.png"));
        DownloadEvents events(download);
        m_setup->manager().add(download, false);
        QVERIFY(events.waitForFinished());
    }
    QCOMPARE(entries(), QStringList());
    serve(picture()).entityTag = "\"one\"";
    fetch(picture());
    QVERIFY(!server().requests().last().hasHeader("If-None-Match"));
}

void AnswerCacheTest::fetchesOfOneAddressAtTheSameTime()
{
    serve(picture()).holdAfter = 20000;
    std::vector<std::unique_ptr<DownloadEvents>> events;
    for (int number = 0; number < 6; ++number) {
        const auto download = DownloadSetup::restart(url("/icon.png"));
        events.push_back(std::make_unique<DownloadEvents>(download));
        m_setup->manager().add(download, false);
    }
    QVERIFY(server().waitForRequests(6));
    server().release(QStringLiteral("/icon.png"));
    for (const auto &each : events)
        QVERIFY(each->waitForFinished());
    fetch(picture());
    QCOMPARE(requests(), 7);
    QVERIFY(server().requests().last().hasHeader("If-Modified-Since"));
    QCOMPARE(entries().size(), 1);
}

void AnswerCacheTest::failureOfOneFetchHurtsNoOther()
{
    HttpResource &resource = serve(picture());
    resource.holdAfter = 20000;
    const auto slow = DownloadSetup::restart(url("/icon.png"));
    DownloadEvents slowEvents(slow);
    m_setup->manager().add(slow, false);
    QTRY_COMPARE(QFileInfo(m_setup->path(QStringLiteral("icon.png"))).size(), 20000);
    resource.holdAfter.reset();
    resource.resetAfter = 30000;
    const auto failing = DownloadSetup::restart(url("/icon.png"));
    DownloadEvents failingEvents(failing);
    m_setup->manager().add(failing, false);
    QVERIFY(failingEvents.waitForFinished());
    QVERIFY(failingEvents.list().contains(QStringLiteral("error Server Error")));
    QCOMPARE(entries(), QStringList());
    server().release(QStringLiteral("/icon.png"));
    QVERIFY(slowEvents.waitForFinished());
    QCOMPARE(entries().size(), 1);
    serve(picture());
    fetch(picture());
    QVERIFY(server().requests().last().hasHeader("If-Modified-Since"));
}

/// Some servers say so to those who have not asked.
void AnswerCacheTest::unchangedForNobody()
{
    serve(QByteArray()).getStatus = 304;
    const auto download = DownloadSetup::restart(url("/icon.png"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(requests(), 2);
    QCOMPARE(entries(), QStringList());
}

void AnswerCacheTest::damagedEntryIsFetchedAnew_data()
{
    QTest::addColumn<QByteArray>("control");
    QTest::addColumn<QString>("damage");
    for (const QByteArray control : {"max-age=0", "max-age=3600"}) {
        for (const char *damage : {"cut", "nothing left", "head only", "longer", "changed byte",
                                   "changed last byte", "garbage", "folder"})
            QTest::addRow("%s, %s", control.constData(), damage)
                << control << QString::fromLatin1(damage);
    }
}

void AnswerCacheTest::damagedEntryIsFetchedAnew()
{
    QFETCH(QByteArray, control);
    QFETCH(QString, damage);
    HttpResource &resource = serve(picture());
    resource.entityTag = "\"one\"";
    resource.headers = {{"Cache-Control", control}};
    fetch(picture());
    QCOMPARE(entries().size(), 1);
    const QString entry = entries().first();
    QByteArray content = readFile(entry);
    if (damage == QLatin1String("cut"))
        content.chop(1);
    else if (damage == QLatin1String("nothing left"))
        content.clear();
    else if (damage == QLatin1String("head only"))
        content.chop(picture().size());
    else if (damage == QLatin1String("longer"))
        content.append('x');
    else if (damage == QLatin1String("changed byte"))
        content[content.size() - 20000] = static_cast<char>(content.at(content.size() - 20000) + 1);
    else if (damage == QLatin1String("changed last byte"))
        content[content.size() - 1] = static_cast<char>(content.at(content.size() - 1) ^ 64);
    else
        content = HttpResource::generated(7, content.size());
    QVERIFY(QFile::remove(entry));
    if (damage == QLatin1String("folder"))
        QVERIFY(QDir().mkpath(entry));
    else
        QVERIFY(writeFile(entry, content));
    const int before = requests();
    fetch(picture());
    QVERIFY(requests() > before);
    QVERIFY(requests() <= before + 2);
    if (damage == QLatin1String("folder"))
        return;
    // It is kept again.
    server().forgetRequests();
    fetch(picture());
    QCOMPARE(requests(), control == "max-age=0" ? 1 : 0);
}

void AnswerCacheTest::foreignFilesAreNoEntries()
{
    serve(picture()).headers = {{"Cache-Control", "max-age=3600"}};
    fetch(picture());
    QVERIFY(writeFile(folder() + QStringLiteral("notes.txt"), "of the user"));
    fetch(picture());
    m_setup->manager().clear();
    QCOMPARE(entries(), QStringList(folder() + QStringLiteral("notes.txt")));
}

void AnswerCacheTest::folderThatCannotBeMade()
{
    QVERIFY(QDir(folder()).removeRecursively());
    const QString place = folder().chopped(1);
    QVERIFY(writeFile(place, "in the way"));
    serve(picture()).headers = {{"Cache-Control", "max-age=3600"}};
    fetch(picture());
    fetch(picture());
    QCOMPARE(requests(), 2);
    QCOMPARE(readFile(place), QByteArray("in the way"));
}

void AnswerCacheTest::folderThatCannotBeWritten()
{
    HttpResource &resource = serve(picture());
    resource.entityTag = "\"one\"";
    fetch(picture());
    letEverybodyWrite(QFileInfo(m_setup->profile().home()).path());
    const QStringList before = entries();
    QDirIterator folders(folder(), QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (folders.hasNext())
        setMode(folders.next(), 0555);
    {
        const WithoutRights nobody;
        fetch(picture());
        QCOMPARE(server().requests().last().header("If-None-Match"), QByteArray("\"one\""));
        serve("another").entityTag = "\"two\"";
        fetch("another");
        fetch("another");
        server().serve(QStringLiteral("/other.png"), "other");
        fetchFrom(url("/other.png"), "other");
    }
    QCOMPARE(entries(), before);
    letEverybodyWrite(QFileInfo(m_setup->profile().home()).path());
}

void AnswerCacheTest::fullDisk_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("large") << 50000;
    QTest::newRow("small enough to be written in one go") << 5000;
}

void AnswerCacheTest::fullDisk()
{
    QFETCH(int, size);
    const QByteArray body = HttpResource::generated(0, size);
    serve(body).entityTag = "\"one\"";
    // The file itself fits, which is smaller than the file with the head of its answer.
    for (const int room : {size, size + 10, size + 100}) {
        {
            const FullDisk disk(static_cast<rlim_t>(room));
            fetch(body);
        }
        QCOMPARE(entries(), QStringList());
        // Nor does anything take room without a name.
        QVERIFY(!isAnyOpen());
    }
    fetch(body);
    QCOMPARE(entries().size(), 1);
    QVERIFY(!server().requests().last().hasHeader("If-None-Match"));
}

void AnswerCacheTest::fullDiskWhileTheTimeIsWritten()
{
    serve(picture()).entityTag = "\"one\"";
    fetch(picture());
    server().resource(QStringLiteral("/icon.png")).headers = {{"Cache-Control", "max-age=3600"}};
    {
        const FullDisk disk(50000);
        fetch(picture());
    }
    fetch(picture());
    fetch(picture());
}

void AnswerCacheTest::resetClearsIt()
{
    serve(picture());
    server().serve(QStringLiteral("/other.png"), "other");
    fetch(picture());
    fetchFrom(url("/other.png"), "other");
    QCOMPARE(entries().size(), 2);
    m_setup->manager().clear();
    QCOMPARE(entries(), QStringList());
    fetch(picture());
    QVERIFY(!server().requests().last().hasHeader("If-Modified-Since"));
}

KAVO_TEST_MAIN(AnswerCacheTest)
#include "AnswerCacheTest.moc"
