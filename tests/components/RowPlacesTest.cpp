#include "components/RowPlaces.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QTest>

using namespace Kavo::Testing;
using Kavo::Components::RowPlaces;

namespace {

/// Rows that are 10, 20, 30 ... pixels high. Each row is one pixel wider than the previous one.
RowPlaces makePlaces(int rows, int spacing = 0)
{
    RowPlaces places(spacing);
    for (int row = 0; row < rows; ++row)
        places.append(QSize(100 + row, 10 * (row + 1)));
    return places;
}

QBitArray bits(int size, const QVector<int> &set)
{
    QBitArray result(size);
    for (const int bit : set)
        result.setBit(bit);
    return result;
}

} // namespace

/// Tests the places of rows when all or only some rows are listed.
class RowPlacesTest final : public QObject
{
    Q_OBJECT

private slots:
    void emptyListHasNoPlaces()
    {
        const RowPlaces places(4);
        QCOMPARE(places.size(), QSize(0, 0));
        QVERIFY(places.listed().isEmpty());
        QCOMPARE(places.placeOf(7), 0);
        QCOMPARE(places.placeBelow(0), 0);
    }

    void rowsArePlacedBelowEachOther()
    {
        const RowPlaces places = makePlaces(3);
        QCOMPARE(places.listed(), QVector<int>({0, 1, 2}));
        for (int place = 0; place < 3; ++place) {
            QCOMPARE(places.placeOf(place), place);
            QCOMPARE(places.top(place), QVector<int>({0, 10, 30}).at(place));
            QCOMPARE(places.bottom(place), QVector<int>({10, 30, 60}).at(place));
        }
        QCOMPARE(places.size(), QSize(102, 60));
        QCOMPARE(places.size(1), QSize(101, 20));
    }

    void spacingSurroundsEachRow()
    {
        RowPlaces places = makePlaces(2, 4);
        QCOMPARE(places.top(0), 4);
        QCOMPARE(places.bottom(0), 14);
        QCOMPARE(places.top(1), 22);
        QCOMPARE(places.bottom(1), 42);
        QCOMPARE(places.size(), QSize(109, 46));
        places.setSpacing(1);
        QCOMPARE(places.top(1), 13);
        QCOMPARE(places.size(), QSize(103, 34));
    }

    void unlistedRowsTakeNoPlace()
    {
        RowPlaces places = makePlaces(5);
        places.list(bits(5, {1, 3}));
        QCOMPARE(places.listed(), QVector<int>({1, 3}));
        QVERIFY(places.isListed(1) && !places.isListed(2));
        QCOMPARE(places.bottom(0), 20);
        QCOMPARE(places.bottom(1), 60);
        // An unlisted row has the place of the next listed one.
        QCOMPARE(places.placeOf(0), 0);
        QCOMPARE(places.placeOf(2), 1);
        QCOMPARE(places.placeOf(4), 2);
        places.list(QBitArray(5));
        QCOMPARE(places.size(), QSize(0, 0));
        places.list(QBitArray(5, true));
        QCOMPARE(places.size().height(), 150);
    }

    void laterRowsAreListed()
    {
        RowPlaces places = makePlaces(2);
        places.list(bits(2, {1}));
        places.append(QSize(50, 7));
        QCOMPARE(places.listed(), QVector<int>({1, 2}));
        QVERIFY(places.isListed(2));
        QCOMPARE(places.top(1), 20);
        QCOMPARE(places.bottom(1), 27);
    }

    void lineHasItsPlace_data()
    {
        Rows<int, int>()
            .row("above all", -100, 0)
            .row("space above", 0, 0)
            .row("first line of a row", 4, 0)
            .row("last line of a row", 13, 0)
            .row("space between", 14, 1)
            .row("second row", 22, 1)
            .row("last line", 79, 2)
            .row("space below", 80, 3)
            .row("below all", 1000, 3);
    }

    void lineHasItsPlace()
    {
        const auto [line, place] = Rows<int, int>::current();
        QCOMPARE(makePlaces(3, 4).placeBelow(line), place);
    }

    void widestListedRowIsTheWidth()
    {
        RowPlaces places = makePlaces(3);
        places.setWidth(0, 500);
        QCOMPARE(places.size().width(), 500);
        places.setWidth(0, 5);
        QCOMPARE(places.size().width(), 102);
        places.list(bits(3, {0, 1}));
        QCOMPARE(places.size().width(), 101);
    }

    void clearedListKeepsItsSpacing()
    {
        RowPlaces places = makePlaces(3, 4);
        places.clear();
        QCOMPARE(places.size(), QSize(0, 0));
        places.append(QSize(10, 10));
        QCOMPARE(places.top(0), 4);
        QCOMPARE(places.listed(), QVector<int>({0}));
    }
};

KAVO_TEST_MAIN(RowPlacesTest)
#include "RowPlacesTest.moc"
