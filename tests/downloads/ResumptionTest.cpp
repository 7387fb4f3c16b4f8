#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/downloads/FileMarks.h"
#include "tests/support/Archives.h"
#include "tests/support/Nginx.h"
#include "tests/support/TestMain.h"

using Kavo::Models::Download;
using namespace Kavo::Testing;

namespace {

const QByteArray UrlMark = "user.xdg.origin.url";
const QByteArray DateMark = "user.kavo.last-modified";
const QByteArray TagMark = "user.kavo.etag";
const QDateTime Later(QDate(2024, 2, 29), QTime(8, 30), Qt::UTC);

} // namespace

/// Halves of earlier transfers and what they are halves of: only one of the same address and the
/// same date is gone on with.
class ResumptionTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void fileIsMarkedWithItsOrigin();
    void onlyStrongTagsAreMarked_data();
    void onlyStrongTagsAreMarked();
    void addressIsMarkedWithoutCredentials();
    void halfOfTheSameFileIsGoneOnWith();
    void halfIsAskedForByItsValidator_data();
    void halfIsAskedForByItsValidator();
    void halfOfAnotherAddressIsLeft_data();
    void halfOfAnotherAddressIsLeft();
    void wholeOfAnotherAddressIsLeft();
    void halfOfAnotherAddressIsLeftWithoutASize_data();
    void halfOfAnotherAddressIsLeftWithoutASize();
    void halfOfAnotherDateIsLeft_data();
    void halfOfAnotherDateIsLeft();
    void fileOfAnotherTagIsLeft_data();
    void fileOfAnotherTagIsLeft();
    void fileThatChangesAfterTheProbeIsFetchedWhole_data();
    void fileThatChangesAfterTheProbeIsFetchedWhole();
    void nginxKnowsTheValidator();
    void emptyHalfTakesTheDateOfItsBytes();
    void dateComesFromTheAnswerWithTheBytes();
    void dateOfARedirectDoesNotCount();
    void dateOfAnErrorPageDoesNotCount();
    void marksOfAnEarlierFileAreReplaced();
    void halfWithoutMarksIsGoneOnWith_data();
    void halfWithoutMarksIsGoneOnWith();
    void nothingIsMarkedWhereThereAreNoMarks();

private:
    QString url(const char *path) const { return m_setup->server().url(QString::fromLatin1(path)); }
    TestHttpServer &server() const { return m_setup->server(); }
    QString path(const char *name) const { return m_setup->path(QString::fromLatin1(name)); }
    QByteArray content(const char *name) const
    {
        return m_setup->content(QString::fromLatin1(name));
    }
    QByteArray mark(const QByteArray &name) const { return markOf(path("a.zip"), name); }
    HttpRequest lastGet(const char *path) const
    {
        return server().last("GET", QString::fromLatin1(path));
    }
    void fetch(const QString &url) const;
    /// Fetches no more than these bytes of the body, which stays served.
    HttpResource &fetchHalf(const char *path, const QByteArray &body, int size) const;

    QScopedPointer<DownloadSetup> m_setup;
};

void ResumptionTest::init()
{
    refuseMarks(false);
    m_setup.reset(new DownloadSetup);
    QVERIFY(m_setup->put(QStringLiteral("probe"), {}));
    if (!setMark(path("probe"), UrlMark, "x"))
        QSKIP("The file system of the temporary folder keeps no marks");
}

void ResumptionTest::cleanup()
{
    refuseMarks(false);
    m_setup.reset();
}

void ResumptionTest::fetch(const QString &url) const
{
    const auto download = DownloadSetup::resumable(url);
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
}

HttpResource &ResumptionTest::fetchHalf(const char *path, const QByteArray &body, int size) const
{
    HttpResource &resource = server().serve(QString::fromLatin1(path), body);
    resource.cutAfter = size;
    fetch(url(path));
    resource.cutAfter.reset();
    return resource;
}

void ResumptionTest::fileIsMarkedWithItsOrigin()
{
    server().serve(QStringLiteral("/my%20files/a.zip?v=1&w=%C3%A4"), "content");
    fetch(url("/my files/a.zip?v=1&w=%C3%A4"));
    QCOMPARE(content("a.zip"), QByteArray("content"));
    QCOMPARE(mark(UrlMark), url("/my%20files/a.zip?v=1&w=%C3%A4").toLatin1());
    QCOMPARE(mark(DateMark), QByteArray("Wed, 17 May 2023 12:00:00 GMT"));
}

