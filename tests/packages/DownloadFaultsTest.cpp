#include "tests/packages/UpdateSetup.h"
#include "tests/support/TestMain.h"

#include <QStorageInfo>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

/// What goes wrong while an update is downloaded, and what comes of it.
struct Fault
{
    HttpResource resource; ///< what the server does
    QByteArray part;       ///< what lies in the cache folder before; null for no file
    Package::State state;  ///< how the update ends
    QStringList log;       ///< all its lines; an asterisk stands for any text
    QByteArray left;       ///< what lies in the cache folder afterwards; null for no file
    int tries;             ///< how many updates a healthy server needs from there
    bool serverIsDown = false;
    bool leftMayBeShorter = false; ///< a reset may take back bytes that were on their way
    qint64 neededDisk = 0;         ///< free bytes without which the row makes no sense
};

constexpr qint64 HugeSize = 4LL * 1024 * 1024 * 1024 + 1000;
constexpr qint64 MinimumFreeDisk = 1024LL * 1024 * 1024;
/// Such a body takes long on a slow disk.
constexpr int HugePatienceInMilliseconds = 240000;

const QString Elsewhere = QStringLiteral("/elsewhere.7z");
const QByteArray Page = "<html><body>Something went wrong here.</body></html>";

/// Stands for the same file under another name of the server.
const QByteArray OtherHost = "other host";

} // namespace

Q_DECLARE_METATYPE(Fault)

/// An update whose download meets a fault. Nothing of the user's is lost, and a later try against a
/// healthy server, in the same run of the program or in the next one, ends with the right files.
class DownloadFaultsTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void faultCostsNothing_data();
    void faultCostsNothing();

private:
    void addRow(const char *name, const Fault &fault) const;
    void addBrokenConnections() const;
    void addProbes() const;
    void addErrorPages() const;
    void addRedirects() const;
    void addRanges() const;
    void addBodies() const;
    void addLocalFiles() const;

    HttpResource serving(const QByteArray &body) const;
    HttpResource healthy() const { return serving(m_archive); }

    QByteArray m_archive;
    QByteArray m_otherArchive; ///< larger
    int m_size = 0;
};

/// The log of an update that ends before it changes anything.
static QStringList damaged()
{
    return turnedAway(QStringLiteral("The downloaded archive is damaged*"));
}

void DownloadFaultsTest::initTestCase()
{
    m_archive = archiveOf(updateFiles(), QStringLiteral("7z"));
    m_otherArchive = archiveOf(updateFiles(2, 300000), QStringLiteral("7z"));
    m_size = m_archive.size();
    QVERIFY(m_size > 200000 && m_otherArchive.size() > 300000);
}

HttpResource DownloadFaultsTest::serving(const QByteArray &body) const
{
    HttpResource resource;
    resource.body = body;
    return resource;
}

void DownloadFaultsTest::addRow(const char *name, const Fault &fault) const
{
    QTest::addRow("%s, tried again", name) << fault << false;
    if (fault.state == Package::DOWNLOAD_ERROR)
        QTest::addRow("%s, next run", name) << fault << true;
}

void DownloadFaultsTest::addBrokenConnections() const
{
    constexpr int Cut = 100000;
    const QByteArray part = m_archive.left(Cut);
    addRow("connection refused",
           {healthy(), {}, Package::DOWNLOAD_ERROR, probeError() + transferError(), "", 1, true});
    addRow("connection refused, with a part", {healthy(), part, Package::DOWNLOAD_ERROR,
                                               probeError() + transferError(), part, 1, true});
    HttpResource cut = healthy();
    cut.cutAfter = Cut;
    const QStringList cutLog = transferError() + sizeError(Cut, m_size);
    addRow("cut before its length", {cut, {}, Package::DOWNLOAD_ERROR, cutLog, part, 1});
    HttpResource torn = cut;
    torn.chunked = true;
    torn.cutsInsideChunk = true;
    addRow("cut inside a chunk", {torn, {}, Package::DOWNLOAD_ERROR, cutLog, part, 1});
    HttpResource cutAtOnce = healthy();
    cutAtOnce.cutAfter = 0;
    addRow("cut before the first byte",
           {cutAtOnce, {}, Package::DOWNLOAD_ERROR, transferError() + sizeError(0, m_size), "", 1});
    HttpResource reset = healthy();
    reset.resetAfter = Cut;
    const QString resetSize = QStringLiteral("Size Error : *addon.7z : * of %1 bytes").arg(m_size);
    addRow("reset", {reset,
                     {},
                     Package::DOWNLOAD_ERROR,
                     transferError() + QStringList(resetSize),
                     part,
                     1,
                     false,
                     true});
    HttpResource open = cut;
    open.getWithoutLength = true;
    // The end of the connection passes for that of the body; only the size tells.
    addRow("cut without a length",
           {open, {}, Package::INSTALL_ERROR, sizeError(Cut, m_size) + damaged(), {}, 1});
}

