#include "tests/downloads/DownloadFixture.h"
#include "tests/support/Files.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <vector>

using Kavo::Models::Download;
using namespace Kavo::Testing;

/// Tests which file of the cache folder a download gets, in one run of the program and in the next.
/// The second of two downloads with the same file name gets a file beside the first, with a longer
/// name.
class CacheFolderTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    void partWithALongerNameMovesToTheFreeName()
    {
        const QString beside = fetchTwoHalves();
        QCOMPARE(names(), QString("a, "_s + beside));
        QVERIFY(QFile::remove(path()));
        QCOMPARE(transfer(resumable("/second/a"_s)).last(), QString("finished "_s + path()));
        QCOMPARE(range("/second/a"_s), QByteArray("bytes=4000-"));
        QCOMPARE(content(), second());
        QCOMPARE(names(), "a"_s);
    }

    void partWithALongerNameStaysWhileTheNameIsTaken_data()
    {
        Rows<QStringList>()
            .row("same order", {"first"_s, "second"_s})
            .row("other order", {"second"_s, "first"_s});
    }

    void partWithALongerNameStaysWhileTheNameIsTaken()
    {
        const QString beside = fetchTwoHalves();
        std::vector<Pointer> downloads;
        const auto [folders] = Rows<QStringList>::current();
        for (const QString &folder : folders) {
            const QString archive = "/%1/a"_s.arg(folder);
            const bool isFirst = folder == "first"_s;
            const QString place = path(isFirst ? "a"_s : beside);
            downloads.push_back(resumable(archive));
            QCOMPARE(transfer(downloads.back()).last(), QString("finished "_s + place));
            QCOMPARE(range(archive), QByteArray(isFirst ? "bytes=3000-" : "bytes=4000-"));
            QCOMPARE(readFile(place), isFirst ? first() : second());
        }
    }

    /// A file that is being written keeps its name, even if the shorter name has become free.
    void partWithALongerNameIsSharedWhileItIsWritten()
    {
        auto holder = resumable("/first/a"_s);
        const auto writing = resumable("/second/a"_s);
        manager().add(holder, true);
        manager().add(writing, true);
        QVERIFY(writeFile(writing->getPath(), "half"));
        manager().remove(holder);
        holder.reset();
        const auto again = resumable("/second/a"_s);
        manager().add(again, true);
        QCOMPARE(again->getPath(), writing->getPath());
        QCOMPARE(readFile(writing->getPath()), QByteArray("half"));
    }

    void fileBesideIsDeletedByARestart()
    {
        const QString beside = fetchTwoHalves();
        QCOMPARE(transfer(restart("/second/a"_s)).last(), QString("finished "_s + path()));
        QCOMPARE(content(), second());
        QVERIFY(!exists(beside));
    }

    void folderBesideIsLeftAlone()
    {
        const QString beside = fetchTwoHalves();
        QVERIFY(QFile::remove(path()) && QFile::remove(path(beside)));
        QVERIFY(QDir().mkpath(path(beside)));
        const auto download = resumable("/second/a"_s);
        manager().add(download, true);
        QCOMPARE(download->getPath(), path());
        QCOMPARE(names(), beside);
    }

    void fetchesOfOneAddressAreAllComplete()
    {
        constexpr int Count = 8;
        const QByteArray picture = generated(300000);
        serve(picture).holdAfter = 100000;
        std::vector<std::unique_ptr<DownloadEvents>> events;
        QList<QByteArray> contents;
        for (int number = 0; number < Count; ++number) {
            const auto download = restart();
            connect(download.data(), &Download::finished, this,
                    [&contents](const QString &path) { contents.append(readFile(path)); });
            events.push_back(std::make_unique<DownloadEvents>(manager(), download));
            QCOMPARE(download->getPath(), path());
            QCOMPARE(download->getProcess(), Download::Process::Download);
        }
        // Qt opens at most six connections to a host.
        QVERIFY(server().waitForRequests(6));
        QTRY_COMPARE(QFileInfo(path()).size(), 100000);
        server().release("/a"_s);
        for (const auto &each : events) {
            QVERIFY(each->waitForFinished());
            QCOMPARE(each->list(), restartEvents(picture.size(), path()));
            QCOMPARE(each->currentSizes().last(), picture.size());
        }
        QVERIFY(contents == QList<QByteArray>() + QVector<QByteArray>(Count, picture).toList());
        QCOMPARE(names(), "a"_s);
    }

    void failedFetchDoesNotAffectOthers()
    {
        const auto slow = fetchSlowly();
        QVERIFY(slow);
        resource().cutAfter = 50000;
        QVERIFY(transfer(restart()).contains(errorEvent()));
        QCOMPARE(names(), "a"_s);
        server().release("/a"_s);
        QVERIFY(slow->waitForFinished());
        QVERIFY(content() == generated(300000));
    }

    void slowFetchMayEndAfterAQuickOne()
    {
        serve("the first picture").holdsGet = true;
        DownloadEvents slow(manager(), restart());
        QVERIFY(server().waitForRequests(1));
        serve("another one by now");
        transfer(restart());
        QCOMPARE(content(), QByteArray("another one by now"));
        server().release("/a"_s);
        QVERIFY(slow.waitForFinished());
        QCOMPARE(content(), QByteArray("the first picture"));
    }

    void slowFetchMayEndAfterAQuickOneInMidBody()
    {
        const auto slow = fetchSlowly();
        QVERIFY(slow);
        resource().holdAfter.reset();
        transfer(restart());
        QVERIFY(content() == generated(300000));
        server().release("/a"_s);
        QVERIFY(slow->waitForFinished());
        QVERIFY(content() == generated(300000));
        QCOMPARE(log().lines(), QStringList());
        QCOMPARE(names(), "a"_s);
    }

    void fetchOfAPathThatIsAFolderLeavesNothing()
    {
        serve("content").holdsGet = true;
        QVERIFY(QDir().mkpath(path()));
        DownloadEvents first(manager(), restart());
        DownloadEvents second(manager(), restart());
        QVERIFY(server().waitForRequests(2));
        server().release("/a"_s);
        QVERIFY(first.waitForFinished() && second.waitForFinished());
        QVERIFY(second.hasFailed());
        QCOMPARE(names(), "a"_s);
    }

    void leftoversOfAKilledProgramAreDeleted()
    {
        serve(generated(5000)).holdAfter = 1000;
        manager().add(restart(), false);
        manager().add(restart(), false);
        QTRY_COMPARE(names().count(", "_s), 1);
        setup().endManager();
        QVERIFY(put("a hidden file of the user", ".mine"_s));
        QCOMPARE(names().count(", "_s), 2);
        setup().restartManager();
        QCOMPARE(names(), ".mine, a"_s);
    }

