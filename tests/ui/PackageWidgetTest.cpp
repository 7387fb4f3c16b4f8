#include "ui/list/PackageWidget.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"

#include <QMovie>
#include <QProgressBar>
#include <QSignalSpy>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;
using Kavo::Models::Package;
using Kavo::Models::PackagePointer;
using Kavo::Ui::PackageWidget;

namespace {

/// Object names under which the action button appears.
QPushButton *actionOf(const PackageWidget &card)
{
    for (const char *name : {"Download", "Update", "Installed", "Busy", "Error"}) {
        if (auto *button = child<QPushButton>(card, name))
            return button;
    }
    return nullptr;
}

PackagePointer somePackage(const QString &name = QStringLiteral("Harbour"))
{
    return makePackage(1, {makeVersion(QStringLiteral("2.0")), makeVersion(QStringLiteral("1.0"))},
                       name);
}

} // namespace

class PackageWidgetTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }
    void init();
    void cleanup();

    void stateSetsButtonAndProgress_data();
    void stateSetsButtonAndProgress();
    void unknownStateChangesNothing();
    void buttonIsStyledByItsState();

    void nameIsPlainBoldText();
    void descriptionIsElidedToTheLabel();
    void descriptionIsElidedAnewWithTheWidth();
    void longDescriptionStandsInForAShortOne();
    void descriptionIsWithoutMarkup_data();
    void descriptionIsWithoutMarkup();
    void factsAreShown();
    void packageWithoutVersionsHasNothingAvailable();
    void installedVersionIsShown();
    void availableVersionIsBoldWithAnUpdate();
    void priceIsGreen_data();
    void priceIsGreen();
    void widgetsHaveTheirSizes();

    void progressCountsThousandsOfBytes_data();
    void progressCountsThousandsOfBytes();
    void progressKeepsItsPlaceWhenHidden();
    void progressMovesWhereNothingCanBeMeasured_data();
    void progressMovesWhereNothingCanBeMeasured();
    void newCardShowsTheRunningDownload();

    void errorIsToldOnAVisibleCard_data();
    void errorIsToldOnAVisibleCard();
    void hiddenCardTellsNoError();
    void cardThatBeginsWithAnErrorTellsNone();
    void nameInAnErrorIsPlain();
    void buttonSaysHowToTryAgain();
    void cardMayGoWhileItsErrorIsTold();

    void moreDetailAsksForTheDetail();
    void actionInstalls();
    void stateOfAnInstallationArrivesOnTheMainThread();

    void iconIsShown();
    void packageWithoutIconFetchesNothing();
    void missingIconHasATileWithTheFirstLetter_data();
    void missingIconHasATileWithTheFirstLetter();
    void tileGoesWhenTheIconComes();
    void wordOfThePriceStandsOnItsGround();
    void factsOfAllCardsStandBelowEachOther();
    void failedIconLeavesTheAnimation();
    void brokenIconIsLogged();
    void hugeIconIsShown();
    void cardMayGoBeforeItsIconArrives();

private:
    void show(const PackagePointer &package);
    QString serveIcon(const QByteArray &bytes);
    QLabel &icon() const { return *child<QLabel>(*m_card, "PackageIcon"); }
    QProgressBar &progress() const { return *child<QProgressBar>(*m_card, "PackageProgress"); }

    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<PackageWidget> m_card;
};

void PackageWidgetTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_engine->start();
}

void PackageWidgetTest::cleanup()
{
    m_card.reset();
    m_engine.reset();
}

void PackageWidgetTest::show(const PackagePointer &package)
{
    m_card = std::make_unique<PackageWidget>(sharedController(*m_engine), package);
    m_card->resize(900, 128);
    m_card->show();
}

QString PackageWidgetTest::serveIcon(const QByteArray &bytes)
{
    m_engine->server().serve(QStringLiteral("/icon.png"), bytes);
    return m_engine->server().url(QStringLiteral("/icon.png"));
}

