#include "ui/window/PackageSidebar.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/TestMain.h"

#include <QComboBox>
#include <QListWidget>

using namespace Kavo::Testing;
using Kavo::Ui::PackageSidebar;

class PackageSidebarTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_engine.start(); }
    void captionsStandAboveTheirChoices();
    void controllersCategoriesAreOffered();
    void categoriesAreShownCapitalised_data();
    void categoriesAreShownCapitalised();
    void categoriesThatDifferInCaseOnlyAreBothOffered();
    void noCategoriesGiveAnEmptyChoice();
    void firstCategoryIsTheCurrentOne();
    void typesAreCheckedAndCheckable();

private:
    Engine m_engine;
};

void PackageSidebarTest::captionsStandAboveTheirChoices()
{
    const PackageSidebar sidebar(sharedController(m_engine));
    QCOMPARE(sidebar.objectName(), QStringLiteral("PackageSidebar"));
    const auto captions = allChildren<QLabel>(sidebar, "SidebarCaption");
    QCOMPARE(captions.size(), 2);
    QCOMPARE(captions.at(0)->text(), QStringLiteral("Category"));
    QCOMPARE(captions.at(1)->text(), QStringLiteral("Type"));
}

void PackageSidebarTest::controllersCategoriesAreOffered()
{
    const PackageSidebar sidebar(sharedController(m_engine));
    const auto *choice = child<QComboBox>(sidebar, "CategoryChoice");
    QCOMPARE(choice->count(), 2);
    QCOMPARE(choice->itemText(0), QStringLiteral("Plugin"));
    QCOMPARE(choice->itemData(0).toString(), QStringLiteral("PLUGIN"));
    QCOMPARE(choice->itemText(1), QStringLiteral("Library"));
    QCOMPARE(choice->itemData(1).toString(), QStringLiteral("LIBRARY"));
    QVERIFY(choice->itemIcon(0).isNull());
}

void PackageSidebarTest::categoriesAreShownCapitalised_data()
{
    QTest::addColumn<QString>("category");
    QTest::addColumn<QString>("shown");
    QTest::newRow("capitals") << QStringLiteral("SCENERY") << QStringLiteral("Scenery");
    QTest::newRow("small") << QStringLiteral("scenery") << QStringLiteral("Scenery");
    QTest::newRow("one letter") << QStringLiteral("x") << QStringLiteral("X");
    QTest::newRow("two words") << QStringLiteral("NIGHT LIGHTS") << QStringLiteral("Night lights");
    QTest::newRow("empty") << QString() << QString();
}

void PackageSidebarTest::categoriesAreShownCapitalised()
{
    QFETCH(QString, category);
    QFETCH(QString, shown);
    const PackageSidebar sidebar(sharedController(m_engine), {category}, nullptr);
    const auto *choice = child<QComboBox>(sidebar, "CategoryChoice");
    QCOMPARE(choice->count(), 1);
    QCOMPARE(choice->itemText(0), shown);
    QCOMPARE(choice->itemData(0).toString(), category);
}

void PackageSidebarTest::categoriesThatDifferInCaseOnlyAreBothOffered()
{
    const PackageSidebar sidebar(sharedController(m_engine),
                                 {QStringLiteral("Scenery"), QStringLiteral("SCENERY")}, nullptr);
    const auto *choice = child<QComboBox>(sidebar, "CategoryChoice");
    QCOMPARE(choice->count(), 2);
    QCOMPARE(choice->itemText(0), choice->itemText(1));
    QVERIFY(choice->itemData(0) != choice->itemData(1));
}

void PackageSidebarTest::noCategoriesGiveAnEmptyChoice()
{
    const PackageSidebar sidebar(sharedController(m_engine), QStringList(), nullptr);
    QCOMPARE(child<QComboBox>(sidebar, "CategoryChoice")->count(), 0);
}

void PackageSidebarTest::firstCategoryIsTheCurrentOne()
{
    const PackageSidebar sidebar(sharedController(m_engine));
    QCOMPARE(child<QComboBox>(sidebar, "CategoryChoice")->currentIndex(), 0);
}

void PackageSidebarTest::typesAreCheckedAndCheckable()
{
    const PackageSidebar sidebar(sharedController(m_engine));
    const auto *types = child<QListWidget>(sidebar, "TypeChoice");
    QCOMPARE(types->maximumHeight(), 150);
    QCOMPARE(types->count(), 2);
    QCOMPARE(types->item(0)->text(), QStringLiteral("Free"));
    QCOMPARE(types->item(1)->text(), QStringLiteral("Paid"));
    for (int row = 0; row < types->count(); ++row) {
        QCOMPARE(types->item(row)->checkState(), Qt::Checked);
        QVERIFY(types->item(row)->flags().testFlag(Qt::ItemIsUserCheckable));
        QVERIFY(types->item(row)->flags().testFlag(Qt::ItemIsSelectable));
    }
}

KAVO_TEST_MAIN(PackageSidebarTest)
#include "PackageSidebarTest.moc"
