#include "downloads/PatientQueue.h"
#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/TestMain.h"

#include <memory>
#include <vector>

using Kavo::Managers::PatientQueue;
using Kavo::Models::Download;
using namespace Kavo::Testing;

/// Thousands of pictures and whoever does not want to wait for them.
class PatientDownloadsTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void allComeInTheEnd();
    void waitingOnesAreIdleAndQueued();
    void archiveDoesNotWait();
    void catalogueDoesNotWait();
    void archiveGetsTheNextConnectionThatIsFree();
    void preferredPictureComesFirst();
    void preferenceOfARunningOneChangesNothing();
    void removedPictureIsNotAskedFor();
    void pictureThatNobodyAwaitsIsNotAskedFor();
    void failingPicturesMakeRoom_data();
    void failingPicturesMakeRoom();
    void hostThatHangsHoldsUpNoOther();
    void listenersMayAddOthers();

private:
    static constexpr int Many = 30;

    TestHttpServer &server() const { return m_setup->server(); }
    Kavo::Managers::DownloadManager &manager() const { return m_setup->manager(); }
    static QString path(int number) { return QStringLiteral("/icons/%1.png").arg(number); }
    /// Adds pictures that the server holds until they are released.
    void addPictures(bool held);
    DownloadSetup::Pointer addPicture(const QString &url);
    void releasePictures() const;
    bool waitForPictures();

    QScopedPointer<DownloadSetup> m_setup;
    std::vector<DownloadSetup::Pointer> m_pictures;
    std::vector<std::unique_ptr<DownloadEvents>> m_events;
};

void PatientDownloadsTest::init()
{
    m_setup.reset(new DownloadSetup);
}

void PatientDownloadsTest::cleanup()
{
    m_events.clear();
    m_pictures.clear();
    m_setup.reset();
}

DownloadSetup::Pointer PatientDownloadsTest::addPicture(const QString &url)
{
    const auto picture = DownloadSetup::restart(url);
    picture->setPatient(true);
    m_pictures.push_back(picture);
    m_events.push_back(std::make_unique<DownloadEvents>(picture));
    manager().add(picture, false);
    return picture;
}

void PatientDownloadsTest::addPictures(bool held)
{
    for (int number = 0; number < Many; ++number) {
        server().serve(path(number), "picture " + QByteArray::number(number)).holdsGet = held;
        addPicture(server().url(path(number)));
    }
}

void PatientDownloadsTest::releasePictures() const
{
    for (int number = 0; number < Many; ++number)
        server().release(path(number));
}

bool PatientDownloadsTest::waitForPictures()
{
    return std::all_of(m_events.cbegin(), m_events.cend(),
                       [](const auto &events) { return events->waitForFinished(); });
}

void PatientDownloadsTest::allComeInTheEnd()
{
    addPictures(false);
    QVERIFY(waitForPictures());
    for (int number = 0; number < Many; ++number) {
        const QByteArray body = "picture " + QByteArray::number(number);
        const QString name = QStringLiteral("%1.png").arg(number);
        QCOMPARE(m_setup->content(name), body);
        QCOMPARE(m_events.at(static_cast<std::size_t>(number))->list(),
                 restartEvents(body.size(), m_setup->path(name)));
        QVERIFY(manager().find(server().url(path(number))).isNull());
    }
    QCOMPARE(server().requests().size(), Many);
}

void PatientDownloadsTest::waitingOnesAreIdleAndQueued()
{
    addPictures(true);
    QVERIFY(server().waitForRequests(PatientQueue::MostOthersOnTheirWay));
    manager().start();
    for (int number = 0; number < Many; ++number) {
        const auto &picture = m_pictures.at(static_cast<std::size_t>(number));
        QCOMPARE(picture->getProcess(), number < PatientQueue::MostOthersOnTheirWay
                                            ? Download::Process::Download
                                            : Download::Process::Idle);
        QCOMPARE(manager().find(server().url(path(number))), picture);
    }
    releasePictures();
    QVERIFY(waitForPictures());
    QCOMPARE(server().requests().size(), Many);
}

void PatientDownloadsTest::archiveDoesNotWait()
{
    addPictures(true);
    QVERIFY(server().waitForRequests(PatientQueue::MostOthersOnTheirWay));
    server().serve(QStringLiteral("/a.7z"), "archive");
    const auto archive = DownloadSetup::resumable(server().url(QStringLiteral("/a.7z")));
    DownloadEvents events(archive);
    manager().add(archive, false);
    QVERIFY(events.waitForFinished());
    QCOMPARE(m_setup->content(QStringLiteral("a.7z")), QByteArray("archive"));
    QCOMPARE(server().requests().size(), PatientQueue::MostOthersOnTheirWay + 2);
}

void PatientDownloadsTest::catalogueDoesNotWait()
{
    addPictures(true);
    server().serve(QStringLiteral("/packages.json"), "[]");
    const auto catalogue = DownloadSetup::restart(server().url(QStringLiteral("/packages.json")));
    DownloadEvents events(catalogue);
    manager().add(catalogue, false);
    QVERIFY(events.waitForFinished());
    QVERIFY(!m_events.front()->hasFinished());
}