void PackageWidgetTest::stateSetsButtonAndProgress_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("update");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("objectName");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<int>("glyph");
    QTest::addColumn<bool>("progress");
    const auto row = [](const char *title, Package::State state, bool update, const char *text,
                        const char *name, bool enabled, int glyph, bool progress) {
        QTest::newRow(title) << int(state) << update << QString::fromLatin1(text)
                             << QString::fromLatin1(name) << enabled << glyph << progress;
    };
    row("available", Package::AVAILABLE, false, "Download", "Download", true, 0xf0ed, false);
    row("update", Package::INSTALLED, true, "Update", "Update", true, 0xf0ed, false);
    row("installed", Package::INSTALLED, false, "Installed", "Installed", false, 0xf00c, false);
    row("preparing", Package::PREPARING, false, "Preparing", "Busy", false, 0xf254, true);
    row("downloading", Package::DOWNLOADING, false, "Downloading", "Busy", false, 0xf254, true);
    row("installing", Package::INSTALLING, false, "Installing", "Busy", false, 0xf254, true);
    row("removing", Package::UNINSTALLING, false, "Uninstalling", "Busy", false, 0xf254, true);
    row("install error", Package::INSTALL_ERROR, false, "Install Error", "Error", false, 0xf071,
        false);
    row("download error", Package::DOWNLOAD_ERROR, false, "Download Error", "Error", false, 0xf071,
        false);
    row("dependency error", Package::DEPENDENCY_ERROR, false, "Dependency Error", "Error", false,
        0xf071, false);
}

// Fixed, see docs/compatibility.md.
void PackageWidgetTest::stateSetsButtonAndProgress()
{
    QFETCH(int, state);
    QFETCH(bool, update);
    QFETCH(QString, text);
    QFETCH(QString, objectName);
    QFETCH(bool, enabled);
    QFETCH(int, glyph);
    QFETCH(bool, progress);
    const PackagePointer package = somePackage();
    package->setUpdateAvailable(update);
    // From the start, and on the way.
    for (const bool early : {true, false}) {
        if (early)
            package->setState(static_cast<Package::State>(state));
        m_card = std::make_unique<PackageWidget>(sharedController(*m_engine), package);
        package->setState(static_cast<Package::State>(state));
        const QPushButton *action = actionOf(*m_card);
        QCOMPARE(action->text(), text);
        QCOMPARE(action->objectName(), objectName);
        QCOMPARE(action->isEnabled(), enabled);
        QVERIFY(sameIcon(action->icon(), lightGlyph(glyph)));
        QCOMPARE(!this->progress().isHidden(), progress);
        package->setState(state == Package::AVAILABLE ? Package::PREPARING : Package::AVAILABLE);
    }
}

void PackageWidgetTest::unknownStateChangesNothing()
{
    const PackagePointer package = somePackage();
    package->setState(Package::DOWNLOADING);
    show(package);
    package->setUpdateAvailable(true);
    package->setState(Package::UNKNOWN);
    QCOMPARE(actionOf(*m_card)->text(), QStringLiteral("Downloading"));
    QVERIFY(!progress().isHidden());
    // The labels were not refreshed either.
    QCOMPARE(child<QLabel>(*m_card, "PackageAvailable")->font().weight(), int(QFont::Normal));
}

// Fixed, see docs/compatibility.md.
void PackageWidgetTest::buttonIsStyledByItsState()
{
    qApp->setStyleSheet(QStringLiteral("#Download { color: #112233; } #Busy { color: #445566; }"));
    const PackagePointer package = somePackage();
    show(package);
    QCOMPARE(actionOf(*m_card)->palette().color(QPalette::ButtonText), QColor(0x11, 0x22, 0x33));
    package->setState(Package::PREPARING);
    QCOMPARE(actionOf(*m_card)->palette().color(QPalette::ButtonText), QColor(0x44, 0x55, 0x66));
    qApp->setStyleSheet(QString());
}

void PackageWidgetTest::nameIsPlainBoldText()
{
    show(somePackage(QStringLiteral("<b>Harbour</b> & City")));
    const auto *name = child<QLabel>(*m_card, "PackageName");
    QCOMPARE(name->text(), QStringLiteral("<b>Harbour</b> & City"));
    QCOMPARE(name->textFormat(), Qt::PlainText);
    QVERIFY(name->font().bold());
    QCOMPARE(name->font().pointSize(), 12);
}