void ResumptionTest::onlyStrongTagsAreMarked_data()
{
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QByteArray>("marked");
    QTest::newRow("strong") << QByteArray("\"a, b/\"") << QByteArray("\"a, b/\"");
    QTest::newRow("weak") << QByteArray("W/\"a\"") << QByteArray();
    QTest::newRow("none") << QByteArray() << QByteArray();
    QTest::newRow("without quotes") << QByteArray("a") << QByteArray();
    QTest::newRow("half a tag") << QByteArray("a\"") << QByteArray();
    QTest::newRow("a quote alone") << QByteArray("\"") << QByteArray();
    // So it looks when Qt keeps the headers of a redirect before those of the file.
    QTest::newRow("after that of a redirect")
        << QByteArray("W/\"a\", \"b\"") << QByteArray("\"b\"");
    QTest::newRow("weak, after that of a redirect") << QByteArray("\"a\", W/\"b\"") << QByteArray();
}

void ResumptionTest::onlyStrongTagsAreMarked()
{
    QFETCH(QByteArray, sent);
    QFETCH(QByteArray, marked);
    server().serve(QStringLiteral("/a.zip"), "content").entityTag = sent;
    fetch(url("/a.zip"));
    QCOMPARE(content("a.zip"), QByteArray("content"));
    QCOMPARE(mark(TagMark), marked);
}

void ResumptionTest::addressIsMarkedWithoutCredentials()
{
    server().serve(QStringLiteral("/a.zip?v=1"), "content");
    QString address = url("/a.zip?v=1");
    fetch(address.replace(QStringLiteral("//"), QStringLiteral("//user:secret@")));
    QCOMPARE(content("a.zip"), QByteArray("content"));
    QCOMPARE(mark(UrlMark), url("/a.zip?v=1").toLatin1());
}

void ResumptionTest::halfOfTheSameFileIsGoneOnWith()
{
    const QByteArray body = HttpResource::generated(0, 5000);
    fetchHalf("/a.zip", body, 1000);
    QCOMPARE(content("a.zip"), body.left(1000));
    m_setup->restartManager();
    fetch(url("/a.zip"));
    QCOMPARE(lastGet("/a.zip").header("Range"), QByteArray("bytes=1000-"));
    QCOMPARE(content("a.zip"), body);
}

void ResumptionTest::halfIsAskedForByItsValidator_data()
{
    const QByteArray date = "Wed, 17 May 2023 12:00:00 GMT";
    QTest::addColumn<QByteArray>("tag");
    QTest::addColumn<bool>("marked");
    QTest::addColumn<QByteArray>("validator");
    QTest::newRow("strong tag") << QByteArray("\"1\"") << true << QByteArray("\"1\"");
    QTest::newRow("weak tag") << QByteArray("W/\"1\"") << true << date;
    QTest::newRow("no tag") << QByteArray() << true << date;
    QTest::newRow("no marks") << QByteArray("\"1\"") << false << QByteArray();
}

void ResumptionTest::halfIsAskedForByItsValidator()
{
    QFETCH(QByteArray, tag);
    QFETCH(bool, marked);
    QFETCH(QByteArray, validator);
    const QByteArray body = HttpResource::generated(0, 5000);
    HttpResource &resource = server().serve(QStringLiteral("/a.zip"), body);
    resource.entityTag = tag;
    resource.cutAfter = 1000;
    refuseMarks(!marked);
    fetch(url("/a.zip"));
    refuseMarks(false);
    QVERIFY(!lastGet("/a.zip").hasHeader("If-Range"));
    resource.cutAfter.reset();
    fetch(url("/a.zip"));
    QCOMPARE(lastGet("/a.zip").header("Range"), QByteArray("bytes=1000-"));
    QCOMPARE(lastGet("/a.zip").header("If-Range"), validator);
    QCOMPARE(server().requests(QStringLiteral("/a.zip")).size(), 4);
    QCOMPARE(content("a.zip"), body);
}

