#include "tests/packages/UpdateSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QStorageInfo>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

/// A fault during the download of an update, and the expected outcome.
struct Fault
{
    QByteArray name;
    HttpResource resource; ///< the behaviour of the server
    QByteArray part;       ///< content of the cached file before; null for no file
    Package::State state;  ///< the state after the update
    QStringList log;       ///< patterns of all log lines (compareLog())
    QByteArray left;       ///< content of the cached file afterwards; null for no file
    int tries = 1;         ///< number of updates without the fault until one succeeds
    bool serverIsDown = false;
    bool leftMayBeShorter = false; ///< a reset may discard bytes in transit
    qint64 neededDisk = 0;         ///< free bytes that the row needs; else it is skipped
};

constexpr qint64 HugeSize = 4LL * 1024 * 1024 * 1024 + 1000;
constexpr qint64 MinimumFreeDisk = 1024LL * 1024 * 1024;
/// The time limit for a body of HugeSize on a slow disk.
constexpr int HugePatienceInMilliseconds = 240000;

const QString Elsewhere = "/elsewhere.7z"_s;
const QByteArray Page = "<html><body>Something went wrong here.</body></html>";

using Faults = QVector<Fault>;

/// A redirect with this value leads to Elsewhere under another host name of the server.
const QByteArray OtherHost = "other host";

} // namespace

Q_DECLARE_METATYPE(Fault)

/// Updates during which the download has a fault. No file of the user is lost. Later updates
/// without the fault, in the same run of the program or in the next one, install the right files.
class DownloadFaultsTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_size > 200000 && m_otherArchive.size() > 300000); }

    void faultCostsNothing_data()
    {
        Rows<Fault, bool> rows;
        for (const Faults &faults : {brokenConnections(), probes(), errorPages(), redirects(),
                                     ranges(), bodies(), localFiles()}) {
            for (const Fault &fault : faults) {
                rows.row(fault.name + ", tried again", fault, false);
                if (fault.state == Package::DOWNLOAD_ERROR)
                    rows.row(fault.name + ", next run", fault, true);
            }
        }
    }
    void faultCostsNothing()
    {
        auto [fault, nextRun] = Rows<Fault, bool>::current();
        const LogCapture log;
        UpdateSetup setup;
        if (QStorageInfo(setup.engine().profile().home()).bytesAvailable() < fault.neededDisk)
            QSKIP("Too little free disk space for a body of this size");
        if (fault.neededDisk > 0)
            setup.engine().setPatience(HugePatienceInMilliseconds);
        if (!fault.part.isNull())
            QVERIFY(writeFile(setup.cached(), fault.part));
        TestHttpServer &server = setup.engine().server();
        server.serve(Elsewhere, m_archive);
        if (fault.resource.redirect == OtherHost)
            fault.resource.redirect = server.otherHostUrl(Elsewhere).toLatin1();
        setup.serve(fault.resource);
        server.setRefusing(fault.serverIsDown);
        QCOMPARE(setup.wrongUpdate(fault.state, fault.log), QString());
        const QByteArray left = readFile(setup.cached());
        QVERIFY(fault.leftMayBeShorter ? fault.left.startsWith(left) : fault.left == left);
        QCOMPARE(QFile::exists(setup.cached()), !fault.left.isNull());

        server.setRefusing(false);
        setup.serve(healthy());
        if (nextRun)
            QVERIFY(setup.restart());
        for (int attempt = 1; attempt <= fault.tries; ++attempt) {
            QVERIFY(setup.update());
            QCOMPARE(
                setup.wrongEnd(attempt < fault.tries ? Package::INSTALL_ERROR : Package::INSTALLED),
                QString());
        }
        QVERIFY(!QFile::exists(setup.cached()));
        QCOMPARE(setup.lossAfterRemoval(), QString());
    }

