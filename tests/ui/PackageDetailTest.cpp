#include "components/Carousel.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "ui/detail/PackageDetailInfoWidget.h"
#include "ui/detail/PackageDetailOldVersionWidget.h"
#include "ui/detail/PackageDetailOldVersionsList.h"
#include "ui/detail/PackageDetailTitleBar.h"
#include "ui/detail/PackageDetailWidget.h"

#include <QLayout>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTabWidget>

#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Components::Carousel;
using Kavo::Controllers::PackageController;
using Kavo::Models::Package;
using Kavo::Models::PackagePointer;

namespace {

PackagePointer twoVersions()
{
    const QStringList changes{QStringLiteral("Better lights"), QStringLiteral("More <i>sea</i>")};
    const PackagePointer package = makePackage(
        7, {makeVersion(QStringLiteral("2.0"), {}, changes), makeVersion(QStringLiteral("1.0"))});
    package->setDescription(QStringLiteral("<b>A description</b>"));
    package->setType(QStringLiteral("<u>PLUGIN</u>"));
    return package;
}

/// More than the page can show, in every part of it that scrolls.
PackagePointer longTexts()
{
    QVector<Kavo::Models::PackageVersionPointer> versions;
    for (int number = 40; number > 0; --number)
        versions.append(makeVersion(QString::number(number), {},
                                    {QStringLiteral("Many words on one line. ").repeated(20)}));
    const PackagePointer package = makePackage(8, versions);
    package->setDescription(QStringLiteral("Many words on many lines. ").repeated(500));
    return package;
}

} // namespace

class PackageDetailTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }
    void init();
    void cleanup();

    void pageHasItsLayout();
    void scrollAreasShowNoBar();
    void settingAPackageShowsThePage();
    void descriptionMayBeRich();
    void changeLogListsEveryVersion();
    void pageStartsOnTheDescription();
    void carouselIsShownForBannersOnly();
    void backAsksForTheList();
    void escapeAsksForTheList();
    void noPackageIsNotShown();
    void tabsAreAsHighAsTheirPage();
    void tabsFitThePageThatIsTurnedTo();
    void longPageLeavesSightOfTheRest();
    void pageOpensAtItsTop();
    void noSidewaysBarStays();
    void longWordDoesNotWidenThePage();

    void factsOfAnAvailablePackage();
    void factsOfAnInstalledPackage();
    void productIdIsShownFromOne_data();
    void productIdIsShownFromOne();
    void factsOfAPackageWithoutVersions();
    void factsLineUp();

    void versionsAreListed();
    void installedVersionIsMarked();
    void versionsOfThePackageBeforeAreGone();
    void buttonOfAVersionInstallsIt();
    void rowAnnouncesItsClick();

private:
    QStringList facts(const QWidget &root) const;
    QList<PackageDetailOldVersionWidget *> rows(const PackageDetailOldVersionsList &list) const;

    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<PackageDetailWidget> m_page;
};

void PackageDetailTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_engine->start();
    m_page = std::make_unique<PackageDetailWidget>(sharedController(*m_engine));
    m_page->resize(1000, 700);
}

void PackageDetailTest::cleanup()
{
    m_page.reset();
    m_engine.reset();
}

QStringList PackageDetailTest::facts(const QWidget &root) const
{
    QStringList texts;
    for (const QLabel *label : allChildren<QLabel>(root, "FactLabel"))
        texts.append(label->text());
    return texts;
}

QList<PackageDetailOldVersionWidget *>
PackageDetailTest::rows(const PackageDetailOldVersionsList &list) const
{
    QList<PackageDetailOldVersionWidget *> widgets;
    for (int row = 0; row < list.count(); ++row)
        widgets.append(qobject_cast<PackageDetailOldVersionWidget *>(
            list.indexWidget(list.model()->index(row, 0))));
    return widgets;
}

