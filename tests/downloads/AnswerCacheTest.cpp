#include "downloads/AnswerCache.h"
#include "downloads/BodyChecksum.h"
#include "tests/downloads/DownloadFixture.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/FullDisk.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/support/WithoutRights.h"

#include <QDirIterator>
#include <QLocale>
#include <QNetworkReply>
#include <QScopeGuard>

#include <ctime>
#include <vector>

using Kavo::Managers::AnswerCache;
using Kavo::Managers::BodyChecksum;
using namespace Kavo::Testing;

using Headers = QList<QPair<QByteArray, QByteArray>>;
using Edit = std::function<void(QByteArray &)>;

Q_DECLARE_METATYPE(Edit)

namespace {

const QByteArray One = R"("one")";
const QByteArray Two = R"("two")";
const QDateTime NewYear(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
const Headers FreshForAnHour{{"Cache-Control", "max-age=3600"}};
const Headers NotFresh{{"Cache-Control", "max-age=0"}};

bool makeOlder(const QString &path, const QDateTime &time)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && file.setFileTime(time, QFile::FileModificationTime);
}

} // namespace

/// Tests which answers AnswerCache keeps for later runs of the program, and how they are used. The
/// requested file is a picture, "/a".
class AnswerCacheTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    void requestIsConditional_data()
    {
        Rows<QByteArray, QByteArray>()
            .row("tag", One, "If-None-Match")
            .row("weak tag", "W/" + One, "If-None-Match")
            .row("date", {}, "If-Modified-Since");
    }

    void requestIsConditional()
    {
        const auto [tag, header] = Rows<QByteArray, QByteArray>::current();
        serveKnown(picture(), tag);
        fetchPicture();
        QVERIFY(lastHeader(header).isNull());
        for (int start = 2; start < 5; ++start) {
            fetchPicture();
            QCOMPARE(requests(), start);
            QVERIFY(!lastHeader(header).isNull());
            QVERIFY(lastHeader("Cache-Control").isNull());
        }
        QCOMPARE(log().lines(), QStringList());
        QCOMPARE(entries().size(), 1);
    }

    void changedFileIsFetched()
    {
        serveKnown(picture(), One);
        fetchPicture();
        serveKnown("another", Two);
        fetch("another");
        fetch("another");
        QCOMPARE(requests(), 3);
        QCOMPARE(lastHeader("If-None-Match"), Two);
        QCOMPARE(entries().size(), 1);
    }

    void emptyFileIsFetchedAgain()
    {
        serveKnown("", One);
        for (int start = 0; start < 3; ++start) {
            setup().restartManager();
            QVERIFY(!transfer(restart()).contains(errorEvent()));
            QVERIFY(exists());
            QCOMPARE(content(), QByteArray(""));
        }
    }

    void freshAnswerIsNotRequested_data()
    {
        Rows<Headers> rows;
        for (const char *control : {"public, max-age=3600", "max-age=\"3600\"",
                                    "Public , MAX-AGE = 3600 ", "max-age=9223372036854775807"})
            rows.row(control, {{"Cache-Control", control}});
        rows.row("date", {{"Expires", "Sat, 01 Jan 2050 00:00:00 GMT"}});
        rows.row("time before date",
                 {{"Cache-Control", "max-age=3600"}, {"Expires", "Thu, 01 Jan 2015 00:00:00 GMT"}});
    }

    void freshAnswerIsNotRequested()
    {
        serveKnown(picture(), {}, std::get<0>(Rows<Headers>::current()));
        for (int start = 0; start < 3; ++start)
            fetchPicture();
        QCOMPARE(requests(), 1);
        QCOMPARE(log().lines(), QStringList());
    }

    void staleAnswerIsRequested_data()
    {
        Rows<Headers> rows;
        for (const char *control :
             {"max-age=0", "max-age=long", "no-cache, max-age=3600", "max-age=3600 , No-Cache "})
            rows.row(control, {{"Cache-Control", control}});
        rows.row("nothing said", {})
            .row("old already", {{"Cache-Control", "max-age=60"}, {"Age", "61"}})
            .row("expired", {{"Expires", "Thu, 01 Jan 2015 00:00:00 GMT"}})
            .row("no date", {{"Expires", "0"}})
            .row("time before date",
                 {{"Cache-Control", "max-age=0"}, {"Expires", "Sat, 01 Jan 2050 00:00:00 GMT"}});
    }

    void staleAnswerIsRequested()
    {
        serveKnown(picture(), {}, std::get<0>(Rows<Headers>::current()));
        fetchPicture();
        fetchPicture();
        QCOMPARE(requests(), 2);
        QVERIFY(wasAskedForChanges());
    }

    void datesAreInUtc_data()
    {
        Rows<QByteArray, int, int>()
            .row("fresh in the east", "EAST-5", 1, 1)
            .row("stale in the west", "WEST5", -1, 2);
    }

    void datesAreInUtc()
    {
        const auto [zone, hours, expected] = Rows<QByteArray, int, int>::current();
        const QByteArray before = qgetenv("TZ");
        const auto restore = qScopeGuard([&before] {
            before.isNull() ? qunsetenv("TZ") : qputenv("TZ", before);
            ::tzset();
        });
        qputenv("TZ", zone);
        ::tzset();
        const QDateTime expiration = QDateTime::currentDateTimeUtc().addSecs(hours * 3600);
        const QString date = QLocale::c().toString(expiration, "ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s);
        serveKnown(picture(), {}, {{"Expires", date.toLatin1()}});
        fetchPicture();
        fetchPicture();
        QCOMPARE(requests(), expected);
    }

    void answerBecomesFreshAgain()
    {
        serveKnown(picture(), {}, NotFresh);
        fetchPicture();
        resource().headers = FreshForAnHour;
        fetchPicture();
        QCOMPARE(requests(), 2);
        fetchPicture();
        fetchPicture();
        QCOMPARE(requests(), 2);
    }

    void unchangedAnswerMayForbidFurtherUse()
    {
        serveKnown(picture(), {}, NotFresh);
        fetchPicture();
        resource().headers = {{"Cache-Control", "no-store, max-age=3600"}};
        fetchPicture();
        fetchPicture();
        QCOMPARE(requests(), 3);
    }

    /// Each start of the program may revalidate thousands of files, so writing all of them again
    /// would be slow.
    void unchangedAnswerIsNotWrittenAgain()
    {
        serveKnown(picture(), {}, {{"Expires", "Thu, 01 Jan 2015 00:00:00 GMT"}});
        fetchPicture();
        QCOMPARE(entries().size(), 1);
        QVERIFY(makeOlder(entries().first(), NewYear));
        fetchPicture();
        QCOMPARE(requests(), 2);
        QCOMPARE(QFileInfo(entries().first()).lastModified(), NewYear);
    }

    void alwaysAskedFileIsRequested()
    {
        serveKnown(picture(), {}, FreshForAnHour);
        for (int start = 1; start < 5; ++start) {
            setup().restartManager();
            const auto download = restart();
            download->setAlwaysAsked(true);
            transfer(download);
            QVERIFY(content() == picture());
            QCOMPARE(requests(), start);
            QCOMPARE(wasAskedForChanges(), start > 1);
        }
    }

    void someAnswersAreNotKept_data()
    {
        Rows<QByteArray, QByteArray>()
            .row("not to be stored", "Cache-Control", "No-Store")
            .row("different each time", "Vary", "*")
            .row("changed in the second of the answer", "Date", "Mon, 01 Jan 2024 00:00:00 GMT")
            .row("changed in the second before", "Date", "Mon, 01 Jan 2024 00:00:01 GMT");
    }

    void someAnswersAreNotKept()
    {
        const auto [name, value] = Rows<QByteArray, QByteArray>::current();
        serveKnown(picture());
        fetchPicture();
        QCOMPARE(entries().size(), 1);
        // The earlier entry is deleted as well.
        serveKnown("another", {}, {{name, value}}).lastModified = NewYear;
        fetch("another");
        QCOMPARE(entries(), QStringList());
    }

    void answerIsKeptIfItsFileIsOldEnough()
    {
        serveKnown(picture(), {}, {{"Date", "Mon, 01 Jan 2024 00:00:02 GMT"}}).lastModified =
            NewYear;
        fetchPicture();
        QCOMPARE(entries().size(), 1);
    }

    void answerWithATagIsKept()
    {
        serveKnown(picture(), One).lastModified = QDateTime();
        fetchPicture();
        QCOMPARE(entries().size(), 1);
        fetchPicture();
        QCOMPARE(lastHeader("If-None-Match"), One);
        QVERIFY(!wasAskedForChanges());
    }

    /// Without a date or a tag the answer cannot be validated later.
    void answerWithoutDateAndTagIsNotKept()
    {
        serveKnown(picture()).lastModified = QDateTime();
        fetchPicture();
        QCOMPARE(entries(), QStringList());
    }

    void oldestAnswersAreDeleted()
    {
        // A sparse file takes no space on the disk.
        const QString old = folder() + "old.d"_s;
        QVERIFY(writeFile(old, "") && QFile::resize(old, Q_INT64_C(300) * 1024 * 1024));
        QVERIFY(makeOlder(old, NewYear));
        serveKnown(picture());
        fetchPicture();
        QTRY_VERIFY(!QFile::exists(old));
        QCOMPARE(entries().size(), 1);
    }

    void archivesAreNeitherKeptNorRead()
    {
        serveKnown(picture(), One);
        for (int start = 0; start < 2; ++start) {
            transfer(resumable());
            QVERIFY(QFile::remove(path()));
        }
        QCOMPARE(entries(), QStringList());
        QCOMPARE(requests(), 4);
        QVERIFY(lastHeader("If-None-Match").isNull());
        QCOMPARE(lastHeader("Cache-Control"), QByteArray("no-transform"));
        QVERIFY(lastHeader("Pragma").isNull());
    }

    void archiveIsRequestedAlthoughItsAddressIsKept()
    {
        serveKnown(picture(), One, FreshForAnHour);
        fetchPicture();
        QVERIFY(QFile::remove(path()));
        server().forgetRequests();
        transfer(resumable());
        QCOMPARE(asked(), "HEAD /a, GET /a"_s);
        QVERIFY(lastHeader("If-None-Match").isNull());
        QVERIFY(content() == picture());
        QCOMPARE(entries().size(), 1);
    }

    void redirectedFileIsKept()
    {
        serve({}, "/old"_s).redirect = url().toLatin1();
        resource("/old"_s).headers = FreshForAnHour;
        serveKnown(picture(), {}, FreshForAnHour);
        fetch(picture(), "/old"_s);
        fetch(picture(), "/old"_s);
        // Qt sometimes requests a redirected address twice.
        QVERIFY(server().requests("/old"_s).size() >= 2);
        QCOMPARE(server().requests("/a"_s).size(), 2);
        QVERIFY(lastGet().hasHeader("If-Modified-Since"));
    }

    void changedFileIsNotKept()
    {
        serveKnown(picture());
        QNetworkAccessManager network;
        const QScopedPointer<QNetworkReply> answer(network.get(QNetworkRequest(QUrl(url()))));
        QTRY_VERIFY(answer->isFinished());
        const QByteArray checksum = BodyChecksum::of(picture());
        AnswerCache cache(folder());
        QByteArray other = picture();
        other[0] = static_cast<char>(~other.at(0));
        QVERIFY(put(other));
        cache.keep(*answer, path(), checksum, AnswerCache::Asking::WhenStale);
        QCOMPARE(entries(), QStringList());
        QVERIFY(put(picture()));
        cache.keep(*answer, path(), checksum, AnswerCache::Asking::WhenStale);
        QCOMPARE(entries().size(), 1);
    }

    void cutBodyIsNotKept_data()
    {
        Rows<int, bool, bool, bool> rows; // cut, chunked, without a length, compressed
        for (const int cut : {0, 1, 1000, 49999}) {
            const QByteArray after = " after " + QByteArray::number(cut);
            rows.row("with a length" + after, cut, false, false, false)
                .row("in chunks" + after, cut, true, false, false)
                .row("until the connection ends" + after, cut, false, true, false)
                .row("compressed" + after, cut / 100, false, false, true)
                .row("compressed in chunks" + after, cut / 100, true, false, true);
        }
    }

    void cutBodyIsNotKept()
    {
        const auto [cut, chunked, withoutLength, compressed] =
            Rows<int, bool, bool, bool>::current();
        HttpResource &file = serveKnown(picture(), One);
        file.chunked = chunked;
        file.getWithoutLength = withoutLength;
        file.compresses = compressed;
        file.cutAfter = cut;
        transfer(restart());
        QCOMPARE(entries(), QStringList());
        serveKnown(picture(), One);
        fetchPicture();
        QVERIFY(lastHeader("If-None-Match").isNull());
    }

    void fetchesOfOneAddressAtTheSameTime()
    {
        serveKnown(picture()).holdAfter = 20000;
        std::vector<std::unique_ptr<DownloadEvents>> events(6);
        for (auto &each : events)
            each = std::make_unique<DownloadEvents>(manager(), restart());
        QVERIFY(server().waitForRequests(6));
        server().release("/a"_s);
        for (const auto &each : events)
            QVERIFY(each->waitForFinished());
        fetchPicture();
        QCOMPARE(requests(), 7);
        QVERIFY(wasAskedForChanges());
        QCOMPARE(entries().size(), 1);
    }

    void failedFetchDoesNotAffectOthers()
    {
        serveKnown(picture()).holdAfter = 20000;
        DownloadEvents slow(manager(), restart());
        QTRY_COMPARE(QFileInfo(path()).size(), 20000);
        resource().holdAfter.reset();
        resource().resetAfter = 30000;
        QVERIFY(transfer(restart()).contains(errorEvent()));
        QCOMPARE(entries(), QStringList());
        server().release("/a"_s);
        QVERIFY(slow.waitForFinished());
        QCOMPARE(entries().size(), 1);
        serveKnown(picture());
        fetchPicture();
        QVERIFY(wasAskedForChanges());
    }

    void failureOfTheServerIsAnError_data()
    {
        Rows<int, bool> rows;
        for (const bool isAlwaysAsked : {false, true}) {
            const QByteArray suffix = isAlwaysAsked ? ", always asked" : "";
            rows.row("404" + suffix, HttpStatus::NOT_FOUND, isAlwaysAsked)
                .row("500" + suffix, HttpStatus::INTERNAL_SERVER_ERROR, isAlwaysAsked)
                .row("503" + suffix, HttpStatus::SERVICE_UNAVAILABLE, isAlwaysAsked);
        }
    }

    /// Left alone, Qt would return the cached answer instead of a 5xx error.
    void failureOfTheServerIsAnError()
    {
        const auto [status, isAlwaysAsked] = Rows<int, bool>::current();
        const auto fetchNext = [this, isAlwaysAsked = isAlwaysAsked] {
            setup().restartManager();
            const auto download = restart();
            download->setAlwaysAsked(isAlwaysAsked);
            return transfer(download);
        };
        serveKnown(picture(), {}, NotFresh);
        fetchNext();
        QCOMPARE(entries().size(), 1);
        serve("page").getStatus = status;
        const QStringList events = fetchNext();
        QVERIFY(wasAskedForChanges());
        QVERIFY2(events.contains(errorEvent()), qPrintable(events.join(QLatin1Char(' '))));
        QVERIFY(events.last().startsWith("finished "_s));
        serveKnown(picture());
        fetchNext();
        QVERIFY(content() == picture());
    }

    /// Some servers send 304 for an unconditional request.
    void unexpectedNotModifiedIsRepeated()
    {
        serveKnown({}).getStatus = HttpStatus::NOT_MODIFIED;
        QVERIFY(transfer(restart()).last().startsWith("finished "_s));
        QCOMPARE(requests(), 2);
        QCOMPARE(entries(), QStringList());
    }

    void damagedEntryIsFetchedAgain_data()
    {
        Rows<Edit, Headers, int> rows;
        const auto row = [&rows](const QByteArray &name, const Edit &edit) {
            rows.row(name, edit, NotFresh, 1).row(name + ", fresh", edit, FreshForAnHour, 0);
        };
        row("cut", [](QByteArray &entry) { entry.chop(1); });
        row("nothing left", [](QByteArray &entry) { entry.clear(); });
        row("head only", [](QByteArray &entry) { entry.chop(picture().size()); });
        row("longer", [](QByteArray &entry) { entry.append('x'); });
        row("changed byte", [](QByteArray &entry) {
            const int place = entry.size() - 20000;
            entry[place] = static_cast<char>(entry.at(place) + 1);
        });
        row("changed last byte", [](QByteArray &entry) {
            entry[entry.size() - 1] = static_cast<char>(entry.back() ^ 64);
        });
        row("garbage", [](QByteArray &entry) { entry = HttpResource::generated(7, entry.size()); });
    }

    void damagedEntryIsFetchedAgain()
    {
        const auto [edit, headers, questions] = Rows<Edit, Headers, int>::current();
        serveKnown(picture(), One, headers);
        fetchPicture();
        QCOMPARE(entries().size(), 1);
        QByteArray entry = readFile(entries().first());
        edit(entry);
        QVERIFY(writeFile(entries().first(), entry));
        server().forgetRequests();
        fetchPicture();
        QVERIFY(requests() == 1 || requests() == 2);
        // The new answer was cached.
        server().forgetRequests();
        fetchPicture();
        QCOMPARE(requests(), questions);
    }

    void folderInThePlaceOfAnEntry()
    {
        for (const Headers &headers : {NotFresh, FreshForAnHour}) {
            serveKnown(picture(), One, headers);
            fetchPicture();
            const QString entry = entries().value(0);
            QVERIFY(QFile::remove(entry) && QDir().mkpath(entry));
            server().forgetRequests();
            fetchPicture();
            QVERIFY(requests() == 1 || requests() == 2);
            QVERIFY(QDir().rmdir(entry));
        }
    }

    void foreignFilesAreNoEntries()
    {
        serveKnown(picture(), {}, FreshForAnHour);
        fetchPicture();
        QVERIFY(writeFile(folder() + "notes.txt"_s, "of the user"));
        fetchPicture();
        manager().clear();
        QCOMPARE(entries(), QStringList(folder() + "notes.txt"_s));
    }

    void folderThatCannotBeMade()
    {
        QVERIFY(QDir(folder()).removeRecursively());
        const QString place = folder().chopped(1);
        QVERIFY(writeFile(place, "in the way"));
        serveKnown(picture(), {}, FreshForAnHour);
        fetchPicture();
        fetchPicture();
        QCOMPARE(requests(), 2);
        QCOMPARE(readFile(place), QByteArray("in the way"));
    }

    void folderThatCannotBeWritten()
    {
        serveKnown(picture(), One);
        fetchPicture();
        const QString account = QFileInfo(setup().profile().home()).path();
        letEverybodyWrite(account);
        const QStringList before = entries();
        QDirIterator folders(folder(), QDir::Dirs | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (folders.hasNext())
            setMode(folders.next(), 0555);
        {
            const WithoutRights nobody;
            fetchPicture();
            QCOMPARE(lastHeader("If-None-Match"), One);
            serveKnown("another", Two);
            fetch("another");
            fetch("another");
            serve("other", "/other"_s);
            fetch("other", "/other"_s);
        }
        QCOMPARE(entries(), before);
        letEverybodyWrite(account);
    }

    void fullDisk_data()
    {
        Rows<int>().row("large", 50000).row("small enough to be written in one go", 5000);
    }

    void fullDisk()
    {
        const auto [size] = Rows<int>::current();
        serveKnown(generated(size), One);
        // The file fits on the disk, but the entry with its head does not.
        for (const int room : {size, size + 10, size + 100}) {
            {
                const FullDisk disk(static_cast<rlim_t>(room));
                fetch(generated(size));
            }
            QCOMPARE(entries(), QStringList());
            // An unnamed temporary file that is still open would take space.
            QVERIFY(!isAnyOpen());
        }
        fetch(generated(size));
        QCOMPARE(entries().size(), 1);
        QVERIFY(lastHeader("If-None-Match").isNull());
    }

    void fullDiskWhileTheTimeIsWritten()
    {
        serveKnown(picture(), One);
        fetchPicture();
        resource().headers = FreshForAnHour;
        {
            const FullDisk disk(50000);
            fetchPicture();
        }
        fetchPicture();
        fetchPicture();
    }

    void resetClearsTheCache()
    {
        serveKnown(picture());
        serve("other", "/other"_s);
        fetchPicture();
        fetch("other", "/other"_s);
        QCOMPARE(entries().size(), 2);
        manager().clear();
        QCOMPARE(entries(), QStringList());
        fetchPicture();
        QVERIFY(!wasAskedForChanges());
    }

private:
    static QByteArray picture() { return generated(50000); }
    static QString folder() { return AnswerCache::defaultFolder(); }
    /// Serves the file. The server answers conditional requests with 304 if it is unchanged.
    HttpResource &serveKnown(const QByteArray &body, const QByteArray &tag = {},
                             const Headers &headers = {}) const
    {
        HttpResource &file = serve(body);
        file.knowsWhatIsUnchanged = true;
        file.entityTag = tag;
        file.headers = headers;
        return file;
    }
    /// The paths of all files in the cache folder.
    static QStringList entries()
    {
        QStringList found;
        QDirIterator files(folder(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext())
            found.append(files.next());
        return found;
    }
    /// Whether this process has a file of the cache folder open, with or without a name.
    static bool isAnyOpen()
    {
        const QFileInfoList open =
            QDir("/proc/self/fd"_s).entryInfoList(QDir::Files | QDir::System);
        return std::any_of(open.begin(), open.end(), [](const QFileInfo &file) {
            return file.symLinkTarget().startsWith(folder());
        });
    }
    /// Restarts the download manager, fetches the file and compares its content.
    void fetch(const QByteArray &body, const QString &path = "/a"_s) const
    {
        setup().restartManager();
        const auto download = restart(path);
        const QStringList events = transfer(download);
        // Qt sometimes also announces the size of the redirect's body.
        if (resource(path).redirect.isEmpty())
            QCOMPARE(events, restartEvents(body.size(), download->getPath()));
        QVERIFY(readFile(download->getPath()) == body);
        QVERIFY(manager().find(url(path)).isNull());
    }
    void fetchPicture() const { fetch(picture()); }
    int requests() const { return server().requests().size(); }
    QByteArray lastHeader(const QByteArray &name) const
    {
        return server().requests().last().header(name);
    }
    bool wasAskedForChanges() const { return !lastHeader("If-Modified-Since").isNull(); }
};

KAVO_TEST_MAIN(AnswerCacheTest)
#include "AnswerCacheTest.moc"