void PackageWidgetTest::descriptionIsElidedToTheLabel()
{
    const PackagePointer package = somePackage();
    package->setShortDescription(QStringLiteral("word ").repeated(200));
    show(package);
    const auto *label = child<QLabel>(*m_card, "PackageDescription");
    QCOMPARE(label->textFormat(), Qt::PlainText);
    const QString full = package->shortDescription().simplified();
    QTRY_COMPARE(label->text(),
                 label->fontMetrics().elidedText(full, Qt::ElideRight, label->width() - 150));
    QVERIFY(label->text().endsWith(QChar(0x2026)));
    QVERIFY(label->text().size() > 10);
}

void PackageWidgetTest::descriptionIsElidedAnewWithTheWidth()
{
    const PackagePointer package = somePackage();
    package->setShortDescription(QStringLiteral("word ").repeated(30));
    show(package);
    const auto *label = child<QLabel>(*m_card, "PackageDescription");
    QTRY_VERIFY(label->text().size() > 10);
    const int before = label->text().size();
    m_card->resize(1100, 128);
    QTRY_VERIFY(label->text().size() > before);
    m_card->resize(2400, 128);
    QTRY_COMPARE(label->text(), package->shortDescription().simplified());
}

void PackageWidgetTest::longDescriptionStandsInForAShortOne()
{
    const PackagePointer package = somePackage();
    package->setDescription(QStringLiteral("First line\nsecond line"));
    show(package);
    QTRY_COMPARE(textOf(*m_card, "PackageDescription"), QStringLiteral("First line second line"));
}

void PackageWidgetTest::descriptionIsWithoutMarkup_data()
{
    QTest::addColumn<QString>("shortText");
    QTest::addColumn<QString>("longText");
    const QString rich = QStringLiteral("<p>Puts <b>lights</b> on<br>every pier.</p>");
    QTest::newRow("short") << rich << QStringLiteral("long");
    QTest::newRow("long") << QString() << rich;
}

void PackageWidgetTest::descriptionIsWithoutMarkup()
{
    QFETCH(QString, shortText);
    QFETCH(QString, longText);
    const PackagePointer package = somePackage();
    package->setShortDescription(shortText);
    package->setDescription(longText);
    show(package);
    QTRY_COMPARE(textOf(*m_card, "PackageDescription"),
                 QStringLiteral("Puts lights on every pier."));
}

void PackageWidgetTest::factsAreShown()
{
    show(somePackage());
    QCOMPARE(textOf(*m_card, "PackageInstalled"), QStringLiteral("Installed : "));
    QCOMPARE(textOf(*m_card, "PackageAvailable"), QStringLiteral("Available : 2.0"));
    QCOMPARE(child<QLabel>(*m_card, "PackageInstalled")->textFormat(), Qt::PlainText);
    QCOMPARE(child<QLabel>(*m_card, "PackageAvailable")->textFormat(), Qt::PlainText);
}

void PackageWidgetTest::packageWithoutVersionsHasNothingAvailable()
{
    show(makePackage(1, {}));
    QCOMPARE(textOf(*m_card, "PackageAvailable"), QStringLiteral("Available : "));
    // It offers a download all the same, and pressing it crashes nothing.
    QCOMPARE(actionOf(*m_card)->text(), QStringLiteral("Download"));
    actionOf(*m_card)->click();
    QCOMPARE(actionOf(*m_card)->text(), QStringLiteral("Download"));
}

void PackageWidgetTest::installedVersionIsShown()
{
    m_engine->offer({1, QStringLiteral("1.10")});
    QVERIFY(m_engine->refresh());
    show(m_engine->package(1));
    QVERIFY(m_engine->installAndWait(1));
    QTRY_COMPARE(textOf(*m_card, "PackageInstalled"), QStringLiteral("Installed : 1.10"));
    QCOMPARE(actionOf(*m_card)->text(), QStringLiteral("Installed"));
}

void PackageWidgetTest::availableVersionIsBoldWithAnUpdate()
{
    const PackagePointer package = somePackage();
    package->setUpdateAvailable(true);
    package->setState(Package::INSTALLED);
    show(package);
    QCOMPARE(child<QLabel>(*m_card, "PackageAvailable")->font().weight(), 75);
    package->setUpdateAvailable(false);
    package->setState(Package::AVAILABLE);
    QCOMPARE(child<QLabel>(*m_card, "PackageAvailable")->font().weight(), 50);
}