void PackageDetailTest::pageHasItsLayout()
{
    KAVO_NEEDS_ICON_FONT();
    QCOMPARE(m_page->objectName(), QStringLiteral("PackageDetail"));
    const auto *back = child<QPushButton>(*m_page, "BackButton");
    QCOMPARE(back->text(), QStringLiteral("Back"));
    QVERIFY(!back->icon().isNull());
    QVERIFY(hasHand(*back));
    const auto *tabs = child<QTabWidget>(*m_page, "DetailTabs");
    QCOMPARE(tabs->count(), 3);
    QCOMPARE(tabs->tabText(0), QStringLiteral("Description"));
    QCOMPARE(tabs->tabText(1), QStringLiteral("Change log"));
    QCOMPARE(tabs->tabText(2), QStringLiteral("Old versions"));
    QVERIFY(!tabs->isMovable());
    QVERIFY(!tabs->tabsClosable());
    const auto *frame = child<QFrame>(*m_page, "DetailFrame");
    QLayout *layout = frame->layout();
    QVERIFY(qobject_cast<Carousel *>(layout->itemAt(0)->widget()));
    QVERIFY(qobject_cast<PackageDetailTitleBar *>(layout->itemAt(1)->widget()));
    QCOMPARE(layout->itemAt(2)->widget(), tabs);
    QVERIFY(qobject_cast<PackageDetailInfoWidget *>(layout->itemAt(3)->widget()));
    QVERIFY(child<QLabel>(*m_page, "DescriptionText")->wordWrap());
    QVERIFY(!child<QLabel>(*m_page, "ChangeLogText")->wordWrap());
}