void ResumptionTest::halfOfAnotherAddressIsLeft_data()
{
    QTest::addColumn<QByteArray>("other");
    QTest::newRow("another folder") << QByteArray("/1.1/a.zip");
    QTest::newRow("another query") << QByteArray("/1.0/a.zip?build=2");
}

void ResumptionTest::halfOfAnotherAddressIsLeft()
{
    QFETCH(QByteArray, other);
    fetchHalf("/1.0/a.zip", QByteArray(5000, 'x'), 1000);
    const QByteArray body = HttpResource::generated(0, 6000);
    server().serve(QString::fromLatin1(other), body);
    m_setup->restartManager();
    fetch(url(other.constData()));
    QVERIFY(!lastGet(other.constData()).hasHeader("Range"));
    QCOMPARE(content("a.zip"), body);
    QCOMPARE(mark(UrlMark), url(other.constData()).toLatin1());
}

void ResumptionTest::wholeOfAnotherAddressIsLeft()
{
    server().serve(QStringLiteral("/1.0/a.zip"), "content");
    fetch(url("/1.0/a.zip"));
    server().serve(QStringLiteral("/1.1/a.zip"), "CONTENT");
    m_setup->restartManager();
    fetch(url("/1.1/a.zip"));
    QCOMPARE(content("a.zip"), QByteArray("CONTENT"));
}

void ResumptionTest::halfOfAnotherAddressIsLeftWithoutASize_data()
{
    QTest::addColumn<bool>("fails");
    QTest::newRow("probe without a length") << false;
    QTest::newRow("probe that is not allowed") << true;
}

void ResumptionTest::halfOfAnotherAddressIsLeftWithoutASize()
{
    QFETCH(bool, fails);
    fetchHalf("/1.0/a.zip", QByteArray(5000, 'x'), 1000);
    HttpResource &resource = server().serve(QStringLiteral("/1.1/a.zip"), "content");
    if (fails)
        resource.headStatus = 405;
    else
        resource.headWithoutLength = true;
    m_setup->restartManager();
    fetch(url("/1.1/a.zip"));
    QCOMPARE(content("a.zip"), QByteArray("content"));
}

void ResumptionTest::halfOfAnotherDateIsLeft_data()
{
    QTest::addColumn<bool>("withoutLength");
    QTest::newRow("probe with a length") << false;
    QTest::newRow("probe without a length") << true;
}

void ResumptionTest::halfOfAnotherDateIsLeft()
{
    QFETCH(bool, withoutLength);
    HttpResource &resource = fetchHalf("/a.zip", QByteArray(5000, 'x'), 1000);
    resource.body = HttpResource::generated(0, 5000);
    resource.lastModified = Later;
    resource.headWithoutLength = withoutLength;
    m_setup->restartManager();
    fetch(url("/a.zip"));
    QVERIFY(!lastGet("/a.zip").hasHeader("Range"));
    QCOMPARE(content("a.zip"), HttpResource::generated(0, 5000));
    QCOMPARE(mark(DateMark), QByteArray("Thu, 29 Feb 2024 08:30:00 GMT"));
}

void ResumptionTest::fileOfAnotherTagIsLeft_data()
{
    QTest::addColumn<int>("present");
    QTest::newRow("half") << 1000;
    QTest::newRow("whole") << 5000;
}

/// Two versions may have one date, for example that of their unpacking, and one size.
void ResumptionTest::fileOfAnotherTagIsLeft()
{
    QFETCH(int, present);
    HttpResource &resource = server().serve(QStringLiteral("/a.zip"), QByteArray(5000, 'x'));
    resource.entityTag = "\"1\"";
    resource.cutAfter = present;
    fetch(url("/a.zip"));
    QCOMPARE(content("a.zip").size(), present);
    resource.cutAfter.reset();
    resource.body = HttpResource::generated(0, 5000);
    resource.entityTag = "\"2\"";
    m_setup->restartManager();
    fetch(url("/a.zip"));
    QVERIFY(!lastGet("/a.zip").hasHeader("Range"));
    QVERIFY(!lastGet("/a.zip").hasHeader("If-Range"));
    QCOMPARE(content("a.zip"), HttpResource::generated(0, 5000));
    QCOMPARE(mark(TagMark), QByteArray("\"2\""));
}

