#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

using Kavo::Models::Download;
using namespace Kavo::Testing;

/// The queue: what is taken in, found, started and let go, and which file each download gets.
class DownloadManagerTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void cacheFolderIsMade();
    void cacheFolderIsReadOnce();
    void hasNoSignals();
    void heldDownloadWaitsForStart();
    void startLeavesRunningOnesAlone();
    void startLeavesAloneWhatIsIdleNoMore();
    void downloadThatIsIdleTwiceStartsOnce();
    void oneObjectIsQueuedOnce();
    void secondAddDoesNotEvenStart();
    void twoDownloadsOfOneAddressShareAFile();
    void pathIsChosenInTheCacheFolder();
    void givenPathIsKept();
    void endedDownloadsLeaveTheQueue();
    void completeFilesStayQueued();
    void findComparesAddresses();
    void findReturnsTheFirst();
    void removeTakesOneOut();
    void queuedDownloadThatIsIdleAgainStartsAgain();
    void removedDownloadsRunOn();
    void managerKeepsDownloadsAlive();
    void allIdleDownloadsStartAtOnce();
    void listenersMayUseTheQueue();
    void endDuringTransfers();

    void addressesWithOneNameGetFilesOfTheirOwn();
    void secondNameIsTheSameNextTime();
    void nameIsFreeAgainAfterwards();

private:
    QString url(const char *path) const { return m_setup->server().url(QString::fromLatin1(path)); }
    Kavo::Managers::DownloadManager &manager() const { return m_setup->manager(); }

    QScopedPointer<DownloadSetup> m_setup;
};

void DownloadManagerTest::init()
{
    m_setup.reset(new DownloadSetup);
}

void DownloadManagerTest::cleanup()
{
    m_setup.reset();
}

void DownloadManagerTest::cacheFolderIsMade()
{
    QVERIFY(QDir(m_setup->profile().cacheFolder()).exists());
}

// Fixed, see docs/compatibility.md.
void DownloadManagerTest::cacheFolderIsReadOnce()
{
    m_setup->settings()->setPending(Kavo::Settings::CACHE,
                                    m_setup->profile().folder(QStringLiteral("elsewhere")));
    m_setup->settings()->apply();
    const auto download = DownloadSetup::resumable(url("/a"));
    manager().add(download, true);
    QCOMPARE(download->getPath(), m_setup->path(QStringLiteral("a")));
}

// Fixed, see docs/compatibility.md.
void DownloadManagerTest::hasNoSignals()
{
    const QMetaObject *meta = manager().metaObject();
    QCOMPARE(meta->methodCount(), meta->methodOffset());
}

void DownloadManagerTest::heldDownloadWaitsForStart()
{
    m_setup->server().serve(QStringLiteral("/a"), "a");
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    manager().add(download, true);
    QCOMPARE(download->getProcess(), Download::Process::Idle);
    QCOMPARE(manager().find(url("/a")), download);
    manager().start();
    QCOMPARE(download->getProcess(), Download::Process::Header);
    QVERIFY(events.waitForFinished());
}

void DownloadManagerTest::startLeavesRunningOnesAlone()
{
    m_setup->server().serve(QStringLiteral("/a"), "a").holdsGet = true;
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    manager().add(download, false);
    manager().start();
    QVERIFY(m_setup->server().waitForRequests(2));
    manager().start();
    m_setup->server().release(QStringLiteral("/a"));
    QVERIFY(events.waitForFinished());
    manager().start();
    QCOMPARE(m_setup->server().log(),
             QStringList({QStringLiteral("HEAD /a"), QStringLiteral("GET /a")}));
    QCOMPARE(events.list(), resumableEvents(1, m_setup->path(QStringLiteral("a"))));
}

