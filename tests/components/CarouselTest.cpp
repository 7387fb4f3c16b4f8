#include "components/Carousel.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "tests/components/Widgets.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestHttpServer.h"
#include "tests/support/TestMain.h"

#include <QMovie>
#include <QNetworkAccessManager>
#include <QSharedPointer>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Components::Carousel;
using Kavo::Managers::DownloadManager;

namespace {

const QColor Red(255, 0, 0);
const QColor Green(0, 255, 0);
const QColor Blue(0, 0, 255);

} // namespace

class CarouselTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void buttonsHaveTheirLook();
    void buttonsNeedASecondPicture();
    void firstPictureIsShown();
    void nextAndPreviousWrapAround();
    void indexBeyondEitherEndWrapsAround();
    void animationRunsWhileAPictureLoads();
    void pictureIsFetchedOnce();
    void showingAPictureAgainWhileItLoadsFetchesItAgain();
    void pictureIsScaledToTheLabelsHeight();
    void widePictureIsScaledToTheSpace();
    void hugePictureIsShown();
    void emptyListLeavesTheOldPicture();
    void buttonsOfAnEmptyCarouselDoNothing();
    void latePictureOfAnEarlierListIsNotShown();
    void pictureThatArrivesForAnotherIndexIsKept();
    void failedFetchShowsNoPicture_data();
    void failedFetchShowsNoPicture();
    void brokenPictureIsLoggedAndNotFetchedAgain();
    void emptyAddressFetchesNothing();
    void carouselMayGoWhileAPictureLoads();

private:
    QString serve(const QString &path, const QColor &color, const QSize &size = QSize(300, 200));
    QStringList threePictures();
    QLabel &label() const { return *child<QLabel>(*m_carousel, "CarouselImage"); }
    QColor shown() const { return shownColor(label()); }
    void press(const char *button) { child<QPushButton>(*m_carousel, button)->click(); }

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<TestHttpServer> m_server;
    QSharedPointer<DownloadManager> m_downloads;
    std::unique_ptr<Carousel> m_carousel;
};

void CarouselTest::init()
{
    Kavo::Components::iconFont()->initFontAwesome();
    m_profile = std::make_unique<ScratchProfile>();
    m_server = std::make_unique<TestHttpServer>();
    m_downloads = QSharedPointer<DownloadManager>::create(
        m_profile->makeSettings(), QSharedPointer<QNetworkAccessManager>::create());
    m_carousel = std::make_unique<Carousel>(m_downloads);
    m_carousel->resize(1000, 300);
    m_carousel->show();
}

void CarouselTest::cleanup()
{
    m_carousel.reset();
    m_downloads.reset();
    m_server.reset();
    m_profile.reset();
}

QString CarouselTest::serve(const QString &path, const QColor &color, const QSize &size)
{
    m_server->serve(path, png(size, color));
    return m_server->url(path);
}

QStringList CarouselTest::threePictures()
{
    return {serve(QStringLiteral("/red.png"), Red), serve(QStringLiteral("/green.png"), Green),
            serve(QStringLiteral("/blue.png"), Blue)};
}

