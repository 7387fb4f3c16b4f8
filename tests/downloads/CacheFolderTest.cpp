#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

#include <memory>
#include <vector>

using Kavo::Models::Download;
using namespace Kavo::Testing;

/// Which file of the cache folder each download gets, in one run of the program and in the next.
class CacheFolderTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void halfBesideMovesToTheFreeName();
    void halfBesideStaysWhileTheNameIsTaken_data();
    void halfBesideStaysWhileTheNameIsTaken();
    void halfBesideIsSharedWhileItIsWritten();
    void fileBesideGoesWithARestart();
    void folderBesideIsLeftAlone();

    void fetchesOfOneAddressAreAllWhole();
    void fetchThatFailsHurtsNoOther();
    void slowFetchMayEndAfterAQuickOne();
    void slowFetchMayEndAfterAQuickOneInMidBody();
    void fetchOfAPathThatIsAFolderLeavesNothing();
    void leftoversOfAKilledProgramGo();

private:
    QString url(const char *path) const { return m_setup->server().url(QString::fromLatin1(path)); }
    TestHttpServer &server() const { return m_setup->server(); }
    Kavo::Managers::DownloadManager &manager() const { return m_setup->manager(); }
    QString path(const char *name) const { return m_setup->path(QString::fromLatin1(name)); }
    /// The names of all entries of the cache folder.
    QStringList names() const
    {
        return QDir(m_setup->profile().cacheFolder())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }
    /// Fetches halves of "/a/x.7z" and "/b/x.7z" at the same time. Returns the name of the second.
    QString fetchTwoHalves() const;
    static QByteArray body(char seed) { return QByteArray(1, seed) + noise(); }
    static QByteArray noise() { return HttpResource::generated(0, 9999); }

    QScopedPointer<DownloadSetup> m_setup;
};

void CacheFolderTest::init()
{
    m_setup.reset(new DownloadSetup);
}

void CacheFolderTest::cleanup()
{
    m_setup.reset();
}

QString CacheFolderTest::fetchTwoHalves() const
{
    server().serve(QStringLiteral("/a/x.7z"), body('a')).cutAfter = 3000;
    server().serve(QStringLiteral("/b/x.7z"), body('b')).cutAfter = 4000;
    const auto first = DownloadSetup::resumable(url("/a/x.7z"));
    const auto second = DownloadSetup::resumable(url("/b/x.7z"));
    DownloadEvents firstEvents(first);
    DownloadEvents secondEvents(second);
    manager().add(first, false);
    manager().add(second, false);
    firstEvents.waitForFinished();
    secondEvents.waitForFinished();
    server().resource(QStringLiteral("/a/x.7z")).cutAfter.reset();
    server().resource(QStringLiteral("/b/x.7z")).cutAfter.reset();
    m_setup->restartManager();
    return QFileInfo(second->getPath()).fileName();
}

void CacheFolderTest::halfBesideMovesToTheFreeName()
{
    const QString beside = fetchTwoHalves();
    QCOMPARE(names(), QStringList({QStringLiteral("x.7z"), beside}));
    QVERIFY(QFile::remove(path("x.7z")));
    const auto download = DownloadSetup::resumable(url("/b/x.7z"));
    DownloadEvents events(download);
    manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(download->getPath(), path("x.7z"));
    QCOMPARE(server().last("GET", QStringLiteral("/b/x.7z")).header("Range"),
             QByteArray("bytes=4000-"));
    QCOMPARE(readFile(path("x.7z")), body('b'));
    QCOMPARE(names(), QStringList(QStringLiteral("x.7z")));
}

void CacheFolderTest::halfBesideStaysWhileTheNameIsTaken_data()
{
    QTest::addColumn<QList<QByteArray>>("order");
    QTest::newRow("same order") << QList<QByteArray>{"a", "b"};
    QTest::newRow("other order") << QList<QByteArray>{"b", "a"};
}

