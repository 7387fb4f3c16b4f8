#include "ui/window/PackageContainer.h"
#include "core/Settings.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/PackageProcessingWidget.h"
#include "ui/window/PackageSidebar.h"

#include <QComboBox>
#include <QFileInfo>
#include <QListWidget>
#include <QPointer>
#include <QSignalSpy>

#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Settings;
using Kavo::Controllers::PackageController;
using Kavo::Models::Package;
using Kavo::Models::PackagePointer;

class PackageContainerTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }
    void init();
    void cleanup();

    void constructionAsksForTheCatalogue();
    void catalogueBecomesCards();
    void listHasItsLook();
    void contentStaysReadableOnAWideScreen_data();
    void contentStaysReadableOnAWideScreen();
    void signalsSwitchTheArea_data();
    void signalsSwitchTheArea();
    void onlyTheExactTextHidesTheSidebar_data();
    void onlyTheExactTextHidesTheSidebar();
    void choicesOfTheSidebarLeaveTheListUnchanged();
    void updateRebuildsTheHiddenListWithoutShowingIt();
    void updateLeavesAShownListShown();
    void shownListIsHiddenWhileItIsFilled();
    void rebuiltListHoldsNewCardsOnly();
    void failedCatalogueIsTold();
    void detailOpensAndBackCloses();
    void escapeClosesTheDetail();
    void hiddenCardTellsNoErrorWhileTheDetailIsOpen();
    void dependencyErrorIsToldForTheDetailToo();
    void errorIsToldAlthoughSomethingElseIsShown_data();
    void errorIsToldAlthoughSomethingElseIsShown();
    void refreshWhileAnErrorIsTold();
    void openErrorBoxDoesNotHoldUpTheRecord();
    void refreshWhileAQuestionIsAsked();
    void refreshDuringADownloadKeepsItShown();
    void keyboardInstalls();

private:
    struct Area
    {
        bool list;
        bool detail;
        bool sidebar;
        bool processing;
    };

    /// Shows a container with these packages.
    void open(int packages = 2);
    Area area() const;
    QListWidget &list() const { return *child<QListWidget>(*m_container, "PackageList"); }
    PackageWidget *card(int row) const;
    /// The first PackageProcessingWidget outside of the detail view.
    PackageProcessingWidget *processing() const;
    PackageController &controller() const { return m_engine->controller(); }
    void expectError(MessageBoxAnswers &answers, int id) const
    {
        answers.expect(QStringLiteral("Install Error"),
                       QStringLiteral("Installation failed for package : package-%1").arg(id),
                       QMessageBox::Ok);
    }

    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<PackageContainer> m_container;
};

void PackageContainerTest::init()
{
    m_engine = std::make_unique<Engine>();
}

void PackageContainerTest::cleanup()
{
    m_container.reset();
    m_engine.reset();
}

void PackageContainerTest::open(int packages)
{
    for (int id = 1; id <= packages; ++id)
        m_engine->offer({id, QStringLiteral("1.0")});
    m_engine->start();
    m_engine->serveCatalogue();
    m_container = std::make_unique<PackageContainer>(sharedController(*m_engine));
    m_container->resize(1300, 700);
    m_container->show();
    QSignalSpy listed(&controller(), &PackageController::list);
    QVERIFY(listed.wait());
}

PackageContainerTest::Area PackageContainerTest::area() const
{
    return {!list().isHidden(), !m_container->findChild<PackageDetailWidget *>()->isHidden(),
            !m_container->findChild<PackageSidebar *>()->isHidden(), !processing()->isHidden()};
}

PackageWidget *PackageContainerTest::card(int row) const
{
    return qobject_cast<PackageWidget *>(list().indexWidget(list().model()->index(row, 0)));
}

PackageProcessingWidget *PackageContainerTest::processing() const
{
    return m_container->findChild<PackageProcessingWidget *>(QString(), Qt::FindDirectChildrenOnly);
}

void PackageContainerTest::constructionAsksForTheCatalogue()
{
    m_engine->start();
    m_engine->serveCatalogue();
    QSignalSpy busy(&controller(), &PackageController::busy);
    m_container = std::make_unique<PackageContainer>(sharedController(*m_engine));
    QCOMPARE(m_container->objectName(), QStringLiteral("PackageContainer"));
    QCOMPARE(busy.count(), 1);
    QVERIFY(!area().list);
    QVERIFY(!area().detail);
    QVERIFY(area().processing);
}

void PackageContainerTest::catalogueBecomesCards()
{
    open(3);
    QCOMPARE(list().count(), 3);
    QVERIFY(list().isVisible());
    for (int row = 0; row < 3; ++row) {
        QCOMPARE(textOf(*card(row), "PackageName"), QStringLiteral("package-%1").arg(row + 1));
        QCOMPARE(list().item(row)->sizeHint(), QSize(card(row)->sizeHint().width(), 128));
        QVERIFY(card(row)->isVisible());
    }
}