void ResumptionTest::fileThatChangesAfterTheProbeIsFetchedWhole_data()
{
    QTest::addColumn<bool>("byTag");
    QTest::addColumn<bool>("ignored");
    QTest::newRow("another date") << false << false;
    QTest::newRow("another date, server that ignores If-Range") << false << true;
    QTest::newRow("another tag") << true << false;
    QTest::newRow("another tag, server that ignores If-Range") << true << true;
}

void ResumptionTest::fileThatChangesAfterTheProbeIsFetchedWhole()
{
    QFETCH(bool, byTag);
    QFETCH(bool, ignored);
    HttpResource &resource = server().serve(QStringLiteral("/a.zip"), QByteArray(5000, 'x'));
    resource.entityTag = byTag ? "\"1\"" : "";
    resource.cutAfter = 1000;
    fetch(url("/a.zip"));
    resource.cutAfter.reset();
    resource.ignoresIfRange = ignored;
    const QByteArray body = HttpResource::generated(0, 5000);
    const auto download = DownloadSetup::resumable(url("/a.zip"));
    DownloadEvents events(download);
    connect(download.data(), &Download::processChanged, this, [&](Download::Process process) {
        if (process != Download::Process::Download)
            return;
        resource.body = body;
        if (byTag)
            resource.entityTag = "\"2\"";
        else
            resource.lastModified = Later;
    });
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(server().requests(QStringLiteral("/a.zip")).at(3).header("Range"),
             QByteArray("bytes=1000-"));
    QCOMPARE(lastGet("/a.zip").hasHeader("If-Range"), !ignored);
    QCOMPARE(content("a.zip"), body);
    QCOMPARE(mark(byTag ? TagMark : DateMark),
             QByteArray(byTag ? "\"2\"" : "Thu, 29 Feb 2024 08:30:00 GMT"));
    QCOMPARE(events.list(), resumableEvents(5000, path("a.zip")));
}

/// A server of the world takes what we send for a validator, and finds out a file that is another.
void ResumptionTest::nginxKnowsTheValidator()
{
    if (!Nginx::isAvailable())
        QSKIP("there is no nginx here");
    const Nginx nginx;
    QVERIFY(nginx.isRunning());
    const QString served = nginx.folder() + QStringLiteral("a.zip");
    const QString address = nginx.url(QStringLiteral("/a.zip"));
    QVERIFY(writeFile(served, HttpResource::generated(0, 5000)));
    fetch(address);
    QVERIFY(!mark(TagMark).isNull());
    QFile half(path("a.zip"));
    QVERIFY(half.open(QIODevice::ReadWrite) && half.resize(1000));
    QCOMPARE(half.write(QByteArray(1000, 'x')), 1000);
    half.close();
    fetch(address);
    // The bytes that were there are there still, so that only the rest has come.
    QCOMPARE(content("a.zip"),
             QByteArray(QByteArray(1000, 'x') + HttpResource::generated(1000, 4000)));

    QVERIFY(QFile::resize(path("a.zip"), 1000));
    const auto download = DownloadSetup::resumable(address);
    DownloadEvents events(download);
    connect(download.data(), &Download::processChanged, this, [&](Download::Process process) {
        if (process == Download::Process::Download)
            QVERIFY(writeFile(served, HttpResource::generated(7, 6000)));
    });
    m_setup->manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(content("a.zip"), HttpResource::generated(7, 6000));
}

void ResumptionTest::emptyHalfTakesTheDateOfItsBytes()
{
    HttpResource &resource = fetchHalf("/a.zip", HttpResource::generated(0, 5000), 0);
    QVERIFY(QFile::exists(path("a.zip")));
    QVERIFY(setMark(path("a.zip"), DateMark, "Thu, 29 Feb 2024 08:30:00 GMT"));
    resource.lastModified = Later;
    resource.cutAfter = 1000;
    fetch(url("/a.zip"));
    QCOMPARE(mark(DateMark), QByteArray("Thu, 29 Feb 2024 08:30:00 GMT"));
}