void DownloadManagerTest::startLeavesAloneWhatIsIdleNoMore()
{
    m_setup->server().serve(QStringLiteral("/a"), "a");
    m_setup->server().serve(QStringLiteral("/b"), "b");
    const auto download = DownloadSetup::resumable(url("/a"));
    manager().add(download, true);
    download->setProcess(Download::Process::Finished);
    manager().start();
    QCOMPARE(download->getProcess(), Download::Process::Finished);
    const auto other = DownloadSetup::resumable(url("/b"));
    DownloadEvents events(other);
    manager().add(other, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(m_setup->server().log(),
             QStringList({QStringLiteral("HEAD /b"), QStringLiteral("GET /b")}));
}

void DownloadManagerTest::downloadThatIsIdleTwiceStartsOnce()
{
    m_setup->server().serve(QStringLiteral("/a"), "a");
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    manager().add(download, true);
    download->setProcess(Download::Process::Idle);
    manager().start();
    QVERIFY(events.waitForFinished());
    QCOMPARE(events.list().count(QStringLiteral("process 1")), 1);
}

void DownloadManagerTest::oneObjectIsQueuedOnce()
{
    m_setup->server().serve(QStringLiteral("/a"), "a");
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    manager().add(download, false);
    manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(m_setup->server().requests().size(), 2);
    QVERIFY(manager().find(url("/a")).isNull());
}

void DownloadManagerTest::secondAddDoesNotEvenStart()
{
    const auto download = DownloadSetup::resumable(url("/a"));
    manager().add(download, true);
    manager().add(download, false);
    QCOMPARE(download->getProcess(), Download::Process::Idle);
    manager().remove(download);
    QVERIFY(manager().find(url("/a")).isNull());
}

void DownloadManagerTest::twoDownloadsOfOneAddressShareAFile()
{
    m_setup->server().serve(QStringLiteral("/a"), "a").holdsGet = true;
    const auto first = DownloadSetup::resumable(url("/a"));
    const auto second = DownloadSetup::resumable(url("/a"));
    DownloadEvents firstEvents(first);
    DownloadEvents secondEvents(second);
    manager().add(first, false);
    manager().add(second, false);
    QCOMPARE(second->getPath(), first->getPath());
    QVERIFY(m_setup->server().waitForRequests(4));
    m_setup->server().release(QStringLiteral("/a"));
    QVERIFY(firstEvents.waitForFinished() && secondEvents.waitForFinished());
    QCOMPARE(m_setup->server().log().filter(QStringLiteral("GET")).size(), 2);
}

void DownloadManagerTest::pathIsChosenInTheCacheFolder()
{
    const auto download = DownloadSetup::resumable(url("/x/a%20b.7z?v=1"));
    manager().add(download, true);
    QCOMPARE(download->getPath(), m_setup->settings()->current(Kavo::Settings::CACHE) +
                                      QDir::separator() + QStringLiteral("a b.7z"));
}

void DownloadManagerTest::givenPathIsKept()
{
    const QString path = m_setup->profile().folder(QStringLiteral("own")) + QStringLiteral("name");
    m_setup->server().serve(QStringLiteral("/a"), "content");
    const auto download = DownloadSetup::restart(url("/a"));
    download->setPath(path);
    DownloadEvents events(download);
    manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(events.list(), restartEvents(7, path));
    QCOMPARE(readFile(path), QByteArray("content"));
}

void DownloadManagerTest::endedDownloadsLeaveTheQueue()
{
    m_setup->server().serve(QStringLiteral("/a"), "a");
    for (const auto &download :
         {DownloadSetup::resumable(url("/a")), DownloadSetup::restart(url("/a")),
          DownloadSetup::restart(url("/missing"))}) {
        DownloadEvents events(download);
        manager().add(download, false);
        QVERIFY(manager().find(download->getRequest()->url().toString()));
        QVERIFY(events.waitForFinished());
        if (!download->isRestart())
            QCOMPARE(download->getProcess(), Download::Process::Finished);
        QVERIFY(manager().find(download->getRequest()->url().toString()).isNull());
    }
}

// Fixed, see docs/compatibility.md.
void DownloadManagerTest::completeFilesStayQueued()
{
    m_setup->server().serve(QStringLiteral("/a"), "content");
    QVERIFY(m_setup->put(QStringLiteral("a"), "content"));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    manager().add(download, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(manager().find(url("/a")), download);
    manager().start();
    manager().add(download, false);
    QCOMPARE(download->getProcess(), Download::Process::Finished);

    // Taken out, it makes room for one that starts afresh.
    QVERIFY(QFile::remove(m_setup->path(QStringLiteral("a"))));
    manager().remove(download);
    const auto again = DownloadSetup::resumable(url("/a"));
    DownloadEvents againEvents(again);
    manager().add(again, false);
    QCOMPARE(manager().find(url("/a")), again);
    QVERIFY(againEvents.waitForFinished());
    QCOMPARE(m_setup->server().log(),
             QStringList(
                 {QStringLiteral("HEAD /a"), QStringLiteral("HEAD /a"), QStringLiteral("GET /a")}));
    QCOMPARE(m_setup->content(QStringLiteral("a")), QByteArray("content"));
}

void DownloadManagerTest::findComparesAddresses()
{
    const auto download = DownloadSetup::resumable(url("/a b.7z"));
    manager().add(download, true);
    QCOMPARE(manager().find(url("/a b.7z")), download);
    QCOMPARE(manager().find(url("/a%20b.7z")), download);
    QVERIFY(manager().find(url("/A b.7z")).isNull());
    QVERIFY(manager().find(url("/a b.7z?")).isNull());
    QVERIFY(manager().find(QString()).isNull());
}

void DownloadManagerTest::findReturnsTheFirst()
{
    const auto first = DownloadSetup::resumable(url("/a"));
    const auto second = DownloadSetup::resumable(url("/a"));
    manager().add(first, true);
    manager().add(second, true);
    QCOMPARE(manager().find(url("/a")), first);
    manager().remove(first);
    QCOMPARE(manager().find(url("/a")), second);
}

void DownloadManagerTest::removeTakesOneOut()
{
    const auto download = DownloadSetup::resumable(url("/a"));
    manager().remove(download);
    manager().add(download, true);
    manager().remove(download);
    QVERIFY(manager().find(url("/a")).isNull());
    manager().start();
    QCOMPARE(download->getProcess(), Download::Process::Idle);
}

/// A download that its probe found complete stays in the queue.
void DownloadManagerTest::queuedDownloadThatIsIdleAgainStartsAgain()
{
    m_setup->server().serve(QStringLiteral("/a"), "content");
    QVERIFY(m_setup->put(QStringLiteral("a"), "content"));
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    manager().add(download, false);
    QVERIFY(events.waitForFinished());
    manager().start();
    QCOMPARE(m_setup->server().log().size(), 1);
    download->setProcess(Download::Process::Idle);
    QVERIFY(m_setup->server().log().size() == 1);
    manager().start();
    QVERIFY(m_setup->server().waitForRequests(2));
    QTRY_COMPARE(download->getProcess(), Download::Process::Finished);
}

void DownloadManagerTest::removedDownloadsRunOn()
{
    m_setup->server().serve(QStringLiteral("/a"), "content").holdsGet = true;
    const auto download = DownloadSetup::resumable(url("/a"));
    DownloadEvents events(download);
    manager().add(download, false);
    QVERIFY(m_setup->server().waitForRequests(2));
    manager().remove(download);
    QVERIFY(manager().find(url("/a")).isNull());
    m_setup->server().release(QStringLiteral("/a"));
    QVERIFY(events.waitForFinished());
    QCOMPARE(m_setup->content(QStringLiteral("a")), QByteArray("content"));
}

void DownloadManagerTest::managerKeepsDownloadsAlive()
{
    m_setup->server().serve(QStringLiteral("/a"), "content").holdsGet = true;
    auto download = DownloadSetup::resumable(url("/a"));
    const QWeakPointer<Download> watched = download;
    DownloadEvents events(download);
    manager().add(download, false);
    QVERIFY(m_setup->server().waitForRequests(2));
    manager().remove(download);
    download.reset();
    QVERIFY(!watched.isNull());
    m_setup->server().release(QStringLiteral("/a"));
    QVERIFY(events.waitForFinished());
    QTRY_VERIFY(watched.isNull());
}

void DownloadManagerTest::allIdleDownloadsStartAtOnce()
{
    constexpr int Count = 20;
    std::vector<std::unique_ptr<DownloadEvents>> events;
    for (int number = 0; number < Count; ++number) {
        const QString path = QStringLiteral("/%1").arg(number);
        m_setup->server().serve(path, path.toLatin1());
        const auto download = DownloadSetup::resumable(m_setup->server().url(path));
        events.push_back(std::make_unique<DownloadEvents>(download));
        manager().add(download, true);
    }
    manager().start();
    for (const auto &each : events)
        QCOMPARE(each->list(), QStringList(QStringLiteral("process 1")));
    for (const auto &each : events)
        QVERIFY(each->waitForFinished());
    for (int number = 0; number < Count; ++number)
        QCOMPARE(m_setup->content(QString::number(number)),
                 QByteArray('/' + QByteArray::number(number)));
}

void DownloadManagerTest::listenersMayUseTheQueue()
{
    m_setup->server().serve(QStringLiteral("/a"), "a");
    m_setup->server().serve(QStringLiteral("/b"), "b");
    const auto first = DownloadSetup::resumable(url("/a"));
    const auto second = DownloadSetup::restart(url("/b"));
    DownloadEvents secondEvents(second);
    connect(first.data(), &Download::processChanged, this, [&](Download::Process process) {
        if (process == Download::Process::Header)
            manager().add(second, false);
        if (process == Download::Process::Finished)
            manager().remove(first);
    });
    DownloadEvents firstEvents(first);
    manager().add(first, false);
    QVERIFY(firstEvents.waitForFinished() && secondEvents.waitForFinished());
    QCOMPARE(m_setup->content(QStringLiteral("a")), QByteArray("a"));
    QCOMPARE(m_setup->content(QStringLiteral("b")), QByteArray("b"));
}

void DownloadManagerTest::endDuringTransfers()
{
    m_setup->server().serve(QStringLiteral("/head"), "a").holdsHead = true;
    m_setup->server().serveGenerated(QStringLiteral("/body"), 100000).holdAfter = 5000;
    const auto probed = DownloadSetup::resumable(url("/head"));
    const auto running = DownloadSetup::restart(url("/body"));
    const DownloadEvents events(running);
    manager().add(probed, false);
    manager().add(running, false);
    QVERIFY(m_setup->server().waitForRequests(2));
    QTRY_COMPARE(m_setup->content(QStringLiteral("body")).size(), 5000);
    m_setup->endManager();
    QVERIFY(!events.hasFinished());
    QCOMPARE(m_setup->content(QStringLiteral("body")), HttpResource::generated(0, 5000));
}

void DownloadManagerTest::addressesWithOneNameGetFilesOfTheirOwn()
{
    m_setup->server().serve(QStringLiteral("/a/icon.png"), "picture a").holdsGet = true;
    m_setup->server().serve(QStringLiteral("/b/icon.png"), "picture b, longer").holdsGet = true;
    const auto first = DownloadSetup::restart(url("/a/icon.png"));
    const auto second = DownloadSetup::restart(url("/b/icon.png"));
    DownloadEvents firstEvents(first);
    DownloadEvents secondEvents(second);
    manager().add(first, false);
    manager().add(second, false);
    QCOMPARE(first->getPath(), m_setup->path(QStringLiteral("icon.png")));
    QVERIFY(second->getPath() != first->getPath());
    QCOMPARE(QFileInfo(second->getPath()).path(), QFileInfo(first->getPath()).path());
    QVERIFY(m_setup->server().waitForRequests(2));
    m_setup->server().release(QStringLiteral("/a/icon.png"));
    m_setup->server().release(QStringLiteral("/b/icon.png"));
    QVERIFY(firstEvents.waitForFinished() && secondEvents.waitForFinished());
    QCOMPARE(readFile(first->getPath()), QByteArray("picture a"));
    QCOMPARE(readFile(second->getPath()), QByteArray("picture b, longer"));
}

void DownloadManagerTest::secondNameIsTheSameNextTime()
{
    // Otherwise a later run would not find the part that it could resume.
    QString before;
    for (int run = 0; run < 2; ++run) {
        const auto first = DownloadSetup::resumable(QStringLiteral("http://host/a/x.7z"));
        const auto second = DownloadSetup::resumable(QStringLiteral("http://host/b/x.7z"));
        manager().add(first, true);
        manager().add(second, true);
        if (run > 0)
            QCOMPARE(second->getPath(), before);
        before = second->getPath();
        m_setup->restartManager();
    }
}

void DownloadManagerTest::nameIsFreeAgainAfterwards()
{
    m_setup->server().serve(QStringLiteral("/a/x"), "first");
    m_setup->server().serve(QStringLiteral("/b/x"), "second");
    for (const char *address : {"/a/x", "/b/x"}) {
        const auto download = DownloadSetup::restart(url(address));
        DownloadEvents events(download);
        manager().add(download, false);
        QVERIFY(events.waitForFinished());
        QCOMPARE(download->getPath(), m_setup->path(QStringLiteral("x")));
        // The transfer lets go of the download with the next turn of the event loop.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QCOMPARE(m_setup->content(QStringLiteral("x")), QByteArray("second"));
}

KAVO_TEST_MAIN(DownloadManagerTest)
#include "DownloadManagerTest.moc"