void PackageContainerTest::listHasItsLook()
{
    open();
    QCOMPARE(list().selectionMode(), QAbstractItemView::NoSelection);
    QCOMPARE(list().verticalScrollMode(), QAbstractItemView::ScrollPerPixel);
}

void PackageContainerTest::contentStaysReadableOnAWideScreen_data()
{
    QTest::addColumn<QString>("filter");
    QTest::newRow("list alone") << QStringLiteral("false");
    QTest::newRow("beside the sidebar") << QStringLiteral("true");
}

void PackageContainerTest::contentStaysReadableOnAWideScreen()
{
    QFETCH(QString, filter);
    m_engine->settings()->setPending(Kavo::Settings::SHOW_FILTER, filter);
    m_engine->settings()->apply();
    open();
    m_container->resize(3840, 2000);
    QTRY_COMPARE(list().width(), 1200);
    // In the middle, with what stands beside it.
    const auto *sidebar = child<QWidget>(*m_container, "PackageSidebar");
    const int left = sidebar->isVisible() ? sidebar->geometry().left() : list().geometry().left();
    const int right = m_container->width() - 1 - list().geometry().right();
    QVERIFY2(qAbs(left - right) < 8, qPrintable(QStringLiteral("%1, %2").arg(left).arg(right)));
    emit controller().detail(controller().packages().first());
    auto *page = child<QWidget>(*m_container, "PackageDetail");
    QTRY_COMPARE(page->width(), 1200);
}

void PackageContainerTest::signalsSwitchTheArea_data()
{
    QTest::addColumn<QString>("signal");
    QTest::addColumn<bool>("list");
    QTest::addColumn<bool>("detail");
    QTest::addColumn<bool>("sidebar");
    QTest::addColumn<bool>("processing");
    const auto row = [](const char *signal, bool list, bool detail, bool sidebar, bool processing) {
        QTest::newRow(signal) << QString::fromLatin1(signal) << list << detail << sidebar
                              << processing;
    };
    row("busy", false, false, false, true);
    row("empty", false, false, false, true);
    row("list", true, false, true, false);
    row("error", false, false, false, true);
    row("detail", false, true, false, false);
}

void PackageContainerTest::signalsSwitchTheArea()
{
    QFETCH(QString, signal);
    QFETCH(bool, list);
    QFETCH(bool, detail);
    QFETCH(bool, sidebar);
    QFETCH(bool, processing);
    m_engine->settings()->setPending(Settings::SHOW_FILTER, QStringLiteral("true"));
    m_engine->settings()->apply();
    open();
    const PackagePointer package = m_engine->package(1);
    const auto send = [this, &package](const QString &name) {
        if (name == QLatin1String("busy"))
            emit controller().busy();
        else if (name == QLatin1String("empty"))
            emit controller().empty();
        else if (name == QLatin1String("list"))
            emit controller().list();
        else if (name == QLatin1String("error"))
            emit controller().error(QStringLiteral("Server Error"));
        else
            emit controller().detail(package);
    };
    // Whatever was shown before, and whatever an update finds.
    for (const char *before : {"list", "detail", "busy", "error"}) {
        send(QString::fromLatin1(before));
        send(signal);
        for (int round = 0; round < 2; ++round) {
            QCOMPARE(area().list, list);
            QCOMPARE(area().detail, detail);
            QCOMPARE(area().sidebar, sidebar);
            QCOMPARE(area().processing, processing);
            emit controller().update();
        }
    }
}

void PackageContainerTest::onlyTheExactTextHidesTheSidebar_data()
{
    QTest::addColumn<QString>("setting");
    QTest::addColumn<bool>("shown");
    QTest::newRow("false") << QStringLiteral("false") << false;
    QTest::newRow("capital F") << QStringLiteral("False") << true;
    QTest::newRow("true") << QStringLiteral("true") << true;
    QTest::newRow("empty") << QString() << true;
}

void PackageContainerTest::onlyTheExactTextHidesTheSidebar()
{
    QFETCH(QString, setting);
    QFETCH(bool, shown);
    m_engine->settings()->setPending(Settings::SHOW_FILTER, setting);
    m_engine->settings()->apply();
    open();
    QCOMPARE(area().sidebar, shown);
}

// Fixed, see docs/compatibility.md.
void PackageContainerTest::choicesOfTheSidebarLeaveTheListUnchanged()
{
    open();
    const QPointer<PackageWidget> first(card(0));
    auto *sidebar = m_container->findChild<PackageSidebar *>();
    sidebar->findChild<QComboBox *>()->setCurrentIndex(1);
    auto *types = sidebar->findChild<QListWidget *>();
    for (int row = 0; row < types->count(); ++row)
        types->item(row)->setCheckState(Qt::Unchecked);
    QCoreApplication::sendPostedEvents();
    QCOMPARE(list().count(), 2);
    QCOMPARE(card(0), first.data());
    QVERIFY(card(1)->isVisible());
}

