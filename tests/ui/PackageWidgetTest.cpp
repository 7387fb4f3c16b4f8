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
    void stateSetsTheCard_data()
    {
        Rows<Package::State, bool, QString, int>()
            .row("Download", Package::AVAILABLE, false, "Download", 0xf0ed)
            .row("Update", Package::INSTALLED, true, "Update", 0xf0ed)
            .row("Installed", Package::INSTALLED, false, "Installed", 0xf00c)
            .row("Preparing", Package::PREPARING, false, "Busy", 0xf254)
            .row("Downloading", Package::DOWNLOADING, false, "Busy", 0xf254)
            .row("Installing", Package::INSTALLING, false, "Busy", 0xf254)
            .row("Uninstalling", Package::UNINSTALLING, false, "Busy", 0xf254)
            .row("Install Error", Package::INSTALL_ERROR, false, "Error", 0xf071)
            .row("Download Error", Package::DOWNLOAD_ERROR, false, "Error", 0xf071)
            .row("Dependency Error", Package::DEPENDENCY_ERROR, false, "Error", 0xf071);
    }

    // Fixed, see docs/compatibility.md.
    void stateSetsTheCard()
    {
        const auto [state, update, name, glyph] =
            Rows<Package::State, bool, QString, int>::current();
        const auto next = state == Package::AVAILABLE ? Package::PREPARING : Package::AVAILABLE;
        const QString hint =
            name == "Error"_s ? "To try again, press Refresh at the top"_s : QString();
        m_package->setUpdateAvailable(update);
        // The package has the state before the card exists, or gets it afterwards.
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
        // The labels have not changed either.
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
        Rows<QString, QString, QString>()
            .row("brief", rich, "long", plain)
            .row("rich", "", rich, plain)
            .row("lines", "", "First\nsecond", "First second");
    }

    void descriptionIsOnePlainLine()
    {
        const auto [brief, description, shown] = Rows<QString, QString, QString>::current();
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

    void packageWithoutVersionsShowsNoVersion()
    {
        show(makePackage(1, {}));
        QCOMPARE(label("PackageAvailable").text(), "Available : "_s);
        // The card still offers a download, but a click does nothing.
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

    void wordOfThePriceHasItsBackground()
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

    void factsOfAllCardsAreAligned()
    {
        const auto placeOfFacts = [this](const QString &version) {
            show(makePackage(1, {makeVersion(version)}));
            QCoreApplication::processEvents();
            return qMakePair(label("PackageAvailable").x(), label("PackageStatus").x());
        };
        QCOMPARE(placeOfFacts("1"_s), placeOfFacts("10.2"_s));
    }

    void widgetsHaveTheirProperties()
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
        Rows<qint64, int>()
            .row("less than one", 999, 0)
            .row("unknown", -1, 0)
            .row("some", 5999, 5)
            .row("more than an int holds", 5000000000000, 2147483647);
    }

    void progressCountsThousandsOfBytes()
    {
        const auto [total, maximum] = Rows<qint64, int>::current();
        show();
        QVERIFY(isUnmeasured());
        m_package->setState(Package::DOWNLOADING);
        emit m_package->totalSize(total);
        QCOMPARE(progress().maximum(), maximum);
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

    void visibleCardShowsErrors()
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

    void actionInstallsAndNotifiesTheMainThread()
    {
        offer({1, "1.10"_s});
        QVERIFY(refresh());
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
        QCOMPARE(readFile(simulator(Engine::fileOf(1))), Engine::contentOf(1, "1.10"_s));
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
        // The tile is not visible any more.
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
        QVERIFY(!downloads().find({}));
    }

    void missingIconIsReplacedByTheFirstLetter_data()
    {
        Rows<QString, QString>()
            .row("letter", "Harbour", "hills")
            .row("after a bracket", "(Harbour)", "H")
            .row("digit", "2 Seas", "2")
            .row("letter of two code units", "\U00020BB7\u91CE", "\U00020BB7")
            .row("nothing to read", "...", "");
    }

    void missingIconIsReplacedByTheFirstLetter()
    {
        const auto [name, sameTile] = Rows<QString, QString>::current();
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
        // Without a letter the animation takes its place.
        QCOMPARE(icon().contentsRect().top() > 0, hasLetter);
        if (hasLetter)
            QCOMPARE(tileOf(sameTile), tile);
    }

    void failedIconKeepsTheAnimation()
    {
        // The error page is a valid picture.
        showWithIcon(png(QSize(64, 64), Qt::red), [](HttpResource &icon) { icon.getStatus = 404; });
        const auto download = downloads().find(m_package->icon());
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

    void cardMayBeDestroyedBeforeItsIconArrives()
    {
        showWithIcon(png(QSize(64, 64), Qt::red), [](HttpResource &icon) { icon.holdsGet = true; });
        QVERIFY(server().waitForRequests(1));
        const auto download = downloads().find(m_package->icon());
        QSignalSpy finished(download.data(), &Kavo::Models::Download::finished);
        m_card.reset();
        server().release(IconPath);
        QVERIFY(finished.wait());
    }

private:
    void setUp() override
    {
        start();
        m_package = named("Harbour"_s);
    }
    void tearDown() override { m_card.reset(); }
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