private:
    /// The names of all entries of the cache folder, including hidden ones.
    QString names() const
    {
        return QDir(setup().profile().cacheFolder())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name)
            .join(", "_s);
    }
    /// Fetches parts of "/first/a" and "/second/a" at the same time and restarts the manager.
    /// Returns the file name of the second part.
    QString fetchTwoHalves() const
    {
        serve(first(), "/first/a"_s).cutAfter = 3000;
        serve(second(), "/second/a"_s).cutAfter = 4000;
        const auto download = resumable("/second/a"_s);
        DownloadEvents firstEvents(manager(), resumable("/first/a"_s));
        DownloadEvents secondEvents(manager(), download);
        firstEvents.waitForFinished();
        secondEvents.waitForFinished();
        resource("/first/a"_s).cutAfter.reset();
        resource("/second/a"_s).cutAfter.reset();
        setup().restartManager();
        return QFileInfo(download->getPath()).fileName();
    }
    static QByteArray first() { return '1' + generated(9999); }
    static QByteArray second() { return '2' + generated(9999); }
    /// Starts to fetch the file and waits until the server pauses, after 100000 bytes of the body.
    /// Returns null if they do not arrive.
    std::unique_ptr<DownloadEvents> fetchSlowly() const
    {
        serve(generated(300000)).holdAfter = 100000;
        auto events = std::make_unique<DownloadEvents>(manager(), restart());
        const bool hasBegun =
            QTest::qWaitFor([this] { return QFileInfo(path()).size() == 100000; }, 5000);
        return hasBegun ? std::move(events) : nullptr;
    }
};

KAVO_TEST_MAIN(CacheFolderTest)
#include "CacheFolderTest.moc"