private:
    Faults brokenConnections() const
    {
        constexpr int Cut = 100000;
        const QByteArray part = m_archive.left(Cut);
        const QStringList cutLog = transferError() + sizeError(Cut, m_size);
        const QString resetSize = "Size Error : *addon.7z : * of %1 bytes"_s.arg(m_size);
        Fault refused = failing("connection refused", healthy(), {}, unreachable(), "");
        Fault refusedPart =
            failing("connection refused, with a part", healthy(), part, unreachable(), part);
        refused.serverIsDown = refusedPart.serverIsDown = true;
        Fault reset = failing("reset", healthy(with(&HttpResource::resetAfter, Cut)), {},
                              transferError() + QStringList(resetSize), part);
        reset.leftMayBeShorter = true;
        return {refused, refusedPart,
                failing("cut before its length", healthy(with(&HttpResource::cutAfter, Cut)), {},
                        cutLog, part),
                failing("cut inside a chunk",
                        healthy(with(&HttpResource::cutAfter, Cut, &HttpResource::chunked, true,
                                     &HttpResource::cutsInsideChunk, true)),
                        {}, cutLog, part),
                // Closing the connection is the regular end of such a body. Only the size in the
                // answer to the HEAD request reveals the fault.
                unfit("cut without a length",
                      healthy(with(&HttpResource::cutAfter, Cut, &HttpResource::getWithoutLength,
                                   true)),
                      {}, sizeError(Cut, m_size)),
                failing("cut before the first byte", healthy(with(&HttpResource::cutAfter, 0)), {},
                        transferError() + sizeError(0, m_size), ""),
                reset};
    }

    Faults probes() const
    {
        const QByteArray part = m_archive.left(1000);
        const QStringList appended = sizeError(m_size + 1000, m_size);
        Faults faults;
        for (const int status :
             {HttpStatus::FORBIDDEN, HttpStatus::NOT_FOUND, HttpStatus::METHOD_NOT_ALLOWED,
              HttpStatus::INTERNAL_SERVER_ERROR}) {
            const HttpResource probe = healthy(with(&HttpResource::headStatus, status));
            const QByteArray name = "HEAD answers " + QByteArray::number(status);
            // The GET request follows despite the error. The file is complete and is used by the
            // next update.
            faults += failing(name, probe, {}, probeError(), m_archive);
            // Without a size the part is not resumed: the whole file is appended to it.
            faults += failing(name + ", with a part", probe, part, probeError() + appended,
                              part + m_archive);
        }
        const HttpResource silent = healthy(with(&HttpResource::headWithoutLength, true));
        const HttpResource dateless = healthy(with(&HttpResource::headWithoutDate, true));
        const HttpResource less = healthy(with(&HttpResource::headLength, 5000));
        const HttpResource more = healthy(with(&HttpResource::headLength, m_size + 5000));
        return faults +
               Faults{installing("HEAD without a length", silent),
                      unfit("HEAD without a length, with a part", silent, part, appended),
                      installing("HEAD without a date", dateless),
                      unfit("HEAD without a date, with a part", dateless, part, appended),
                      installing("HEAD with too small a length", less, {}, sizeError(m_size, 5000)),
                      unfit("HEAD with the length of the part", less, m_archive.left(5000)),
                      installing("HEAD with too large a length", more, {},
                                 sizeError(m_size, m_size + 5000))};
    }

    // Fixed, see docs/compatibility.md.
    Faults errorPages() const
    {
        const QByteArray part = m_archive.left(1000);
        Faults faults;
        for (const int status :
             {HttpStatus::FORBIDDEN, HttpStatus::NOT_FOUND, HttpStatus::INTERNAL_SERVER_ERROR,
              HttpStatus::SERVICE_UNAVAILABLE}) {
            const HttpResource page = serving(Page, with(&HttpResource::getStatus, status));
            const QByteArray name = "GET answers " + QByteArray::number(status);
            faults += failing(name, page, {}, unreachable(), {});
            faults += failing(name + ", with a part", page, part, unreachable(), part);
        }
        const HttpResource late = serving(
            Page, with(&HttpResource::getStatus, HttpStatus::INTERNAL_SERVER_ERROR,
                       &HttpResource::failsOnlyGet, true, &HttpResource::headLength, m_size));
        HttpResource cut = late;
        cut.cutAfter = 10;
        return faults +
               Faults{failing("only the GET answers 500, with a part", late, part, transferError(),
                              part),
                      failing("only the GET answers 500 and is cut, with a part", cut, part,
                              transferError(), part),
                      unfit("page in the place of the archive", serving(Page)),
                      unfit("page in the place of the archive, with a part", serving(Page), part),
                      unfit("page without a date, with a part",
                            serving(Page, with(&HttpResource::headWithoutDate, true)), part,
                            sizeError(1000 + Page.size(), Page.size()))};
    }

    Faults redirects() const
    {
        const auto to = [](const QByteArray &address) {
            return serving({}, with(&HttpResource::redirect, address));
        };
        const QByteArray down = TestHttpServer::refusingUrl("/addon.7z"_s).toLatin1();
        return {installing("redirect", to("/elsewhere.7z")),
                installing("redirect, with a part", to("/elsewhere.7z"), m_archive.left(1000)),
                installing("redirect to another host", to(OtherHost)),
                failing("redirect loop", to("/addon.7z"), {}, unreachable(), ""),
                failing("redirect to a server that is down", to(down), {}, unreachable(), "")};
    }

    Faults ranges() const
    {
        const QByteArray part = m_archive.left(1000);
        return {
            installing("206 at another place", healthy(with(&HttpResource::rangeDisplacement, 500)),
                       part),
            installing("206 without a place", healthy(with(&HttpResource::hidesContentRange, true)),
                       part),
            installing("200 to a range", healthy(with(&HttpResource::ignoresRange, true)), part),
            failing("200 to a range, cut",
                    healthy(with(&HttpResource::ignoresRange, true, &HttpResource::cutAfter, 500)),
                    part, transferError() + sizeError(500, m_size), m_archive.left(500)),
            failing("416 with a page", healthy(with(&HttpResource::refusesRange, true)), part,
                    transferError(), {})};
    }

    Faults bodies() const
    {
        constexpr int Cut = 100000;
        const int otherSize = m_otherArchive.size();
        // The next update finds a part of another file. It can notice this only if the part is
        // larger than the whole new file.
        const auto changing = [&](const QByteArray &name, int cut, int tries) {
            Fault fault =
                failing(name, serving(m_otherArchive, with(&HttpResource::cutAfter, cut)), {},
                        transferError() + sizeError(cut, otherSize), m_otherArchive.left(cut));
            fault.tries = tries;
            return fault;
        };
        const HttpResource gzip = healthy(with(&HttpResource::compressesUnasked, true));
        Fault huge = unfit("more than 4 GiB that are no archive",
                           serving({}, with(&HttpResource::generatedSize, HugeSize)));
        huge.neededDisk = HugeSize + MinimumFreeDisk;
        return {
            changing("another file since the last try, larger than the part", Cut, 2),
            changing("another file since the last try, smaller than the part", m_size + 1, 1),
            unfit("another file since the probe",
                  serving(m_otherArchive, with(&HttpResource::laterBody, m_archive)),
                  m_otherArchive.left(Cut), sizeError(m_size, otherSize)),
            installing("gzip where it is accepted", healthy(with(&HttpResource::compresses, true))),
            installing("gzip without being asked", gzip),
            installing("gzip without being asked, with a part", gzip, m_archive.left(Cut)),
            huge,
            unfit("empty body", serving("")),
            unfit("empty body against the probe",
                  healthy(with(&HttpResource::laterBody, QByteArray(""))), {},
                  sizeError(0, m_size))};
    }

    Faults localFiles() const
    {
        const QByteArray junk(m_size, 'x');
        return {installing("part", healthy(), m_archive.left(1000)),
                installing("empty part", healthy(), ""),
                installing("whole file", healthy(), m_archive),
                installing("file that is too long", healthy(), m_archive + "more"),
                unfit("part of something else", healthy(), junk.left(1000)),
                unfit("something else of the same size", healthy(), junk)};
    }

    /// The download fails and leaves these bytes in the cached file.
    static Fault failing(const QByteArray &name, const HttpResource &resource,
                         const QByteArray &part, const QStringList &log, const QByteArray &left)
    {
        return {name, resource, part, Package::DOWNLOAD_ERROR, log, left};
    }
    /// The archive is refused before anything is changed. `log` has the lines before that.
    static Fault unfit(const QByteArray &name, const HttpResource &resource,
                       const QByteArray &part = {}, const QStringList &log = {})
    {
        const QStringList end = turnedAway("The downloaded archive is damaged*"_s);
        return {name, resource, part, Package::INSTALL_ERROR, log + end, {}};
    }
    /// The update succeeds. `log` has the lines before the installation.
    static Fault installing(const QByteArray &name, const HttpResource &resource,
                            const QByteArray &part = {}, const QStringList &log = {})
    {
        return {name, resource, part, Package::INSTALLED, log + unpacked(), {}};
    }
    static QStringList unreachable() { return probeError() + transferError(); }

    static HttpResource serving(const QByteArray &body, const ResourceChange &change = {})
    {
        HttpResource resource;
        resource.body = body;
        if (change)
            change(resource);
        return resource;
    }
    HttpResource healthy(const ResourceChange &change = {}) const
    {
        return serving(m_archive, change);
    }

    const QByteArray m_archive = archiveOf(updateFiles(), "7z"_s);
    /// Larger than m_archive.
    const QByteArray m_otherArchive = archiveOf(updateFiles(2, 300000), "7z"_s);
    const int m_size = m_archive.size();
};

KAVO_TEST_MAIN(DownloadFaultsTest)
#include "DownloadFaultsTest.moc"
