#include "tests/downloads/DownloadFixture.h"
#include "tests/support/Files.h"
#include "tests/support/TestMain.h"

#include <vector>

using Kavo::Models::Download;
using namespace Kavo::Testing;

/// Tests the queue: adding, finding, starting and removing downloads, and the choice of their
/// files.
class DownloadManagerTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    void cacheFolderIsMade() { QVERIFY(QDir(setup().profile().cacheFolder()).exists()); }

    // Fixed, see docs/compatibility.md.
    void cacheFolderIsReadOnce()
    {
        setup().settings()->setPending(Kavo::Settings::CACHE,
                                       setup().profile().folder("elsewhere"_s));
        setup().settings()->apply();
        QCOMPARE(hold(resumable())->getPath(), path());
    }

    // Fixed, see docs/compatibility.md.
    void hasNoSignals()
    {
        const QMetaObject *meta = manager().metaObject();
        QCOMPARE(meta->methodCount(), meta->methodOffset());
    }

    void heldDownloadWaitsForStart()
    {
        serve("a");
        const auto download = hold(resumable());
        DownloadEvents events(download);
        QCOMPARE(download->getProcess(), Download::Process::Idle);
        QCOMPARE(manager().find(url()), download);
        manager().start();
        QCOMPARE(download->getProcess(), Download::Process::Header);
        QVERIFY(events.waitForFinished());
    }

    void startLeavesRunningOnesAlone()
    {
        serve("a").holdsGet = true;
        DownloadEvents events(manager(), resumable());
        manager().start();
        QVERIFY(server().waitForRequests(2));
        manager().start();
        server().release("/a"_s);
        QVERIFY(events.waitForFinished());
        manager().start();
        QCOMPARE(asked(), "HEAD /a, GET /a"_s);
        QCOMPARE(events.list(), resumableEvents(1, path()));
    }

    void startIgnoresDownloadsThatAreNotIdle()
    {
        serve("a");
        serve("b", "/b"_s);
        const auto download = hold(resumable());
        download->setProcess(Download::Process::Finished);
        manager().start();
        QCOMPARE(download->getProcess(), Download::Process::Finished);
        transfer(resumable("/b"_s));
        QCOMPARE(asked(), "HEAD /b, GET /b"_s);
    }

    void downloadThatIsIdleTwiceStartsOnce()
    {
        serve("a");
        const auto download = hold(resumable());
        download->setProcess(Download::Process::Idle);
        DownloadEvents events(download);
        manager().start();
        QVERIFY(events.waitForFinished());
        QCOMPARE(events.list(), resumableEvents(1, path()));
    }

    void oneObjectIsQueuedOnce()
    {
        serve("a");
        const auto download = resumable();
        DownloadEvents events(manager(), download);
        manager().add(download, false);
        QVERIFY(events.waitForFinished());
        QCOMPARE(asked(), "HEAD /a, GET /a"_s);
        QVERIFY(!isQueued());
    }

    void secondAddDoesNotEvenStart()
    {
        const auto download = hold(resumable());
        manager().add(download, false);
        QCOMPARE(download->getProcess(), Download::Process::Idle);
        manager().remove(download);
        QVERIFY(!isQueued());
    }

    void twoDownloadsOfOneAddressShareAFile()
    {
        serve("a").holdsGet = true;
        DownloadEvents first(manager(), resumable());
        DownloadEvents second(manager(), resumable());
        QVERIFY(server().waitForRequests(4));
        server().release("/a"_s);
        QVERIFY(first.waitForFinished() && second.waitForFinished());
        QCOMPARE(first.list(), resumableEvents(1, path()));
        QCOMPARE(second.list().last(), first.list().last());
        QCOMPARE(server().log().filter("GET"_s).size(), 2);
    }

    void pathIsChosenInTheCacheFolder()
    {
        QCOMPARE(hold(resumable("/x/a%20b.7z?v=1"_s))->getPath(),
                 setup().settings()->current(Kavo::Settings::CACHE) + QDir::separator() +
                     "a b.7z"_s);
    }

    void givenPathIsKept()
    {
        const QString own = setup().profile().folder("own"_s) + "name"_s;
        serve("content");
        const auto download = restart();
        download->setPath(own);
        QCOMPARE(transfer(download), restartEvents(7, own));
        QCOMPARE(readFile(own), QByteArray("content"));
    }

    void endedDownloadsLeaveTheQueue()
    {
        serve("a");
        for (const auto &download : {resumable(), restart(), restart("/missing"_s)}) {
            const QString address = download->getRequest()->url().toString();
            DownloadEvents events(manager(), download);
            QVERIFY(manager().find(address));
            QVERIFY(events.waitForFinished());
            if (!download->isRestart())
                QCOMPARE(download->getProcess(), Download::Process::Finished);
            QVERIFY(manager().find(address).isNull());
        }
    }

    // Fixed, see docs/compatibility.md.
    void completeFilesStayQueued()
    {
        serve("content");
        QVERIFY(put("content"));
        const auto download = resumable();
        transfer(download);
        QCOMPARE(manager().find(url()), download);
        manager().start();
        manager().add(download, false);
        QCOMPARE(download->getProcess(), Download::Process::Finished);

        // After its removal another download of the address starts from the beginning.
        QVERIFY(QFile::remove(path()));
        manager().remove(download);
        const auto again = resumable();
        DownloadEvents events(manager(), again);
        QCOMPARE(manager().find(url()), again);
        QVERIFY(events.waitForFinished());
        QCOMPARE(asked(), "HEAD /a, HEAD /a, GET /a"_s);
        QCOMPARE(content(), QByteArray("content"));
    }

    void findComparesAddresses()
    {
        const auto download = hold(resumable("/a b.7z"_s));
        QCOMPARE(manager().find(url("/a b.7z"_s)), download);
        QCOMPARE(manager().find(url("/a%20b.7z"_s)), download);
        QVERIFY(manager().find(url("/A b.7z"_s)).isNull());
        QVERIFY(manager().find(url("/a b.7z?"_s)).isNull());
        QVERIFY(manager().find(QString()).isNull());
    }

    void findReturnsTheFirst()
    {
        const auto first = hold(resumable());
        const auto second = hold(resumable());
        QCOMPARE(manager().find(url()), first);
        manager().remove(first);
        QCOMPARE(manager().find(url()), second);
    }

    void removeTakesOneOut()
    {
        const auto download = resumable();
        manager().remove(download);
        hold(download);
        manager().remove(download);
        QVERIFY(!isQueued());
        manager().start();
        QCOMPARE(download->getProcess(), Download::Process::Idle);
    }

    /// A download whose file was already complete stays in the queue.
    void queuedDownloadThatIsIdleAgainStartsAgain()
    {
        serve("content");
        QVERIFY(put("content"));
        const auto download = resumable();
        transfer(download);
        manager().start();
        download->setProcess(Download::Process::Idle);
        QCOMPARE(asked(), "HEAD /a"_s);
        manager().start();
        QVERIFY(server().waitForRequests(2));
        QTRY_COMPARE(download->getProcess(), Download::Process::Finished);
    }

    void removedDownloadsRunOn()
    {
        serve("content").holdsGet = true;
        const auto download = resumable();
        DownloadEvents events(manager(), download);
        QVERIFY(server().waitForRequests(2));
        manager().remove(download);
        QVERIFY(!isQueued());
        server().release("/a"_s);
        QVERIFY(events.waitForFinished());
        QCOMPARE(content(), QByteArray("content"));
    }

    void managerKeepsDownloadsAlive()
    {
        serve("content").holdsGet = true;
        auto download = resumable();
        const QWeakPointer<Download> watched = download;
        DownloadEvents events(manager(), download);
        QVERIFY(server().waitForRequests(2));
        manager().remove(download);
        download.reset();
        QVERIFY(!watched.isNull());
        server().release("/a"_s);
        QVERIFY(events.waitForFinished());
        QTRY_VERIFY(watched.isNull());
    }

    void allIdleDownloadsStartAtOnce()
    {
        constexpr int Count = 20;
        std::vector<std::unique_ptr<DownloadEvents>> events;
        for (int number = 0; number < Count; ++number) {
            const QString name = QString::number(number);
            serve(name.toLatin1(), "/%1"_s.arg(name));
            events.push_back(std::make_unique<DownloadEvents>(hold(resumable("/%1"_s.arg(name)))));
        }
        manager().start();
        for (const auto &each : events)
            QCOMPARE(each->list(), QStringList("Header"_s));
        for (const auto &each : events)
            QVERIFY(each->waitForFinished());
        for (int number = 0; number < Count; ++number)
            QCOMPARE(content(QString::number(number)), QByteArray::number(number));
    }

    void listenersMayUseTheQueue()
    {
        serve("a");
        serve("b", "/b"_s);
        const auto first = resumable();
        const auto second = restart("/b"_s);
        DownloadEvents secondEvents(second);
        connect(first.data(), &Download::processChanged, this, [&](Download::Process process) {
            if (process == Download::Process::Header)
                manager().add(second, false);
            if (process == Download::Process::Finished)
                manager().remove(first);
        });
        transfer(first);
        QVERIFY(secondEvents.waitForFinished());
        QCOMPARE(content(), QByteArray("a"));
        QCOMPARE(content("b"_s), QByteArray("b"));
    }

    void endDuringTransfers()
    {
        serve("a", "/head"_s).holdsHead = true;
        serve(generated(100000), "/body"_s).holdAfter = 5000;
        manager().add(resumable("/head"_s), false);
        const DownloadEvents events(manager(), restart("/body"_s));
        QVERIFY(server().waitForRequests(2));
        QTRY_COMPARE(content("body"_s).size(), 5000);
        setup().endManager();
        QVERIFY(!events.hasFinished());
        QCOMPARE(content("body"_s), generated(5000));
    }

    void addressesWithOneNameGetFilesOfTheirOwn()
    {
        serve("picture a", "/a/icon.png"_s).holdsGet = true;
        serve("picture b, longer", "/b/icon.png"_s).holdsGet = true;
        const auto first = restart("/a/icon.png"_s);
        const auto second = restart("/b/icon.png"_s);
        DownloadEvents firstEvents(manager(), first);
        DownloadEvents secondEvents(manager(), second);
        QCOMPARE(first->getPath(), path("icon.png"_s));
        QVERIFY(second->getPath() != first->getPath());
        QCOMPARE(QFileInfo(second->getPath()).path(), QFileInfo(first->getPath()).path());
        QVERIFY(server().waitForRequests(2));
        server().release("/a/icon.png"_s);
        server().release("/b/icon.png"_s);
        QVERIFY(firstEvents.waitForFinished() && secondEvents.waitForFinished());
        QCOMPARE(readFile(first->getPath()), QByteArray("picture a"));
        QCOMPARE(readFile(second->getPath()), QByteArray("picture b, longer"));
    }

    void nameIsFreeAgainAfterwards()
    {
        serve("first", "/first/a"_s);
        serve("second", "/second/a"_s);
        for (const QString &address : {"/first/a"_s, "/second/a"_s}) {
            QCOMPARE(transfer(restart(address)).last(), QString("finished "_s + path()));
            // The transfer releases the download in the next turn of the event loop.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        QCOMPARE(content(), QByteArray("second"));
    }

private:
    /// Adds a download without starting it.
    Pointer hold(const Pointer &download) const
    {
        manager().add(download, true);
        return download;
    }
    bool isQueued() const { return !manager().find(url()).isNull(); }
};

KAVO_TEST_MAIN(DownloadManagerTest)
#include "DownloadManagerTest.moc"