void PackageContainerTest::updateRebuildsTheHiddenListWithoutShowingIt()
{
    open();
    emit controller().detail(m_engine->package(1));
    const QPointer<PackageWidget> before = card(0);
    emit controller().update();
    QVERIFY(before.isNull());
    QCOMPARE(list().count(), 2);
    QVERIFY(card(0));
    QVERIFY(!area().list);
    QVERIFY(area().detail);
}

void PackageContainerTest::updateLeavesAShownListShown()
{
    open();
    emit controller().update();
    QVERIFY(list().isVisible());
    QVERIFY(card(0)->isVisible());
}

void PackageContainerTest::shownListIsHiddenWhileItIsFilled()
{
    open();
    QVERIFY(list().isVisible());
    // Every row added to a visible list has all of them laid out anew.
    int hidden = 0;
    connect(list().model(), &QAbstractItemModel::rowsInserted, this,
            [this, &hidden] { hidden += list().isHidden() ? 1 : 0; });
    emit controller().update();
    QCOMPARE(hidden, 2);
    QVERIFY(list().isVisible());
}

void PackageContainerTest::rebuiltListHoldsNewCardsOnly()
{
    open();
    m_engine->offer({3, QStringLiteral("1.0")});
    QVERIFY(m_engine->refresh());
    QCOMPARE(list().count(), 3);
    QCOMPARE(m_container->findChildren<PackageWidget *>().size(), 3);
}

void PackageContainerTest::failedCatalogueIsTold()
{
    m_engine->start();
    m_container = std::make_unique<PackageContainer>(sharedController(*m_engine));
    m_container->show();
    QTRY_COMPARE(textOf(*processing(), "ProcessingMessage"), QStringLiteral("Server Error"));
    QVERIFY(processing()->isVisible());
    QVERIFY(!area().list);
    // The list comes back with the next catalogue.
    m_engine->offer({1, QStringLiteral("1.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(list().isVisible());
    QVERIFY(!area().processing);
}

void PackageContainerTest::detailOpensAndBackCloses()
{
    open();
    child<QPushButton>(*card(1), "MoreDetail")->click();
    QVERIFY(area().detail);
    QCOMPARE(textOf(*m_container, "DetailTitle"), QStringLiteral("package-2"));
    child<QPushButton>(*m_container, "BackButton")->click();
    QVERIFY(!area().detail);
    QVERIFY(area().list);
}

void PackageContainerTest::escapeClosesTheDetail()
{
    open();
    QVERIFY(QTest::qWaitForWindowActive(m_container.get()));
    auto *button = child<QPushButton>(*card(1), "MoreDetail");
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Space);
    QVERIFY(area().detail);
    QVERIFY(QApplication::focusWidget());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QVERIFY(area().list);
    // The keyboard is where it was.
    QCOMPARE(QApplication::focusWidget(), button);
}

void PackageContainerTest::hiddenCardTellsNoErrorWhileTheDetailIsOpen()
{
    open();
    emit controller().detail(m_engine->package(1));
    const MessageBoxAnswers answers;
    m_engine->package(2)->setState(Package::INSTALL_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(answers.shown().isEmpty());
    QVERIFY(child<QPushButton>(*card(1), "Error"));
}

void PackageContainerTest::dependencyErrorIsToldForTheDetailToo()
{
    open();
    emit controller().detail(m_engine->package(1));
    controller().showList();
    const QString title = QStringLiteral("Dependency Error");
    const QString text =
        QStringLiteral("Unable to install one or more dependency for package : package-1");
    MessageBoxAnswers answers;
    // The detail view, which does not mind being hidden, and the card have one box.
    answers.expect(title, text, QMessageBox::Ok);
    m_engine->package(1)->setState(Package::DEPENDENCY_ERROR);
    QVERIFY(answers.waitForAll());

    // An install error is told by the card alone.
    expectError(answers, 1);
    m_engine->package(1)->setState(Package::INSTALL_ERROR);
    QVERIFY(answers.waitForAll());

    // Without a list there is the detail view alone.
    emit controller().busy();
    answers.expect(title, text, QMessageBox::Ok);
    m_engine->package(1)->setState(Package::DEPENDENCY_ERROR);
    QVERIFY(answers.waitForAll());
    m_engine->package(1)->setState(Package::INSTALL_ERROR);
    m_engine->package(2)->setState(Package::DEPENDENCY_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(!QApplication::activeModalWidget());
}

void PackageContainerTest::errorIsToldAlthoughSomethingElseIsShown_data()
{
    QTest::addColumn<bool>("page");
    QTest::addColumn<QString>("next");
    for (const char *next : {"refresh", "detail", "detail of another", "list"}) {
        QTest::addRow("list, %s", next) << false << QString::fromLatin1(next);
        QTest::addRow("page, %s", next) << true << QString::fromLatin1(next);
    }
}

/// In one and the same turn, before anything could be told.
void PackageContainerTest::errorIsToldAlthoughSomethingElseIsShown()
{
    QFETCH(bool, page);
    QFETCH(QString, next);
    open();
    if (page)
        emit controller().detail(m_engine->package(1));
    MessageBoxAnswers answers;
    expectError(answers, 1);
    const PackagePointer failing = m_engine->package(1);
    failing->setState(Package::INSTALL_ERROR);
    if (next == QLatin1String("refresh"))
        QVERIFY(m_engine->refresh());
    else if (next == QLatin1String("list"))
        controller().showList();
    else
        emit controller().detail(m_engine->package(next == QLatin1String("detail") ? 1 : 2));
    QVERIFY(answers.waitForAll());
    QCoreApplication::sendPostedEvents();
    QVERIFY(!QApplication::activeModalWidget());
}

void PackageContainerTest::openErrorBoxDoesNotHoldUpTheRecord()
{
    open();
    m_engine->server().resource(QStringLiteral("/package-1-1.0.zip")).body = "no archive";
    int recorded = -1;
    bool busy = true;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this, &recorded, &busy] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            recorded = m_engine->recordedStatus(1);
            busy = controller().isBusy();
            box->accept();
        }
    });
    timer.start(2);
    m_engine->install(1);
    QTRY_COMPARE(recorded, int(Package::INSTALL_ERROR));
    QVERIFY(!busy);
}

