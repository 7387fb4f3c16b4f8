#include "packages/catalogue/CatalogueFeed.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QSharedPointer>
#include <QSignalSpy>

#include <memory>

using Kavo::Managers::DownloadManager;
using Kavo::Models::CatalogueFeed;
using namespace Kavo::Testing;

namespace {

constexpr qint64 Largest = 3000000;

const QString Path = "/packages.json"_s;

} // namespace

/// Tests the size limit of the catalogue, and that each request fetches it anew.
class CatalogueFeedTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_setup = std::make_unique<DownloadSetup>();
        m_downloads =
            QSharedPointer<DownloadManager>(&m_setup->manager(), [](DownloadManager *) {});
        m_feed = std::make_unique<CatalogueFeed>(m_setup->settings(), m_downloads,
                                                 m_setup->server().url(QString()), Largest);
    }

    void cleanup()
    {
        m_feed.reset();
        m_downloads.reset();
        m_setup.reset();
    }

    void longCatalogueIsAnError_data()
    {
        Rows<bool, bool>()
            .row("announced", true, false)
            .row("in chunks", false, true)
            .row("until the end of the connection", false, false);
    }
    /// The server does not complete the body, so the transfer must be aborted.
    void longCatalogueIsAnError()
    {
        const auto [announced, chunked] = Rows<bool, bool>::current();
        HttpResource &resource = m_setup->server().serveGenerated(Path, Largest + 1);
        resource.chunked = chunked;
        resource.getWithoutLength = !announced && !chunked;
        // If the length is announced, it alone must cause the error, so no byte of the body is
        // sent. Otherwise the server sends one byte more than the limit and holds back the rest.
        if (!announced)
            resource.generatedSize = Largest + 2;
        resource.holdAfter = announced ? 0 : Largest + 1;
        QSignalSpy available(m_feed.get(), &CatalogueFeed::available);
        QSignalSpy failed(m_feed.get(), &CatalogueFeed::failed);
        m_feed->request();
        const QString url = m_setup->server().url(Path);
        QTRY_VERIFY(m_downloads->find(url).isNull());
        QCOMPARE(failed.size(), 1);
        QCOMPARE(failed.first().first().toString(), "Server Error"_s);
        QCOMPARE(available.size(), 0);
        QVERIFY(!QFile::exists(place()));
        QCOMPARE(m_setup->log().lines(),
                 QStringList({"Size Error : %1 : more than %2 bytes"_s.arg(place()).arg(Largest),
                              "Download Error - %1 : more than %2 bytes"_s.arg(url).arg(Largest)}));
    }

    void largestCatalogueIsTaken_data()
    {
        Rows<bool>().row("announced", false).row("in chunks", true);
    }
    void largestCatalogueIsTaken()
    {
        const auto [chunked] = Rows<bool>::current();
        m_setup->server().serveGenerated(Path, Largest).chunked = chunked;
        QSignalSpy available(m_feed.get(), &CatalogueFeed::available);
        m_feed->request();
        QVERIFY(available.wait());
        QCOMPARE(available.first().first().toString(), place());
        QCOMPARE(QFileInfo(place()).size(), Largest);
        QCOMPARE(m_setup->log().lines(), QStringList());
    }

    void nextCatalogueIsTaken()
    {
        QSignalSpy available(m_feed.get(), &CatalogueFeed::available);
        QSignalSpy failed(m_feed.get(), &CatalogueFeed::failed);
        m_setup->server().serveGenerated(Path, Largest + 1);
        m_feed->request();
        QVERIFY(failed.wait());
        m_setup->server().serve(Path, "[]");
        m_feed->request();
        QVERIFY(available.wait());
        QCOMPARE(m_setup->content("packages.json"_s), "[]");
    }

    /// A refresh must fetch the current catalogue, even if the server allows caching.
    void freshCatalogueIsAskedForAllTheSame()
    {
        QSignalSpy available(m_feed.get(), &CatalogueFeed::available);
        m_setup->server().serve(Path, "[1]").headers = {{"Cache-Control", "max-age=3600"}};
        m_feed->request();
        QVERIFY(available.wait());
        m_setup->server().serve(Path, "[2]");
        m_feed->request();
        QVERIFY(available.wait());
        QCOMPARE(m_setup->content("packages.json"_s), "[2]");
    }

private:
    QString place() const { return m_setup->path("packages.json"_s); }

    std::unique_ptr<DownloadSetup> m_setup;
    QSharedPointer<DownloadManager> m_downloads;
    std::unique_ptr<CatalogueFeed> m_feed;
};

KAVO_TEST_MAIN(CatalogueFeedTest)
#include "CatalogueFeedTest.moc"