void PackageWidgetTest::priceIsGreen_data()
{
    QTest::addColumn<int>("productId");
    QTest::addColumn<QString>("text");
    QTest::newRow("free") << 0 << QStringLiteral("Status : <font color=\"#66b771\">Free</font>");
    QTest::newRow("negative") << -5
                              << QStringLiteral("Status : <font color=\"#66b771\">Free</font>");
    QTest::newRow("paid") << 1 << QStringLiteral("Status : <font color=\"#66b771\">Paid</font>");
}

void PackageWidgetTest::priceIsGreen()
{
    QFETCH(int, productId);
    QFETCH(QString, text);
    const PackagePointer package = somePackage();
    package->setProductId(productId);
    show(package);
    QCOMPARE(textOf(*m_card, "PackageStatus"), text);
}

void PackageWidgetTest::widgetsHaveTheirSizes()
{
    show(somePackage());
    QCOMPARE(m_card->objectName(), QStringLiteral("PackageWidget"));
    QCOMPARE(icon().minimumSize(), QSize(96, 96));
    QCOMPARE(icon().maximumSize(), QSize(96, 96));
    QVERIFY(icon().testAttribute(Qt::WA_TranslucentBackground));
    QCOMPARE(icon().alignment(), Qt::Alignment(Qt::AlignCenter));
    QCOMPARE(progress().maximumHeight(), 16);
    QCOMPARE(actionOf(*m_card)->maximumWidth(), 192);
    const auto *detail = child<QPushButton>(*m_card, "MoreDetail");
    QCOMPARE(detail->text(), QStringLiteral("More Detail"));
    QVERIFY(sameIcon(detail->icon(), darkGlyph(0xf05a)));
    QVERIFY(hasHand(*detail));
    QVERIFY(hasHand(*actionOf(*m_card)));
    QVERIFY(m_card->sizeHint().height() <= 128);
}

void PackageWidgetTest::progressCountsThousandsOfBytes_data()
{
    QTest::addColumn<qint64>("total");
    QTest::addColumn<int>("maximum");
    QTest::newRow("less than one") << 999LL << 0;
    QTest::newRow("unknown") << -1LL << 0;
    QTest::newRow("some") << 5999LL << 5;
    QTest::newRow("more than an int holds") << 5000000000000LL << 2147483647;
}

void PackageWidgetTest::progressCountsThousandsOfBytes()
{
    QFETCH(qint64, total);
    QFETCH(int, maximum);
    const PackagePointer package = somePackage();
    show(package);
    QCOMPARE(progress().minimum(), 0);
    QCOMPARE(progress().maximum(), 0);
    package->setState(Package::DOWNLOADING);
    emit package->totalSize(total);
    QCOMPARE(progress().maximum(), maximum);
    emit package->totalSize(9000);
    emit package->downloadedSize(3999);
    QCOMPARE(progress().value(), 3);
}

void PackageWidgetTest::progressKeepsItsPlaceWhenHidden()
{
    show(somePackage());
    QVERIFY(progress().isHidden());
    QVERIFY(progress().sizePolicy().retainSizeWhenHidden());
}

void PackageWidgetTest::progressMovesWhereNothingCanBeMeasured_data()
{
    QTest::addColumn<int>("state");
    QTest::newRow("unpacking") << int(Package::INSTALLING);
    QTest::newRow("removing") << int(Package::UNINSTALLING);
}

void PackageWidgetTest::progressMovesWhereNothingCanBeMeasured()
{
    QFETCH(int, state);
    const PackagePointer package = somePackage();
    show(package);
    package->setState(Package::DOWNLOADING);
    emit package->totalSize(9000);
    emit package->downloadedSize(3999);
    QCOMPARE(progress().maximum(), 9);
    package->setState(static_cast<Package::State>(state));
    QCOMPARE(progress().minimum(), 0);
    QCOMPARE(progress().maximum(), 0);
    QCOMPARE(progress().value(), 0);
    QVERIFY(progress().isVisible());
}

void PackageWidgetTest::newCardShowsTheRunningDownload()
{
    m_engine->offer({1, QStringLiteral("1.0")});
    auto &archive =
        m_engine->server().serveGenerated(QStringLiteral("/package-1-1.0.zip"), 8000000);
    archive.holdAfter = 3000000;
    QVERIFY(m_engine->refresh());
    m_engine->install(1);
    QVERIFY(m_engine->waitForState(1, Package::DOWNLOADING));
    // As the transfer does from time to time.
    m_engine->controller().runningDownload(m_engine->package(1))->setCurrentSize(2500000);
    show(m_engine->package(1));
    QCOMPARE(progress().maximum(), 8000);
    QCOMPARE(progress().value(), 2500);
    m_card.reset();
}