void DownloadFaultsTest::addProbes() const
{
    const QByteArray part = m_archive.left(1000);
    for (const int status : {403, 404, 405, 500}) {
        HttpResource probe = healthy();
        probe.headStatus = status;
        // The transfer goes on; its file is complete and only waits for the next try.
        addRow(qPrintable(QStringLiteral("HEAD answers %1").arg(status)),
               {probe, {}, Package::DOWNLOAD_ERROR, probeError(), m_archive, 1});
        // Without a size nothing is resumed: the whole is appended to the part.
        addRow(qPrintable(QStringLiteral("HEAD answers %1, with a part").arg(status)),
               {probe, part, Package::DOWNLOAD_ERROR,
                probeError() + sizeError(m_size + 1000, m_size), part + m_archive, 1});
    }
    HttpResource silent = healthy();
    silent.headWithoutLength = true;
    addRow("HEAD without a length", {silent, {}, Package::INSTALLED, unpacked(), {}, 1});
    addRow("HEAD without a length, with a part", {silent,
                                                  part,
                                                  Package::INSTALL_ERROR,
                                                  sizeError(m_size + 1000, m_size) + damaged(),
                                                  {},
                                                  1});
    HttpResource dateless = healthy();
    dateless.headWithoutDate = true;
    addRow("HEAD without a date", {dateless, {}, Package::INSTALLED, unpacked(), {}, 1});
    addRow("HEAD without a date, with a part", {dateless,
                                                part,
                                                Package::INSTALL_ERROR,
                                                sizeError(m_size + 1000, m_size) + damaged(),
                                                {},
                                                1});
    HttpResource shortened = healthy();
    shortened.headLength = 5000;
    addRow("HEAD with too small a length",
           {shortened, {}, Package::INSTALLED, sizeError(m_size, 5000) + unpacked(), {}, 1});
    addRow("HEAD with the length of the part",
           {shortened, m_archive.left(5000), Package::INSTALL_ERROR, damaged(), {}, 1});
    HttpResource lengthened = healthy();
    lengthened.headLength = m_size + 5000;
    addRow(
        "HEAD with too large a length",
        {lengthened, {}, Package::INSTALLED, sizeError(m_size, m_size + 5000) + unpacked(), {}, 1});
}

// Fixed, see docs/compatibility.md.
void DownloadFaultsTest::addErrorPages() const
{
    const QByteArray part = m_archive.left(1000);
    for (const int status : {403, 404, 500, 503}) {
        HttpResource page = serving(Page);
        page.getStatus = status;
        addRow(qPrintable(QStringLiteral("GET answers %1").arg(status)),
               {page, {}, Package::DOWNLOAD_ERROR, probeError() + transferError(), {}, 1});
        addRow(qPrintable(QStringLiteral("GET answers %1, with a part").arg(status)),
               {page, part, Package::DOWNLOAD_ERROR, probeError() + transferError(), part, 1});
    }
    HttpResource late = serving(Page);
    late.getStatus = 500;
    late.failsOnlyGet = true;
    late.headLength = m_size;
    addRow("only the GET answers 500, with a part",
           {late, part, Package::DOWNLOAD_ERROR, transferError(), part, 1});
    HttpResource lateAndCut = late;
    lateAndCut.cutAfter = 10;
    addRow("only the GET answers 500 and is cut, with a part",
           {lateAndCut, part, Package::DOWNLOAD_ERROR, transferError(), part, 1});
    const int size = Page.size();
    addRow("page in the place of the archive",
           {serving(Page), {}, Package::INSTALL_ERROR, damaged(), {}, 1});
    addRow("page in the place of the archive, with a part",
           {serving(Page), part, Package::INSTALL_ERROR, damaged(), {}, 1});
    HttpResource dateless = serving(Page);
    dateless.headWithoutDate = true;
    addRow(
        "page without a date, with a part",
        {dateless, part, Package::INSTALL_ERROR, sizeError(1000 + size, size) + damaged(), {}, 1});
}

void DownloadFaultsTest::addRedirects() const
{
    HttpResource redirect;
    redirect.redirect = "/elsewhere.7z";
    addRow("redirect", {redirect, {}, Package::INSTALLED, unpacked(), {}, 1});
    addRow("redirect, with a part",
           {redirect, m_archive.left(1000), Package::INSTALLED, unpacked(), {}, 1});
    redirect.redirect = OtherHost;
    addRow("redirect to another host", {redirect, {}, Package::INSTALLED, unpacked(), {}, 1});
    redirect.redirect = "/addon.7z";
    addRow("redirect loop",
           {redirect, {}, Package::DOWNLOAD_ERROR, probeError() + transferError(), "", 1});
    redirect.redirect = TestHttpServer::refusingUrl(QStringLiteral("/addon.7z")).toLatin1();
    addRow("redirect to a server that is down",
           {redirect, {}, Package::DOWNLOAD_ERROR, probeError() + transferError(), "", 1});
}

