#include "tests/packages/UpdateSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

#include <QStorageInfo>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

/// A fault during the download of an update, and the expected outcome.
struct Fault
{
    HttpResource resource; ///< what the server does
    QByteArray part;       ///< what lies in the cache folder before; null for no file
    Package::State state;  ///< how the update ends
    QStringList log;       ///< all its lines; an asterisk stands for any text
    QByteArray left;       ///< what lies in the cache folder afterwards; null for no file
    int tries = 1;         ///< how many updates a healthy server needs from there
    bool serverIsDown = false;
    bool leftMayBeShorter = false; ///< a reset may take back bytes that were on their way
    qint64 neededDisk = 0;         ///< free bytes without which the row makes no sense
};

constexpr qint64 HugeSize = 4LL * 1024 * 1024 * 1024 + 1000;
constexpr qint64 MinimumFreeDisk = 1024LL * 1024 * 1024;
/// Such a body takes a long time on a slow disk.
constexpr int HugePatienceInMilliseconds = 240000;

const QString Elsewhere = "/elsewhere.7z"_s;
const QByteArray Page = "<html><body>Something went wrong here.</body></html>";

/// A placeholder for the same file under another name of the server.
const QByteArray OtherHost = "other host";

} // namespace

Q_DECLARE_METATYPE(Fault)