void ResumptionTest::dateComesFromTheAnswerWithTheBytes()
{
    HttpResource &resource = server().serve(QStringLiteral("/a.zip"), QByteArray(5000, 'x'));
    resource.headStatus = 405;
    resource.cutAfter = 1000;
    fetch(url("/a.zip"));
    QCOMPARE(mark(DateMark), QByteArray("Wed, 17 May 2023 12:00:00 GMT"));
    resource = HttpResource();
    resource.body = HttpResource::generated(0, 5000);
    resource.lastModified = Later;
    fetch(url("/a.zip"));
    QCOMPARE(content("a.zip"), HttpResource::generated(0, 5000));
}

void ResumptionTest::dateOfARedirectDoesNotCount()
{
    // So it looks when Qt keeps the headers of a redirect before those of the file.
    server().serve(QStringLiteral("/a.zip"), "content").headers = {
        {"Last-Modified", "Sat, 01 Jan 2022 00:00:00 GMT"}};
    fetch(url("/a.zip"));
    QCOMPARE(mark(DateMark), QByteArray("Wed, 17 May 2023 12:00:00 GMT"));
}

void ResumptionTest::dateOfAnErrorPageDoesNotCount()
{
    const QByteArray body = HttpResource::generated(0, 5000);
    fetchHalf("/a.zip", body, 1000);
    HttpResource &page = server().serve(QStringLiteral("/a.zip"), "a page");
    page.getStatus = 500;
    page.lastModified = Later;
    fetch(url("/a.zip"));
    QCOMPARE(content("a.zip"), body.left(1000));
    QCOMPARE(mark(UrlMark), url("/a.zip").toLatin1());
    QCOMPARE(mark(DateMark), QByteArray("Wed, 17 May 2023 12:00:00 GMT"));
}

void ResumptionTest::marksOfAnEarlierFileAreReplaced()
{
    // A restart whose file somebody puts there again before the first byte has come.
    server().serve(QStringLiteral("/a.zip"), "content").holdsGet = true;
    const auto download = DownloadSetup::restart(url("/a.zip"));
    DownloadEvents events(download);
    m_setup->manager().add(download, false);
    QVERIFY(server().waitForRequests(1));
    QVERIFY(m_setup->put(QStringLiteral("a.zip"), "in the way"));
    QVERIFY(setMark(path("a.zip"), UrlMark, "http://host/b.zip"));
    QVERIFY(setMark(path("a.zip"), DateMark, "Sat, 01 Jan 2022 00:00:00 GMT"));
    server().release(QStringLiteral("/a.zip"));
    QVERIFY(events.waitForFinished());
    QCOMPARE(content("a.zip"), QByteArray("content"));
    QCOMPARE(mark(UrlMark), url("/a.zip").toLatin1());
    QCOMPARE(mark(DateMark), QByteArray("Wed, 17 May 2023 12:00:00 GMT"));
}

void ResumptionTest::halfWithoutMarksIsGoneOnWith_data()
{
    QTest::addColumn<bool>("refused");
    QTest::newRow("copied without them") << false;
    QTest::newRow("on a disk that keeps none") << true;
}

/// There is nothing to compare with: size and name decide.
void ResumptionTest::halfWithoutMarksIsGoneOnWith()
{
    QFETCH(bool, refused);
    refuseMarks(refused);
    const QByteArray body = HttpResource::generated(0, 5000);
    fetchHalf("/1.0/a.zip", body, 1000);
    QVERIFY(refused || (removeMark(path("a.zip"), UrlMark) && removeMark(path("a.zip"), DateMark)));
    server().serve(QStringLiteral("/1.1/a.zip"), body).lastModified = Later;
    m_setup->restartManager();
    fetch(url("/1.1/a.zip"));
    QCOMPARE(lastGet("/1.1/a.zip").header("Range"), QByteArray("bytes=1000-"));
    QCOMPARE(content("a.zip"), body);
    refuseMarks(false);
    QCOMPARE(mark(UrlMark).isNull(), refused);
    QCOMPARE(mark(DateMark).isNull(), refused);
}

void ResumptionTest::nothingIsMarkedWhereThereAreNoMarks()
{
    refuseMarks(true);
    server().serve(QStringLiteral("/a.zip"), "content");
    fetch(url("/a.zip"));
    QCOMPARE(content("a.zip"), QByteArray("content"));
    QCOMPARE(m_setup->log().lines(), QStringList());
}

KAVO_TEST_MAIN(ResumptionTest)
#include "ResumptionTest.moc"