void PackageContainerTest::refreshWhileAnErrorIsTold()
{
    open();
    const QPointer<PackageWidget> failed = card(0);
    QTimer timer;
    bool stays = false;
    connect(&timer, &QTimer::timeout, this, [this, &failed, &stays] {
        QPointer<QWidget> box = QApplication::activeModalWidget();
        if (!box)
            return;
        emit controller().update();
        // Not read yet.
        stays = !failed && box && box->isVisible();
        if (box)
            box->close();
    });
    timer.start(2);
    m_engine->package(1)->setState(Package::INSTALL_ERROR);
    QCoreApplication::sendPostedEvents();
    QVERIFY(stays);
    QVERIFY(!QApplication::activeModalWidget());
    QCOMPARE(list().count(), 2);
}

void PackageContainerTest::refreshWhileAQuestionIsAsked()
{
    m_engine->offer({5, QStringLiteral("1.0"), QStringList(QStringLiteral("1:1.0"))});
    open();
    QTimer timer;
    bool asked = false;
    connect(&timer, &QTimer::timeout, this, [this, &asked] {
        if (QApplication::activeModalWidget()) {
            asked = true;
            emit controller().update();
        }
    });
    timer.start(2);
    QTest::mouseClick(child<QPushButton>(*card(0), "Download"), Qt::LeftButton);
    QVERIFY(asked);
    QCOMPARE(m_engine->package(5)->state(), Package::AVAILABLE);
    QCOMPARE(list().count(), 3);
}

void PackageContainerTest::refreshDuringADownloadKeepsItShown()
{
    open(1);
    m_engine->server().serveGenerated(QStringLiteral("/package-1-1.0.zip"), 4000000).holdAfter =
        1000000;
    child<QPushButton>(*card(0), "Download")->click();
    QVERIFY(m_engine->waitForState(1, Package::DOWNLOADING));
    QVERIFY(m_engine->refresh());
    QCOMPARE(child<QPushButton>(*card(0), "Busy")->text(), QStringLiteral("Downloading"));
    const QString archive = m_engine->cached(QStringLiteral("package-1-1.0.zip"));
    QTRY_COMPARE(QFileInfo(archive).size(), 1000000LL);
    MessageBoxAnswers answers;
    // What is generated is no archive.
    answers.expect(QStringLiteral("Install Error"),
                   QStringLiteral("Installation failed for package : package-1"), QMessageBox::Ok);
    m_engine->server().release(QStringLiteral("/package-1-1.0.zip"));
    QVERIFY(answers.waitForAll());
    QCOMPARE(child<QPushButton>(*card(0), "Error")->text(), QStringLiteral("Install Error"));
}

void PackageContainerTest::keyboardInstalls()
{
    open(1);
    auto *button = child<QPushButton>(*card(0), "Download");
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Space);
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(1));
}

KAVO_TEST_MAIN(PackageContainerTest)
#include "PackageContainerTest.moc"
