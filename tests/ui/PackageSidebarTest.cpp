#include "ui/window/PackageSidebar.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WidgetTest.h"

#include <QComboBox>
#include <QListWidget>

using namespace Kavo::Testing;
using Kavo::Ui::PackageSidebar;

namespace {

/// The text and the value of each category.
QStringList categoriesOf(const PackageSidebar &sidebar)
{
    const auto *choice = child<QComboBox>(sidebar, "CategoryChoice");
    QStringList categories;
    for (int i = 0; i < choice->count(); ++i)
        categories.append(choice->itemText(i) + "="_s + choice->itemData(i).toString());
    return categories;
}

} // namespace

class PackageSidebarTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void choicesHaveTheirCaptions()
    {
        start();
        const PackageSidebar sidebar(shared());
        QCOMPARE(sidebar.objectName(), "PackageSidebar"_s);
        QStringList captions;
        for (const QLabel *caption : allChildren<QLabel>(sidebar, "SidebarCaption"))
            captions.append(caption->text());
        QCOMPARE(captions, QStringList({"Category"_s, "Type"_s}));
        QCOMPARE(categoriesOf(sidebar), QStringList({"Plugin=PLUGIN"_s, "Library=LIBRARY"_s}));
        const auto *choice = child<QComboBox>(sidebar, "CategoryChoice");
        QCOMPARE(choice->currentIndex(), 0);
        QVERIFY(choice->itemIcon(0).isNull());
    }

    void categoriesAreShownCapitalised_data()
    {
        Rows<QStringList, QStringList>()
            .row("capitals", {"SCENERY"_s}, {"Scenery=SCENERY"_s})
            .row("small", {"scenery"_s}, {"Scenery=scenery"_s})
            .row("one letter", {"x"_s}, {"X=x"_s})
            .row("words", {"NIGHT AIR"_s}, {"Night air=NIGHT AIR"_s})
            .row("empty", {QString()}, {"="_s})
            .row("differ in case only", {"Scenery"_s, "SCENERY"_s},
                 {"Scenery=Scenery"_s, "Scenery=SCENERY"_s})
            .row("none", {}, {});
    }

    void categoriesAreShownCapitalised()
    {
        const auto [categories, shown] = Rows<QStringList, QStringList>::current();
        start();
        QCOMPARE(categoriesOf(PackageSidebar(shared(), categories, nullptr)), shown);
    }

    void typesAreCheckedAndCheckable()
    {
        start();
        const PackageSidebar sidebar(shared());
        const auto *types = child<QListWidget>(sidebar, "TypeChoice");
        QCOMPARE(types->maximumHeight(), 150);
        QCOMPARE(types->count(), 2);
        QCOMPARE(types->item(0)->text(), "Free"_s);
        QCOMPARE(types->item(1)->text(), "Paid"_s);
        for (int row = 0; row < types->count(); ++row) {
            QCOMPARE(types->item(row)->checkState(), Qt::Checked);
            QVERIFY(types->item(row)->flags().testFlag(Qt::ItemIsUserCheckable));
            QVERIFY(types->item(row)->flags().testFlag(Qt::ItemIsSelectable));
        }
    }
};

KAVO_TEST_MAIN(PackageSidebarTest)
#include "PackageSidebarTest.moc"
