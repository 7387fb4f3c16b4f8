#include "ui/list/PackageWidget.h"
#include "downloads/DownloadManager.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"
#include "tests/ui/Boxes.h"
#include "tests/ui/WidgetTest.h"

#include <QMovie>
#include <QProgressBar>
#include <QSignalSpy>

using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;
using Kavo::Models::Package;
using Kavo::Models::PackagePointer;
using Kavo::Ui::PackageWidget;

namespace {

const QString IconPath = "/icon.png"_s;

PackagePointer named(const QString &name)
{
    return makePackage(1, {makeVersion("2.0"_s), makeVersion("1.0"_s)}, name);
}

} // namespace

class PackageWidgetTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void init()
    {
        EngineTest::init();
        engine().start();
        m_package = named("Harbour"_s);
    }
    void cleanup()
    {
        m_card.reset();
        EngineTest::cleanup();
    }

    void stateSetsTheCard_data()
    {
        table<Package::State, bool, QString, int>(
            {"state", "update", "name", "glyph"},
            {{"Download", Package::AVAILABLE, false, "Download"_s, 0xf0ed},
             {"Update", Package::INSTALLED, true, "Update"_s, 0xf0ed},
             {"Installed", Package::INSTALLED, false, "Installed"_s, 0xf00c},
             {"Preparing", Package::PREPARING, false, "Busy"_s, 0xf254},
             {"Downloading", Package::DOWNLOADING, false, "Busy"_s, 0xf254},
             {"Installing", Package::INSTALLING, false, "Busy"_s, 0xf254},
             {"Uninstalling", Package::UNINSTALLING, false, "Busy"_s, 0xf254},
             {"Install Error", Package::INSTALL_ERROR, false, "Error"_s, 0xf071},
             {"Download Error", Package::DOWNLOAD_ERROR, false, "Error"_s, 0xf071},
             {"Dependency Error", Package::DEPENDENCY_ERROR, false, "Error"_s, 0xf071}});
    }

    // Fixed, see docs/compatibility.md.
    void stateSetsTheCard()
    {
        QFETCH(Package::State, state);
        QFETCH(bool, update);
        QFETCH(QString, name);
        QFETCH(int, glyph);
        const auto next = state == Package::AVAILABLE ? Package::PREPARING : Package::AVAILABLE;
        const QString hint =
            name == "Error"_s ? "To try again, press Refresh at the top"_s : QString();
        m_package->setUpdateAvailable(update);
        // From the start, and on the way.
        for (const bool early : {true, false}) {
            if (early)
                m_package->setState(state);
            m_card = std::make_unique<PackageWidget>(shared(), m_package);
            m_package->setState(state);
            QCOMPARE(action().text(), QString::fromLatin1(QTest::currentDataTag()));
            QCOMPARE(action().objectName(), name);
            QCOMPARE(action().isEnabled(), name == "Download"_s || name == "Update"_s);
            QVERIFY(sameIcon(action().icon(), lightGlyph(glyph)));
            QCOMPARE(!progress().isHidden(), name == "Busy"_s);
            QCOMPARE(action().toolTip(), hint);
            QCOMPARE(action().accessibleDescription(), hint);
            m_package->setState(next);
            QCOMPARE(action().toolTip(), QString());
        }
    }

    void unknownStateChangesNothing()
    {
        m_package->setState(Package::DOWNLOADING);
        show();
        m_package->setUpdateAvailable(true);
        m_package->setState(Package::UNKNOWN);
        QCOMPARE(action().text(), "Downloading"_s);
        QVERIFY(!progress().isHidden());
        // The labels were not refreshed either.
        QCOMPARE(label("PackageAvailable").font().weight(), int(QFont::Normal));
    }

    // Fixed, see docs/compatibility.md.
    void buttonIsStyledByItsState()
    {
        qApp->setStyleSheet("#Download { color: #112233; } #Busy { color: #445566; }"_s);
        show();
        QCOMPARE(action().palette().color(QPalette::ButtonText), QColor(0x11, 0x22, 0x33));
        m_package->setState(Package::PREPARING);
        QCOMPARE(action().palette().color(QPalette::ButtonText), QColor(0x44, 0x55, 0x66));
        qApp->setStyleSheet({});
    }

    void descriptionIsOnePlainLine_data()
    {
        const QString rich = "<p>Puts <b>lights</b> on<br>every pier.</p>"_s;
        const QString plain = "Puts lights on every pier."_s;
        table<QString, QString, QString>({"brief", "description", "shown"},
                                         {{"brief", rich, "long"_s, plain},
                                          {"rich", {}, rich, plain},
                                          {"lines", {}, "First\nsecond"_s, "First second"_s}});
    }

    void descriptionIsOnePlainLine()
    {
        QFETCH(QString, brief);
        QFETCH(QString, description);
        QFETCH(QString, shown);
        m_package->setShortDescription(brief);
        m_package->setDescription(description);
        show();
        QTRY_COMPARE(label("PackageDescription").text(), shown);
    }

    void descriptionIsElidedAnewWithTheWidth()
    {
        m_package->setShortDescription("word "_s.repeated(30));
        const QString full = m_package->shortDescription().simplified();
        show();
        const QLabel &shown = label("PackageDescription");
        const auto elided = [&] {
            return shown.fontMetrics().elidedText(full, Qt::ElideRight, shown.width() - 150);
        };
        QTRY_COMPARE(shown.text(), elided());
        QVERIFY(shown.text().endsWith(QChar(0x2026)));
        const int before = shown.text().size();
        QVERIFY(before > 10);
        m_card->resize(1100, 128);
        QTRY_VERIFY(shown.text().size() > before);
        m_card->resize(2400, 128);
        QTRY_COMPARE(shown.text(), full);
    }

    void factsAreShown()
    {
        show(named("<b>Harbour</b> & City"_s));
        QCOMPARE(label("PackageName").text(), "<b>Harbour</b> & City"_s);
        QCOMPARE(label("PackageInstalled").text(), "Installed : "_s);
        QCOMPARE(label("PackageAvailable").text(), "Available : 2.0"_s);
        for (const char *name :
             {"PackageName", "PackageDescription", "PackageInstalled", "PackageAvailable"})
            QCOMPARE(label(name).textFormat(), Qt::PlainText);
        QVERIFY(label("PackageName").font().bold());
        QCOMPARE(label("PackageName").font().pointSize(), 12);
    }

    void packageWithoutVersionsHasNothingAvailable()
    {
        show(makePackage(1, {}));
        QCOMPARE(label("PackageAvailable").text(), "Available : "_s);
        // It offers a download all the same, and pressing it crashes nothing.
        QCOMPARE(action().text(), "Download"_s);
        action().click();
        QCOMPARE(action().text(), "Download"_s);
    }

    void availableVersionIsBoldWithAnUpdate()
    {
        m_package->setUpdateAvailable(true);
        m_package->setState(Package::INSTALLED);
        show();
        QCOMPARE(label("PackageAvailable").font().weight(), 75);
        m_package->setUpdateAvailable(false);
        m_package->setState(Package::AVAILABLE);
        QCOMPARE(label("PackageAvailable").font().weight(), 50);
    }

    void priceIsGreen()
    {
        for (const int productId : {-5, 0, 1}) {
            m_package->setProductId(productId);
            show();
            QCOMPARE(label("PackageStatus").text(),
                     "Status : <font color=\"#66b771\">%1</font>"_s.arg(productId > 0 ? "Paid"_s
                                                                                      : "Free"_s));
        }
    }

    void wordOfThePriceStandsOnItsGround()
    {
        show();
        label("PackageStatus").setStyleSheet("qproperty-ground: #0000ff;"_s);
        QCoreApplication::processEvents();
        const QImage picture = label("PackageStatus").grab().toImage();
        const int caption = label("PackageStatus").fontMetrics().horizontalAdvance("Status :"_s);
        const int middle = picture.height() / 2;
        QCOMPARE(picture.pixelColor(picture.width() - 4, middle), QColor(Qt::blue));
        for (int x = 0; x < caption - 4; ++x)
            QVERIFY(picture.pixelColor(x, middle) != QColor(Qt::blue));
    }

    void factsOfAllCardsStandBelowEachOther()
    {
        const auto placeOfFacts = [this](const QString &version) {
            show(makePackage(1, {makeVersion(version)}));
            QCoreApplication::processEvents();
            return qMakePair(label("PackageAvailable").x(), label("PackageStatus").x());
        };
        QCOMPARE(placeOfFacts("1"_s), placeOfFacts("10.2"_s));
    }

    void widgetsHaveTheirLook()
    {
        show();
        QCOMPARE(m_card->objectName(), "PackageWidget"_s);
        QCOMPARE(icon().minimumSize(), QSize(96, 96));
        QCOMPARE(icon().maximumSize(), QSize(96, 96));
        QVERIFY(icon().testAttribute(Qt::WA_TranslucentBackground));
        QCOMPARE(icon().alignment(), Qt::Alignment(Qt::AlignCenter));
        QCOMPARE(progress().maximumHeight(), 16);
        QVERIFY(progress().isHidden());
        QVERIFY(progress().sizePolicy().retainSizeWhenHidden());
        QCOMPARE(action().maximumWidth(), 192);
        const auto *detail = child<QPushButton>(*m_card, "MoreDetail");
        QCOMPARE(detail->text(), "More Detail"_s);
        QVERIFY(sameIcon(detail->icon(), darkGlyph(0xf05a)));
        QVERIFY(hasHand(*detail));
        QVERIFY(hasHand(action()));
        QVERIFY(m_card->sizeHint().height() <= 128);
    }

    void progressCountsThousandsOfBytes_data()
    {
        table<qint64, int>({"total", "maximum"},
                           {{"less than one", 999, 0},
                            {"unknown", -1, 0},
                            {"some", 5999, 5},
                            {"more than an int holds", 5000000000000, 2147483647}});
    }

    void progressCountsThousandsOfBytes()
    {
        QFETCH(qint64, total);
        show();
        QVERIFY(isUnmeasured());
        m_package->setState(Package::DOWNLOADING);
        emit m_package->totalSize(total);
        QTEST(progress().maximum(), "maximum");
        emit m_package->totalSize(9000);
        emit m_package->downloadedSize(3999);
        QCOMPARE(progress().value(), 3);
        for (const auto state : {Package::INSTALLING, Package::UNINSTALLING}) {
            m_package->setState(state);
            QVERIFY(isUnmeasured());
            QCOMPARE(progress().value(), 0);
            QVERIFY(progress().isVisible());
            m_package->setState(Package::DOWNLOADING);
            emit m_package->totalSize(9000);
            emit m_package->downloadedSize(3999);
            QCOMPARE(progress().maximum(), 9);
        }
    }

    void newCardShowsTheRunningDownload()
    {
        engine().offer({1});
        server().serveGenerated("/package-1-1.0.zip"_s, 8000000).holdAfter = 3000000;
        QVERIFY(engine().refresh());
        engine().install(1);
        QVERIFY(engine().waitForState(1, Package::DOWNLOADING));
        // As the transfer does from time to time.
        controller().runningDownload(package(1))->setCurrentSize(2500000);
        show(package(1));
        QCOMPARE(progress().maximum(), 8000);
        QCOMPARE(progress().value(), 2500);
        m_card.reset();
    }

    void errorIsToldOnAVisibleCard()
    {
        for (const auto state :
             {Package::INSTALL_ERROR, Package::DOWNLOAD_ERROR, Package::DEPENDENCY_ERROR}) {
            show(named("<b>x</b>"_s));
            MessageBoxAnswers answers;
            expectError(answers, "<b>x</b>"_s, state);
            m_package->setState(state);
            QVERIFY(isQuiet());
            QVERIFY(answers.allShown());
            QCOMPARE(answers.shown().first().icon, QMessageBox::Critical);
            QCOMPARE(answers.shown().first().textFormat, Qt::PlainText);
            QCOMPARE(answers.shown().first().parent, m_card.get());
            QCOMPARE(action().objectName(), "Error"_s);
        }
    }

    void hiddenCardTellsNoError()
    {
        show();
        m_card->hide();
        const MessageBoxAnswers answers;
        m_package->setState(Package::INSTALL_ERROR);
        QVERIFY(isQuiet());
        QVERIFY(answers.shown().isEmpty());
        QCOMPARE(action().text(), "Install Error"_s);
    }

    /// It was told when it came about.
    void cardThatBeginsWithAnErrorTellsNone()
    {
        m_package->setState(Package::INSTALL_ERROR);
        QWidget list;
        list.show();
        const MessageBoxAnswers answers;
        m_card = std::make_unique<PackageWidget>(shared(), m_package, &list);
        QVERIFY(isQuiet());
        QVERIFY(answers.shown().isEmpty());
        QCOMPARE(action().text(), "Install Error"_s);
        m_card.reset();
    }

    void cardMayGoWhileItsErrorIsTold()
    {
        show();
        const BoxText box = errorBox("Harbour"_s, Package::DOWNLOAD_ERROR);
        MessageBoxAnswers answers;
        answers.expect(box.title, box.text, [this](QMessageBox &) { m_card.reset(); });
        m_package->setState(Package::DOWNLOAD_ERROR);
        QCoreApplication::sendPostedEvents();
        QVERIFY(!m_card);
    }

    void moreDetailAsksForTheDetail()
    {
        show();
        PackagePointer asked;
        connect(&controller(), &PackageController::detail, m_card.get(),
                [&asked](const PackagePointer &shown) { asked = shown; });
        child<QPushButton>(*m_card, "MoreDetail")->click();
        QCOMPARE(asked, m_package);
    }

    void actionInstallsAndTheMainThreadHearsOfIt()
    {
        engine().offer({1, "1.10"_s});
        QVERIFY(engine().refresh());
        show(package(1));
        QVector<QThread *> threads;
        QObject context;
        connect(
            &action(), &QObject::objectNameChanged, &context,
            [&threads] { threads.append(QThread::currentThread()); }, Qt::DirectConnection);
        action().click();
        QVERIFY(waitUntilInstalled(1));
        QTRY_COMPARE(action().objectName(), "Installed"_s);
        QTRY_COMPARE(label("PackageInstalled").text(), "Installed : 1.10"_s);
        QCOMPARE(readFile(engine().simulator(Engine::fileOf(1))), Engine::contentOf(1, "1.10"_s));
        QVERIFY(!threads.isEmpty());
        QCOMPARE(threads.count(QThread::currentThread()), threads.size());
    }

    void iconIsShown()
    {
        showWithIcon(png(QSize(64, 64), Qt::red));
        QVERIFY(icon().movie());
        QCOMPARE(icon().movie()->scaledSize(), QSize(24, 24));
        icon().setStyleSheet("qproperty-tile: #00ff00;"_s);
        QTRY_COMPARE(shownColor(icon()), QColor(Qt::red));
        QVERIFY(icon().hasScaledContents());
        QVERIFY(!icon().movie());
        QCOMPARE(server().log(), QStringList("GET /icon.png"_s));
        // Nothing of the tile is left.
        const QImage picture = icon().grab().toImage();
        QCOMPARE(picture.pixelColor(48, 1), QColor(Qt::red));
        QCOMPARE(picture.pixelColor(48, 94), QColor(Qt::red));
    }

    void hugeIconIsShown()
    {
        showWithIcon(png(QSize(10000, 500), Qt::red));
        QTRY_COMPARE(shownColor(icon()), QColor(Qt::red));
        QVERIFY(icon().pixmap()->width() <= 96);
        QCOMPARE(icon().size(), QSize(96, 96));
    }

    void packageWithoutIconFetchesNothing()
    {
        show();
        QVERIFY(icon().movie());
        QVERIFY(!engine().downloads()->find({}));
    }

    void missingIconHasATileWithTheFirstLetter_data()
    {
        table<QString, QString>({"name", "sameTile"},
                                {{"letter", "Harbour"_s, "hills"_s},
                                 {"after a bracket", "(Harbour)"_s, "H"_s},
                                 {"digit", "2 Seas"_s, "2"_s},
                                 {"letter of two code units", "\U00020BB7\u91CE"_s, "\U00020BB7"_s},
                                 {"nothing to read", "..."_s, {}}});
    }

    void missingIconHasATileWithTheFirstLetter()
    {
        QFETCH(QString, name);
        QFETCH(QString, sameTile);
        const bool hasLetter = !sameTile.isEmpty();
        const auto tileOf = [this](const QString &shown) {
            show(named(shown));
            icon().setStyleSheet("color: #0000ff; qproperty-tile: #00ff00;"_s);
            QImage picture(icon().size(), QImage::Format_RGB32);
            picture.fill(Qt::white);
            icon().render(&picture, QPoint(), QRegion(0, 0, 96, 56));
            return picture;
        };
        const QImage tile = tileOf(name);
        QCOMPARE(tile.pixelColor(48, 3), QColor(Qt::green));
        bool inked = false;
        for (int pixel = 0; pixel < 96 * 56; ++pixel)
            inked = inked || tile.pixelColor(pixel % 96, pixel / 96) == QColor(Qt::blue);
        QCOMPARE(inked, hasLetter);
        // Without a letter the animation moves in its place.
        QCOMPARE(icon().contentsRect().top() > 0, hasLetter);
        if (hasLetter)
            QCOMPARE(tileOf(sameTile), tile);
    }

    void failedIconLeavesTheAnimation()
    {
        // The page of the error is a good picture.
        showWithIcon(png(QSize(64, 64), Qt::red), [](HttpResource &icon) { icon.getStatus = 404; });
        const auto download = engine().downloads()->find(m_package->icon());
        QSignalSpy failed(download.data(), &Kavo::Models::Download::error);
        QSignalSpy finished(download.data(), &Kavo::Models::Download::finished);
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(failed.count(), 1);
        QVERIFY(icon().movie());
        QCOMPARE(icon().movie()->state(), QMovie::Running);
        QVERIFY(!icon().hasScaledContents());
    }

    void brokenIconIsLogged()
    {
        const LogCapture log;
        showWithIcon("no picture at all");
        QTRY_COMPARE(log.count("Picture cannot be shown : "_s), 1);
        QCOMPARE(shownColor(icon()), QColor(Qt::transparent));
    }

    void cardMayGoBeforeItsIconArrives()
    {
        showWithIcon(png(QSize(64, 64), Qt::red), [](HttpResource &icon) { icon.holdsGet = true; });
        QVERIFY(server().waitForRequests(1));
        const auto download = engine().downloads()->find(m_package->icon());
        QSignalSpy finished(download.data(), &Kavo::Models::Download::finished);
        m_card.reset();
        server().release(IconPath);
        QVERIFY(finished.wait());
    }