void CacheFolderTest::halfBesideStaysWhileTheNameIsTaken()
{
    QFETCH(QList<QByteArray>, order);
    const QString beside = fetchTwoHalves();
    std::vector<DownloadSetup::Pointer> downloads;
    for (const QByteArray &folder : qAsConst(order)) {
        const QString archive = QString::fromLatin1('/' + folder + "/x.7z");
        const auto download = DownloadSetup::resumable(server().url(archive));
        downloads.push_back(download);
        DownloadEvents events(download);
        manager().add(download, false);
        QVERIFY(events.waitForFinished());
        const bool isFirst = folder == "a";
        QCOMPARE(server().last("GET", archive).header("Range"),
                 QByteArray(isFirst ? "bytes=3000-" : "bytes=4000-"));
        QCOMPARE(download->getPath(), m_setup->path(isFirst ? QStringLiteral("x.7z") : beside));
        QCOMPARE(readFile(download->getPath()), body(folder.at(0)));
    }
}

/// A file that is being written keeps its name, even when the better one is free by then.
void CacheFolderTest::halfBesideIsSharedWhileItIsWritten()
{
    auto holder = DownloadSetup::resumable(url("/a/x.7z"));
    const auto first = DownloadSetup::resumable(url("/b/x.7z"));
    manager().add(holder, true);
    manager().add(first, true);
    QVERIFY(writeFile(first->getPath(), "half"));
    manager().remove(holder);
    holder.reset();
    const auto second = DownloadSetup::resumable(url("/b/x.7z"));
    manager().add(second, true);
    QCOMPARE(second->getPath(), first->getPath());
    QCOMPARE(readFile(first->getPath()), QByteArray("half"));
}

void CacheFolderTest::fileBesideGoesWithARestart()
{
    const QString beside = fetchTwoHalves();
    const auto download = DownloadSetup::restart(url("/b/x.7z"));
    DownloadEvents events(download);
    manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(download->getPath(), path("x.7z"));
    QCOMPARE(readFile(path("x.7z")), body('b'));
    QVERIFY(!names().contains(beside));
}

void CacheFolderTest::folderBesideIsLeftAlone()
{
    const QString beside = fetchTwoHalves();
    QVERIFY(QFile::remove(path("x.7z")));
    QVERIFY(QFile::remove(m_setup->path(beside)));
    QVERIFY(QDir().mkpath(m_setup->path(beside)));
    const auto download = DownloadSetup::resumable(url("/b/x.7z"));
    manager().add(download, true);
    QCOMPARE(download->getPath(), path("x.7z"));
    QCOMPARE(names(), QStringList(beside));
}

void CacheFolderTest::fetchesOfOneAddressAreAllWhole()
{
    constexpr int Count = 8;
    const QByteArray picture = HttpResource::generated(0, 300000);
    server().serve(QStringLiteral("/icon.png"), picture).holdAfter = 100000;
    std::vector<std::unique_ptr<DownloadEvents>> events;
    QList<QByteArray> contents;
    for (int number = 0; number < Count; ++number) {
        const auto download = DownloadSetup::restart(url("/icon.png"));
        events.push_back(std::make_unique<DownloadEvents>(download));
        connect(download.data(), &Download::finished, this,
                [&contents](const QString &path) { contents.append(readFile(path)); });
        manager().add(download, false);
        QCOMPARE(download->getPath(), path("icon.png"));
        QCOMPARE(download->getProcess(), Download::Process::Download);
    }
    // As many as may be on their way to one host.
    QVERIFY(server().waitForRequests(6));
    QTRY_COMPARE(QFileInfo(path("icon.png")).size(), 100000);
    server().release(QStringLiteral("/icon.png"));
    for (const auto &each : events) {
        QVERIFY(each->waitForFinished());
        QCOMPARE(each->list(), restartEvents(picture.size(), path("icon.png")));
        QCOMPARE(each->currentSizes().last(), picture.size());
    }
    QVERIFY(contents == QList<QByteArray>() + QVector<QByteArray>(Count, picture).toList());
    QCOMPARE(names(), QStringList(QStringLiteral("icon.png")));
}

void CacheFolderTest::fetchThatFailsHurtsNoOther()
{
    const QByteArray picture = HttpResource::generated(0, 300000);
    HttpResource &resource = server().serve(QStringLiteral("/icon.png"), picture);
    resource.holdAfter = 100000;
    const auto first = DownloadSetup::restart(url("/icon.png"));
    const auto second = DownloadSetup::restart(url("/icon.png"));
    DownloadEvents firstEvents(first);
    DownloadEvents secondEvents(second);
    manager().add(first, false);
    QTRY_COMPARE(QFileInfo(path("icon.png")).size(), 100000);
    resource.cutAfter = 50000;
    manager().add(second, false);
    QVERIFY(secondEvents.waitForFinished());
    QVERIFY(secondEvents.list().contains(QStringLiteral("error Server Error")));
    QCOMPARE(names(), QStringList(QStringLiteral("icon.png")));
    server().release(QStringLiteral("/icon.png"));
    QVERIFY(firstEvents.waitForFinished());
    QVERIFY(readFile(path("icon.png")) == picture);
}

