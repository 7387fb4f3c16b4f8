#include "components/Carousel.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestHttpServer.h"
#include "tests/support/TestMain.h"

#include <QMovie>
#include <QNetworkAccessManager>
#include <QSharedPointer>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Components::Carousel;
using Kavo::Managers::DownloadManager;
using Kavo::Models::Download;

namespace {

const QColor Red(255, 0, 0);
const QColor Green(0, 255, 0);
const QColor Blue(0, 0, 255);

} // namespace

class CarouselTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
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

    void cleanup()
    {
        m_carousel.reset();
        m_downloads.reset();
        m_server.reset();
        m_profile.reset();
    }

    void buttonsHaveTheirLook()
    {
        QCOMPARE(m_carousel->objectName(), "Carousel"_s);
        QVERIFY(sameIcon(previous()->icon(), lightGlyph(0xf053)));
        QVERIFY(sameIcon(next()->icon(), lightGlyph(0xf054)));
        for (const auto *button : {previous(), next()}) {
            QCOMPARE(button->iconSize(), QSize(56, 56));
            QVERIFY(hasHand(*button));
            QVERIFY(!button->accessibleName().isEmpty());
        }
        QVERIFY(!label().hasScaledContents());
        QVERIFY(label().testAttribute(Qt::WA_TranslucentBackground));
        QVERIFY(label().alignment().testFlag(Qt::AlignHCenter));
    }

    void buttonsNeedASecondPicture()
    {
        const QStringList three = threePictures();
        for (int count = 1; count <= 3; ++count) {
            m_carousel->setImages(three.mid(0, count));
            QCOMPARE(previous()->isVisible(), count > 1);
            QCOMPARE(next()->isVisible(), count > 1);
        }
        m_carousel->setImages(three.mid(2));
        QVERIFY(!next()->isVisible());
    }

    void firstPictureIsShown()
    {
        showThreePictures();
        QCOMPARE(m_server->log(), QStringList({"GET /red.png"_s}));
    }

    void nextAndPreviousWrapAround()
    {
        showThreePictures();
        previous()->click();
        QTRY_COMPARE(shown(), Blue);
        next()->click();
        QTRY_COMPARE(shown(), Red);
        next()->click();
        QTRY_COMPARE(shown(), Green);
    }

    void indexBeyondEitherEndWrapsAround()
    {
        showThreePictures();
        m_carousel->showImage(-1);
        QTRY_COMPARE(shown(), Blue);
        m_carousel->showImage(3);
        QTRY_COMPARE(shown(), Red);
    }

    void animationRunsWhileAPictureLoads()
    {
        showHeldRed();
        QVERIFY(label().movie());
        QCOMPARE(label().movie()->scaledSize(), QSize(24, 24));
        QCOMPARE(label().movie()->state(), QMovie::Running);
        release();
        QTRY_COMPARE(shown(), Red);
        QVERIFY(!label().movie());
    }

    void pictureIsFetchedOnce()
    {
        showThreePictures();
        m_carousel->showImage(1);
        QTRY_COMPARE(shown(), Green);
        m_carousel->showImage(0);
        QCOMPARE(shown(), Red);
        m_carousel->showImage(1);
        QCOMPARE(shown(), Green);
        QCOMPARE(m_server->requests().size(), 2);
    }

    void showingAPictureAgainWhileItLoadsFetchesItAgain()
    {
        showHeldRed();
        m_carousel->showImage(0);
        QVERIFY(m_server->waitForRequests(2));
        release();
        QTRY_COMPARE(shown(), Red);
    }

    void pictureIsScaledToTheLabelsHeight()
    {
        showRed(QSize(30, 20));
        QVERIFY(label().height() > 20);
        QCOMPARE(label().pixmap()->height(), label().height());
    }

    void widePictureIsScaledToTheSpace()
    {
        showRed(QSize(1000, 50));
        QCOMPARE(label().pixmap()->width(), label().width());
        const int before = label().width();
        m_carousel->resize(700, 300);
        QTRY_VERIFY(label().width() < before);
        QCOMPARE(label().pixmap()->width(), label().width());
    }

    void hugePictureIsShown()
    {
        showRed(QSize(10000, 1000));
        QVERIFY(label().pixmap()->width() <= label().width());
        QVERIFY(m_carousel->sizeHint().width() < 1000);
    }

    void emptyListLeavesTheOldPicture()
    {
        showRed();
        m_carousel->setImages({});
        QCOMPARE(shown(), Red);
        next()->click();
        QCOMPARE(shown(), Red);
        QCOMPARE(m_server->requests().size(), 1);
    }

    void buttonsOfAnEmptyCarouselDoNothing()
    {
        next()->click();
        previous()->click();
        m_carousel->showImage(0);
        QVERIFY(!label().movie());
        QCOMPARE(shown(), QColor(Qt::transparent));
        // An earlier request would come first in the log.
        showRed();
        QCOMPARE(m_server->log(), QStringList({"GET /red.png"_s}));
    }

    void latePictureOfAnEarlierListIsNotShown()
    {
        const auto download = showHeldRed();
        m_carousel->setImages({serve("/green.png"_s, Green)});
        QTRY_COMPARE(shown(), Green);
        QSignalSpy finished(download.data(), &Download::finished);
        release();
        QVERIFY(finished.wait());
        QCOMPARE(shown(), Green);
        m_carousel->showImage(0);
        QCOMPARE(shown(), Green);
    }

    void pictureThatArrivesForAnotherIndexIsKept()
    {
        const auto download = showHeldRed({serve("/green.png"_s, Green)});
        QSignalSpy finished(download.data(), &Download::finished);
        m_carousel->showImage(1);
        QTRY_COMPARE(shown(), Green);
        release();
        QVERIFY(finished.wait());
        QCOMPARE(shown(), Green);
        m_carousel->showImage(0);
        QCOMPARE(shown(), Red);
        QCOMPARE(m_server->requests("/red.png"_s).size(), 1);
    }

    void failedFetchShowsNoPicture_data()
    {
        Rows<int>()
            .row("missing", HttpStatus::NOT_FOUND)
            .row("server error", HttpStatus::INTERNAL_SERVER_ERROR);
    }

    void failedFetchShowsNoPicture()
    {
        const auto [status] = Rows<int>::current();
        // The body is a valid picture, so only the error can prevent that it is shown.
        const auto download = showHeldRed({}, status);
        QSignalSpy failed(download.data(), &Download::error);
        QSignalSpy finished(download.data(), &Download::finished);
        release();
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(failed.count(), 1);
        QCOMPARE(shown(), QColor(Qt::transparent));
        QVERIFY(!label().movie());
    }

    void brokenPictureIsLoggedAndNotFetchedAgain()
    {
        m_server->serve("/broken.png"_s, "this is no picture");
        const QStringList urls{m_server->url("/broken.png"_s), serve("/green.png"_s, Green)};
        const LogCapture log;
        m_carousel->setImages(urls);
        QTRY_COMPARE(log.count("Picture cannot be shown : "_s), 1);
        QCOMPARE(shown(), QColor(Qt::transparent));
        QVERIFY(!label().pixmap());
        QVERIFY(!label().movie());
        m_carousel->showImage(1);
        QTRY_COMPARE(shown(), Green);
        QCOMPARE(m_server->requests("/broken.png"_s).size(), 1);
    }

    void emptyAddressFetchesNothing()
    {
        m_carousel->setImages({QString(), serve("/green.png"_s, Green)});
        QVERIFY(!label().movie());
        next()->click();
        QTRY_COMPARE(shown(), Green);
        QCOMPARE(m_server->log(), QStringList({"GET /green.png"_s}));
    }

    void carouselMayBeDeletedWhileAPictureLoads()
    {
        const auto download = showHeldRed();
        QSignalSpy finished(download.data(), &Download::finished);
        m_carousel.reset();
        release();
        QVERIFY(finished.wait());
    }