private:
    void show()
    {
        m_card = std::make_unique<PackageWidget>(shared(), m_package);
        m_card->resize(900, 128);
        m_card->show();
    }
    void show(const PackagePointer &package)
    {
        m_package = package;
        show();
    }
    void showWithIcon(
        const QByteArray &bytes, const std::function<void(HttpResource &)> &spoil = [](auto &) {})
    {
        spoil(server().serve(IconPath, bytes));
        m_package->setIcon(server().url(IconPath));
        show();
    }
    QPushButton &action() const
    {
        const auto buttons = m_card->findChildren<QPushButton *>();
        return **std::find_if(buttons.begin(), buttons.end(), [](const QPushButton *button) {
            return button->objectName() != "MoreDetail"_s;
        });
    }
    QLabel &label(const char *name) const { return *child<QLabel>(*m_card, name); }
    QLabel &icon() const { return label("PackageIcon"); }
    QProgressBar &progress() const { return *child<QProgressBar>(*m_card, "PackageProgress"); }
    bool isUnmeasured() const { return progress().minimum() == 0 && progress().maximum() == 0; }

    PackagePointer m_package;
    std::unique_ptr<PackageWidget> m_card;
};

KAVO_TEST_MAIN(PackageWidgetTest)
#include "PackageWidgetTest.moc"