void CarouselTest::buttonsHaveTheirLook()
{
    QCOMPARE(m_carousel->objectName(), QStringLiteral("Carousel"));
    const auto *previous = child<QPushButton>(*m_carousel, "CarouselPrevious");
    const auto *next = child<QPushButton>(*m_carousel, "CarouselNext");
    QVERIFY(sameIcon(previous->icon(), lightGlyph(0xf053)));
    QVERIFY(sameIcon(next->icon(), lightGlyph(0xf054)));
    for (const auto *button : {previous, next}) {
        QCOMPARE(button->iconSize(), QSize(56, 56));
        QVERIFY(hasHand(*button));
        QVERIFY(!button->accessibleName().isEmpty());
    }
    QVERIFY(!label().hasScaledContents());
    QVERIFY(label().testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(label().alignment().testFlag(Qt::AlignHCenter));
}

void CarouselTest::buttonsNeedASecondPicture()
{
    const auto *previous = child<QPushButton>(*m_carousel, "CarouselPrevious");
    const auto *next = child<QPushButton>(*m_carousel, "CarouselNext");
    const QStringList three = threePictures();
    for (int count = 1; count <= 3; ++count) {
        m_carousel->setImages(three.mid(0, count));
        QCOMPARE(previous->isVisible(), count > 1);
        QCOMPARE(next->isVisible(), count > 1);
    }
    m_carousel->setImages(three.mid(2));
    QVERIFY(!next->isVisible());
}

void CarouselTest::firstPictureIsShown()
{
    m_carousel->setImages(threePictures());
    QTRY_COMPARE(shown(), Red);
    QCOMPARE(m_server->log(), QStringList({QStringLiteral("GET /red.png")}));
}

void CarouselTest::nextAndPreviousWrapAround()
{
    m_carousel->setImages(threePictures());
    QTRY_COMPARE(shown(), Red);
    press("CarouselPrevious");
    QTRY_COMPARE(shown(), Blue);
    press("CarouselNext");
    QTRY_COMPARE(shown(), Red);
    press("CarouselNext");
    QTRY_COMPARE(shown(), Green);
}

void CarouselTest::indexBeyondEitherEndWrapsAround()
{
    m_carousel->setImages(threePictures());
    QTRY_COMPARE(shown(), Red);
    m_carousel->showImage(-1);
    QTRY_COMPARE(shown(), Blue);
    m_carousel->showImage(3);
    QTRY_COMPARE(shown(), Red);
}

void CarouselTest::animationRunsWhileAPictureLoads()
{
    const QString url = serve(QStringLiteral("/red.png"), Red);
    m_server->resource(QStringLiteral("/red.png")).holdsGet = true;
    m_carousel->setImages({url});
    QVERIFY(m_server->waitForRequests(1));
    QVERIFY(label().movie());
    QCOMPARE(label().movie()->scaledSize(), QSize(24, 24));
    QCOMPARE(label().movie()->state(), QMovie::Running);
    m_server->release(QStringLiteral("/red.png"));
    QTRY_COMPARE(shown(), Red);
    QVERIFY(!label().movie());
}

void CarouselTest::pictureIsFetchedOnce()
{
    m_carousel->setImages(threePictures());
    QTRY_COMPARE(shown(), Red);
    m_carousel->showImage(1);
    QTRY_COMPARE(shown(), Green);
    m_carousel->showImage(0);
    QCOMPARE(shown(), Red);
    m_carousel->showImage(1);
    QCOMPARE(shown(), Green);
    QCOMPARE(m_server->requests().size(), 2);
}

void CarouselTest::showingAPictureAgainWhileItLoadsFetchesItAgain()
{
    const QString url = serve(QStringLiteral("/red.png"), Red);
    m_server->resource(QStringLiteral("/red.png")).holdsGet = true;
    m_carousel->setImages({url});
    QVERIFY(m_server->waitForRequests(1));
    m_carousel->showImage(0);
    QVERIFY(m_server->waitForRequests(2));
    m_server->release(QStringLiteral("/red.png"));
    QTRY_COMPARE(shown(), Red);
}

void CarouselTest::pictureIsScaledToTheLabelsHeight()
{
    m_carousel->setImages({serve(QStringLiteral("/red.png"), Red, QSize(30, 20))});
    QTRY_COMPARE(shown(), Red);
    QVERIFY(label().height() > 20);
    QCOMPARE(label().pixmap()->height(), label().height());
}

void CarouselTest::widePictureIsScaledToTheSpace()
{
    m_carousel->setImages({serve(QStringLiteral("/red.png"), Red, QSize(1000, 50))});
    QTRY_COMPARE(shown(), Red);
    QCOMPARE(label().pixmap()->width(), label().width());
    const int before = label().width();
    m_carousel->resize(700, 300);
    QTRY_VERIFY(label().width() < before);
    QCOMPARE(label().pixmap()->width(), label().width());
}

void CarouselTest::hugePictureIsShown()
{
    m_carousel->setImages({serve(QStringLiteral("/red.png"), Red, QSize(10000, 1000))});
    QTRY_COMPARE(shown(), Red);
    QVERIFY(label().pixmap()->width() <= label().width());
    QVERIFY(m_carousel->sizeHint().width() < 1000);
}

void CarouselTest::emptyListLeavesTheOldPicture()
{
    m_carousel->setImages({serve(QStringLiteral("/red.png"), Red)});
    QTRY_COMPARE(shown(), Red);
    m_carousel->setImages({});
    QCOMPARE(shown(), Red);
    press("CarouselNext");
    QCOMPARE(shown(), Red);
    QCOMPARE(m_server->requests().size(), 1);
}

void CarouselTest::buttonsOfAnEmptyCarouselDoNothing()
{
    press("CarouselNext");
    press("CarouselPrevious");
    m_carousel->showImage(0);
    QVERIFY(!label().movie());
    QCOMPARE(shown(), QColor(Qt::transparent));
    // Had anything been asked for, it would come before this.
    m_carousel->setImages({serve(QStringLiteral("/red.png"), Red)});
    QTRY_COMPARE(shown(), Red);
    QCOMPARE(m_server->log(), QStringList({QStringLiteral("GET /red.png")}));
}

void CarouselTest::latePictureOfAnEarlierListIsNotShown()
{
    const QString late = serve(QStringLiteral("/red.png"), Red);
    m_server->resource(QStringLiteral("/red.png")).holdsGet = true;
    m_carousel->setImages({late});
    QVERIFY(m_server->waitForRequests(1));
    const auto download = m_downloads->find(late);
    QVERIFY(download);
    m_carousel->setImages({serve(QStringLiteral("/green.png"), Green)});
    QTRY_COMPARE(shown(), Green);
    QSignalSpy finished(download.data(), &Kavo::Models::Download::finished);
    m_server->release(QStringLiteral("/red.png"));
    QVERIFY(finished.wait());
    QCOMPARE(shown(), Green);
    m_carousel->showImage(0);
    QCOMPARE(shown(), Green);
}

void CarouselTest::pictureThatArrivesForAnotherIndexIsKept()
{
    const QStringList urls = threePictures();
    m_server->resource(QStringLiteral("/red.png")).holdsGet = true;
    m_carousel->setImages(urls);
    QVERIFY(m_server->waitForRequests(1));
    const auto download = m_downloads->find(urls.first());
    QSignalSpy finished(download.data(), &Kavo::Models::Download::finished);
    m_carousel->showImage(1);
    QTRY_COMPARE(shown(), Green);
    m_server->release(QStringLiteral("/red.png"));
    QVERIFY(finished.wait());
    QCOMPARE(shown(), Green);
    m_carousel->showImage(0);
    QCOMPARE(shown(), Red);
    QCOMPARE(m_server->requests(QStringLiteral("/red.png")).size(), 1);
}

void CarouselTest::failedFetchShowsNoPicture_data()
{
    QTest::addColumn<int>("status");
    QTest::newRow("missing") << 404;
    QTest::newRow("server error") << 500;
}

void CarouselTest::failedFetchShowsNoPicture()
{
    QFETCH(int, status);
    // The body is a good picture: the error alone has to keep it away.
    const QString url = serve(QStringLiteral("/red.png"), Red);
    m_server->resource(QStringLiteral("/red.png")).getStatus = status;
    m_server->resource(QStringLiteral("/red.png")).holdsGet = true;
    m_carousel->setImages({url});
    QVERIFY(m_server->waitForRequests(1));
    const auto download = m_downloads->find(url);
    QSignalSpy failed(download.data(), &Kavo::Models::Download::error);
    QSignalSpy finished(download.data(), &Kavo::Models::Download::finished);
    m_server->release(QStringLiteral("/red.png"));
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(failed.count(), 1);
    QCOMPARE(shown(), QColor(Qt::transparent));
    QVERIFY(!label().movie());
}

void CarouselTest::brokenPictureIsLoggedAndNotFetchedAgain()
{
    m_server->serve(QStringLiteral("/broken.png"), "this is no picture");
    const QStringList urls{m_server->url(QStringLiteral("/broken.png")),
                           serve(QStringLiteral("/green.png"), Green)};
    const LogCapture log;
    m_carousel->setImages(urls);
    QTRY_COMPARE(log.count(QStringLiteral("Picture cannot be shown : ")), 1);
    QCOMPARE(shown(), QColor(Qt::transparent));
    // Not even a picture without a size.
    QVERIFY(!label().pixmap());
    QVERIFY(!label().movie());
    m_carousel->showImage(1);
    QTRY_COMPARE(shown(), Green);
    QCOMPARE(m_server->requests(QStringLiteral("/broken.png")).size(), 1);
}

void CarouselTest::emptyAddressFetchesNothing()
{
    m_carousel->setImages({QString(), serve(QStringLiteral("/green.png"), Green)});
    QVERIFY(!label().movie());
    press("CarouselNext");
    QTRY_COMPARE(shown(), Green);
    QCOMPARE(m_server->log(), QStringList({QStringLiteral("GET /green.png")}));
}

void CarouselTest::carouselMayGoWhileAPictureLoads()
{
    const QString url = serve(QStringLiteral("/red.png"), Red);
    m_server->resource(QStringLiteral("/red.png")).holdsGet = true;
    m_carousel->setImages({url});
    QVERIFY(m_server->waitForRequests(1));
    const auto download = m_downloads->find(url);
    QSignalSpy finished(download.data(), &Kavo::Models::Download::finished);
    m_carousel.reset();
    m_server->release(QStringLiteral("/red.png"));
    QVERIFY(finished.wait());
}

KAVO_TEST_MAIN(CarouselTest)
#include "CarouselTest.moc"