void DownloadFaultsTest::addRanges() const
{
    const QByteArray part = m_archive.left(1000);
    HttpResource ignoring = healthy();
    ignoring.ignoresRange = true;
    addRow("200 to a range", {ignoring, part, Package::INSTALLED, unpacked(), {}, 1});
    HttpResource displaced = healthy();
    displaced.rangeDisplacement = 500;
    addRow("206 at another place", {displaced, part, Package::INSTALLED, unpacked(), {}, 1});
    HttpResource silent = healthy();
    silent.hidesContentRange = true;
    addRow("206 without a place", {silent, part, Package::INSTALLED, unpacked(), {}, 1});
    HttpResource cut = ignoring;
    cut.cutAfter = 500;
    addRow("200 to a range, cut",
           {cut, part, Package::DOWNLOAD_ERROR, transferError() + sizeError(500, m_size),
            m_archive.left(500), 1});
    HttpResource refusing = healthy();
    refusing.refusesRange = true;
    addRow("416 with a page", {refusing, part, Package::DOWNLOAD_ERROR, transferError(), {}, 1});
}

void DownloadFaultsTest::addBodies() const
{
    constexpr int Cut = 100000;
    HttpResource changing = serving(m_otherArchive);
    const int otherSize = m_otherArchive.size();
    changing.cutAfter = Cut;
    // Only the size could tell that the part is not one of the new file.
    addRow("another file since the last try, larger than the part",
           {changing,
            {},
            Package::DOWNLOAD_ERROR,
            transferError() + sizeError(Cut, otherSize),
            m_otherArchive.left(Cut),
            2});
    changing.cutAfter = m_size + 1;
    addRow("another file since the last try, smaller than the part",
           {changing,
            {},
            Package::DOWNLOAD_ERROR,
            transferError() + sizeError(m_size + 1, otherSize),
            m_otherArchive.left(m_size + 1),
            1});
    HttpResource changed = serving(m_otherArchive);
    changed.laterBody = m_archive;
    addRow("another file since the probe", {changed,
                                            m_otherArchive.left(Cut),
                                            Package::INSTALL_ERROR,
                                            sizeError(m_size, otherSize) + damaged(),
                                            {},
                                            1});
    HttpResource compressed = healthy();
    compressed.compresses = true;
    addRow("gzip where it is accepted", {compressed, {}, Package::INSTALLED, unpacked(), {}, 1});
    HttpResource gzip = healthy();
    gzip.compressesUnasked = true;
    addRow("gzip without being asked", {gzip, {}, Package::INSTALLED, unpacked(), {}, 1});
    addRow("gzip without being asked, with a part",
           {gzip, m_archive.left(Cut), Package::INSTALLED, unpacked(), {}, 1});
    HttpResource huge;
    huge.generatedSize = HugeSize;
    addRow("more than 4 GiB that are no archive", {huge,
                                                   {},
                                                   Package::INSTALL_ERROR,
                                                   damaged(),
                                                   {},
                                                   1,
                                                   false,
                                                   false,
                                                   HugeSize + MinimumFreeDisk});
    addRow("empty body", {serving(""), {}, Package::INSTALL_ERROR, damaged(), {}, 1});
    HttpResource emptied = healthy();
    emptied.laterBody = "";
    addRow("empty body against the probe",
           {emptied, {}, Package::INSTALL_ERROR, sizeError(0, m_size) + damaged(), {}, 1});
}

void DownloadFaultsTest::addLocalFiles() const
{
    const QByteArray junk(m_size, 'x');
    addRow("part", {healthy(), m_archive.left(1000), Package::INSTALLED, unpacked(), {}, 1});
    addRow("empty part", {healthy(), "", Package::INSTALLED, unpacked(), {}, 1});
    addRow("whole file", {healthy(), m_archive, Package::INSTALLED, unpacked(), {}, 1});
    addRow("file that is too long",
           {healthy(), m_archive + "more", Package::INSTALLED, unpacked(), {}, 1});
    addRow("part of something else",
           {healthy(), junk.left(1000), Package::INSTALL_ERROR, damaged(), {}, 1});
    addRow("something else of the same size",
           {healthy(), junk, Package::INSTALL_ERROR, damaged(), {}, 1});
}

void DownloadFaultsTest::faultCostsNothing_data()
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

void DownloadFaultsTest::faultCostsNothing()
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
    QString wrong = setup.wrongUpdate(fault.state, fault.log);
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    const QByteArray left = readFile(setup.cached());
    QVERIFY(fault.leftMayBeShorter ? fault.left.startsWith(left) : fault.left == left);
    QCOMPARE(QFile::exists(setup.cached()), !fault.left.isNull());

    server.setRefusing(false);
    setup.serve(healthy());
    if (nextRun)
        QVERIFY(setup.restart());
    for (int attempt = 1; attempt <= fault.tries; ++attempt) {
        QVERIFY(setup.update());
        wrong = setup.wrongEnd(attempt < fault.tries ? Package::INSTALL_ERROR : Package::INSTALLED);
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    }
    QVERIFY(!QFile::exists(setup.cached()));
    QCOMPARE(setup.lossAfterRemoval(), QString());
}

KAVO_TEST_MAIN(DownloadFaultsTest)
#include "DownloadFaultsTest.moc"
