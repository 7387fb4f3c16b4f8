#include "downloads/PatientQueue.h"
#include "tests/downloads/DownloadFixture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <vector>

using Kavo::Managers::PatientQueue;
using Kavo::Models::Download;
using namespace Kavo::Testing;

/// Tests the download manager with many patient downloads, and with others that do not wait for
/// them.
class PatientDownloadsTest final : public DownloadFixture
{
    Q_OBJECT

private slots:
    void cleanup() override
    {
        m_events.clear();
        m_pictures.clear();
        DownloadFixture::cleanup();
    }

    void allAreFetched()
    {
        addHeldPictures();
        releasePictures();
        QVERIFY(waitForPictures());
        for (int number = 0; number < Many; ++number) {
            const QString name = "%1.png"_s.arg(number);
            QCOMPARE(content(name), bodyOf(number));
            QCOMPARE(m_events.at(static_cast<std::size_t>(number))->list(),
                     restartEvents(bodyOf(number).size(), path(name)));
            QVERIFY(manager().find(url(picture(number))).isNull());
        }
        QCOMPARE(server().requests().size(), Many);
    }

    void waitingOnesAreIdleAndQueued()
    {
        addHeldPictures();
        QVERIFY(server().waitForRequests(PatientQueue::MostOthersOnTheirWay));
        manager().start();
        for (int number = 0; number < Many; ++number) {
            const auto &download = m_pictures.at(static_cast<std::size_t>(number));
            QCOMPARE(download->getProcess(), number < PatientQueue::MostOthersOnTheirWay
                                                 ? Download::Process::Download
                                                 : Download::Process::Idle);
            QCOMPARE(manager().find(url(picture(number))), download);
        }
        releasePictures();
        QVERIFY(waitForPictures());
        QCOMPARE(server().requests().size(), Many);
    }

    void archiveAndCatalogueDoNotWait()
    {
        addHeldPictures();
        QVERIFY(server().waitForRequests(PatientQueue::MostOthersOnTheirWay));
        serve("archive");
        QCOMPARE(transfer(resumable()), resumableEvents(7, path()));
        QCOMPARE(content(), QByteArray("archive"));
        serve("[]", "/packages.json"_s);
        QCOMPARE(transfer(restart("/packages.json"_s)), restartEvents(2, path("packages.json"_s)));
        QCOMPARE(server().requests().size(), PatientQueue::MostOthersOnTheirWay + 3);
        QVERIFY(!m_events.front()->hasFinished());
    }

    /// Qt opens at most six connections to a host. Four patient downloads and two archives take
    /// them all, so the third archive waits.
    void archiveGetsTheNextConnectionThatIsFree()
    {
        addHeldPictures();
        manager().prefer(m_pictures.back(), true);
        QVERIFY(server().waitForRequests(4));
        const QStringList names{"/x"_s, "/y"_s, "/z"_s};
        std::vector<std::unique_ptr<DownloadEvents>> archives;
        for (const QString &name : names) {
            serve("archive", name).holdsHead = true;
            archives.push_back(std::make_unique<DownloadEvents>(manager(), resumable(name)));
        }
        QVERIFY(server().waitForRequests(6));
        QCOMPARE(server().requests("/z"_s).size(), 0);
        server().release(picture(0));
        QVERIFY(server().waitForRequests(7));
        QCOMPARE(server().log().last(), "HEAD /z"_s);
        for (const QString &name : names)
            server().release(name);
        releasePictures();
        QVERIFY(waitForPictures());
        for (const auto &each : archives)
            QVERIFY(each->waitForFinished());
    }

    void preferredPictureComesFirst()
    {
        addHeldPictures();
        QVERIFY(server().waitForRequests(PatientQueue::MostOthersOnTheirWay));
        manager().prefer(m_pictures.at(20), true);
        QVERIFY(server().waitForRequests(PatientQueue::MostOnTheirWay));
        QCOMPARE(server().log().last(), "GET /icons/20.png"_s);
        manager().prefer(m_pictures.at(25), true);
        manager().prefer(m_pictures.at(15), true);
        manager().prefer(m_pictures.at(25), false);
        server().release(picture(0));
        QVERIFY(server().waitForRequests(PatientQueue::MostOnTheirWay + 1));
        QCOMPARE(server().log().last(), "GET /icons/15.png"_s);
        releasePictures();
        QVERIFY(waitForPictures());
    }

