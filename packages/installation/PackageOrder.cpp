#include "packages/installation/PackageOrder.h"

#include <QSet>

namespace Kavo::Models {

namespace {

struct Step
{
    PackagePointer package;
    PackageList neighbours; ///< not visited yet
};

} // namespace

/// A depth-first search with an explicit stack, because a catalogue may chain more packages than
/// calls can be nested.
PackageList neighboursFirst(const PackagePointer &package, const NeighboursOf &neighboursOf)
{
    PackageList order;
    QSet<int> met{package->id()};
    QVector<Step> steps{{package, neighboursOf(package)}};
    while (!steps.isEmpty()) {
        Step &step = steps.last();
        if (step.neighbours.isEmpty()) {
            order.append(steps.takeLast().package);
            continue;
        }
        const PackagePointer neighbour = step.neighbours.takeFirst();
        if (met.contains(neighbour->id()))
            continue;
        met.insert(neighbour->id());
        steps.append({neighbour, neighboursOf(neighbour)});
    }
    return order;
}

} // namespace Kavo::Models
