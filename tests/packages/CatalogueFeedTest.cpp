#include "packages/catalogue/CatalogueFeed.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/TestMain.h"

#include <QSharedPointer>
#include <QSignalSpy>

#include <memory>

using Kavo::Managers::DownloadManager;
using Kavo::Models::CatalogueFeed;
using namespace Kavo::Testing;

namespace {

constexpr qint64 Largest = 3000000;

const QString Path = QStringLiteral("/packages.json");

} // namespace

/// How large a catalogue may be.
class CatalogueFeedTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void longCatalogueIsAnError_data();
    void longCatalogueIsAnError();
    void largestCatalogueIsTaken_data();
    void largestCatalogueIsTaken();
    void nextCatalogueIsTaken();
    void freshCatalogueIsAskedForAllTheSame();

private:
    QString place() const { return m_setup->path(QStringLiteral("packages.json")); }

    std::unique_ptr<DownloadSetup> m_setup;
    QSharedPointer<DownloadManager> m_downloads;
    std::unique_ptr<CatalogueFeed> m_feed;
};

void CatalogueFeedTest::init()
{
    m_setup = std::make_unique<DownloadSetup>();
    m_downloads = QSharedPointer<DownloadManager>(&m_setup->manager(), [](DownloadManager *) {});
    m_feed = std::make_unique<CatalogueFeed>(m_setup->settings(), m_downloads,
                                             m_setup->server().url(QString()), Largest);
}

void CatalogueFeedTest::cleanup()
{
    m_feed.reset();
    m_downloads.reset();
    m_setup.reset();
}

void CatalogueFeedTest::longCatalogueIsAnError_data()
{
    QTest::addColumn<bool>("announced");
    QTest::addColumn<bool>("chunked");
    QTest::newRow("announced") << true << false;
    QTest::newRow("in chunks") << false << true;
    QTest::newRow("until the end of the connection") << false << false;
}

/// The body never ends, so that the transfer must.
void CatalogueFeedTest::longCatalogueIsAnError()
{
    QFETCH(bool, announced);
    QFETCH(bool, chunked);
    HttpResource &resource = m_setup->server().serveGenerated(Path, Largest + 1);
    resource.chunked = chunked;
    resource.getWithoutLength = !announced && !chunked;
    // One byte more is asked for than comes, unless the length alone must do.
    if (!announced)
        resource.generatedSize = Largest + 2;
    resource.holdAfter = announced ? 0 : Largest + 1;
    QSignalSpy available(m_feed.get(), &CatalogueFeed::available);
    QSignalSpy failed(m_feed.get(), &CatalogueFeed::failed);
    m_feed->request();
    const QString url = m_setup->server().url(Path);
    QTRY_VERIFY(m_downloads->find(url).isNull());
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed.first().first().toString(), QStringLiteral("Server Error"));
    QCOMPARE(available.size(), 0);
    QVERIFY(!QFile::exists(place()));
    QCOMPARE(
        m_setup->log().lines(),
        QStringList(
            {QStringLiteral("Size Error : %1 : more than %2 bytes").arg(place()).arg(Largest),
             QStringLiteral("Download Error - %1 : more than %2 bytes").arg(url).arg(Largest)}));
}

void CatalogueFeedTest::largestCatalogueIsTaken_data()
{
    QTest::addColumn<bool>("chunked");
    QTest::newRow("announced") << false;
    QTest::newRow("in chunks") << true;
}

void CatalogueFeedTest::largestCatalogueIsTaken()
{
    QFETCH(bool, chunked);
    m_setup->server().serveGenerated(Path, Largest).chunked = chunked;
    QSignalSpy available(m_feed.get(), &CatalogueFeed::available);
    m_feed->request();
    QVERIFY(available.wait());
    QCOMPARE(available.first().first().toString(), place());
    QCOMPARE(QFileInfo(place()).size(), Largest);
    QCOMPARE(m_setup->log().lines(), QStringList());
}

void CatalogueFeedTest::nextCatalogueIsTaken()
{
    QSignalSpy available(m_feed.get(), &CatalogueFeed::available);
    QSignalSpy failed(m_feed.get(), &CatalogueFeed::failed);
    m_setup->server().serveGenerated(Path, Largest + 1);
    m_feed->request();
    QVERIFY(failed.wait());
    m_setup->server().serve(Path, "[]");
    m_feed->request();
    QVERIFY(available.wait());
    QCOMPARE(m_setup->content(QStringLiteral("packages.json")), QByteArray("[]"));
}

/// Who refreshes wants to know what the server has now, however long it says that an answer holds.
void CatalogueFeedTest::freshCatalogueIsAskedForAllTheSame()
{
    QSignalSpy available(m_feed.get(), &CatalogueFeed::available);
    m_setup->server().serve(Path, "[1]").headers = {{"Cache-Control", "max-age=3600"}};
    m_feed->request();
    QVERIFY(available.wait());
    m_setup->server().serve(Path, "[2]");
    m_feed->request();
    QVERIFY(available.wait());
    QCOMPARE(m_setup->content(QStringLiteral("packages.json")), QByteArray("[2]"));
}

KAVO_TEST_MAIN(CatalogueFeedTest)
#include "CatalogueFeedTest.moc"