    void preferenceOfARunningOneChangesNothing()
    {
        addHeldPictures();
        manager().prefer(m_pictures.front(), true);
        manager().prefer(m_pictures.front(), false);
        releasePictures();
        QVERIFY(waitForPictures());
        manager().prefer(m_pictures.front(), true);
        QCOMPARE(server().requests().size(), Many);
    }

    void removedPictureIsNotRequested()
    {
        addHeldPictures();
        manager().remove(m_pictures.back());
        manager().prefer(m_pictures.back(), true);
        releasePictures();
        m_events.pop_back();
        QVERIFY(waitForPictures());
        QCOMPARE(m_pictures.back()->getProcess(), Download::Process::Idle);
        QCOMPARE(server().requests().size(), Many - 1);
    }

    void pictureWithoutAnOwnerIsNotRequested()
    {
        addHeldPictures();
        const QWeakPointer<Download> gone = m_pictures.at(10);
        m_events.erase(m_events.begin() + 10);
        m_pictures.clear();
        releasePictures();
        QVERIFY(waitForPictures());
        QCOMPARE(server().requests().size(), Many - 1);
        QVERIFY(server().requests(picture(10)).isEmpty());
        QVERIFY(gone.isNull());
        QVERIFY(manager().find(url(picture(10))).isNull());
    }

    void failedPicturesFreeTheirPlace_data()
    {
        Rows<QString> rows;
        for (const char *fault : {"missing", "reset", "cut", "refused", "nonsense", "no place"})
            rows.row(fault, fault);
    }

    void failedPicturesFreeTheirPlace()
    {
        const auto [fault] = Rows<QString>::current();
        for (int number = 0; number < Many; ++number) {
            if (fault != "missing"_s)
                serve("picture", picture(number));
            if (fault == "reset"_s)
                resource(picture(number)).resetAfter = 3;
            if (fault == "cut"_s)
                resource(picture(number)).cutAfter = 3;
            if (fault == "no place"_s)
                QVERIFY(QDir().mkpath(path("%1.png"_s.arg(number))));
            addPicture(fault == "refused"_s    ? TestHttpServer::refusingUrl(picture(number))
                       : fault == "nonsense"_s ? "::no address::"_s
                                               : url(picture(number)));
        }
        QVERIFY(waitForPictures());
        for (const auto &events : m_events)
            QVERIFY(events->hasFailed());
    }

    void hangingHostDoesNotDelayOthers()
    {
        addHeldPictures();
        serve("picture", "/elsewhere.png"_s);
        addPicture(server().otherHostUrl("/elsewhere.png"_s));
        QVERIFY(m_events.back()->waitForFinished());
        QVERIFY(!m_events.front()->hasFinished());
    }

    void listenersMayAddOthers()
    {
        addHeldPictures();
        serve("next", "/next.png"_s);
        connect(m_pictures.front().data(), &Download::finished, this, [this] {
            addPicture(url("/next.png"_s));
            manager().remove(m_pictures.front());
        });
        connect(m_pictures.at(1).data(), &Download::processChanged, this,
                [this] { manager().start(); });
        releasePictures();
        QVERIFY(m_events.front()->waitForFinished());
        QVERIFY(waitForPictures());
        QCOMPARE(content("next.png"_s), QByteArray("next"));
    }

private:
    static constexpr int Many = 30;

    static QString picture(int number) { return "/icons/%1.png"_s.arg(number); }
    static QByteArray bodyOf(int number) { return "picture " + QByteArray::number(number); }
    void addPicture(const QString &url)
    {
        m_pictures.push_back(DownloadSetup::restart(url));
        m_pictures.back()->setPatient(true);
        m_events.push_back(std::make_unique<DownloadEvents>(manager(), m_pictures.back()));
    }
    /// Adds `Many` pictures. The server does not answer their requests before releasePictures().
    void addHeldPictures()
    {
        for (int number = 0; number < Many; ++number) {
            serve(bodyOf(number), picture(number)).holdsGet = true;
            addPicture(url(picture(number)));
        }
    }
    void releasePictures() const
    {
        for (int number = 0; number < Many; ++number)
            server().release(picture(number));
    }
    bool waitForPictures() const
    {
        return std::all_of(m_events.cbegin(), m_events.cend(),
                           [](const auto &events) { return events->waitForFinished(); });
    }

    std::vector<Pointer> m_pictures;
    std::vector<std::unique_ptr<DownloadEvents>> m_events;
};

KAVO_TEST_MAIN(PatientDownloadsTest)
#include "PatientDownloadsTest.moc"