/// Qt gives six connections to a host.
void PatientDownloadsTest::archiveGetsTheNextConnectionThatIsFree()
{
    addPictures(true);
    manager().prefer(m_pictures.back(), true);
    QVERIFY(server().waitForRequests(4));
    std::vector<std::unique_ptr<DownloadEvents>> archives;
    for (const char *name : {"/a", "/b", "/c"}) {
        const QString archive = QString::fromLatin1(name);
        server().serve(archive, "archive").holdsHead = true;
        const auto download = DownloadSetup::resumable(server().url(archive));
        archives.push_back(std::make_unique<DownloadEvents>(download));
        manager().add(download, false);
    }
    QVERIFY(server().waitForRequests(6));
    QCOMPARE(server().requests(QStringLiteral("/c")).size(), 0);
    server().release(path(0));
    QVERIFY(server().waitForRequests(7));
    QCOMPARE(server().log().last(), QStringLiteral("HEAD /c"));
    for (const char *name : {"/a", "/b", "/c"})
        server().release(QString::fromLatin1(name));
    releasePictures();
    QVERIFY(waitForPictures());
    for (const auto &each : archives)
        QVERIFY(each->waitForFinished());
}

void PatientDownloadsTest::preferredPictureComesFirst()
{
    addPictures(true);
    QVERIFY(server().waitForRequests(PatientQueue::MostOthersOnTheirWay));
    manager().prefer(m_pictures.at(20), true);
    QVERIFY(server().waitForRequests(PatientQueue::MostOnTheirWay));
    QCOMPARE(server().log().last(), QStringLiteral("GET /icons/20.png"));
    manager().prefer(m_pictures.at(25), true);
    manager().prefer(m_pictures.at(15), true);
    manager().prefer(m_pictures.at(25), false);
    server().release(path(0));
    QVERIFY(server().waitForRequests(PatientQueue::MostOnTheirWay + 1));
    QCOMPARE(server().log().last(), QStringLiteral("GET /icons/15.png"));
    releasePictures();
    QVERIFY(waitForPictures());
}

void PatientDownloadsTest::preferenceOfARunningOneChangesNothing()
{
    addPictures(true);
    manager().prefer(m_pictures.front(), true);
    manager().prefer(m_pictures.front(), false);
    releasePictures();
    QVERIFY(waitForPictures());
    manager().prefer(m_pictures.front(), true);
    QCOMPARE(server().requests().size(), Many);
}

void PatientDownloadsTest::removedPictureIsNotAskedFor()
{
    addPictures(true);
    manager().remove(m_pictures.back());
    manager().prefer(m_pictures.back(), true);
    releasePictures();
    m_events.pop_back();
    QVERIFY(waitForPictures());
    QCOMPARE(m_pictures.back()->getProcess(), Download::Process::Idle);
    QCOMPARE(server().requests().size(), Many - 1);
}

void PatientDownloadsTest::pictureThatNobodyAwaitsIsNotAskedFor()
{
    addPictures(true);
    const QWeakPointer<Download> gone = m_pictures.at(10);
    m_events.erase(m_events.begin() + 10);
    m_pictures.clear();
    releasePictures();
    QVERIFY(waitForPictures());
    QCOMPARE(server().requests().size(), Many - 1);
    QVERIFY(server().requests(path(10)).isEmpty());
    QVERIFY(gone.isNull());
    QVERIFY(manager().find(server().url(path(10))).isNull());
}

void PatientDownloadsTest::failingPicturesMakeRoom_data()
{
    QTest::addColumn<QString>("fault");
    for (const char *fault : {"missing", "reset", "cut", "refused", "nonsense", "no place"})
        QTest::newRow(fault) << QString::fromLatin1(fault);
}

void PatientDownloadsTest::failingPicturesMakeRoom()
{
    QFETCH(QString, fault);
    for (int number = 0; number < Many; ++number) {
        QString url = server().url(path(number));
        if (fault == QLatin1String("reset"))
            server().serve(path(number), "picture").resetAfter = 3;
        else if (fault == QLatin1String("cut"))
            server().serve(path(number), "picture").cutAfter = 3;
        else if (fault == QLatin1String("refused"))
            url = TestHttpServer::refusingUrl(path(number));
        else if (fault == QLatin1String("nonsense"))
            url = QStringLiteral("::no address::");
        else if (fault == QLatin1String("no place"))
            server().serve(path(number), "picture");
        if (fault == QLatin1String("no place"))
            QVERIFY(QDir().mkpath(m_setup->path(QStringLiteral("%1.png").arg(number))));
        addPicture(url);
    }
    QVERIFY(waitForPictures());
    for (const auto &events : m_events)
        QVERIFY(events->list().contains(QStringLiteral("error Server Error")));
}

void PatientDownloadsTest::hostThatHangsHoldsUpNoOther()
{
    addPictures(true);
    server().serve(QStringLiteral("/elsewhere.png"), "picture");
    addPicture(server().otherHostUrl(QStringLiteral("/elsewhere.png")));
    QVERIFY(m_events.back()->waitForFinished());
    QVERIFY(!m_events.front()->hasFinished());
}

void PatientDownloadsTest::listenersMayAddOthers()
{
    addPictures(true);
    server().serve(QStringLiteral("/next.png"), "next");
    connect(m_pictures.front().data(), &Download::finished, this, [this] {
        addPicture(server().url(QStringLiteral("/next.png")));
        manager().remove(m_pictures.front());
    });
    connect(m_pictures.at(1).data(), &Download::processChanged, this,
            [this] { manager().start(); });
    releasePictures();
    QVERIFY(m_events.front()->waitForFinished());
    QVERIFY(waitForPictures());
    QCOMPARE(m_setup->content(QStringLiteral("next.png")), QByteArray("next"));
}

KAVO_TEST_MAIN(PatientDownloadsTest)
#include "PatientDownloadsTest.moc"