/// Updates while the download has a fault. No file of the user's is lost, and a later try against a
/// healthy server, in the same run of the program or in the next one, ends with the right files.
class DownloadFaultsTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_archive = archiveOf(updateFiles(), "7z"_s);
        m_otherArchive = archiveOf(updateFiles(2, 300000), "7z"_s);
        m_size = m_archive.size();
        QVERIFY(m_size > 200000 && m_otherArchive.size() > 300000);
    }

    void faultCostsNothing_data()
    {
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<bool>("nextRun");
        addBrokenConnections();
        addProbes();
        addErrorPages();
        addRedirects();
        addRanges();
        addBodies();
        addLocalFiles();
    }
    void faultCostsNothing()
    {
        QFETCH(Fault, fault);
        QFETCH(bool, nextRun);
        const LogCapture log;
        UpdateSetup setup;
        if (QStorageInfo(setup.engine().profile().home()).bytesAvailable() < fault.neededDisk)
            QSKIP("The disk is too full for a body of this size");
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
    void addBrokenConnections() const
    {
        constexpr int Cut = 100000;
        const QByteArray part = m_archive.left(Cut);
        for (const QByteArray &before : {QByteArray(), part}) {
            Fault refused = failing(healthy(), before, unreachable(), before.isNull() ? "" : part);
            refused.serverIsDown = true;
            addRow(before.isNull() ? "connection refused" : "connection refused, with a part",
                   refused);
        }
        HttpResource cut = healthy();
        cut.cutAfter = Cut;
        const QStringList cutLog = transferError() + sizeError(Cut, m_size);
        addRow("cut before its length", failing(cut, {}, cutLog, part));
        HttpResource torn = cut;
        torn.chunked = true;
        torn.cutsInsideChunk = true;
        addRow("cut inside a chunk", failing(torn, {}, cutLog, part));
        HttpResource open = cut;
        open.getWithoutLength = true;
        // The end of the connection counts as the end of the body; only the size shows the fault.
        addRow("cut without a length", unfit(open, {}, sizeError(Cut, m_size)));
        cut.cutAfter = 0;
        addRow("cut before the first byte",
               failing(cut, {}, transferError() + sizeError(0, m_size), ""));
        HttpResource reset = healthy();
        reset.resetAfter = Cut;
        const QString resetSize = "Size Error : *addon.7z : * of %1 bytes"_s.arg(m_size);
        Fault fault = failing(reset, {}, transferError() + QStringList(resetSize), part);
        fault.leftMayBeShorter = true;
        addRow("reset", fault);
    }

    void addProbes() const
    {
        const QByteArray part = m_archive.left(1000);
        const QStringList appended = sizeError(m_size + 1000, m_size);
        for (const int status : {403, 404, 405, 500}) {
            HttpResource probe = healthy();
            probe.headStatus = status;
            const QString name = "HEAD answers %1"_s.arg(status);
            // The transfer continues after the error. Its file is complete and is used at the next
            // try.
            addRow(name, failing(probe, {}, probeError(), m_archive));
            // Without a size nothing is resumed: the whole file is appended to the part.
            addRow(name + ", with a part"_s,
                   failing(probe, part, probeError() + appended, part + m_archive));
        }
        HttpResource silent = healthy();
        silent.headWithoutLength = true;
        addRow("HEAD without a length", installing(silent));
        addRow("HEAD without a length, with a part", unfit(silent, part, appended));
        HttpResource dateless = healthy();
        dateless.headWithoutDate = true;
        addRow("HEAD without a date", installing(dateless));
        addRow("HEAD without a date, with a part", unfit(dateless, part, appended));
        HttpResource lying = healthy();
        lying.headLength = 5000;
        addRow("HEAD with too small a length", installing(lying, {}, sizeError(m_size, 5000)));
        addRow("HEAD with the length of the part", unfit(lying, m_archive.left(5000)));
        lying.headLength = m_size + 5000;
        addRow("HEAD with too large a length",
               installing(lying, {}, sizeError(m_size, m_size + 5000)));
    }

    // Fixed, see docs/compatibility.md.
    void addErrorPages() const
    {
        const QByteArray part = m_archive.left(1000);
        for (const int status : {403, 404, 500, 503}) {
            HttpResource page = serving(Page);
            page.getStatus = status;
            const QString name = "GET answers %1"_s.arg(status);
            addRow(name, failing(page, {}, unreachable(), {}));
            addRow(name + ", with a part"_s, failing(page, part, unreachable(), part));
        }
        HttpResource late = serving(Page);
        late.getStatus = 500;
        late.failsOnlyGet = true;
        late.headLength = m_size;
        addRow("only the GET answers 500, with a part", failing(late, part, transferError(), part));
        late.cutAfter = 10;
        addRow("only the GET answers 500 and is cut, with a part",
               failing(late, part, transferError(), part));
        addRow("page in the place of the archive", unfit(serving(Page)));
        addRow("page in the place of the archive, with a part", unfit(serving(Page), part));
        HttpResource dateless = serving(Page);
        dateless.headWithoutDate = true;
        addRow("page without a date, with a part",
               unfit(dateless, part, sizeError(1000 + Page.size(), Page.size())));
    }

    void addRedirects() const
    {
        HttpResource redirect;
        redirect.redirect = "/elsewhere.7z";
        addRow("redirect", installing(redirect));
        addRow("redirect, with a part", installing(redirect, m_archive.left(1000)));
        redirect.redirect = OtherHost;
        addRow("redirect to another host", installing(redirect));
        redirect.redirect = "/addon.7z";
        addRow("redirect loop", failing(redirect, {}, unreachable(), ""));
        redirect.redirect = TestHttpServer::refusingUrl("/addon.7z"_s).toLatin1();
        addRow("redirect to a server that is down", failing(redirect, {}, unreachable(), ""));
    }

    void addRanges() const
    {
        const QByteArray part = m_archive.left(1000);
        HttpResource displaced = healthy();
        displaced.rangeDisplacement = 500;
        addRow("206 at another place", installing(displaced, part));
        HttpResource silent = healthy();
        silent.hidesContentRange = true;
        addRow("206 without a place", installing(silent, part));
        HttpResource ignoring = healthy();
        ignoring.ignoresRange = true;
        addRow("200 to a range", installing(ignoring, part));
        ignoring.cutAfter = 500;
        addRow(
            "200 to a range, cut",
            failing(ignoring, part, transferError() + sizeError(500, m_size), m_archive.left(500)));
        HttpResource refusing = healthy();
        refusing.refusesRange = true;
        addRow("416 with a page", failing(refusing, part, transferError(), {}));
    }

    void addBodies() const
    {
        constexpr int Cut = 100000;
        const int otherSize = m_otherArchive.size();
        // Only the size could show that the part does not belong to the new file.
        for (const int cut : {Cut, m_size + 1}) {
            HttpResource changing = serving(m_otherArchive);
            changing.cutAfter = cut;
            Fault fault = failing(changing, {}, transferError() + sizeError(cut, otherSize),
                                  m_otherArchive.left(cut));
            fault.tries = cut == Cut ? 2 : 1;
            addRow(cut == Cut ? "another file since the last try, larger than the part"
                              : "another file since the last try, smaller than the part",
                   fault);
        }
        HttpResource changed = serving(m_otherArchive);
        changed.laterBody = m_archive;
        addRow("another file since the probe",
               unfit(changed, m_otherArchive.left(Cut), sizeError(m_size, otherSize)));
        HttpResource compressed = healthy();
        compressed.compresses = true;
        addRow("gzip where it is accepted", installing(compressed));
        HttpResource gzip = healthy();
        gzip.compressesUnasked = true;
        addRow("gzip without being asked", installing(gzip));
        addRow("gzip without being asked, with a part", installing(gzip, m_archive.left(Cut)));
        HttpResource huge;
        huge.generatedSize = HugeSize;
        Fault large = unfit(huge);
        large.neededDisk = HugeSize + MinimumFreeDisk;
        addRow("more than 4 GiB that are no archive", large);
        addRow("empty body", unfit(serving("")));
        HttpResource emptied = healthy();
        emptied.laterBody = "";
        addRow("empty body against the probe", unfit(emptied, {}, sizeError(0, m_size)));
    }

    void addLocalFiles() const
    {
        const QByteArray junk(m_size, 'x');
        addRow("part", installing(healthy(), m_archive.left(1000)));
        addRow("empty part", installing(healthy(), ""));
        addRow("whole file", installing(healthy(), m_archive));
        addRow("file that is too long", installing(healthy(), m_archive + "more"));
        addRow("part of something else", unfit(healthy(), junk.left(1000)));
        addRow("something else of the same size", unfit(healthy(), junk));
    }

    void addRow(const QString &name, const Fault &fault) const
    {
        QTest::addRow("%s, tried again", qPrintable(name)) << fault << false;
        if (fault.state == Package::DOWNLOAD_ERROR)
            QTest::addRow("%s, next run", qPrintable(name)) << fault << true;
    }
    void addRow(const char *name, const Fault &fault) const
    {
        addRow(QString::fromUtf8(name), fault);
    }
    /// A download that fails and leaves these bytes in the cache.
    static Fault failing(const HttpResource &resource, const QByteArray &part,
                         const QStringList &log, const QByteArray &left)
    {
        return {resource, part, Package::DOWNLOAD_ERROR, log, left};
    }
    /// An archive that is refused before anything is changed, with these lines in the log.
    static Fault unfit(const HttpResource &resource, const QByteArray &part = {},
                       const QStringList &log = {})
    {
        const QStringList end = turnedAway("The downloaded archive is damaged*"_s);
        return {resource, part, Package::INSTALL_ERROR, log + end, {}};
    }
    /// An update that succeeds, with these lines in the log.
    static Fault installing(const HttpResource &resource, const QByteArray &part = {},
                            const QStringList &log = {})
    {
        return {resource, part, Package::INSTALLED, log + unpacked(), {}};
    }
    static QStringList unreachable() { return probeError() + transferError(); }

    static HttpResource serving(const QByteArray &body)
    {
        HttpResource resource;
        resource.body = body;
        return resource;
    }
    HttpResource healthy() const { return serving(m_archive); }

    QByteArray m_archive;
    QByteArray m_otherArchive; ///< larger
    int m_size = 0;
};

KAVO_TEST_MAIN(DownloadFaultsTest)
#include "DownloadFaultsTest.moc"