private:
    QString serve(const QString &path, const QColor &color, const QSize &size = QSize(300, 200))
    {
        m_server->serve(path, png(size, color));
        return m_server->url(path);
    }

    QStringList threePictures()
    {
        return {serve("/red.png"_s, Red), serve("/green.png"_s, Green), serve("/blue.png"_s, Blue)};
    }

    void showThreePictures()
    {
        m_carousel->setImages(threePictures());
        QTRY_COMPARE(shown(), Red);
    }

    void showRed(const QSize &size = QSize(300, 200))
    {
        m_carousel->setImages({serve("/red.png"_s, Red, size)});
        QTRY_COMPARE(shown(), Red);
    }

    /// Starts to show a picture that the server holds back, and returns its download.
    QSharedPointer<Download> showHeldRed(const QStringList &more = {}, int status = HttpStatus::OK)
    {
        const QString url = serve("/red.png"_s, Red);
        m_server->resource("/red.png"_s).getStatus = status;
        m_server->resource("/red.png"_s).holdsGet = true;
        m_carousel->setImages(QStringList{url} + more);
        return m_server->waitForRequests(1) ? m_downloads->find(url) : nullptr;
    }

    void release() { m_server->release("/red.png"_s); }
    QPushButton *previous() const { return child<QPushButton>(*m_carousel, "CarouselPrevious"); }
    QPushButton *next() const { return child<QPushButton>(*m_carousel, "CarouselNext"); }
    QLabel &label() const { return *child<QLabel>(*m_carousel, "CarouselImage"); }
    QColor shown() const { return shownColor(label()); }

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<TestHttpServer> m_server;
    QSharedPointer<DownloadManager> m_downloads;
    std::unique_ptr<Carousel> m_carousel;
};

KAVO_TEST_MAIN(CarouselTest)
#include "CarouselTest.moc"