void CacheFolderTest::slowFetchMayEndAfterAQuickOne()
{
    HttpResource &resource = server().serve(QStringLiteral("/icon.png"), "the first picture");
    resource.holdsGet = true;
    const auto first = DownloadSetup::restart(url("/icon.png"));
    const auto second = DownloadSetup::restart(url("/icon.png"));
    DownloadEvents firstEvents(first);
    DownloadEvents secondEvents(second);
    manager().add(first, false);
    QVERIFY(server().waitForRequests(1));
    resource.holdsGet = false;
    resource.body = "another one by now";
    manager().add(second, false);
    QVERIFY(secondEvents.waitForFinished());
    QCOMPARE(readFile(path("icon.png")), QByteArray("another one by now"));
    server().release(QStringLiteral("/icon.png"));
    QVERIFY(firstEvents.waitForFinished());
    QCOMPARE(readFile(path("icon.png")), QByteArray("the first picture"));
}

void CacheFolderTest::slowFetchMayEndAfterAQuickOneInMidBody()
{
    const QByteArray picture = HttpResource::generated(0, 300000);
    HttpResource &resource = server().serve(QStringLiteral("/icon.png"), picture);
    resource.holdAfter = 100000;
    const auto first = DownloadSetup::restart(url("/icon.png"));
    const auto second = DownloadSetup::restart(url("/icon.png"));
    DownloadEvents firstEvents(first);
    DownloadEvents secondEvents(second);
    manager().add(first, false);
    QTRY_COMPARE(QFileInfo(path("icon.png")).size(), 100000);
    resource.holdAfter.reset();
    manager().add(second, false);
    QVERIFY(secondEvents.waitForFinished());
    QVERIFY(readFile(path("icon.png")) == picture);
    server().release(QStringLiteral("/icon.png"));
    QVERIFY(firstEvents.waitForFinished());
    QVERIFY(readFile(path("icon.png")) == picture);
    QCOMPARE(m_setup->log().lines(), QStringList());
    QCOMPARE(names(), QStringList(QStringLiteral("icon.png")));
}

void CacheFolderTest::fetchOfAPathThatIsAFolderLeavesNothing()
{
    server().serve(QStringLiteral("/icon.png"), "content").holdsGet = true;
    QVERIFY(QDir().mkpath(path("icon.png")));
    const auto first = DownloadSetup::restart(url("/icon.png"));
    const auto second = DownloadSetup::restart(url("/icon.png"));
    DownloadEvents firstEvents(first);
    DownloadEvents secondEvents(second);
    manager().add(first, false);
    manager().add(second, false);
    QVERIFY(server().waitForRequests(2));
    server().release(QStringLiteral("/icon.png"));
    QVERIFY(firstEvents.waitForFinished() && secondEvents.waitForFinished());
    QVERIFY(secondEvents.list().contains(QStringLiteral("error Server Error")));
    QCOMPARE(names(), QStringList(QStringLiteral("icon.png")));
}

void CacheFolderTest::leftoversOfAKilledProgramGo()
{
    server().serve(QStringLiteral("/icon.png"), HttpResource::generated(0, 5000)).holdAfter = 1000;
    {
        const auto first = DownloadSetup::restart(url("/icon.png"));
        const auto second = DownloadSetup::restart(url("/icon.png"));
        manager().add(first, false);
        manager().add(second, false);
        QTRY_COMPARE(names().size(), 2);
        m_setup->endManager();
    }
    QVERIFY(m_setup->put(QStringLiteral(".mine"), "a hidden file of the user"));
    QCOMPARE(names().size(), 3);
    m_setup->restartManager();
    QCOMPARE(names(), QStringList({QStringLiteral(".mine"), QStringLiteral("icon.png")}));
}

KAVO_TEST_MAIN(CacheFolderTest)
#include "CacheFolderTest.moc"
