#include "components/Carousel.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WidgetTest.h"
#include "ui/detail/PackageDetailInfoWidget.h"
#include "ui/detail/PackageDetailOldVersionWidget.h"
#include "ui/detail/PackageDetailOldVersionsList.h"
#include "ui/detail/PackageDetailTitleBar.h"
#include "ui/detail/PackageDetailWidget.h"

#include <QLayout>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Components::Carousel;
using Kavo::Models::PackagePointer;

namespace {

PackagePointer twoVersions()
{
    const QStringList changes{"Better lights"_s, "More <i>sea</i>"_s};
    const PackagePointer package =
        makePackage(7, {makeVersion("2.0"_s, {}, changes), makeVersion("1.0"_s)});
    package->setDescription("<b>A description</b>"_s);
    package->setType("<u>PLUGIN</u>"_s);
    return package;
}

/// A package that does not fit into any scroll area of the page.
PackagePointer longTexts()
{
    QVector<Kavo::Models::PackageVersionPointer> versions;
    for (int number = 40; number > 0; --number)
        versions.append(
            makeVersion(QString::number(number), {}, {"Many words on one line. "_s.repeated(20)}));
    const PackagePointer package = makePackage(8, versions);
    package->setDescription("Many words on many lines. "_s.repeated(500));
    return package;
}

QStringList facts(const QWidget &root)
{
    QStringList texts;
    for (const QLabel *label : allChildren<QLabel>(root, "FactLabel"))
        texts.append(label->text());
    return texts;
}

/// The column where the value of a fact begins, which is behind the widest gap.
int columnOfValue(QLabel &fact)
{
    const QImage image = fact.grab().toImage();
    const QRgb background = image.pixel(image.width() - 1, 0);
    int widest = 0;
    int column = 0;
    int gap = 0;
    for (int x = 0; x < image.width(); ++x) {
        bool inked = false;
        for (int y = 0; y < image.height(); ++y)
            inked = inked || image.pixel(x, y) != background;
        if (inked && gap > widest) {
            widest = gap;
            column = x;
        }
        gap = inked ? 0 : gap + 1;
    }
    return column;
}

} // namespace

class PackageDetailTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void pageHasItsLayout()
    {
        KAVO_NEEDS_ICON_FONT();
        QCOMPARE(m_page->objectName(), "PackageDetail"_s);
        const auto *back = child<QPushButton>(*m_page, "BackButton");
        QCOMPARE(back->text(), "Back"_s);
        QVERIFY(!back->icon().isNull());
        QVERIFY(hasHand(*back));
        QStringList pages;
        for (int page = 0; page < tabs().count(); ++page)
            pages.append(tabs().tabText(page));
        QCOMPARE(pages, QStringList({"Description"_s, "Change log"_s, "Old versions"_s}));
        QVERIFY(!tabs().isMovable());
        QVERIFY(!tabs().tabsClosable());
        QLayout *layout = child<QFrame>(*m_page, "DetailFrame")->layout();
        QVERIFY(qobject_cast<Carousel *>(layout->itemAt(0)->widget()));
        QVERIFY(qobject_cast<PackageDetailTitleBar *>(layout->itemAt(1)->widget()));
        QCOMPARE(layout->itemAt(2)->widget(), &tabs());
        QVERIFY(qobject_cast<PackageDetailInfoWidget *>(layout->itemAt(3)->widget()));
        QVERIFY(child<QLabel>(*m_page, "DescriptionText")->wordWrap());
        QVERIFY(!child<QLabel>(*m_page, "ChangeLogText")->wordWrap());
    }

    // Fixed, see docs/compatibility.md.
    void pageShowsItsPackage()
    {
        m_page->setPackage(PackagePointer());
        QVERIFY(!m_page->isVisible());
        tabs().setCurrentIndex(2);
        m_page->setPackage(twoVersions());
        QVERIFY(m_page->isVisible());
        QCOMPARE(tabs().currentIndex(), 0);
        QCOMPARE(textOf(*m_page, "DetailTitle"), "package-7"_s);
        QCOMPARE(facts(*m_page).size(), 8);
        QCOMPARE(m_page->findChild<PackageDetailOldVersionsList *>()->count(), 2);
        QCOMPARE(textOf(*m_page, "DescriptionText"), "<b>A description</b>"_s);
        QCOMPARE(child<QLabel>(*m_page, "DescriptionText")->textFormat(), Qt::AutoText);
        QCOMPARE(textOf(*m_page, "ChangeLogText"),
                 "<strong>2.0</strong><ul><li>Better lights</li><li>More <i>sea</i>"
                 "</li></ul><strong>1.0</strong><p>Not available></p>"_s);
        for (const char *name : {"DetailScroll", "DescriptionScroll", "ChangeLogScroll"}) {
            const auto *area = child<QScrollArea>(*m_page, name);
            QVERIFY(area->widgetResizable());
            QCOMPARE(area->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
            QVERIFY(area->verticalScrollBar()->isHidden());
        }
    }

    void carouselIsShownForBannersOnly()
    {
        const PackagePointer package = twoVersions();
        const auto *carousel = m_page->findChild<Carousel *>();
        m_page->setPackage(package);
        QVERIFY(carousel->isHidden());
        server().serve("/banner.png"_s, png(QSize(60, 20), Qt::red));
        package->setBanner(QStringList(server().url("/banner.png"_s)));
        m_page->setPackage(package);
        QVERIFY(carousel->isVisible());
        QTRY_COMPARE(shownColor(*child<QLabel>(*m_page, "CarouselImage")), QColor(Qt::red));
        m_page->setPackage(twoVersions());
        QVERIFY(carousel->isHidden());
    }

    /// The tabs are high enough for their page, but not much higher.
    void tabsAreAsHighAsTheirPage()
    {
        m_page->setPackage(twoVersions());
        const auto *info = m_page->findChild<PackageDetailInfoWidget *>();
        for (int page = 0; page < tabs().count(); ++page) {
            tabs().setCurrentIndex(page);
            QTRY_COMPARE(rangeOfTab(), 0);
            QTRY_VERIFY(tabs().height() < 240);
            QTRY_VERIFY(info->geometry().top() - tabs().geometry().bottom() < 16);
        }
    }

    void tabsFitTheSelectedPage()
    {
        const PackagePointer package = twoVersions();
        package->setDescription("Many words on many lines. "_s.repeated(60));
        m_page->setPackage(package);
        QTRY_COMPARE(rangeOfTab(), 0);
        const int tall = tabs().height();
        tabs().setCurrentIndex(1);
        QTRY_VERIFY(tabs().height() < tall);
        tabs().setCurrentIndex(0);
        QTRY_COMPARE(tabs().height(), tall);
        QCOMPARE(rangeOfTab(), 0);
        // A smaller page shows less of the tab. A larger one shows all of it again.
        m_page->resize(1000, 120);
        QTRY_VERIFY(rangeOfTab() > 0);
        m_page->resize(1000, 700);
        QTRY_COMPARE(tabs().height(), tall);
    }

    void longPageKeepsTheRestVisible()
    {
        m_page->setPackage(longTexts());
        for (int page = 0; page < tabs().count(); ++page) {
            tabs().setCurrentIndex(page);
            QTRY_VERIFY(rangeOfTab() > 0);
            QVERIFY(tabs().height() > 400);
            QVERIFY(tabs().height() < m_page->height());
        }
    }

    void pageOpensAtItsTop()
    {
        m_page->resize(500, 300);
        m_page->setPackage(longTexts());
        QSet<QScrollBar *> moved;
        forEachScrollBar([&moved](QScrollBar &bar) {
            bar.setValue(bar.maximum());
            if (bar.value() > 0)
                moved.insert(&bar);
        });
        // All four areas scroll vertically. The change log scrolls horizontally as well.
        for (auto *area : m_page->findChildren<QAbstractScrollArea *>())
            QVERIFY2(moved.contains(area->verticalScrollBar()), qPrintable(area->objectName()));
        QVERIFY(
            moved.contains(child<QScrollArea>(*m_page, "ChangeLogScroll")->horizontalScrollBar()));
        m_page->setPackage(longTexts());
        forEachScrollBar([](QScrollBar &bar) { QCOMPARE(bar.value(), 0); });
    }

    void horizontalScrollBarDisappears()
    {
        m_page->setPackage(longTexts());
        tabs().setCurrentIndex(1);
        const auto *changes = child<QScrollArea>(*m_page, "ChangeLogScroll")->horizontalScrollBar();
        QTRY_VERIFY(changes->isVisible());
        m_page->setPackage(twoVersions());
        forEachScrollBar([](QScrollBar &bar) {
            QVERIFY(bar.orientation() == Qt::Vertical || !bar.isVisible());
        });
    }

    void longWordDoesNotWidenThePage()
    {
        const QString word(300, QLatin1Char('W'));
        const PackagePointer package = makePackage(
            9, {makeVersion("1.0"_s, {}, {word}), makeVersion(QString(300, QLatin1Char('7')))});
        package->setName(word);
        package->setType(word);
        for (const QString &description : {word, QString("<b>a</b> "_s + word)}) {
            package->setDescription(description);
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
    void factsAreShown()
    {
        PackageDetailInfoWidget table(shared());
        table.setPackage(twoVersions());
        QCOMPARE(facts(table),
                 QStringList({"Installed\t: "_s, "Available\t: 2.0"_s, "Type\t\t: <u>PLUGIN</u>"_s,
                              "Package ID\t: 7"_s, "Email\t\t: "_s, "Author\t\t: "_s,
                              "Company\t: "_s, "Product ID\t: NA"_s}));
        for (const QLabel *label : allChildren<QLabel>(table, "FactLabel"))
            QCOMPARE(label->textFormat(), Qt::PlainText);
        table.setPackage(makePackage(1, {}));
        QCOMPARE(facts(table).at(1), "Available\t: "_s);
        table.setPackage(PackagePointer());
        QCOMPARE(facts(table).join(QString()), QString());
    }

    void productIdIsShownFromOne()
    {
        PackageDetailInfoWidget table(shared());
        const PackagePointer package = twoVersions();
        for (const int productId : {-1, 0, 1, 123456}) {
            package->setProductId(productId);
            table.setPackage(package);
            QCOMPARE(facts(table).last(),
                     "Product ID\t: "_s + (productId > 0 ? QString::number(productId) : "NA"_s));
        }
    }

    /// All values begin at the same column.
    void factsLineUp()
    {
        PackageDetailInfoWidget table(shared());
        table.setPackage(twoVersions());
        table.show();
        QSet<int> columns;
        for (QLabel *label : allChildren<QLabel>(table, "FactLabel"))
            columns.insert(columnOfValue(*label));
        QCOMPARE(columns.size(), 1);
    }

    void versionsAreListed()
    {
        KAVO_NEEDS_ICON_FONT();
        PackageDetailOldVersionsList list(shared());
        list.setPackage(twoVersions());
        QCOMPARE(buttonsOf(list), QStringList({"2.0: Download"_s, "1.0: Download"_s}));
        for (int row = 0; row < 2; ++row) {
            const QWidget *widget = list.rowWidget(row);
            QCOMPARE(widget->objectName(), "OldVersionWidget"_s);
            QVERIFY(!versionButton(list, row)->icon().isNull());
            QVERIFY(hasHand(*versionButton(list, row)));
            QCOMPARE(list.item(row)->sizeHint(), widget->sizeHint());
        }
        // The versions of the previous package are gone.
        list.setPackage(makePackage(2, {makeVersion("9"_s)}));
        QCOMPARE(buttonsOf(list), QStringList("9: Download"_s));
        QCOMPARE(list.findChildren<PackageDetailOldVersionWidget *>().size(), 1);
        list.setPackage(PackagePointer());
        QCOMPARE(list.count(), 0);
    }

    void buttonOfAVersionInstallsIt()
    {
        offer({1, "1.0"_s});
        offer({1, "2.0"_s});
        QVERIFY(refresh());
        PackageDetailOldVersionsList list(shared());
        list.setPackage(package(1));
        versionButton(list, 1)->click();
        QVERIFY(waitUntilInstalled(1));
        QCOMPARE(controller().installedVersion(package(1)), "1.0"_s);
        list.setPackage(package(1));
        QCOMPARE(buttonsOf(list), QStringList({"2.0: Download"_s, "1.0: Installed"_s}));
        PackageDetailInfoWidget table(shared());
        table.setPackage(package(1));
        QCOMPARE(facts(table).first(), "Installed\t: 1.0"_s);
    }

private:
    void setUp() override
    {
        start();
        m_page = std::make_unique<PackageDetailWidget>(shared());
        m_page->resize(1000, 700);
    }
    void tearDown() override { m_page.reset(); }
    QTabWidget &tabs() const { return *child<QTabWidget>(*m_page, "DetailTabs"); }
    /// The vertical scroll range of the current tab.
    int rangeOfTab() const
    {
        const auto *area = qobject_cast<QAbstractScrollArea *>(tabs().currentWidget());
        return area->verticalScrollBar()->maximum();
    }
    /// Calls a function for the scroll bars of the page and of each tab, while that tab is shown.
    void forEachScrollBar(const std::function<void(QScrollBar &)> &act)
    {
        const auto areas = m_page->findChildren<QAbstractScrollArea *>();
        QCOMPARE(areas.size(), 4);
        for (int tab = 0; tab < tabs().count(); ++tab) {
            tabs().setCurrentIndex(tab);
            QCoreApplication::processEvents();
            for (const QAbstractScrollArea *area : areas) {
                act(*area->verticalScrollBar());
                act(*area->horizontalScrollBar());
            }
        }
    }
    static QPushButton *versionButton(const PackageDetailOldVersionsList &list, int row)
    {
        return child<QPushButton>(*list.rowWidget(row), "OldVersionButton");
    }
    /// Each version with the text of its button.
    static QStringList buttonsOf(const PackageDetailOldVersionsList &list)
    {
        QStringList texts;
        for (int row = 0; row < list.count(); ++row)
            texts.append(textOf(*list.rowWidget(row), "OldVersionText") + ": "_s +
                         versionButton(list, row)->text());
        return texts;
    }

    std::unique_ptr<PackageDetailWidget> m_page;
};

KAVO_TEST_MAIN(PackageDetailTest)
#include "PackageDetailTest.moc"
