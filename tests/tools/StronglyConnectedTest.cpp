#include "tools/check/StronglyConnected.h"
#include "tests/support/TestMain.h"

using Kavo::Tools::stronglyConnected;

using Lists = std::vector<std::vector<int>>;

class StronglyConnectedTest final : public QObject
{
    Q_OBJECT

private slots:
    void componentsComeAfterThoseTheyLeadTo_data();
    void componentsComeAfterThoseTheyLeadTo();
    void pathAsLongAsTheGraphNeedsNoRecursion();
};

Q_DECLARE_METATYPE(Lists)

void StronglyConnectedTest::componentsComeAfterThoseTheyLeadTo_data()
{
    QTest::addColumn<Lists>("edges");
    QTest::addColumn<Lists>("components");
    QTest::newRow("no node") << Lists() << Lists();
    QTest::newRow("one node") << Lists{{}} << Lists{{0}};
    QTest::newRow("edge to itself") << Lists{{0}} << Lists{{0}};
    QTest::newRow("chain") << Lists{{1}, {2}, {}} << Lists{{2}, {1}, {0}};
    QTest::newRow("circle") << Lists{{1}, {2}, {0}} << Lists{{0, 1, 2}};
    QTest::newRow("two circles, the first leads to the second")
        << Lists{{1}, {0, 3}, {3}, {2}} << Lists{{2, 3}, {0, 1}};
    QTest::newRow("two circles that share a node") << Lists{{1, 2}, {0}, {0}} << Lists{{0, 1, 2}};
    QTest::newRow("edge back to a finished component")
        << Lists{{}, {0, 2}, {0, 1}} << Lists{{0}, {1, 2}};
    QTest::newRow("inner circle reaches the outer one late")
        << Lists{{1}, {2}, {1, 3}, {0}} << Lists{{0, 1, 2, 3}};
}

void StronglyConnectedTest::componentsComeAfterThoseTheyLeadTo()
{
    QFETCH(const Lists, edges);
    QFETCH(const Lists, components);
    QCOMPARE(stronglyConnected(edges), components);
}

void StronglyConnectedTest::pathAsLongAsTheGraphNeedsNoRecursion()
{
    constexpr int count = 1'000'000;
    Lists edges;
    for (int node = 0; node + 1 < count; ++node)
        edges.push_back({node + 1});
    edges.push_back({0});
    const Lists components = stronglyConnected(edges);
    QCOMPARE(components.size(), std::size_t(1));
    QCOMPARE(components.front().size(), std::size_t(count));
}

KAVO_TEST_MAIN(StronglyConnectedTest)
#include "StronglyConnectedTest.moc"
