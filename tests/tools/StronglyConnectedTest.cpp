#include "tools/check/StronglyConnected.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;
using Kavo::Tools::stronglyConnected;

using Lists = std::vector<std::vector<int>>;

Q_DECLARE_METATYPE(Lists)

class StronglyConnectedTest final : public QObject
{
    Q_OBJECT

private slots:
    void componentsComeAfterThoseTheyLeadTo_data()
    {
        Rows<Lists, Lists>()
            .row("no node", {}, {})
            .row("one node", {{}}, {{0}})
            .row("edge to itself", {{0}}, {{0}})
            .row("chain", {{1}, {2}, {}}, {{2}, {1}, {0}})
            .row("circle", {{1}, {2}, {0}}, {{0, 1, 2}})
            .row("two circles, the first leads to the second", {{1}, {0, 3}, {3}, {2}},
                 {{2, 3}, {0, 1}})
            .row("two circles that share a node", {{1, 2}, {0}, {0}}, {{0, 1, 2}})
            .row("edge back to a finished component", {{}, {0, 2}, {0, 1}}, {{0}, {1, 2}})
            .row("inner circle reaches the outer one late", {{1}, {2}, {1, 3}, {0}},
                 {{0, 1, 2, 3}});
    }

    void componentsComeAfterThoseTheyLeadTo()
    {
        const auto [edges, components] = Rows<Lists, Lists>::current();
        QCOMPARE(stronglyConnected(edges), components);
    }

    void pathAsLongAsTheGraphNeedsNoRecursion()
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
};

KAVO_TEST_MAIN(StronglyConnectedTest)
#include "StronglyConnectedTest.moc"
