#include "packages/catalogue/Catalogue.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/Literals.h"

#include <QTest>

using namespace Kavo::Models;
using namespace Kavo::Testing;

class CatalogueTest final : public QObject
{
    Q_OBJECT

private slots:
    void firstPackageOfEqualIdsIsFound()
    {
        Catalogue catalogue;
        const PackagePointer first = makePackage(5, {});
        catalogue.replace({makePackage(4, {}), first, makePackage(5, {})});
        QCOMPARE(catalogue.find(5), first);
        QVERIFY(catalogue.find(6).isNull());
    }

    void clearedOfferStillResolvesForRunningWork()
    {
        Catalogue catalogue;
        catalogue.replace({makePackage(5, {})});
        catalogue.clear();
        QVERIFY(catalogue.packages().isEmpty());
        QVERIFY(catalogue.find(5).isNull());
        QVERIFY(catalogue.withIds({5}).isEmpty());
        QVERIFY(!catalogue.resolve(5).isNull());
    }

    void packagesOfIdsComeInCatalogueOrderAndOnce()
    {
        Catalogue catalogue;
        catalogue.replace({makePackage(3, {}), makePackage(1, {}), makePackage(2, {})});
        const PackageList found = catalogue.withIds({2, 3, 2, 9});
        QCOMPARE(found.size(), 2);
        QCOMPARE(found.first()->id(), 3);
        QCOMPARE(found.last()->id(), 2);

        // Enough packages that the order is not right by chance.
        PackageList many;
        QVector<int> ids;
        for (int id = 40; id >= 1; --id) {
            many.append(makePackage(id, {}));
            ids.prepend(id);
        }
        catalogue.replace(many);
        QCOMPARE(catalogue.withIds(ids), many);
    }

    void allPackagesOfEqualIdsAreFound()
    {
        Catalogue catalogue;
        const PackagePointer first = makePackage(5, {});
        const PackagePointer second = makePackage(5, {});
        catalogue.replace({first, makePackage(4, {}), second});
        QCOMPARE(catalogue.withIds({5}), PackageList({first, second}));
    }

    void dependentsAreFoundThroughEveryVersion()
    {
        Catalogue catalogue;
        catalogue.replace({makePackage(1, {makeVersion("1"_s)}),
                           makePackage(2, {makeVersion("2"_s), makeVersion("1"_s, {"1:1.0"_s})}),
                           makePackage(3, {makeVersion("1"_s, {"2"_s})})});
        const PackageList found = catalogue.mentioning(1);
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.first()->id(), 2);
    }

    void dependentsAllComeInCatalogueOrder()
    {
        Catalogue catalogue;
        const PackagePointer first = makePackage(3, {makeVersion("1"_s, {"1"_s})});
        const PackagePointer second =
            makePackage(2, {makeVersion("1"_s, {"1:1.0"_s}), makeVersion("2"_s, {"1:2.0"_s})});
        catalogue.replace({first, makePackage(1, {}), second});
        QCOMPARE(catalogue.mentioning(1), PackageList({first, second}));
    }

    /// An empty dependency entry ends the process when dependencies of this version are resolved,
    /// but not when the catalogue is loaded.
    void emptyEntryNamesNoPackage()
    {
        Catalogue catalogue;
        catalogue.replace({makePackage(0, {}), makePackage(2, {makeVersion("1"_s, {QString()})})});
        QVERIFY(catalogue.mentioning(0).isEmpty());
    }

    void replacingForgetsThePackagesBefore()
    {
        Catalogue catalogue;
        catalogue.replace({makePackage(5, {})});
        catalogue.replace({makePackage(6, {})});
        QVERIFY(catalogue.resolve(5).isNull());
        QCOMPARE(catalogue.packages().size(), 1);
    }
};

QTEST_GUILESS_MAIN(CatalogueTest)
#include "CatalogueTest.moc"
