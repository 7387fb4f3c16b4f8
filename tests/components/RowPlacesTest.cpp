#include "components/RowPlaces.h"
#include "tests/support/TestMain.h"

#include <QTest>

using Kavo::Components::RowPlaces;

namespace {

/// Rows that are 10, 20, 30 ... pixels high, and each wider than the one before.
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

/// Where rows stand, all of them and some.
class RowPlacesTest final : public QObject
{
    Q_OBJECT

private slots:
    void emptyListHasNoPlaces();
    void rowsStandUnderEachOther();
    void spacingStandsAroundEachRow();
    void unlistedRowsTakeNoPlace();
    void laterRowsAreListed();
    void lineHasItsPlace_data();
    void lineHasItsPlace();
    void widestListedRowIsTheWidth();
    void clearedListKeepsItsSpacing();
};

void RowPlacesTest::emptyListHasNoPlaces()
{
    const RowPlaces places(4);
    QCOMPARE(places.size(), QSize(0, 0));
    QVERIFY(places.listed().isEmpty());
    QCOMPARE(places.placeOf(7), 0);
    QCOMPARE(places.placeBelow(0), 0);
}

void RowPlacesTest::rowsStandUnderEachOther()
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

void RowPlacesTest::spacingStandsAroundEachRow()
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

void RowPlacesTest::unlistedRowsTakeNoPlace()
{
    RowPlaces places = makePlaces(5);
    places.list(bits(5, {1, 3}));
    QCOMPARE(places.listed(), QVector<int>({1, 3}));
    QVERIFY(places.isListed(1) && !places.isListed(2));
    QCOMPARE(places.bottom(0), 20);
    QCOMPARE(places.bottom(1), 60);
    // One that has no place counts as the next one.
    QCOMPARE(places.placeOf(0), 0);
    QCOMPARE(places.placeOf(2), 1);
    QCOMPARE(places.placeOf(4), 2);
    places.list(QBitArray(5));
    QCOMPARE(places.size(), QSize(0, 0));
    places.list(QBitArray(5, true));
    QCOMPARE(places.size().height(), 150);
}

void RowPlacesTest::laterRowsAreListed()
{
    RowPlaces places = makePlaces(2);
    places.list(bits(2, {1}));
    places.append(QSize(50, 7));
    QCOMPARE(places.listed(), QVector<int>({1, 2}));
    QVERIFY(places.isListed(2));
    QCOMPARE(places.top(1), 20);
    QCOMPARE(places.bottom(1), 27);
}

void RowPlacesTest::lineHasItsPlace_data()
{
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("place");
    QTest::newRow("above all") << -100 << 0;
    QTest::newRow("space above") << 0 << 0;
    QTest::newRow("first line of a row") << 4 << 0;
    QTest::newRow("last line of a row") << 13 << 0;
    QTest::newRow("space between") << 14 << 1;
    QTest::newRow("second row") << 22 << 1;
    QTest::newRow("last line") << 79 << 2;
    QTest::newRow("space below") << 80 << 3;
    QTest::newRow("below all") << 1000 << 3;
}

void RowPlacesTest::lineHasItsPlace()
{
    QFETCH(int, line);
    QTEST(makePlaces(3, 4).placeBelow(line), "place");
}

void RowPlacesTest::widestListedRowIsTheWidth()
{
    RowPlaces places = makePlaces(3);
    places.setWidth(0, 500);
    QCOMPARE(places.size().width(), 500);
    places.setWidth(0, 5);
    QCOMPARE(places.size().width(), 102);
    places.list(bits(3, {0, 1}));
    QCOMPARE(places.size().width(), 101);
}

void RowPlacesTest::clearedListKeepsItsSpacing()
{
    RowPlaces places = makePlaces(3, 4);
    places.clear();
    QCOMPARE(places.size(), QSize(0, 0));
    places.append(QSize(10, 10));
    QCOMPARE(places.top(0), 4);
    QCOMPARE(places.listed(), QVector<int>({0}));
}

KAVO_TEST_MAIN(RowPlacesTest)
#include "RowPlacesTest.moc"