void PackageWidgetTest::errorIsToldOnAVisibleCard_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::newRow("install") << int(Package::INSTALL_ERROR) << QStringLiteral("Install Error")
                             << QStringLiteral("Installation failed for package : Harbour");
    QTest::newRow("download") << int(Package::DOWNLOAD_ERROR) << QStringLiteral("Download Error")
                              << QStringLiteral("Downloading failed for package : Harbour");
    QTest::newRow("dependency")
        << int(Package::DEPENDENCY_ERROR) << QStringLiteral("Dependency Error")
        << QStringLiteral("Unable to install one or more dependency for package : Harbour");
}

void PackageWidgetTest::errorIsToldOnAVisibleCard()
{
    QFETCH(int, state);
    QFETCH(QString, title);
    QFETCH(QString, text);
    const PackagePointer package = somePackage();
    show(package);
    MessageBoxAnswers answers;
    answers.expect(title, text, QMessageBox::Ok);
    package->setState(static_cast<Package::State>(state));
    QCoreApplication::sendPostedEvents();
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Critical);
    QCOMPARE(answers.shown().first().parent, m_card.get());
    QCOMPARE(actionOf(*m_card)->objectName(), QStringLiteral("Error"));
}

void PackageWidgetTest::hiddenCardTellsNoError()
{
    const PackagePointer package = somePackage();
    show(package);
    m_card->hide();
    const MessageBoxAnswers answers;
    package->setState(Package::INSTALL_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(answers.shown().isEmpty());
    QCOMPARE(actionOf(*m_card)->text(), QStringLiteral("Install Error"));
}

/// It was told when it came about.
void PackageWidgetTest::cardThatBeginsWithAnErrorTellsNone()
{
    const PackagePointer package = somePackage();
    package->setState(Package::INSTALL_ERROR);
    QWidget list;
    list.show();
    const MessageBoxAnswers answers;
    const PackageWidget card(sharedController(*m_engine), package, &list);
    QCoreApplication::sendPostedEvents();
    QVERIFY(answers.shown().isEmpty());
    QCOMPARE(actionOf(card)->text(), QStringLiteral("Install Error"));
}

void PackageWidgetTest::nameInAnErrorIsPlain()
{
    const PackagePointer package = somePackage(QStringLiteral("<b>x</b>"));
    show(package);
    Qt::TextFormat format = Qt::AutoText;
    QString text;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            format = box->textFormat();
            text = box->text();
            box->accept();
        }
    });
    timer.start(2);
    package->setState(Package::INSTALL_ERROR);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(format, Qt::PlainText);
    QCOMPARE(text, QStringLiteral("Installation failed for package : <b>x</b>"));
}

void PackageWidgetTest::buttonSaysHowToTryAgain()
{
    const QString hint = QStringLiteral("To try again, press Refresh at the top");
    const PackagePointer package = somePackage();
    show(package);
    m_card->hide();
    for (int state = Package::AVAILABLE; state < Package::UNKNOWN; ++state) {
        package->setState(static_cast<Package::State>(state));
        const QString expected = Package::isError(package->state()) ? hint : QString();
        QCOMPARE(actionOf(*m_card)->toolTip(), expected);
        QCOMPARE(actionOf(*m_card)->accessibleDescription(), expected);
    }
    package->setState(Package::AVAILABLE);
    QCOMPARE(actionOf(*m_card)->toolTip(), QString());
}

void PackageWidgetTest::cardMayGoWhileItsErrorIsTold()
{
    const PackagePointer package = somePackage();
    show(package);
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this] {
        if (QApplication::activeModalWidget())
            m_card.reset();
    });
    timer.start(2);
    package->setState(Package::DOWNLOAD_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(!m_card);
}

void PackageWidgetTest::moreDetailAsksForTheDetail()
{
    const PackagePointer package = somePackage();
    show(package);
    PackagePointer asked;
    connect(&m_engine->controller(), &PackageController::detail, this,
            [&asked](const PackagePointer &shown) { asked = shown; });
    child<QPushButton>(*m_card, "MoreDetail")->click();
    QCOMPARE(asked, package);
}