// Fixed, see docs/compatibility.md.
void PackageDetailTest::scrollAreasShowNoBar()
{
    m_page->setPackage(twoVersions());
    for (const char *name : {"DetailScroll", "DescriptionScroll", "ChangeLogScroll"}) {
        const auto *area = child<QScrollArea>(*m_page, name);
        QVERIFY(area->widgetResizable());
        QCOMPARE(area->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
        QVERIFY(area->verticalScrollBar()->isHidden());
    }
}

void PackageDetailTest::settingAPackageShowsThePage()
{
    QVERIFY(!m_page->isVisible());
    m_page->setPackage(twoVersions());
    QVERIFY(m_page->isVisible());
    QCOMPARE(textOf(*m_page, "DetailTitle"), QStringLiteral("package-7"));
    QCOMPARE(facts(*m_page).size(), 8);
    QCOMPARE(m_page->findChild<PackageDetailOldVersionsList *>()->count(), 2);
}

void PackageDetailTest::descriptionMayBeRich()
{
    m_page->setPackage(twoVersions());
    const auto *label = child<QLabel>(*m_page, "DescriptionText");
    QCOMPARE(label->text(), QStringLiteral("<b>A description</b>"));
    QCOMPARE(label->textFormat(), Qt::AutoText);
}

void PackageDetailTest::changeLogListsEveryVersion()
{
    m_page->setPackage(twoVersions());
    QCOMPARE(textOf(*m_page, "ChangeLogText"),
             QStringLiteral("<strong>2.0</strong><ul><li>Better lights</li><li>More <i>sea</i>"
                            "</li></ul><strong>1.0</strong><p>Not available></p>"));
}

void PackageDetailTest::pageStartsOnTheDescription()
{
    auto *tabs = child<QTabWidget>(*m_page, "DetailTabs");
    tabs->setCurrentIndex(2);
    m_page->setPackage(twoVersions());
    QCOMPARE(tabs->currentIndex(), 0);
}

void PackageDetailTest::carouselIsShownForBannersOnly()
{
    const PackagePointer package = twoVersions();
    const auto *carousel = m_page->findChild<Carousel *>();
    m_page->setPackage(package);
    QVERIFY(carousel->isHidden());
    m_engine->server().serve(QStringLiteral("/banner.png"), png(QSize(60, 20), Qt::red));
    package->setBanner(QStringList(m_engine->server().url(QStringLiteral("/banner.png"))));
    m_page->setPackage(package);
    QVERIFY(carousel->isVisible());
    QTRY_COMPARE(shownColor(*child<QLabel>(*m_page, "CarouselImage")), QColor(Qt::red));
    m_page->setPackage(twoVersions());
    QVERIFY(carousel->isHidden());
}

void PackageDetailTest::backAsksForTheList()
{
    m_page->setPackage(twoVersions());
    QSignalSpy listed(&m_engine->controller(), &PackageController::list);
    child<QPushButton>(*m_page, "BackButton")->click();
    QCOMPARE(listed.count(), 1);
    QVERIFY(m_page->isVisible());
}

void PackageDetailTest::escapeAsksForTheList()
{
    m_page->setPackage(twoVersions());
    QSignalSpy listed(&m_engine->controller(), &PackageController::list);
    QVERIFY(QTest::qWaitForWindowActive(m_page.get()));
    QTest::keyClick(child<QPushButton>(*m_page, "BackButton"), Qt::Key_Escape);
    QCOMPARE(listed.count(), 1);
}

void PackageDetailTest::noPackageIsNotShown()
{
    m_page->setPackage(PackagePointer());
    QVERIFY(!m_page->isVisible());
}

/// Nothing in a tab has to be scrolled, and little of it is empty.
void PackageDetailTest::tabsAreAsHighAsTheirPage()
{
    m_page->setPackage(twoVersions());
    auto *tabs = child<QTabWidget>(*m_page, "DetailTabs");
    const auto *info = m_page->findChild<PackageDetailInfoWidget *>();
    for (int page = 0; page < tabs->count(); ++page) {
        tabs->setCurrentIndex(page);
        const auto *area = qobject_cast<QAbstractScrollArea *>(tabs->currentWidget());
        QTRY_COMPARE(area->verticalScrollBar()->maximum(), 0);
        QTRY_VERIFY(tabs->height() < 240);
        QTRY_VERIFY(info->geometry().top() - tabs->geometry().bottom() < 16);
    }
}

void PackageDetailTest::tabsFitThePageThatIsTurnedTo()
{
    const PackagePointer package = twoVersions();
    package->setDescription(QStringLiteral("Many words on many lines. ").repeated(60));
    m_page->setPackage(package);
    auto *tabs = child<QTabWidget>(*m_page, "DetailTabs");
    const auto *area = qobject_cast<QAbstractScrollArea *>(tabs->currentWidget());
    QTRY_COMPARE(area->verticalScrollBar()->maximum(), 0);
    const int tall = tabs->height();
    tabs->setCurrentIndex(1);
    QTRY_VERIFY(tabs->height() < tall);
    tabs->setCurrentIndex(0);
    QTRY_COMPARE(tabs->height(), tall);
    QCOMPARE(area->verticalScrollBar()->maximum(), 0);
    // A lower page has room for less of it, and a higher one for all again.
    m_page->resize(1000, 120);
    QTRY_VERIFY(area->verticalScrollBar()->maximum() > 0);
    m_page->resize(1000, 700);
    QTRY_COMPARE(tabs->height(), tall);
}

void PackageDetailTest::longPageLeavesSightOfTheRest()
{
    m_page->setPackage(longTexts());
    auto *tabs = child<QTabWidget>(*m_page, "DetailTabs");
    for (int page = 0; page < tabs->count(); ++page) {
        tabs->setCurrentIndex(page);
        const auto *area = qobject_cast<QAbstractScrollArea *>(tabs->currentWidget());
        QTRY_VERIFY(area->verticalScrollBar()->maximum() > 0);
        QVERIFY(tabs->height() > 400);
        QVERIFY(tabs->height() < m_page->height());
    }
}

void PackageDetailTest::pageOpensAtItsTop()
{
    const PackagePointer package = longTexts();
    m_page->resize(500, 300);
    m_page->setPackage(package);
    auto *tabs = child<QTabWidget>(*m_page, "DetailTabs");
    const auto areas = m_page->findChildren<QAbstractScrollArea *>();
    QCOMPARE(areas.size(), 4);
    int moved = 0;
    for (int tab = 0; tab < tabs->count(); ++tab) {
        tabs->setCurrentIndex(tab);
        QCoreApplication::processEvents();
        for (const QAbstractScrollArea *area : areas) {
            for (QScrollBar *bar : {area->verticalScrollBar(), area->horizontalScrollBar()}) {
                bar->setValue(bar->maximum());
                moved += bar->value() > 0 ? 1 : 0;
            }
        }
    }
    // Each of the four up and down, and the change log to the side.
    QVERIFY(moved >= 5);
    m_page->setPackage(package);
    for (int tab = 0; tab < tabs->count(); ++tab) {
        tabs->setCurrentIndex(tab);
        QCoreApplication::processEvents();
        for (const QAbstractScrollArea *area : areas) {
            QCOMPARE(area->verticalScrollBar()->value(), 0);
            QCOMPARE(area->horizontalScrollBar()->value(), 0);
        }
    }
}

void PackageDetailTest::noSidewaysBarStays()
{
    m_page->setPackage(longTexts());
    auto *tabs = child<QTabWidget>(*m_page, "DetailTabs");
    tabs->setCurrentIndex(1);
    const auto *changes = child<QScrollArea>(*m_page, "ChangeLogScroll")->horizontalScrollBar();
    QTRY_VERIFY(changes->isVisible());
    m_page->setPackage(twoVersions());
    const auto areas = m_page->findChildren<QAbstractScrollArea *>();
    for (int tab = 0; tab < tabs->count(); ++tab) {
        tabs->setCurrentIndex(tab);
        QCoreApplication::processEvents();
        for (const QAbstractScrollArea *area : areas)
            QVERIFY2(!area->horizontalScrollBar()->isVisible(), qPrintable(area->objectName()));
    }
}

void PackageDetailTest::longWordDoesNotWidenThePage()
{
    const PackagePointer package =
        makePackage(9, {makeVersion(QStringLiteral("1.0"), {}, {QString(300, QLatin1Char('W'))}),
                        makeVersion(QString(300, QLatin1Char('7')))});
    package->setName(QString(300, QLatin1Char('W')));
    package->setType(QString(300, QLatin1Char('W')));
    for (const char *text : {"%1", "<b>a</b> %1"}) {
        package->setDescription(QString::fromLatin1(text).arg(QString(300, QLatin1Char('W'))));
        m_page->setPackage(package);
        QCoreApplication::processEvents();
        for (const char *name : {"DetailScroll", "DescriptionScroll"}) {
            const auto *area = child<QScrollArea>(*m_page, name);
            QVERIFY2(!area->horizontalScrollBar()->isVisible(), name);
            QCOMPARE(area->widget()->width(), area->viewport()->width());
        }
    }
}

// Fixed, see docs/compatibility.md.
void PackageDetailTest::factsOfAnAvailablePackage()
{
    PackageDetailInfoWidget table(sharedController(*m_engine));
    table.setPackage(twoVersions());
    QCOMPARE(
        facts(table),
        QStringList({QStringLiteral("Installed\t: "), QStringLiteral("Available\t: 2.0"),
                     QStringLiteral("Type\t\t: <u>PLUGIN</u>"), QStringLiteral("Package ID\t: 7"),
                     QStringLiteral("Email\t\t: "), QStringLiteral("Author\t\t: "),
                     QStringLiteral("Company\t: "), QStringLiteral("Product ID\t: NA")}));
    for (const QLabel *label : allChildren<QLabel>(table, "FactLabel"))
        QCOMPARE(label->textFormat(), Qt::PlainText);
}

void PackageDetailTest::factsOfAnInstalledPackage()
{
    m_engine->offer({1, QStringLiteral("1.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1));
    PackageDetailInfoWidget table(sharedController(*m_engine));
    table.setPackage(m_engine->package(1));
    QCOMPARE(facts(table).first(), QStringLiteral("Installed\t: 1.0"));
}

void PackageDetailTest::productIdIsShownFromOne_data()
{
    QTest::addColumn<int>("productId");
    QTest::addColumn<QString>("text");
    QTest::newRow("negative") << -1 << QStringLiteral("Product ID\t: NA");
    QTest::newRow("none") << 0 << QStringLiteral("Product ID\t: NA");
    QTest::newRow("one") << 1 << QStringLiteral("Product ID\t: 1");
    QTest::newRow("many") << 123456 << QStringLiteral("Product ID\t: 123456");
}

void PackageDetailTest::productIdIsShownFromOne()
{
    QFETCH(int, productId);
    QFETCH(QString, text);
    const PackagePointer package = twoVersions();
    package->setProductId(productId);
    PackageDetailInfoWidget table(sharedController(*m_engine));
    table.setPackage(package);
    QCOMPARE(facts(table).last(), text);
}

void PackageDetailTest::factsOfAPackageWithoutVersions()
{
    PackageDetailInfoWidget table(sharedController(*m_engine));
    table.setPackage(makePackage(1, {}));
    QCOMPARE(facts(table).at(1), QStringLiteral("Available\t: "));
    table.setPackage(PackagePointer());
    for (const QString &text : facts(table))
        QCOMPARE(text, QString());
}

/// All values begin with a colon at the same place.
void PackageDetailTest::factsLineUp()
{
    PackageDetailInfoWidget table(sharedController(*m_engine));
    table.setPackage(twoVersions());
    table.show();
    QSet<int> columns;
    for (QLabel *label : allChildren<QLabel>(table, "FactLabel")) {
        const QImage image = label->grab().toImage();
        const QRgb background = image.pixel(image.width() - 1, 0);
        const auto inked = [&image, background](int x) {
            for (int y = 0; y < image.height(); ++y) {
                if (image.pixel(x, y) != background)
                    return true;
            }
            return false;
        };
        // The value stands after the widest gap.
        int widest = 0;
        int column = 0;
        int gap = 0;
        for (int x = 0; x < image.width(); ++x) {
            if (!inked(x)) {
                ++gap;
                continue;
            }
            if (gap > widest) {
                widest = gap;
                column = x;
            }
            gap = 0;
        }
        columns.insert(column);
    }
    QCOMPARE(columns.size(), 1);
}

void PackageDetailTest::versionsAreListed()
{
    KAVO_NEEDS_ICON_FONT();
    PackageDetailOldVersionsList list(sharedController(*m_engine));
    list.setPackage(twoVersions());
    const auto widgets = rows(list);
    QCOMPARE(widgets.size(), 2);
    QCOMPARE(textOf(*widgets.at(0), "OldVersionText"), QStringLiteral("2.0"));
    QCOMPARE(textOf(*widgets.at(1), "OldVersionText"), QStringLiteral("1.0"));
    for (int row = 0; row < widgets.size(); ++row) {
        QCOMPARE(widgets.at(row)->objectName(), QStringLiteral("OldVersionWidget"));
        const auto *button = child<QPushButton>(*widgets.at(row), "OldVersionButton");
        QCOMPARE(button->text(), QStringLiteral("Download"));
        QVERIFY(!button->icon().isNull());
        QVERIFY(hasHand(*button));
        QCOMPARE(list.item(row)->sizeHint(), widgets.at(row)->sizeHint());
    }
}

void PackageDetailTest::installedVersionIsMarked()
{
    m_engine->offer({1, QStringLiteral("1.0")});
    m_engine->offer({1, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(1, QStringLiteral("1.0")));
    PackageDetailOldVersionsList list(sharedController(*m_engine));
    list.setPackage(m_engine->package(1));
    const auto widgets = rows(list);
    QCOMPARE(child<QPushButton>(*widgets.at(0), "OldVersionButton")->text(),
             QStringLiteral("Download"));
    QCOMPARE(child<QPushButton>(*widgets.at(1), "OldVersionButton")->text(),
             QStringLiteral("Installed"));
}

void PackageDetailTest::versionsOfThePackageBeforeAreGone()
{
    PackageDetailOldVersionsList list(sharedController(*m_engine));
    list.setPackage(twoVersions());
    list.setPackage(makePackage(2, {makeVersion(QStringLiteral("9"))}));
    QCOMPARE(rows(list).size(), 1);
    QCOMPARE(textOf(*rows(list).first(), "OldVersionText"), QStringLiteral("9"));
    QCOMPARE(list.findChildren<PackageDetailOldVersionWidget *>().size(), 1);
    list.setPackage(PackagePointer());
    QCOMPARE(list.count(), 0);
}

void PackageDetailTest::buttonOfAVersionInstallsIt()
{
    m_engine->offer({1, QStringLiteral("1.0")});
    m_engine->offer({1, QStringLiteral("2.0")});
    QVERIFY(m_engine->refresh());
    PackageDetailOldVersionsList list(sharedController(*m_engine));
    list.setPackage(m_engine->package(1));
    child<QPushButton>(*rows(list).at(1), "OldVersionButton")->click();
    QVERIFY(m_engine->waitForState(1, Package::INSTALLED));
    QVERIFY(m_engine->waitUntilSettled(1));
    QCOMPARE(m_engine->controller().installedVersion(m_engine->package(1)), QStringLiteral("1.0"));
}

void PackageDetailTest::rowAnnouncesItsClick()
{
    const PackageDetailOldVersionWidget row(QStringLiteral("1.0"));
    QSignalSpy clicked(&row, &PackageDetailOldVersionWidget::buttonClicked);
    child<QPushButton>(row, "OldVersionButton")->click();
    QCOMPARE(clicked.count(), 1);
}

KAVO_TEST_MAIN(PackageDetailTest)
#include "PackageDetailTest.moc"
