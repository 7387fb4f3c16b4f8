#include "tests/downloads/DownloadFixture.h"
#include "tests/downloads/FileMarks.h"
#include "tests/support/Files.h"
#include "tests/support/Nginx.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using Kavo::Models::Download;
using namespace Kavo::Testing;

namespace {

const QByteArray UrlMark = "user.xdg.origin.url";
const QByteArray DateMark = "user.kavo.last-modified";
const QByteArray TagMark = "user.kavo.etag";

/// The date that a file of the server has unless a test sets another.
const QByteArray UsualDate = "Wed, 17 May 2023 12:00:00 GMT";
const QDateTime Later(QDate(2024, 2, 29), QTime(8, 30), Qt::UTC);
const QByteArray LaterDate = "Thu, 29 Feb 2024 08:30:00 GMT";

} // namespace

/// Tests the resumption of partial files of earlier transfers. A part is resumed unless its marks
/// show that it has another origin than the file of the server. Marks are extended attributes with
/// the address, the date and the entity tag.
class ResumptionTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    void init() override
    {
        DownloadFixture::init();
        refuseMarks(false);
        QVERIFY(put({}, "probe"_s));
        if (!setMark(path("probe"_s), UrlMark, "x"))
            QSKIP("The file system of the temporary folder has no extended attributes");
    }

    void cleanup() override
    {
        refuseMarks(false);
        DownloadFixture::cleanup();
    }

    void fileIsMarkedWithItsOrigin()
    {
        serve("content", "/my%20files/a?v=1&w=%C3%A4"_s);
        fetch("/my files/a?v=1&w=%C3%A4"_s);
        QCOMPARE(content(), QByteArray("content"));
        QCOMPARE(mark(UrlMark), url("/my%20files/a?v=1&w=%C3%A4"_s).toLatin1());
        QCOMPARE(mark(DateMark), UsualDate);
    }

    void onlyStrongTagsAreMarked_data()
    {
        Rows<QByteArray, QByteArray>()
            .row("strong", R"("a, b/")", R"("a, b/")")
            .row("weak", R"(W/"a")", {})
            .row("none", {}, {})
            .row("without quotes", "a", {})
            .row("half a tag", R"(a")", {})
            .row("a quote alone", R"(")", {})
            // Qt sometimes joins the headers of a redirect and those of the file.
            .row("after that of a redirect", R"(W/"a", "b")", R"("b")")
            .row("weak, after that of a redirect", R"("a", W/"b")", {});
    }

    void onlyStrongTagsAreMarked()
    {
        const auto [sent, marked] = Rows<QByteArray, QByteArray>::current();
        serve("content").entityTag = sent;
        fetch();
        QCOMPARE(content(), QByteArray("content"));
        QCOMPARE(mark(TagMark), marked);
    }

    void addressIsMarkedWithoutCredentials()
    {
        serve("content", "/a?v=1"_s);
        QString address = url("/a?v=1"_s);
        QVERIFY(ends(DownloadSetup::resumable(address.replace("//"_s, "//user:secret@"_s))));
        QCOMPARE(content(), QByteArray("content"));
        QCOMPARE(mark(UrlMark), url("/a?v=1"_s).toLatin1());
    }

    void requestForTheRestHasItsValidator_data()
    {
        Rows<QByteArray, bool, QByteArray>()
            .row("strong tag", R"("1")", true, R"("1")")
            .row("weak tag", R"(W/"1")", true, UsualDate)
            .row("no tag", {}, true, UsualDate)
            .row("no marks", R"("1")", false, {});
    }

    void requestForTheRestHasItsValidator()
    {
        const auto [tag, marked, validator] = Rows<QByteArray, bool, QByteArray>::current();
        refuseMarks(!marked);
        fetchHalf(generated(5000), 1000, "/a"_s, tag);
        refuseMarks(false);
        QVERIFY(!lastGet().hasHeader("If-Range"));
        fetch();
        QCOMPARE(range(), QByteArray("bytes=1000-"));
        QCOMPARE(lastGet().header("If-Range"), validator);
        QCOMPARE(asked(), "HEAD /a, GET /a, HEAD /a, GET /a"_s);
        QCOMPARE(content(), generated(5000));
    }

    void partOfAnotherAddressIsNotResumed_data()
    {
        Rows<QString>().row("another folder", "/1.1/a").row("another query", "/1.0/a?build=2");
    }

    void partOfAnotherAddressIsNotResumed()
    {
        const auto [other] = Rows<QString>::current();
        fetchHalf(QByteArray(5000, 'x'), 1000, "/1.0/a"_s);
        serve(generated(6000), other);
        fetch(other);
        QVERIFY(range(other).isNull());
        QCOMPARE(content(), generated(6000));
        QCOMPARE(mark(UrlMark), url(other).toLatin1());
    }

    void fileOfAnotherAddressIsNotUsed()
    {
        serve("content", "/1.0/a"_s);
        fetch("/1.0/a"_s);
        serve("CONTENT", "/1.1/a"_s);
        setup().restartManager();
        fetch("/1.1/a"_s);
        QCOMPARE(content(), QByteArray("CONTENT"));
    }

    void partOfAnotherAddressIsNotResumedWithoutASize_data()
    {
        Rows<bool>().row("probe without a length", false).row("probe that is not allowed", true);
    }

    void partOfAnotherAddressIsNotResumedWithoutASize()
    {
        const auto [fails] = Rows<bool>::current();
        fetchHalf(QByteArray(5000, 'x'), 1000, "/1.0/a"_s);
        serve("content", "/1.1/a"_s).headWithoutLength = true;
        if (fails)
            resource("/1.1/a"_s).headStatus = HttpStatus::METHOD_NOT_ALLOWED;
        fetch("/1.1/a"_s);
        QCOMPARE(content(), QByteArray("content"));
    }

    void partOfAnotherDateIsNotResumed_data()
    {
        Rows<bool>().row("probe with a length", false).row("probe without a length", true);
    }

    void partOfAnotherDateIsNotResumed()
    {
        const auto [withoutLength] = Rows<bool>::current();
        HttpResource &file = fetchHalf(QByteArray(5000, 'x'), 1000);
        file.body = generated(5000);
        file.lastModified = Later;
        file.headWithoutLength = withoutLength;
        fetch();
        QVERIFY(range().isNull());
        QCOMPARE(content(), generated(5000));
        QCOMPARE(mark(DateMark), LaterDate);
    }

    void fileOfAnotherTagIsNotUsed_data() { Rows<int>().row("half", 1000).row("whole", 5000); }
    /// Two versions may have the same size and date, for example the date on which the server's
    /// files were unpacked.
    void fileOfAnotherTagIsNotUsed()
    {
        const auto [present] = Rows<int>::current();
        HttpResource &file = fetchHalf(QByteArray(5000, 'x'), present, "/a"_s, R"("1")");
        QCOMPARE(content().size(), present);
        file.body = generated(5000);
        file.entityTag = R"("2")";
        fetch();
        QVERIFY(range().isNull());
        QVERIFY(!lastGet().hasHeader("If-Range"));
        QCOMPARE(content(), generated(5000));
        QCOMPARE(mark(TagMark), QByteArray(R"("2")"));
    }

    void fileThatChangesAfterTheProbeIsFetchedFromTheStart_data()
    {
        Rows<bool, bool>()
            .row("another date", false, false)
            .row("another date, server that ignores If-Range", false, true)
            .row("another tag", true, false)
            .row("another tag, server that ignores If-Range", true, true);
    }

    void fileThatChangesAfterTheProbeIsFetchedFromTheStart()
    {
        const bool byTag = std::get<0>(Rows<bool, bool>::current());
        const bool ignored = std::get<1>(Rows<bool, bool>::current());
        HttpResource &file =
            fetchHalf(QByteArray(5000, 'x'), 1000, "/a"_s, byTag ? R"("1")" : QByteArray());
        file.ignoresIfRange = ignored;
        const auto download = resumable();
        connect(download.data(), &Download::processChanged, this, [&](Download::Process process) {
            if (process != Download::Process::Download)
                return;
            file.body = generated(5000);
            if (byTag)
                file.entityTag = R"("2")";
            else
                file.lastModified = Later;
        });
        QCOMPARE(transfer(download), resumableEvents(5000, path()));
        QCOMPARE(server().requests("/a"_s).at(3).header("Range"), QByteArray("bytes=1000-"));
        QCOMPARE(lastGet().hasHeader("If-Range"), !ignored);
        QCOMPARE(content(), generated(5000));
        QCOMPARE(mark(byTag ? TagMark : DateMark), byTag ? R"("2")" : LaterDate);
    }

    /// A real server accepts the program's validator and detects a changed file.
    void nginxKnowsTheValidator()
    {
        if (!Nginx::isAvailable())
            QSKIP("there is no nginx here");
        const Nginx nginx;
        QVERIFY(nginx.isRunning());
        const QString served = nginx.folder() + "a"_s;
        const QString address = nginx.url("/a"_s);
        QVERIFY(writeFile(served, generated(5000)));
        QVERIFY(ends(DownloadSetup::resumable(address)));
        QVERIFY(!mark(TagMark).isNull());
        QFile half(path());
        QVERIFY(half.open(QIODevice::ReadWrite) && half.resize(1000));
        QCOMPARE(half.write(QByteArray(1000, 'x')), 1000);
        half.close();
        QVERIFY(ends(DownloadSetup::resumable(address)));
        // The existing bytes are unchanged, so only the rest was fetched.
        QCOMPARE(content(),
                 QByteArray(QByteArray(1000, 'x') + HttpResource::generated(1000, 4000)));

        QVERIFY(QFile::resize(path(), 1000));
        const auto download = DownloadSetup::resumable(address);
        connect(download.data(), &Download::processChanged, this, [&](Download::Process process) {
            if (process == Download::Process::Download)
                QVERIFY(writeFile(served, HttpResource::generated(7, 6000)));
        });
        QVERIFY(ends(download));
        QCOMPARE(content(), HttpResource::generated(7, 6000));
    }

    void emptyPartGetsTheDateOfItsBytes()
    {
        HttpResource &file = fetchHalf(generated(5000), 0);
        QVERIFY(exists());
        QVERIFY(setMark(path(), DateMark, LaterDate));
        file.lastModified = Later;
        file.cutAfter = 1000;
        fetch();
        QCOMPARE(mark(DateMark), LaterDate);
    }

    void dateComesFromTheAnswerWithTheBytes()
    {
        HttpResource &file = serve(QByteArray(5000, 'x'));
        file.headStatus = HttpStatus::METHOD_NOT_ALLOWED;
        file.cutAfter = 1000;
        fetch();
        QCOMPARE(mark(DateMark), UsualDate);
        serve(generated(5000)).lastModified = Later;
        fetch();
        QCOMPARE(content(), generated(5000));
    }

    /// Qt sometimes joins the headers of a redirect and those of the file.
    void dateOfARedirectDoesNotCount()
    {
        serve("content").headers = {{"Last-Modified", "Sat, 01 Jan 2022 00:00:00 GMT"}};
        fetch();
        QCOMPARE(mark(DateMark), UsualDate);
    }

    void dateOfAnErrorPageDoesNotCount()
    {
        fetchHalf(generated(5000), 1000);
        HttpResource &page = serve("a page");
        page.getStatus = HttpStatus::INTERNAL_SERVER_ERROR;
        page.lastModified = Later;
        fetch();
        QCOMPARE(content(), generated(1000));
        QCOMPARE(mark(UrlMark), url().toLatin1());
        QCOMPARE(mark(DateMark), UsualDate);
    }

    /// Another program creates the file before the first byte arrives.
    void marksOfAnEarlierFileAreReplaced()
    {
        serve("content").holdsGet = true;
        DownloadEvents events(manager(), restart());
        QVERIFY(server().waitForRequests(1));
        QVERIFY(put("in the way"));
        QVERIFY(setMark(path(), UrlMark, "http://host/b"));
        QVERIFY(setMark(path(), DateMark, "Sat, 01 Jan 2022 00:00:00 GMT"));
        server().release("/a"_s);
        QVERIFY(events.waitForFinished());
        QCOMPARE(content(), QByteArray("content"));
        QCOMPARE(mark(UrlMark), url().toLatin1());
        QCOMPARE(mark(DateMark), UsualDate);
    }

    void partWithoutMarksIsResumed_data()
    {
        Rows<bool>().row("copied without them", false).row("on a disk that keeps none", true);
    }

    /// Without marks, a part is compared by its name and size only.
    void partWithoutMarksIsResumed()
    {
        const auto [refused] = Rows<bool>::current();
        refuseMarks(refused);
        fetchHalf(generated(5000), 1000, "/1.0/a"_s);
        QVERIFY(refused || (removeMark(path(), UrlMark) && removeMark(path(), DateMark)));
        serve(generated(5000), "/1.1/a"_s).lastModified = Later;
        fetch("/1.1/a"_s);
        QCOMPARE(range("/1.1/a"_s), QByteArray("bytes=1000-"));
        QCOMPARE(content(), generated(5000));
        refuseMarks(false);
        QCOMPARE(mark(UrlMark).isNull(), refused);
        QCOMPARE(mark(DateMark).isNull(), refused);
    }

    void diskWithoutMarksIsNoError()
    {
        refuseMarks(true);
        serve("content");
        fetch();
        QCOMPARE(content(), QByteArray("content"));
        QCOMPARE(log().lines(), QStringList());
    }

private:
    QByteArray mark(const QByteArray &name) const { return markOf(path(), name); }
    /// Fetches a file of the server and waits until the transfer has ended.
    void fetch(const QString &path = "/a"_s) const { QVERIFY(ends(resumable(path))); }
    bool ends(const Pointer &download) const
    {
        return transfer(download).last().startsWith("finished "_s);
    }
    /// Fetches only the first `size` bytes of a file and restarts the manager. The server has the
    /// whole file from then on.
    HttpResource &fetchHalf(const QByteArray &body, int size, const QString &path = "/a"_s,
                            const QByteArray &tag = {}) const
    {
        HttpResource &half = serve(body, path);
        half.entityTag = tag;
        half.cutAfter = size;
        fetch(path);
        half.cutAfter.reset();
        setup().restartManager();
        return half;
    }
};

KAVO_TEST_MAIN(ResumptionTest)
#include "ResumptionTest.moc"