void PackageWidgetTest::actionInstalls()
{
    m_engine->offer({1, QStringLiteral("1.0")});
    QVERIFY(m_engine->refresh());
    show(m_engine->package(1));
    actionOf(*m_card)->click();
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(1));
    QTRY_COMPARE(actionOf(*m_card)->objectName(), QStringLiteral("Installed"));
    QCOMPARE(readFile(m_engine->simulator(Engine::fileOf(1))),
             Engine::contentOf(1, QStringLiteral("1.0")));
}

void PackageWidgetTest::stateOfAnInstallationArrivesOnTheMainThread()
{
    m_engine->offer({1, QStringLiteral("1.0")});
    QVERIFY(m_engine->refresh());
    show(m_engine->package(1));
    QVector<QThread *> threads;
    connect(actionOf(*m_card), &QObject::objectNameChanged, this,
            [&threads] { threads.append(QThread::currentThread()); });
    // A change on another thread in the meantime would be lost here.
    QObject context;
    QVector<QThread *> direct;
    connect(
        actionOf(*m_card), &QObject::objectNameChanged, &context,
        [&direct] { direct.append(QThread::currentThread()); }, Qt::DirectConnection);
    QVERIFY(m_engine->installAndWait(1));
    QTRY_COMPARE(actionOf(*m_card)->objectName(), QStringLiteral("Installed"));
    QVERIFY(!direct.isEmpty());
    for (const QThread *thread : qAsConst(direct))
        QCOMPARE(thread, QThread::currentThread());
    QCOMPARE(threads, direct);
}

void PackageWidgetTest::iconIsShown()
{
    const PackagePointer package = somePackage();
    package->setIcon(serveIcon(png(QSize(64, 64), Qt::red)));
    show(package);
    QVERIFY(icon().movie());
    QCOMPARE(icon().movie()->scaledSize(), QSize(24, 24));
    QTRY_COMPARE(shownColor(icon()), QColor(Qt::red));
    QVERIFY(icon().hasScaledContents());
    QVERIFY(!icon().movie());
    QCOMPARE(m_engine->server().log(), QStringList({QStringLiteral("GET /icon.png")}));
}

void PackageWidgetTest::packageWithoutIconFetchesNothing()
{
    show(somePackage());
    QVERIFY(icon().movie());
    QVERIFY(!m_engine->downloads()->find(QString()));
}

void PackageWidgetTest::missingIconHasATileWithTheFirstLetter_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("same");
    QTest::addColumn<bool>("hasLetter");
    QTest::newRow("letter") << QStringLiteral("Harbour") << QStringLiteral("hills") << true;
    QTest::newRow("after a bracket") << QStringLiteral("(Harbour)") << QStringLiteral("H") << true;
    QTest::newRow("digit") << QStringLiteral("2 Seas") << QStringLiteral("2") << true;
    QTest::newRow("letter of two code units")
        << QStringLiteral("\U00020BB7\u91CE") << QStringLiteral("\U00020BB7") << true;
    QTest::newRow("nothing to read") << QStringLiteral("...") << QString() << false;
}

void PackageWidgetTest::missingIconHasATileWithTheFirstLetter()
{
    QFETCH(QString, name);
    QFETCH(QString, same);
    QFETCH(bool, hasLetter);
    const auto tileOf = [this](const QString &shown) {
        show(somePackage(shown));
        icon().setStyleSheet(QStringLiteral("color: #0000ff; qproperty-tile: #00ff00;"));
        QImage picture(icon().size(), QImage::Format_RGB32);
        picture.fill(Qt::white);
        icon().render(&picture, QPoint(), QRegion(0, 0, 96, 56));
        return picture;
    };
    const QImage tile = tileOf(name);
    QCOMPARE(tile.pixelColor(48, 3), QColor(Qt::green));
    bool inked = false;
    for (int y = 0; y < 56; ++y) {
        for (int x = 0; x < 96; ++x)
            inked = inked || tile.pixelColor(x, y) == QColor(Qt::blue);
    }
    QCOMPARE(inked, hasLetter);
    // Without a letter the animation moves in its place.
    QCOMPARE(icon().contentsRect().top() > 0, hasLetter);
    if (hasLetter)
        QCOMPARE(tileOf(same), tile);
}

void PackageWidgetTest::tileGoesWhenTheIconComes()
{
    const PackagePointer package = somePackage();
    package->setIcon(serveIcon(png(QSize(96, 96), Qt::red)));
    show(package);
    icon().setStyleSheet(QStringLiteral("qproperty-tile: #00ff00;"));
    QTRY_COMPARE(shownColor(icon()), QColor(Qt::red));
    const QImage picture = icon().grab().toImage();
    QCOMPARE(picture.pixelColor(48, 1), QColor(Qt::red));
    QCOMPARE(picture.pixelColor(48, 94), QColor(Qt::red));
}

void PackageWidgetTest::wordOfThePriceStandsOnItsGround()
{
    show(somePackage());
    auto *status = child<QLabel>(*m_card, "PackageStatus");
    status->setStyleSheet(QStringLiteral("qproperty-ground: #0000ff;"));
    QCoreApplication::processEvents();
    const QImage picture = status->grab().toImage();
    const int caption = status->fontMetrics().horizontalAdvance(QStringLiteral("Status :"));
    const int middle = picture.height() / 2;
    QCOMPARE(picture.pixelColor(picture.width() - 4, middle), QColor(Qt::blue));
    for (int x = 0; x < caption - 4; ++x)
        QVERIFY(picture.pixelColor(x, middle) != QColor(Qt::blue));
}

void PackageWidgetTest::factsOfAllCardsStandBelowEachOther()
{
    const auto placeOfFacts = [this](const QString &version) {
        show(makePackage(1, {makeVersion(version)}));
        QCoreApplication::processEvents();
        return qMakePair(child<QLabel>(*m_card, "PackageAvailable")->x(),
                         child<QLabel>(*m_card, "PackageStatus")->x());
    };
    QCOMPARE(placeOfFacts(QStringLiteral("1")), placeOfFacts(QStringLiteral("10.2")));
}

void PackageWidgetTest::failedIconLeavesTheAnimation()
{
    const PackagePointer package = somePackage();
    // The page of the error is a good picture.
    package->setIcon(serveIcon(png(QSize(64, 64), Qt::red)));
    m_engine->server().resource(QStringLiteral("/icon.png")).getStatus = 404;
    show(package);
    const auto download = m_engine->downloads()->find(package->icon());
    QSignalSpy failed(download.data(), &Kavo::Models::Download::error);
    QSignalSpy finished(download.data(), &Kavo::Models::Download::finished);
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(failed.count(), 1);
    QVERIFY(icon().movie());
    QCOMPARE(icon().movie()->state(), QMovie::Running);
    QVERIFY(!icon().hasScaledContents());
}

void PackageWidgetTest::brokenIconIsLogged()
{
    const PackagePointer package = somePackage();
    package->setIcon(serveIcon("no picture at all"));
    const LogCapture log;
    show(package);
    QTRY_COMPARE(log.count(QStringLiteral("Picture cannot be shown : ")), 1);
    QCOMPARE(shownColor(icon()), QColor(Qt::transparent));
}

void PackageWidgetTest::hugeIconIsShown()
{
    const PackagePointer package = somePackage();
    package->setIcon(serveIcon(png(QSize(10000, 500), Qt::red)));
    show(package);
    QTRY_COMPARE(shownColor(icon()), QColor(Qt::red));
    QVERIFY(icon().pixmap()->width() <= 96);
    QCOMPARE(icon().size(), QSize(96, 96));
}

void PackageWidgetTest::cardMayGoBeforeItsIconArrives()
{
    const PackagePointer package = somePackage();
    package->setIcon(serveIcon(png(QSize(64, 64), Qt::red)));
    m_engine->server().resource(QStringLiteral("/icon.png")).holdsGet = true;
    show(package);
    QVERIFY(m_engine->server().waitForRequests(1));
    const auto download = m_engine->downloads()->find(package->icon());
    QSignalSpy finished(download.data(), &Kavo::Models::Download::finished);
    m_card.reset();
    m_engine->server().release(QStringLiteral("/icon.png"));
    QVERIFY(finished.wait());
}

KAVO_TEST_MAIN(PackageWidgetTest)
#include "PackageWidgetTest.moc"
